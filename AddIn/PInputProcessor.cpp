// PInputProcessor: the parameters, callbacks and debug route shared by every processor.
#include "PInputProcessor.h"

#include "PEventKeys.h"
#include "PLockedMap.h"
#include "PPublished.h"
#include "StrakeText.h"

#include <atomic>
#include <mutex>

struct PInputProcessorPrivate {
    // Guards the debug handler's replacement.
    mutable std::mutex lock;
    // Under a lock of its own, so that a callback may read the parameters.
    PLockedMap parameters;
    // Counts the writes to parameters; bumped after each write.
    std::atomic<uint64_t> parameterGeneration{0};
    // Read by every message without a lock or a count; replaced ones stay until the end.
    PPublished<PInputProcessor::Callback> callback;
    PPublished<PInputProcessor::ErrorCallback> errorCallback;
    // Read on the device thread without the lock; swapped whole by atomic shared_ptr access.
    std::shared_ptr<const PInputProcessor::DebugMessageHandler> debugHandler;
    // Whether debugHandler may be set: without a log, reading it takes no lock. (The atomic
    // shared_ptr access of the library takes one from a pool.)
    std::atomic<bool> hasDebugHandler{false};
};

PInputProcessor::PInputProcessor() : d(new PInputProcessorPrivate) {}

PInputProcessor::~PInputProcessor()
{
    d->hasDebugHandler = false;
    std::atomic_store(&d->debugHandler, std::shared_ptr<const DebugMessageHandler>());
}

void PInputProcessor::processInput(PEvent* event)
{
    processInputWith(d->callback.get(), event);
}

const PInputProcessor::Callback& PInputProcessor::heldCallback() const
{
    return d->callback.get();
}

void PInputProcessor::processInputWith(const Callback& callback, PEvent* event)
{
    if (event == nullptr || event->type() != PIODeviceEvent::EventType) {
        if (auto handler = debugHandler())
            pDebug(*handler) << "PInputProcessor::processInput:" << "Event data corrupted";
        return;
    }
    if (auto handler = debugHandler()) {
        const std::string input = event->value(PEventKeys::InputKey()).toByteArray().toStdString();
        pDebug(*handler) << "Event:DevId:Data = "
                         << event->value(PEventKeys::EventNameKey()).toStdString() << " : "
                         << event->value(PEventKeys::DevIdKey()).toStdString() << " : "
                         << strake::string2hex(input, " ", "0x") << " : "
                         << strake::raw2Base64(input);
    }
    if (callback)
        callback(event);
}

void PInputProcessor::processError(const PError& error)
{
    if (auto handler = debugHandler())
        pDebug(*handler) << "PInputProcessor::processError" << error.toString().toStdString();
    if (const ErrorCallback& callback = d->errorCallback.get())
        callback(error);
}

void PInputProcessor::setParameter(const PString& name, const PVariant& value)
{
    d->parameters.setValue(name, value);
    d->parameterGeneration.fetch_add(1, std::memory_order_release);
}

PVariant PInputProcessor::parameter(const PString& name, const PVariant& fallback) const
{
    return d->parameters.value(name, fallback);
}

void PInputProcessor::setCallback(Callback callback)
{
    d->callback.set(std::move(callback));
}

void PInputProcessor::setErrorCallback(ErrorCallback callback)
{
    d->errorCallback.set(std::move(callback));
}

void PInputProcessor::setDebugMessageHandler(DebugMessageHandler handler)
{
    std::shared_ptr<const DebugMessageHandler> next;
    if (handler)
        next = std::make_shared<const DebugMessageHandler>(std::move(handler));
    std::lock_guard<std::mutex> guard(d->lock);
    // Raised before a handler is stored and lowered after it is gone, so that a reader that
    // sees it low finds no handler anyway.
    if (next)
        d->hasDebugHandler = true;
    const bool any = next != nullptr;
    std::atomic_store(&d->debugHandler, std::move(next));
    if (!any)
        d->hasDebugHandler = false;
}

PInputProcessor::DebugMessageHandler PInputProcessor::debugMessageHandler() const
{
    auto handler = debugHandler();
    return handler ? *handler : DebugMessageHandler();
}

std::shared_ptr<const PInputProcessor::DebugMessageHandler> PInputProcessor::debugHandler() const
{
    if (!d->hasDebugHandler.load(std::memory_order_acquire))
        return nullptr;
    return std::atomic_load(&d->debugHandler);
}

uint64_t PInputProcessor::parameterGeneration() const
{
    return d->parameterGeneration.load(std::memory_order_acquire);
}
