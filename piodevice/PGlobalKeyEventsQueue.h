// PGlobalKeyEventsQueue: a process-wide queue of key messages behind a static facade, its three
// implementations, and the fixed message buffer pkeymsgbuff under them.
#pragma once

#include "PKeyCodes.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class PEvent;

// A linear buffer of key messages, not a ring: both indices go back to 0 once it is drained.
namespace pkeymsgbuff {

constexpr uint64_t Capacity = 1024;

struct MSGBUFF {
    uint64_t readIndex = 0;
    uint64_t writeIndex = 0;
    PKeyMSG messages[Capacity] = {};
};

// False for a null buffer or a full one; else stores the message and advances.
bool writeMSG(MSGBUFF* buffer, const PKeyMSG& message);
// All of them or none: the count written, 0 when the buffer is null, count is 0, or the
// series would bring the write index past 1023.
uint64_t writeMSGS(MSGBUFF* buffer, const PKeyMSG* messages, uint64_t count);
// The message at the read index, or a zero message for a null or empty buffer.
PKeyMSG popMSG(MSGBUFF* buffer);

}

// One implementation of the queue. The base does nothing: it is never initialised, adds
// nothing, and pops and maps nothing.
// Thread-safety: the derived classes lock their own data; the base has none.
class PGlobalKeyEventsQueueImpl {
public:
    virtual ~PGlobalKeyEventsQueueImpl() = default;
    virtual bool isInitialized() const;
    virtual bool initialize();
    virtual bool deinitialize();
    virtual bool addMessage(const PKeyMSG& message);
    virtual bool addMessages(const std::vector<PKeyMSG>& messages);
    virtual PKeyMSG popMessage();
    virtual std::vector<PKeyMSG> popMessages();
    // The slot the message went to, -1 when none is free.
    virtual int mapMSG(const PKeyMSG& message);
    virtual std::vector<int> mapMSGS(const std::vector<PKeyMSG>& messages);
    // The record of a slot from 0 to 1023, which is freed; a zero message for any other index.
    virtual PKeyMSG unmapMSG(int index);
};

// The queue shared between processes. No such queue exists on this platform: it never
// initialises.
class PGlobalKeyEventsQueueImplGlobal : public PGlobalKeyEventsQueueImpl {
public:
    bool initialize() override;
    bool isClientProcess() const { return false; }
    ~PGlobalKeyEventsQueueImplGlobal() override;
};

// The queue of this process: one message buffer, and a table of 1024 message slots whose
// taken ones carry a non-zero mapped field.
class PGlobalKeyEventsQueueImplLocal : public PGlobalKeyEventsQueueImpl {
public:
    PGlobalKeyEventsQueueImplLocal();

    bool isInitialized() const override;
    bool initialize() override;
    bool deinitialize() override;
    bool addMessage(const PKeyMSG& message) override;
    bool addMessages(const std::vector<PKeyMSG>& messages) override;
    PKeyMSG popMessage() override;
    std::vector<PKeyMSG> popMessages() override;
    // The stored copy is marked taken: a mapped field of 0 becomes 1.
    int mapMSG(const PKeyMSG& message) override;
    // The slots in order; -1 for each message that found no free slot.
    std::vector<int> mapMSGS(const std::vector<PKeyMSG>& messages) override;
    PKeyMSG unmapMSG(int index) override;
    ~PGlobalKeyEventsQueueImplLocal() override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

// The static facade: one implementation, made by initialize(0) (this process) or refused by
// initialize(1) (shared between processes), and a table of subscribers told of each add.
// Every operation but initialize first asks initialize(-1), which only reports whether an
// implementation exists, and gives an empty result when none does.
// Thread-safety: any thread; the implementation and the subscribers have a lock of their own.
// Subscribers are called after that lock is released, so a subscriber may use the facade.
class PGlobalKeyEventsQueue {
public:
    using Subscriber = std::function<void(PEvent*)>;

    static bool isInitialized();
    // -1: whether an implementation exists; 0: make the local one; 1: the shared one, which
    // fails and is dropped. Answers whether an initialised implementation exists afterwards.
    static bool initialize(int mode);
    static bool deinitialize();
    static bool addMessage(const PKeyMSG& message);
    static bool addMessages(const std::vector<PKeyMSG>& messages);
    static PKeyMSG popMessage();
    static std::vector<PKeyMSG> popMessages();
    static int mapMSG(const PKeyMSG& message);
    static std::vector<int> mapMSGS(const std::vector<PKeyMSG>& messages);
    static PKeyMSG unmapMSG(int index);

    // Stores the function under the number of subscribers plus 1, replacing what stood there,
    // and answers that identifier.
    static unsigned long registerSubscriber(const Subscriber& subscriber);
    static bool unregisterSubscriber(unsigned long id);
};
