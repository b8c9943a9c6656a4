// The companion holder, the write frame and the data events of the Java-backed devices.
#include "PJavaDevice.h"

#include "PEventKeys.h"

std::shared_ptr<PJavaCompanion> PDeviceCompanion::get() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return companion_;
}

bool PDeviceCompanion::isValid() const
{
    auto companion = get();
    return companion && companion->isValid();
}

void PDeviceCompanion::createWith(int64_t handle, const PString& className)
{
    if (handle == 0)
        P_THROW(PError::GeneralFailure,
                "a device that Java calls back must be made with std::make_shared");
    auto companion = PJavaCompanion::create(className, handle);
    if (!companion) {
        PJavaHandles::remove(handle);
        throw strake::javaLastError();
    }
    std::shared_ptr<PJavaCompanion> replaced;
    int64_t dropped = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        replaced.swap(companion_);
        companion_ = std::move(companion);
        dropped = handle_;
        handle_ = handle;
    }
    PJavaHandles::remove(dropped);
}

std::shared_ptr<PJavaCompanion> PDeviceCompanion::checked(const PString& className) const
{
    auto companion = get();
    if (companion && companion->isValid())
        return companion;
    const PError layer = strake::javaLastError();
    if (layer.isError())
        throw layer;
    P_THROW(PError::GeneralFailure, PString("no valid ") + className);
}

std::shared_ptr<PJavaCompanion> PDeviceCompanion::take()
{
    std::shared_ptr<PJavaCompanion> taken;
    int64_t dropped = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        taken.swap(companion_);
        dropped = handle_;
        handle_ = 0;
    }
    PJavaHandles::remove(dropped);
    return taken;
}

void PDeviceBuffers::open(bool forRead, bool forWrite)
{
    if (forRead && !read.open(PIODevice::OpenDeviceBuffer))
        P_THROW(PError::DeviceFailure, "failed to initialize read Buffer");
    if (forWrite && !write.open(PIODevice::OpenDeviceBuffer))
        P_THROW(PError::DeviceFailure, "failed to initialize write Buffer");
}

void PDeviceBuffers::close()
{
    read.close();
    write.close();
}

namespace PJavaDevice {

PError caughtError()
{
    return PError::fromCurrentException();
}

PString parameterText(std::initializer_list<std::pair<const char*, PString>> items)
{
    PString text;
    for (const auto& item : items)
        text += PString(item.first) + PString("=") + item.second + PString(";");
    return text;
}

PIODevice::SizeType write(bool open, const std::shared_ptr<PJavaCompanion>& companion,
                          const char* data, PIODevice::SizeType size, PError* error)
{
    PIODevice::SizeType written = 0;
    try {
        if (!open || !companion)
            P_THROW(PError::DeviceFailure, "device not opened");
        if (!strake::javaEnvAvailable())
            P_THROW(PError::GeneralFailure, "JNI is not availble");
        if (companion->callBoolean("write", data, size))
            written = size;
    } catch (...) {
        *error = caughtError();
    }
    return written;
}

void keepError(PIODevice& device, std::atomic<int>& code, const PError& error)
{
    device.exclusiveCallBegin();
    device.setLastError(error);
    code = error.code();
    device.exclusiveCallEnd();
}

PError keptError(const PIODevice& device)
{
    // The lock is no part of the device's value: reading under it changes nothing.
    auto& locked = const_cast<PIODevice&>(device);
    locked.exclusiveCallBegin();
    PError error = device.PIODevice::getLastError();
    locked.exclusiveCallEnd();
    return error;
}

PError lastError(const PError& kept, const std::shared_ptr<PJavaCompanion>& companion)
{
    if (kept.isError() || !companion)
        return kept;
    const PString message = companion->callText("getLastErrorMessage");
    if (!message.isEmpty())
        return PError(PError::GeneralFailure, message);
    return companion->lastError();
}

void reportError(PIODevice& device, PDeviceBuffers& buffers, std::atomic<int>& code,
                 const PError& error)
{
    if (const PIODevice::ErrorCallback notify = device.errorCallback())
        notify(error);
    device.exclusiveCallBegin();
    device.PIODevice::close();
    buffers.close();
    device.setLastError(error);
    code = error.code();
    device.exclusiveCallEnd();
}

namespace {

// The keyboard input of a data event that has none, shared by every event. These values are
// never destroyed: a companion's thread may deliver while the process ends.
const PVariant& noKeyboardInput()
{
    static const PVariant& value = *new PVariant(PByteArray());
    return value;
}

const PVariant& stateZero()
{
    static const PVariant& value = *new PVariant(0);
    return value;
}

}

EventHeader eventHeader(const PString& id, const char* type, const PVariant& alias)
{
    return EventHeader{PVariant(id), PVariant(type), PVariant(0), alias};
}

bool operator==(const EventHeader& a, const EventHeader& b)
{
    // Of the same type as well: an event tells an empty alias from none.
    const auto same = [](const PVariant& x, const PVariant& y) {
        return x.type() == y.type() && x == y;
    };
    return same(a.id, b.id) && same(a.type, b.type) && same(a.state, b.state) &&
           same(a.alias, b.alias);
}

DeviceFields deviceFields(const PVariant& input, const EventHeader& header)
{
    return DeviceFields{{{&PEventKeys::KeyboardInputKey(), &noKeyboardInput()},
                         {&PEventKeys::InputKey(), &input},
                         {&PEventKeys::DevIdEventKey(), &header.id},
                         {&PEventKeys::DevTypeEventKey(), &header.type},
                         {&PEventKeys::DevStateEventKey(), &header.state},
                         {&PEventKeys::DevAliasEventKey(), &header.alias}}};
}

SocketEvent::SocketEvent(const PByteArray& input, const char* id, const char* type)
    : input_(input),
      id_(id),
      type_(type ? PVariant(type) : PVariant()),
      fields_{{{&PEventKeys::KeyboardInputKey(), &noKeyboardInput()},
               {&PEventKeys::InputKey(), &input_},
               {&PEventKeys::IdKey(), &id_},
               type ? PEvent::Field{&PEventKeys::TypeKey(), &type_}
                    : PEvent::Field{&PEventKeys::StateKey(), &stateZero()},
               {&PEventKeys::StateKey(), &stateZero()}}},
      event_(fields_.data(), type ? 5 : 4)
{
}

void debugLine(const PIODevice& device, const std::string& text)
{
    const auto handler = device.debugMessageHandler();
    if (handler)
        handler(DebugMessageContext{}, text);
}

}
