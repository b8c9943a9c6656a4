// PKeyboard: registration with the keyboard service on open, and back on close.
#include "PKeyboard.h"

#include "PKeyboardIOQueueService.h"

namespace {

const char kModule[] = "jni/../../piodevice/PKeyboard_p_queued";
const char kOpen[] = "virtual bool PKeyboard::open(int)";

PError openError(int code, const PString& text, int line)
{
    return PError(code, text, PString(kModule), PString(kOpen), line);
}

}

PKeyboard::PKeyboard() = default;

PKeyboard::~PKeyboard()
{
    close();
}

unsigned long PKeyboard::handlerId() const
{
    // The address the service's handler was made with: the I/O device part.
    return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(static_cast<const PIODevice*>(this)));
}

bool PKeyboard::open(int flags)
{
    PKeyboardIOQueueService& service = PKeyboardIOQueueService::getInstance();
    PError error;
    bool registered = false;
    bool started = false;
    try {
        const int timeout = parameter("timeout", PVariant(75)).toInt();
        service.setDebugMessageHandler(debugMessageHandler());
        auto self = std::static_pointer_cast<PKeyboard>(weak_from_this().lock());
        if (!self)
            throw openError(PError::GeneralFailure,
                            "Keyboard device must be made with std::make_shared", __LINE__);
        if (!service.registerInputHandler(PKeyboardIOQueueServiceInputHandler(self)))
            throw openError(PError::GeneralFailure, "Failed to register keyboard device", __LINE__);
        registered = true;
        service.setParameter("flags", PVariant(flags));
        service.start(timeout, nullptr);
        started = true;
        m_started = true;
        PIODevice::open(flags);
    } catch (...) {
        error = PError::fromCurrentException();
    }
    if (!error.isError())
        return true;
    if (started) {
        m_started = false;
        service.stop();
    }
    if (registered)
        service.unregisterInputHandler(handlerId());
    setLastError(error);
    return false;
}

bool PKeyboard::close()
{
    // Marked closed first, so that a tick already under way passes this device over.
    PIODevice::close();
    if (!m_started.exchange(false))
        return true;
    PKeyboardIOQueueService& service = PKeyboardIOQueueService::getInstance();
    service.stop();
    service.unregisterInputHandler(handlerId());
    return true;
}

PIODevice::SizeType PKeyboard::availibleBytes() const
{
    return 0;
}

PIODevice::SizeType PKeyboard::read(char*, SizeType)
{
    return 0;
}

PIODevice::SizeType PKeyboard::peek(char*, SizeType)
{
    return 0;
}

PIODevice::SizeType PKeyboard::write(const char*, SizeType)
{
    return 0;
}

int PKeyboard::capabilities() const
{
    return 0;
}

bool PKeyboard::inject(const std::vector<PKeyMSG>&, int)
{
    return false;
}
