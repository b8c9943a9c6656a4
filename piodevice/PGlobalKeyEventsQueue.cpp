// The key message buffer, the queue implementations and the static facade over them.
#include "PGlobalKeyEventsQueue.h"

#include <mutex>
#include <unordered_map>

namespace pkeymsgbuff {

namespace {

void rewindIfDrained(MSGBUFF* buffer)
{
    if (buffer->readIndex >= buffer->writeIndex)
        buffer->readIndex = buffer->writeIndex = 0;
}

}

bool writeMSG(MSGBUFF* buffer, const PKeyMSG& message)
{
    if (!buffer || buffer->writeIndex >= Capacity)
        return false;
    buffer->messages[buffer->writeIndex++] = message;
    return true;
}

uint64_t writeMSGS(MSGBUFF* buffer, const PKeyMSG* messages, uint64_t count)
{
    if (!buffer || !messages || count == 0 || buffer->writeIndex >= Capacity
        || count + buffer->writeIndex > Capacity - 1)
        return 0;
    for (uint64_t i = 0; i < count; ++i)
        buffer->messages[buffer->writeIndex++] = messages[i];
    return count;
}

PKeyMSG popMSG(MSGBUFF* buffer)
{
    if (!buffer)
        return PKeyMSG{};
    if (buffer->readIndex >= buffer->writeIndex) {
        buffer->readIndex = buffer->writeIndex = 0;
        return PKeyMSG{};
    }
    const PKeyMSG message = buffer->messages[buffer->readIndex++];
    rewindIfDrained(buffer);
    return message;
}

}

bool PGlobalKeyEventsQueueImpl::isInitialized() const
{
    return false;
}

bool PGlobalKeyEventsQueueImpl::initialize()
{
    return isInitialized();
}

bool PGlobalKeyEventsQueueImpl::deinitialize()
{
    return true;
}

bool PGlobalKeyEventsQueueImpl::addMessage(const PKeyMSG&)
{
    return false;
}

bool PGlobalKeyEventsQueueImpl::addMessages(const std::vector<PKeyMSG>&)
{
    return false;
}

PKeyMSG PGlobalKeyEventsQueueImpl::popMessage()
{
    return PKeyMSG{};
}

std::vector<PKeyMSG> PGlobalKeyEventsQueueImpl::popMessages()
{
    return {};
}

int PGlobalKeyEventsQueueImpl::mapMSG(const PKeyMSG&)
{
    return -1;
}

std::vector<int> PGlobalKeyEventsQueueImpl::mapMSGS(const std::vector<PKeyMSG>&)
{
    return {};
}

PKeyMSG PGlobalKeyEventsQueueImpl::unmapMSG(int)
{
    return PKeyMSG{};
}

bool PGlobalKeyEventsQueueImplGlobal::initialize()
{
    return false;
}

PGlobalKeyEventsQueueImplGlobal::~PGlobalKeyEventsQueueImplGlobal() = default;

struct PGlobalKeyEventsQueueImplLocal::Private {
    // Guards buffer.
    std::mutex bufferLock;
    pkeymsgbuff::MSGBUFF buffer;
    // Guards slots.
    std::mutex slotsLock;
    PKeyMSG slots[pkeymsgbuff::Capacity] = {};

    int mapLocked(const PKeyMSG& message)
    {
        for (uint64_t i = 0; i < pkeymsgbuff::Capacity; ++i) {
            if (slots[i].mapped == 0) {
                slots[i] = message;
                if (slots[i].mapped == 0)
                    slots[i].mapped = 1;
                return static_cast<int>(i);
            }
        }
        return -1;
    }
};

PGlobalKeyEventsQueueImplLocal::PGlobalKeyEventsQueueImplLocal() : d(new Private) {}

PGlobalKeyEventsQueueImplLocal::~PGlobalKeyEventsQueueImplLocal() = default;

bool PGlobalKeyEventsQueueImplLocal::isInitialized() const
{
    return true;
}

bool PGlobalKeyEventsQueueImplLocal::initialize()
{
    return true;
}

bool PGlobalKeyEventsQueueImplLocal::deinitialize()
{
    return true;
}

bool PGlobalKeyEventsQueueImplLocal::addMessage(const PKeyMSG& message)
{
    std::lock_guard<std::mutex> lock(d->bufferLock);
    return pkeymsgbuff::writeMSG(&d->buffer, message);
}

bool PGlobalKeyEventsQueueImplLocal::addMessages(const std::vector<PKeyMSG>& messages)
{
    std::lock_guard<std::mutex> lock(d->bufferLock);
    return pkeymsgbuff::writeMSGS(&d->buffer, messages.data(), messages.size()) != 0;
}

PKeyMSG PGlobalKeyEventsQueueImplLocal::popMessage()
{
    std::lock_guard<std::mutex> lock(d->bufferLock);
    return pkeymsgbuff::popMSG(&d->buffer);
}

std::vector<PKeyMSG> PGlobalKeyEventsQueueImplLocal::popMessages()
{
    std::lock_guard<std::mutex> lock(d->bufferLock);
    pkeymsgbuff::MSGBUFF& b = d->buffer;
    std::vector<PKeyMSG> result;
    if (b.writeIndex > b.readIndex)
        result.assign(b.messages + b.readIndex, b.messages + b.writeIndex);
    b.readIndex = b.writeIndex = 0;
    return result;
}

int PGlobalKeyEventsQueueImplLocal::mapMSG(const PKeyMSG& message)
{
    std::lock_guard<std::mutex> lock(d->slotsLock);
    return d->mapLocked(message);
}

