// PCallGate: a door through which other threads call into an object that its owner may
// destroy at any moment.
#pragma once

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
    bool isOpen() const;

private:
    bool enter();
    void leave();

    mutable std::mutex mutex_;        // guards open_ and inside_
    std::condition_variable left_;    // signalled when a pass is given back
    bool open_ = true;
    int inside_ = 0;
};
