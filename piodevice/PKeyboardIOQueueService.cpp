// The keyboard service: its cache and handlers, start and stop, the timer's tick, its Java
// companion and the native function through which the companion hands key packets in.
#include "PKeyboardIOQueueService.h"

#include "PEvent.h"
#include "PEventKeys.h"
#include "PGlobalKeyEventsQueue.h"
#include "PJavaCompanion.h"
#include "PJavaHandles.h"
#include "PTimer.h"

#include <atomic>
#include <mutex>
#include <unordered_map>

namespace {

const char kModule[] = "jni/../../piodevice/PKeyboardIOQueueService_p_android";
const char kStart[] = "bool PKeyboardIOQueueService::start(int, PError*)";
const char kJavaClass[] = "com.tavrel.piodevice.PKeyboard";

PError startError(int code, const PString& text)
{
    return PError(code, text, PString(kModule), PString(kStart), __LINE__);
}

void appendCapped(std::vector<PKeyMSG>& slot, const std::vector<PKeyMSG>& messages)
{
    const size_t cap = PKeyboardIOQueueService::maxCachedMessages();
    if (messages.size() >= cap) {
        slot.assign(messages.end() - static_cast<long>(cap), messages.end());
        return;
    }
    const size_t total = slot.size() + messages.size();
    if (total > cap)
        slot.erase(slot.begin(), slot.begin() + static_cast<long>(total - cap));
    slot.insert(slot.end(), messages.begin(), messages.end());
}

// The Java class of the service.
class JavaKeyboardCompanion : public PKeyboardCompanion {
public:
    explicit JavaKeyboardCompanion(int64_t handle)
    {
        if (!strake::javaConnected()) {
            m_error = startError(PError::GeneralFailure, "JNI not connected");
            return;
        }
        m_object = PJavaCompanion::create(kJavaClass, handle);
        if (!m_object || !m_object->isValid()) {
            m_error = strake::javaLastError();
            if (!m_error.isError())
                m_error = startError(PError::GeneralFailure,
                                     PString("class ") + kJavaClass + " could not be made");
        }
    }

    bool isValid() const override { return m_object && m_object->isValid(); }
    bool open(const PString& settings) override
    {
        const bool opened = m_object->callBoolean("open", settings);
        m_error = m_object->lastError();
        if (!opened && !m_error.isError())
            m_error = startError(PError::GeneralFailure, "Keyboard companion refused to open");
        return opened;
    }
    void close() override { m_object->callVoid("close"); }
    PError lastError() const override { return m_error; }

private:
    std::shared_ptr<PJavaCompanion> m_object;
    PError m_error;
};

class SilentKeyboardCompanion : public PKeyboardCompanion {
public:
    bool isValid() const override { return true; }
    bool open(const PString&) override { return true; }
    void close() override {}
    PError lastError() const override { return PError(); }
};

}

std::unique_ptr<PKeyboardCompanion> makeJavaKeyboardCompanion(int64_t handle)
{
    return std::unique_ptr<PKeyboardCompanion>(new JavaKeyboardCompanion(handle));
}

std::unique_ptr<PKeyboardCompanion> makeSilentKeyboardCompanion(int64_t)
{
    return std::unique_ptr<PKeyboardCompanion>(new SilentKeyboardCompanion);
}

PKeyboardIOQueueServiceInputHandler::PKeyboardIOQueueServiceInputHandler(
    const std::shared_ptr<PIODevice>& keyboard)
    : id(static_cast<unsigned long>(reinterpret_cast<uintptr_t>(keyboard.get())))
    , device(keyboard.get())
    , owner(keyboard)
{
}

struct PKeyboardIOQueueServicePrivate {
    // Guards cache, handlers, ticking and interval. Held only inside one operation, never over
    // a callback.
    mutable std::mutex lock;
    std::unordered_map<int, std::vector<PKeyMSG>> cache{10};
    std::vector<PKeyboardIOQueueServiceInputHandler> handlers;
    // Whether ticks are due. Key messages for a device set it and wake the timer; the tick that
    // finds the input taken and every device idle clears it and rests the timer, whose thread
    // then waits without waking; so does the last stop.
    bool ticking = false;
    // Milliseconds between ticks while the service runs; 0 while it is stopped.
    int interval = 0;
    // Made at the first keys and kept: its thread rests between bursts and over a stop, so
    // that nothing ever waits for a tick, which may be inside the host's handler, and no thread
    // is made or ended per burst. Set once under lock; stopped only by the destructor.
    std::unique_ptr<PTimer> timer;

