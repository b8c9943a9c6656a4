// PInputProcessor: the parameters, callbacks and debug route shared by every processor.
#include "PInputProcessor.h"

#include "PPropertyBag.h"
#include "StrakeText.h"

#include <atomic>
#include <mutex>

struct PInputProcessorPrivate {
    // Guards the parameters and both callbacks, and is held while a callback runs.
    mutable std::mutex lock;
    KeyValue<PString, PVariant> parameters;
    PInputProcessor::Callback callback;
    PInputProcessor::ErrorCallback errorCallback;
    // Read on the device thread without the lock; swapped whole by atomic shared_ptr access.
    std::shared_ptr<const PInputProcessor::DebugMessageHandler> debugHandler;
};

#define P_KEY(name, text)                                                                          \
    const PString& PInputProcessor::name()                                                         \
    {                                                                                              \
        static const PString key(text);                                                            \
        return key;                                                                                \
    }

P_KEY(PrefixKey, "Prefix")
P_KEY(SuffixKey, "Suffix")
P_KEY(OutputDataTypeKey, "OutputDataType")
P_KEY(EquipmentTypeKey, "EquipmentType")
P_KEY(DevIdKey, "DevId")
P_KEY(EventNameKey, "EventName")
P_KEY(COMEncodingKey, "COMEncoding")
P_KEY(GSKeyCodeKey, "GSKeyCode")
P_KEY(PreviewModeKey, "PreviewMode")
P_KEY(InputKey, "input")
P_KEY(KeyboardInputKey, "keyboard_input")
P_KEY(StolenKey, "stolen")
P_KEY(DevIdEventKey, "dev_id")
P_KEY(DevTypeEventKey, "dev_type")
P_KEY(DevStateEventKey, "dev_state")
P_KEY(DevAliasEventKey, "dev_alias")
P_KEY(AcceptStatusKey, "acceptStatus")
P_KEY(UnprocessedInputKey, "unprocessed_input")

#undef P_KEY

PInputProcessor::PInputProcessor() : d(new PInputProcessorPrivate) {}

PInputProcessor::~PInputProcessor()
{
    std::atomic_store(&d->debugHandler, std::shared_ptr<const DebugMessageHandler>());
    d->errorCallback = nullptr;
    d->callback = nullptr;
}

void PInputProcessor::processInput(PEvent* event)
{
    if (event == nullptr || event->type() != PIODeviceEvent::EventType) {
        if (auto handler = debugHandler())
            pDebug(*handler) << "PInputProcessor::processInput:" << "Event data corrupted";
        return;
    }
    if (auto handler = debugHandler()) {
        const std::string input = event->value(InputKey()).toByteArray().toStdString();
        pDebug(*handler) << "Event:DevId:Data = "
                         << event->value(EventNameKey()).toStdString() << " : "
                         << event->value(DevIdKey()).toStdString() << " : "
                         << strake::string2hex(input, " ", "0x") << " : "
                         << strake::raw2Base64(input);
    }
    std::lock_guard<std::mutex> guard(d->lock);
    if (d->callback)
        d->callback(event);
}

void PInputProcessor::processError(const PError& error)
{
    if (auto handler = debugHandler())
        pDebug(*handler) << "PInputProcessor::processError" << error.toString().toStdString();
    std::lock_guard<std::mutex> guard(d->lock);
    if (d->errorCallback)
        d->errorCallback(error);
}

void PInputProcessor::setParameter(const PString& name, const PVariant& value)
{
    std::lock_guard<std::mutex> guard(d->lock);
    d->parameters.setValue(name, value);
}

PVariant PInputProcessor::parameter(const PString& name, const PVariant& fallback) const
{
    std::lock_guard<std::mutex> guard(d->lock);
    return d->parameters.value(name, fallback);
}

void PInputProcessor::setCallback(Callback callback)
{
    std::lock_guard<std::mutex> guard(d->lock);
    d->callback.swap(callback);
    // The old function dies here, under the lock, as the swap promised.
    callback = nullptr;
}

void PInputProcessor::setErrorCallback(ErrorCallback callback)
{
    std::lock_guard<std::mutex> guard(d->lock);
    d->errorCallback.swap(callback);
    callback = nullptr;
}

void PInputProcessor::setDebugMessageHandler(DebugMessageHandler handler)
{
    std::shared_ptr<const DebugMessageHandler> next;
    if (handler)
        next = std::make_shared<const DebugMessageHandler>(std::move(handler));
    std::lock_guard<std::mutex> guard(d->lock);
    std::atomic_store(&d->debugHandler, std::move(next));
}

PInputProcessor::DebugMessageHandler PInputProcessor::debugMessageHandler() const
{
    auto handler = debugHandler();
    return handler ? *handler : DebugMessageHandler();
}

std::shared_ptr<const PInputProcessor::DebugMessageHandler> PInputProcessor::debugHandler() const
{
    return std::atomic_load(&d->debugHandler);
}