std::vector<int> PGlobalKeyEventsQueueImplLocal::mapMSGS(const std::vector<PKeyMSG>& messages)
{
    std::lock_guard<std::mutex> lock(d->slotsLock);
    std::vector<int> result;
    result.reserve(messages.size());
    for (const PKeyMSG& message : messages)
        result.push_back(d->mapLocked(message));
    return result;
}

PKeyMSG PGlobalKeyEventsQueueImplLocal::unmapMSG(int index)
{
    if (index < 0 || static_cast<uint64_t>(index) >= pkeymsgbuff::Capacity)
        return PKeyMSG{};
    std::lock_guard<std::mutex> lock(d->slotsLock);
    const PKeyMSG message = d->slots[index];
    d->slots[index] = PKeyMSG{};
    return message;
}

namespace {

struct Facade {
    // Guards impl and subscribers.
    std::mutex lock;
    std::unique_ptr<PGlobalKeyEventsQueueImpl> impl;
    std::unordered_map<unsigned long, PGlobalKeyEventsQueue::Subscriber> subscribers;
};

// Never destroyed: the keyboard timer may still ask it while static destructors run.
Facade& facade()
{
    static Facade* instance = new Facade;
    return *instance;
}

// The implementation's answer to f, or fallback when there is no implementation.
template <class Result, class F>
Result withImpl(Result fallback, F f)
{
    Facade& q = facade();
    std::lock_guard<std::mutex> lock(q.lock);
    return q.impl ? f(*q.impl) : fallback;
}

void notifySubscribers()
{
    std::vector<PGlobalKeyEventsQueue::Subscriber> calls;
    {
        Facade& q = facade();
        std::lock_guard<std::mutex> lock(q.lock);
        for (const auto& item : q.subscribers)
            calls.push_back(item.second);
    }
    for (const auto& call : calls) {
        if (call)
            call(nullptr);
    }
}

}

bool PGlobalKeyEventsQueue::isInitialized()
{
    return withImpl(false, [](PGlobalKeyEventsQueueImpl& impl) { return impl.isInitialized(); });
}

bool PGlobalKeyEventsQueue::initialize(int mode)
{
    Facade& q = facade();
    std::lock_guard<std::mutex> lock(q.lock);
    if (mode < 0 || q.impl)
        return q.impl && q.impl->isInitialized();
    std::unique_ptr<PGlobalKeyEventsQueueImpl> made;
    if (mode == 0)
        made.reset(new PGlobalKeyEventsQueueImplLocal);
    else if (mode == 1)
        made.reset(new PGlobalKeyEventsQueueImplGlobal);
    if (!made || !made->initialize())
        return false;
    q.impl = std::move(made);
    return true;
}

bool PGlobalKeyEventsQueue::deinitialize()
{
    std::unique_ptr<PGlobalKeyEventsQueueImpl> dropped;
    {
        Facade& q = facade();
        std::lock_guard<std::mutex> lock(q.lock);
        dropped = std::move(q.impl);
    }
    return !dropped || dropped->deinitialize();
}

bool PGlobalKeyEventsQueue::addMessage(const PKeyMSG& message)
{
    const bool added = withImpl(false, [&](PGlobalKeyEventsQueueImpl& impl) {
        return impl.addMessage(message);
    });
    if (added)
        notifySubscribers();
    return added;
}

bool PGlobalKeyEventsQueue::addMessages(const std::vector<PKeyMSG>& messages)
{
    const bool added = withImpl(false, [&](PGlobalKeyEventsQueueImpl& impl) {
        return impl.addMessages(messages);
    });
    if (added)
        notifySubscribers();
    return added;
}

PKeyMSG PGlobalKeyEventsQueue::popMessage()
{
    return withImpl(PKeyMSG{}, [](PGlobalKeyEventsQueueImpl& impl) { return impl.popMessage(); });
}

std::vector<PKeyMSG> PGlobalKeyEventsQueue::popMessages()
{
    return withImpl(std::vector<PKeyMSG>(),
                    [](PGlobalKeyEventsQueueImpl& impl) { return impl.popMessages(); });
}

int PGlobalKeyEventsQueue::mapMSG(const PKeyMSG& message)
{
    return withImpl(-1, [&](PGlobalKeyEventsQueueImpl& impl) { return impl.mapMSG(message); });
}

std::vector<int> PGlobalKeyEventsQueue::mapMSGS(const std::vector<PKeyMSG>& messages)
{
    return withImpl(std::vector<int>(),
                    [&](PGlobalKeyEventsQueueImpl& impl) { return impl.mapMSGS(messages); });
}

PKeyMSG PGlobalKeyEventsQueue::unmapMSG(int index)
{
    return withImpl(PKeyMSG{}, [&](PGlobalKeyEventsQueueImpl& impl) { return impl.unmapMSG(index); });
}

unsigned long PGlobalKeyEventsQueue::registerSubscriber(const Subscriber& subscriber)
{
    Facade& q = facade();
    std::lock_guard<std::mutex> lock(q.lock);
    const unsigned long id = q.subscribers.size() + 1;
    q.subscribers[id] = subscriber;
    return id;
}

bool PGlobalKeyEventsQueue::unregisterSubscriber(unsigned long id)
{
    Subscriber dropped;
    Facade& q = facade();
    std::lock_guard<std::mutex> lock(q.lock);
    const auto found = q.subscribers.find(id);
    if (found == q.subscribers.end())
        return false;
    dropped = std::move(found->second);
    q.subscribers.erase(found);
    return true;
}