    // Guards everything below but useCount's reads: the start and stop transitions, the
    // parameters, the debug handler, and the companion with its handle. Taken before the JNI
    // layer's lock and before lock.
    mutable std::mutex lifecycle;
    std::atomic<int> useCount{0};
    KeyValue<PString, PVariant> parameters;
    PDebugMessageHandler debugHandler;
    PKeyboardCompanionFactory factory;
    std::unique_ptr<PKeyboardCompanion> companion;
    PJavaHandle handle;

    // Key messages wait for a device. Under lock.
    bool inputWaits() const
    {
        const auto received = cache.find(PKeyboardIOQueueService::ReceivedSlot);
        return !handlers.empty() && received != cache.end() && !received->second.empty();
    }

    // Wakes the timer, or makes it, when key messages wait and no tick is due. Its first tick
    // comes one interval later, the latest that a timer ticking all along would have come, and
    // the ticks keep that pace while they run: a burst is cut only by a pause longer than an
    // interval, where such a timer could have cut it too. Called with no lock held, from
    // whatever thread brought the messages or the device.
    void arm(PKeyboardIOQueueService& service)
    {
        std::lock_guard<std::mutex> guard(lock);
        if (ticking || interval <= 0 || !inputWaits())
            return;
        try {
            if (!timer) {
                std::unique_ptr<PTimer> made(new PTimer);
                made->setCallback([this, &service] { settle(service.tick()); });
                timer = std::move(made);
            }
            ticking = timer->isRunning() ? timer->resume(interval) : timer->start(interval, 0, -1);
        } catch (...) {
            // No thread to be had: the next packet tries again.
            PError::fromCurrentException();
        }
    }

    // The end of a tick: unless input waits or a burst may still be under way, the timer rests.
    void settle(bool busy)
    {
        std::lock_guard<std::mutex> guard(lock);
        if (!ticking || busy || inputWaits())
            return;
        ticking = false;
        timer->rest();
    }

    void debug(const char* what)
    {
        if (debugHandler)
            pDebug(debugHandler) << what << useCount.load();
    }
};

namespace {

// Never destroyed: the timer and the companion's thread may still run while the process ends.
std::shared_ptr<PKeyboardIOQueueService>& holder()
{
    static auto* instance = new std::shared_ptr<PKeyboardIOQueueService>;
    return *instance;
}

}

PKeyboardIOQueueService& PKeyboardIOQueueService::getInstance()
{
    static std::once_flag made;
    std::call_once(made, [] { holder().reset(new PKeyboardIOQueueService); });
    return *holder();
}

PKeyboardIOQueueService::PKeyboardIOQueueService() : d(new PKeyboardIOQueueServicePrivate) {}

PKeyboardIOQueueService::~PKeyboardIOQueueService()
{
    {
        std::lock_guard<std::mutex> guard(d->lifecycle);
        d->handle.detach();
        // The JNI layer may be gone already at unload: the Java object is left to the VM.
        d->companion.release();
    }
    // Only a service of its own, as a test makes, ends: the process's one lives on.
    if (d->timer)
        d->timer->stop();
}

