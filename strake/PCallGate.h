// PCallGate: a door through which other threads call into an object that its owner may
// destroy at any moment.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

// The owner keeps the gate beside the object and closes it before the object goes; callers
// pass through it for the length of each call. After close() returns no call is inside on any
// other thread and none can start, so the object may be freed. A call on the closing thread
// itself (an object destroyed from inside a call into it) is not waited for: that caller must
// touch nothing of the object once the call that destroyed it returns.
//
// Thread-safety: every operation may be called from any thread. close() blocks while other
// threads are inside, so whoever closes must not hold a lock that a caller inside may need.
// Not copyable; shared by shared_ptr between the owner and the callbacks that hold it.
class PCallGate {
public:
    // Proof of being inside an open gate, for one scope; false when the gate was closed.
    class Pass {
    public:
        explicit Pass(PCallGate& gate);
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;
        ~Pass();
        explicit operator bool() const { return gate_ != nullptr; }

    private:
        PCallGate* gate_;
    };

    PCallGate() = default;
    PCallGate(const PCallGate&) = delete;
    PCallGate& operator=(const PCallGate&) = delete;
    ~PCallGate();

    // Refuses every later pass, then waits until no other thread holds one. Safe to repeat.
    void close();
    // Refuses every later pass without waiting for those held. Safe to repeat.
    void shut();
    bool isOpen() const;

private:
    bool enter();
    void leave();

    // The passes held, and Closed once the gate is closed. A pass is taken and, while the
    // gate is open, given back by a compare-and-swap alone: a scanned code passes on its way
    // to the host, and two lock round trips per code cost more than the rest of the gate.
    // Once closed, a pass is given back under mutex_, so that the closer, which looks at the
    // count under mutex_ only, can't see it drop and free the gate before the leaver is done.
    static constexpr long Closed = 1L << 40;
    std::atomic<long> state_{0};
    std::mutex mutex_;              // held by close() while it looks, and by a late leave()
    std::condition_variable left_;  // signalled when a pass is given back after close()
};
