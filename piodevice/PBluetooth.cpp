// PBluetooth: the open frame around the Java companion, deliveries and the device list.
#include "PBluetooth.h"
#include "PBluetooth_p.h"

#include "StrakeText.h"

#include <string>

const char* const PBluetooth::JavaClass = "com.tavrel.piodevice.PBluetooth";

PBluetooth::PBluetooth() : d(new PBluetoothPrivate) {}

PBluetooth::PBluetooth(const PString& deviceId) : PBluetooth()
{
    d->deviceId = deviceId;
}

PBluetooth::PBluetooth(PBluetoothPrivate* record) : d(record ? record : new PBluetoothPrivate) {}

PBluetooth::PBluetooth(PBluetooth&& other) : d(new PBluetoothPrivate)
{
    *this = std::move(other);
}

PBluetooth& PBluetooth::operator=(PBluetooth&& other)
{
    if (this != &other) {
        close();
        other.close();
        d.swap(other.d);
    }
    return *this;
}

PBluetooth::~PBluetooth()
{
    close();
}

void PBluetooth::setDeviceId(const PString& deviceId)
{
    d->deviceId = deviceId;
}

bool PBluetooth::open(int flags)
{
    if (isOpen())
        return true;
    PError error;
    try {
        if (!strake::javaConnected())
            P_THROW(PError::GeneralFailure, "JNI not connected");
        PBluetoothCompanionHolder& holder = d->holder;
        if (holder.connectedSocket.isNull() && d->deviceId.isEmpty())
            P_THROW(PError::GeneralFailure, "no device address set");
        d->buffers.open(flags & OpenRead, flags & OpenWrite);
        auto companion =
            holder.companion.prepare(*this, PString(JavaClass), !holder.companion.exists());
        // Open before the companion starts its reader: a block it reads at once (codes a
        // scanner kept while the link was down) must reach the callback, not be dropped.
        PIODevice::open(flags);
        if (!holder.connectedSocket.isNull()) {
            companion->callVoid("setConnected", "(Landroid/bluetooth/BluetoothSocket;J)V",
                                holder.connectedSocket, static_cast<int64_t>(flags));
        } else {
            const PString parameters = PJavaDevice::parameterText({
                {"address", d->deviceId},
                {"flags", PString(std::to_string(flags))},
            });
            if (!companion->callBoolean("open", parameters)) {
                const PError javaError = getLastError();
                if (javaError.isError())
                    throw javaError;
                P_THROW(PError::DeviceFailure,
                        "Failed to open bluetooth device. Check connection.");
            }
        }
    } catch (...) {
        error = PJavaDevice::caughtError();
    }
    if (error.isError()) {
        PIODevice::close();
        setLastError(error);
    }
    return !error.isError();
}

bool PBluetooth::close()
{
    if (auto companion = d->holder.companion.take()) {
        if (companion->isValid())
            companion->callVoid("close");
    }
    d->buffers.close();
    PIODevice::close();
    return true;
}

bool PBluetooth::isOpen() const
{
    const auto companion = d->holder.companion.get();
    return companion && companion->isValid() && PIODevice::isOpen()
        && companion->callBoolean("isOpen");
}

PIODevice::SizeType PBluetooth::availibleBytes() const
{
    return d->buffers.read.availibleBytes();
}

PIODevice::SizeType PBluetooth::read(char* data, SizeType size)
{
    return d->buffers.read.read(data, size);
}

PIODevice::SizeType PBluetooth::peek(char* data, SizeType size)
{
    return d->buffers.read.peek(data, size);
}

PIODevice::SizeType PBluetooth::write(const char* data, SizeType size)
{
    PError error;
    const SizeType written =
        PJavaDevice::write(isOpen(), d->holder.companion.get(), data, size, &error);
    if (error.isError())
        setLastError(error);
    return written;
}

int PBluetooth::capabilities() const
{
    return 0;
}

bool PBluetooth::waitForReadyRead(int msecs)
{
    return d->buffers.read.waitForReadyRead(msecs);
}

bool PBluetooth::waitForBytesWriten(int)
{
    return isOpen();
}

PError PBluetooth::getLastError() const
{
    const PError kept = PIODevice::getLastError();
    if (kept.isError())
        return kept;
    const auto companion = d->holder.companion.get();
    if (!companion)
        return PError(PError::GeneralFailure, PString("Current object is invalid"));
    return PJavaDevice::lastError(kept, companion);
}

void PBluetooth::onReceive(const PByteArray& data)
{
    if (data.isEmpty())
        return;
    d->buffers.read.write(data.constChars(), data.size());
    // The companion is delivering, so its own view of the link adds nothing; asking Java here
    // would only cost a call per block.
    const Callback notify = callback();
    if (notify && PIODevice::isOpen() && d->holder.companion.isValid()) {
        const PJavaDevice::EventHeader header =
            PJavaDevice::eventHeader(d->deviceId, "bluetooth", parameter(PString("alias")));
        const PVariant input(data);
        const auto fields = PJavaDevice::deviceFields(input, header);
        PIODeviceEvent event(fields.data(), fields.size());
        notify(&event);
    }
}

void PBluetooth::onReceive(const char* data, unsigned long size)
{
    onReceive(PByteArray(reinterpret_cast<const unsigned char*>(data), size));
}

void PBluetooth::onBytesWriten(const unsigned long&) {}

void PBluetooth::onError(const PError& error)
{
    if (const ErrorCallback notify = errorCallback())
        notify(error);
    setLastError(error);
    PIODevice::close();
    d->buffers.close();
}

std::vector<PBluetoothDeviceInfo> PBluetooth::availibleDevices()
{
    try {
        PError error;
        const PString answer =
            PJavaCompanion::callStaticText(PString(JavaClass), "availibleDevices", false, &error);
        if (!error.isError())
            return parseDevices(answer);
    } catch (...) {
    }
    return {};
}

std::vector<PBluetoothDeviceInfo> PBluetooth::parseDevices(const PString& answer)
{
    std::vector<PBluetoothDeviceInfo> devices;
    for (const PString& part : answer.split(u';')) {
        PBluetoothDeviceInfo info;
        for (const PString& piece : part.split(u'#')) {
            const std::vector<PString> field = piece.split(u':');
            if (field.size() != 2)
                continue;
            const std::string value = strake::base642Raw(field[1].toStdString());
            if (field[0] == PString("address")) {
                info.setValue(PString("address"), PVariant(PByteArray(value)));
            } else if (field[0] == PString("info")) {
                info.setValue(PString("info"), PVariant(PByteArray(value)));
                const size_t bracket = value.find('[');
                if (bracket != std::string::npos && bracket > 0)
                    info.setValue(PString("name"), PVariant(PString(value.substr(0, bracket)).trimed()));
            }
        }
        devices.push_back(info);
    }
    return devices;
}