bool PKeyboardIOQueueService::start(int timeout, PError* error)
{
    PError failure;
    {
        std::lock_guard<std::mutex> guard(d->lifecycle);
        try {
            if (d->useCount.load() <= 0) {
                if (!d->companion) {
                    d->handle.attach(holder());
                    d->companion = d->factory ? d->factory(d->handle.value())
                                              : makeJavaKeyboardCompanion(d->handle.value());
                }
                if (!d->companion || !d->companion->isValid()) {
                    // Dropped so that the next start tries afresh (after a reconnect, say).
                    const PError made = d->companion ? d->companion->lastError()
                                                     : startError(PError::GeneralFailure, "");
                    d->handle.detach();
                    d->companion.reset();
                    throw made;
                }
                const PString settings = PString("timeout=0;ignore_state=")
                    + (d->parameters.value("ignore_state", PVariant(false)).toBool() ? "1" : "0")
                    + ";gs1symbolkey="
                    + d->parameters.value("gs1symbolkey", PVariant("0000008a")).toPString() + ";";
                // A refusal keeps the companion for the next attempt.
                if (!d->companion->open(settings))
                    throw d->companion->lastError();
                // A timeout below 1 would tick without pause: refused like 0. The timer itself
                // starts when key messages come (see arm).
                if (timeout <= 0) {
                    d->companion->close();
                    throw startError(PError::NotImplemented, "Failed to start timer");
                }
                std::lock_guard<std::mutex> again(d->lock);
                d->interval = timeout;
            }
            ++d->useCount;
            d->debug("PKeyboardIOQueueService:: started ");
        } catch (...) {
            failure = PError::fromCurrentException();
            if (failure.code() == PError::GeneralFailure && failure.message().isEmpty())
                failure.setError(PError::GeneralFailure,
                                 PString(kModule) + ":Unexpected application error");
            if (PGlobalKeyEventsQueue::isInitialized())
                PGlobalKeyEventsQueue::deinitialize();
        }
    }
    // Messages kept from an earlier run go out as soon as a device takes them.
    if (!failure.isError())
        d->arm(*this);
    return PError::settle(failure, error);
}

bool PKeyboardIOQueueService::stop()
{
    {
        std::lock_guard<std::mutex> guard(d->lifecycle);
        if (d->useCount.load() <= 0)
            return true;
        if (--d->useCount > 0)
            return true;
        {
            std::lock_guard<std::mutex> again(d->lock);
            d->interval = 0;
            if (d->ticking)
                d->timer->rest();
            d->ticking = false;
        }
        if (PGlobalKeyEventsQueue::isInitialized())
            PGlobalKeyEventsQueue::deinitialize();
        // Packets still on their way find no service.
        d->handle.detach();
        if (d->companion) {
            d->companion->close();
            d->companion.reset();
        }
        d->debug("PKeyboardIOQueueService:: stopped ");
    }
    return true;
}

bool PKeyboardIOQueueService::isRunning() const
{
    return d->useCount.load() > 0;
}

bool PKeyboardIOQueueService::registerInputHandler(const PKeyboardIOQueueServiceInputHandler& handler)
{
    if (handler.id == 0 || handler.device == nullptr || handler.owner.expired())
        return false;
    {
        std::lock_guard<std::mutex> guard(d->lock);
        for (const auto& present : d->handlers) {
            if (present == handler)
                return false;
        }
        d->handlers.push_back(handler);
    }
    // Messages that came while no device was there go to this one.
    d->arm(*this);
    return true;
}

bool PKeyboardIOQueueService::unregisterInputHandler(const unsigned long& id)
{
    PKeyboardIOQueueServiceInputHandler removed;
    std::lock_guard<std::mutex> guard(d->lock);
    for (auto it = d->handlers.begin(); it != d->handlers.end(); ++it) {
        if (it->id == id) {
            removed = std::move(*it);
            d->handlers.erase(it);
            return true;
        }
    }
    return false;
}

PKeyboardIOQueueServiceInputHandler PKeyboardIOQueueService::inputHandler(unsigned long index) const
{
    std::lock_guard<std::mutex> guard(d->lock);
    return index < d->handlers.size() ? d->handlers[index] : PKeyboardIOQueueServiceInputHandler();
}

unsigned long PKeyboardIOQueueService::inputHandlersCount() const
{
    std::lock_guard<std::mutex> guard(d->lock);
    return d->handlers.size();
}

void PKeyboardIOQueueService::pushMessagesToCache(int slot, const std::vector<PKeyMSG>& messages)
{
    if (messages.empty())
        return;
    {
        std::lock_guard<std::mutex> guard(d->lock);
        appendCapped(d->cache[slot], messages);
    }
    if (slot == ReceivedSlot)
        d->arm(*this);
}

std::vector<PKeyMSG> PKeyboardIOQueueService::popMessagesFromCache(int slot)
{
    std::vector<PKeyMSG> taken;
    std::lock_guard<std::mutex> guard(d->lock);
    const auto found = d->cache.find(slot);
    if (found != d->cache.end())
        taken.swap(found->second);
    return taken;
}

