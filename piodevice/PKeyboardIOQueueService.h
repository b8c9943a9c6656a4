// PKeyboardIOQueueService: the process-wide service that gathers key messages from the Java
// side and offers them to every open keyboard device on a timer; its input handlers.
#pragma once

#include "PDebug.h"
#include "PError.h"
#include "PIODevice.h"
#include "PKeyCodes.h"
#include "PPropertyBag.h"
#include "PString.h"
#include "PVariant.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

struct PKeyboardIOQueueServicePrivate;

// One registered device (a keyboard device, known here only as an I/O device): an identifier
// and the device. The service calls the device only
// through owner, which it locks for the length of a call, so a device closed or destroyed
// meanwhile is either kept alive until the call ends or not called at all.
// Handlers are equal when their identifiers are; they order by identifier.
struct PKeyboardIOQueueServiceInputHandler {
    unsigned long id = 0;
    PIODevice* device = nullptr;
    std::weak_ptr<PIODevice> owner;

    PKeyboardIOQueueServiceInputHandler() = default;
    // The device under its own address as identifier.
    explicit PKeyboardIOQueueServiceInputHandler(const std::shared_ptr<PIODevice>& keyboard);

    friend bool operator==(const PKeyboardIOQueueServiceInputHandler& a,
                           const PKeyboardIOQueueServiceInputHandler& b)
    {
        return a.id == b.id;
    }
    friend bool operator<(const PKeyboardIOQueueServiceInputHandler& a,
                          const PKeyboardIOQueueServiceInputHandler& b)
    {
        return a.id < b.id;
    }
};

// The Java side of the service behind one seam, so that the service also runs without a VM.
// The service makes one when it first starts and drops it at its last stop.
class PKeyboardCompanion {
public:
    virtual ~PKeyboardCompanion() = default;
    // False when it could not be made; the reason then stands in lastError().
    virtual bool isValid() const = 0;
    // Hands over the settings text; false with the reason in lastError() on refusal.
    virtual bool open(const PString& settings) = 0;
    virtual void close() = 0;
    virtual PError lastError() const = 0;
};

// Makes a companion that delivers under the given handle.
using PKeyboardCompanionFactory = std::function<std::unique_ptr<PKeyboardCompanion>(int64_t)>;

// The Java class com.tavrel.piodevice.PKeyboard, made with the activity and the handle.
std::unique_ptr<PKeyboardCompanion> makeJavaKeyboardCompanion(int64_t handle);
// A companion that accepts every call and sends nothing: the service without a VM, for
// measurements and fuzzing, where packets come in through deliverPacket.
std::unique_ptr<PKeyboardCompanion> makeSilentKeyboardCompanion(int64_t handle);

// One static object. A device start()s it on open and stop()s it on close; the first start
// makes the companion, the last stop ends it. The companion hands key messages in through
// PKeyboardDataSend, and a timer offers them on every tick to each registered device as one
// event with keyboard_input; the devices' acceptStatus decides what becomes of them. The timer
// ticks only while messages wait or a burst may still be under way: the first packet after a
// pause wakes it, and the tick without keys that leaves every device idle rests it. Resting,
// its thread waits without waking; it is made at the first keys and kept for the process.
//
// Thread-safety: every operation may be called from any thread. The cache and the handler
// list have one lock, held only inside each operation and never over a device callback.
// start, stop and the parameters have a lock of their own, taken before the Java layer's.
// A device may close, reopen or destroy itself from inside its own tick callback. The last
// stop never waits for a tick under way (its caller may hold a lock that the host's handler in
// that tick wants): the timer rests after that tick.
// Failure: start reports by PError (see the device's open); nothing else fails.
class PKeyboardIOQueueService {
public:
    // The two cache slots.
    enum Slot : int { SentSlot = 1, ReceivedSlot = 2 };

    static PKeyboardIOQueueService& getInstance();

    // Starts the service, or counts one more user of the running one (whose timeout then
    // stays). False on failure, with the error in *error or thrown as a PError without one.
    bool start(int timeout, PError* error);
    // One user fewer; the last one rests the timer and drops the companion. Always true.
    bool stop();
    bool isRunning() const;

    // False for a zero identifier, a handler without a live device, or an identifier already
    // there; else appends it.
    bool registerInputHandler(const PKeyboardIOQueueServiceInputHandler& handler);
    // Removes it, keeping the order of the others; false when it isn't there.
    bool unregisterInputHandler(const unsigned long& id);
    // A copy; an all-zero handler past the end.
    PKeyboardIOQueueServiceInputHandler inputHandler(unsigned long index) const;
    unsigned long inputHandlersCount() const;

    // Appends to the slot. A slot keeps at most maxCachedMessages(): when more come, the
    // oldest are dropped, so a companion that sends while nobody takes cannot exhaust memory.
    void pushMessagesToCache(int slot, const std::vector<PKeyMSG>& messages);
    // Takes the slot's whole content, leaving it empty.
    std::vector<PKeyMSG> popMessagesFromCache(int slot);
    static constexpr unsigned long maxCachedMessages() { return 65536; }

    PVariant parameter(const PString& name, const PVariant& fallback = PVariant()) const;
    // Stores the value and gives back the old one; while the service runs nothing changes
    // and the answer is an invalid value.
    PVariant setParameter(const PString& name, const PVariant& value);
    void setDebugMessageHandler(const PDebugMessageHandler& handler);

    // Where untaken key strokes would go back to the platform: nothing here, answers 0.
    int inject(const std::vector<PKeyMSG>& messages, unsigned int flags, void* target);

    // The road of a packet from the companion: the service registered under the handle, if
    // it still runs, gets the packet's key messages in its received slot.
    static void deliverPacket(int64_t handle, const PString& packet);

    // One tick: offers the received messages to the devices and acts on their reply.
    void commonTimeoutProc();

    // Replaces how the companion is made (an empty function restores the Java class); for
    // tests and measurements without a VM. Takes effect at the next first start.
    void setCompanionFactory(PKeyboardCompanionFactory factory);
    // The handle the companion delivers under while the service runs; 0 when stopped.
    int64_t javaHandle() const;

    ~PKeyboardIOQueueService();
    PKeyboardIOQueueService(const PKeyboardIOQueueService&) = delete;
    PKeyboardIOQueueService& operator=(const PKeyboardIOQueueService&) = delete;

private:
    PKeyboardIOQueueService();
    // commonTimeoutProc's work; true while a burst may still be under way in a device.
    bool tick();
    friend struct PKeyboardIOQueueServicePrivate;
    std::unique_ptr<PKeyboardIOQueueServicePrivate> d;
};
