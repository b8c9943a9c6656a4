// PIODevice and PIOCustomDevice: the open state, flags, callbacks and parameter bag.
#include "PIODevice.h"

#include "PLockedMap.h"
#include "PPublished.h"

#include <atomic>
#include <mutex>

struct PIODevicePrivate {
    // Atomic so that a buffer may answer isOpen() outside its own lock.
    std::atomic<bool> open{false};
    std::atomic<int> flags{0};
    PError lastError;
    // Read by every delivery without a count; a replaced callback stays until the device goes.
    PPublished<PIODevice::Callback> callback;
    PIODevice::ErrorCallback errorCallback;
    PIODevice::DebugMessageHandler debugHandler;
    // Guards nothing of its own: a device takes it around its error handling.
    std::mutex exclusive;
};

PIODevice::PIODevice() : d(new PIODevicePrivate) {}

PIODevice::~PIODevice() = default;

bool PIODevice::open(int flags)
{
    d->flags = flags;
    d->open = true;
    return true;
}

bool PIODevice::close()
{
    d->open = false;
    return true;
}

bool PIODevice::isOpen() const
{
    return d->open;
}

bool PIODevice::waitForReadyRead(int)
{
    return false;
}

bool PIODevice::waitForBytesWriten(int)
{
    return false;
}

PIODevice::SizeType PIODevice::skip(SizeType)
{
    return 0;
}

PError PIODevice::getLastError() const
{
    return d->lastError;
}

PByteArray PIODevice::read(SizeType size)
{
    if (size == 0)
        return PByteArray();
    PByteArray result(static_cast<unsigned long>(size));
    read(reinterpret_cast<char*>(result.data()), size);
    return result;
}

PByteArray PIODevice::readAll()
{
    return read(availibleBytes());
}

PByteArray PIODevice::peek(SizeType size)
{
    if (size == 0)
        return PByteArray();
    PByteArray result(static_cast<unsigned long>(size));
    peek(reinterpret_cast<char*>(result.data()), size);
    return result;
}

PIODevice::SizeType PIODevice::write(const PByteArray& data)
{
    if (data.isEmpty())
        return 0;
    return write(reinterpret_cast<const char*>(data.constData()), data.size());
}

int PIODevice::openFlags() const
{
    return d->flags;
}

PIODevice::Callback PIODevice::callback() const
{
    return d->callback.get();
}

const PIODevice::Callback& PIODevice::heldCallback() const
{
    return d->callback.get();
}

void PIODevice::setCallback(Callback callback)
{
    d->callback.set(std::move(callback));
}

PIODevice::ErrorCallback PIODevice::errorCallback() const
{
    return d->errorCallback;
}

void PIODevice::setErrorCallback(ErrorCallback callback)
{
    d->errorCallback = std::move(callback);
}

PIODevice::DebugMessageHandler PIODevice::debugMessageHandler() const
{
    return d->debugHandler;
}

void PIODevice::setDebugMessageHandler(DebugMessageHandler handler)
{
    d->debugHandler = std::move(handler);
}

void PIODevice::setLastError(const PError& error)
{
    d->lastError = error;
}

void PIODevice::exclusiveCallBegin()
{
    d->exclusive.lock();
}

void PIODevice::exclusiveCallEnd()
{
    d->exclusive.unlock();
}

struct PIOCustomDevicePrivate {
    // Device writes the bag on the host's thread; a device reads it on any.
    PLockedMap parameters;
};

PIOCustomDevice::PIOCustomDevice() : dc(new PIOCustomDevicePrivate) {}

PIOCustomDevice::~PIOCustomDevice() = default;

void PIOCustomDevice::setParameter(const PString& name, const PVariant& value)
{
    dc->parameters.setValue(name, value);
}

PVariant PIOCustomDevice::parameter(const PString& name, const PVariant& fallback) const
{
    return dc->parameters.value(name, fallback);
}