PVariant PKeyboardIOQueueService::parameter(const PString& name, const PVariant& fallback) const
{
    std::lock_guard<std::mutex> guard(d->lifecycle);
    return d->parameters.value(name, fallback);
}

PVariant PKeyboardIOQueueService::setParameter(const PString& name, const PVariant& value)
{
    std::lock_guard<std::mutex> guard(d->lifecycle);
    if (d->useCount.load() > 0)
        return PVariant();
    const PVariant old = d->parameters.value(name, PVariant());
    d->parameters.setValue(name, value);
    return old;
}

void PKeyboardIOQueueService::setDebugMessageHandler(const PDebugMessageHandler& handler)
{
    std::lock_guard<std::mutex> guard(d->lifecycle);
    d->debugHandler = handler;
}

int PKeyboardIOQueueService::inject(const std::vector<PKeyMSG>&, unsigned int, void*)
{
    return 0;
}

void PKeyboardIOQueueService::setCompanionFactory(PKeyboardCompanionFactory factory)
{
    std::lock_guard<std::mutex> guard(d->lifecycle);
    d->factory = std::move(factory);
}

int64_t PKeyboardIOQueueService::javaHandle() const
{
    std::lock_guard<std::mutex> guard(d->lifecycle);
    return d->handle.value();
}

void PKeyboardIOQueueService::commonTimeoutProc()
{
    tick();
}

bool PKeyboardIOQueueService::tick()
{
    unsigned long count = 0;
    {
        std::lock_guard<std::mutex> guard(d->lock);
        count = d->handlers.size();
    }
    if (count == 0)
        return false;

    std::vector<PKeyMSG> messages = PGlobalKeyEventsQueue::popMessages();
    {
        std::lock_guard<std::mutex> guard(d->lock);
        if (messages.empty())
            messages.swap(d->cache[ReceivedSlot]);
        appendCapped(d->cache[SentSlot], messages);
    }

    PIODeviceEvent event;
    event.setValue(PEventKeys::KeyboardInputKey(), PVariant(strake::packKeyMessages(messages)));
    event.setValue(PEventKeys::InputKey(), PVariant(PString()));
    event.setValue(PEventKeys::StolenKey(), PVariant("true"));
    event.setValue(PEventKeys::DevIdEventKey(), PVariant("keyboard"));
    event.setValue(PEventKeys::DevTypeEventKey(), PVariant("keyboard"));
    event.setValue(PEventKeys::DevStateEventKey(), PVariant("0"));

    int status = 0;
    unsigned long i = 0;
    for (; i < count && status != 3; ++i) {
        std::shared_ptr<PIODevice> device;
        {
            std::lock_guard<std::mutex> guard(d->lock);
            if (i >= d->handlers.size())
                break;
            const auto& handler = d->handlers[i];
            if (handler.id != 0 && handler.device != nullptr)
                device = handler.owner.lock();
        }
        if (!device || !device->isOpen())
            continue;
        const PIODevice::Callback callback = device->callback();
        if (!callback)
            continue;
        try {
            callback(&event);
        } catch (...) {
            // A processor keeps its own failures; one that escapes ends only this call.
            PError::fromCurrentException();
        }
        status |= event.value(PEventKeys::AcceptStatusKey()).toInt();
        // When the host let go of the device inside the callback it is destroyed here, on
        // this thread, with no lock held.
        device.reset();
    }

    if (status == 0) {
        const std::vector<PKeyMSG> untaken = popMessagesFromCache(SentSlot);
        if (!untaken.empty())
            inject(untaken, 0, nullptr);
    } else if (status == 3) {
        popMessagesFromCache(SentSlot);
    }
    // A tick without keys ends a burst in every device it reached; one that stopped early at a
    // 3 left the later devices theirs to end on the next tick.
    const bool everyDeviceIdle = status == 0 || (status == 3 && i >= count);
    return !messages.empty() || !everyDeviceIdle;
}

void PKeyboardIOQueueService::deliverPacket(int64_t handle, const PString& packet)
{
    if (handle == 0)
        return;
    if (auto service = PJavaHandles::find<PKeyboardIOQueueService>(handle)) {
        const std::vector<PKeyMSG> messages = strake::rawInputToStandart(packet, 15);
        service->pushMessagesToCache(ReceivedSlot, messages);
    }
}
