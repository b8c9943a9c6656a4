// PSerialPort: the line settings, the open frame around the Java companion, deliveries, and
// the two port enumerations with their parsers.
#include "PSerialPort.h"

#include "PEventKeys.h"
#include "PJavaDevice.h"
#include "PPublished.h"
#include "PXmlNodes.h"
#include "StrakeText.h"

#include <memory>

const char* const PSerialPort::JavaClass = "com.tavrel.piodevice.PSerialPort";

struct PSerialPortPrivate {
    std::string portId;
    int baudRate = 0;
    signed char charSize = 0;
    int stopBits = 0;
    int parity = 0;
    int flowControl = 0;
    char eol = 13;
    PDeviceBuffers buffers;
    PDeviceCompanion companion;
    // What each event says of the port, made at open (the settings don't change while open).
    // A late delivery may read it while a new open replaces it, so the one it reads stays
    // until the port goes; an open with the same port and alias makes nothing new.
    PPublished<PJavaDevice::EventHeader> eventHeader;
};

PSerialPort::PSerialPort() : d(new PSerialPortPrivate) {}

PSerialPort::PSerialPort(const std::string& portId, const int& baudRate,
                         const signed char& charSize, const StopBits& stopBits,
                         const Parity& parity, const FlowControl& flowControl)
    : PSerialPort()
{
    d->portId = portId;
    d->baudRate = baudRate;
    d->charSize = charSize;
    d->stopBits = stopBits;
    d->parity = parity;
    d->flowControl = flowControl;
}

PSerialPort::~PSerialPort()
{
    close();
    // The companion goes with its handle; a delivery still running holds its own copy.
    d->companion.take();
}

void PSerialPort::setPortID(const std::string& portId)
{
    d->portId = portId;
}

void PSerialPort::setBaudRate(const int& baudRate)
{
    d->baudRate = baudRate;
}

void PSerialPort::setCharSize(const signed char& charSize)
{
    d->charSize = charSize;
}

void PSerialPort::setStopBits(const StopBits& stopBits)
{
    d->stopBits = stopBits;
}

void PSerialPort::setParity(const Parity& parity)
{
    d->parity = parity;
}

void PSerialPort::setFlowControl(const FlowControl& flowControl)
{
    d->flowControl = flowControl;
}

void PSerialPort::setEOL(char eol)
{
    d->eol = eol;
}

bool PSerialPort::open(int flags)
{
    if (isOpen())
        return true;
    PError error;
    try {
        if (!strake::javaConnected())
            P_THROW(PError::GeneralFailure, "JNI not connected");
        const int bufferedRead = OpenBuffered | OpenRead;
        const int bufferedWrite = OpenBuffered | OpenWrite;
        d->buffers.open((flags & bufferedRead) == bufferedRead,
                        (flags & bufferedWrite) == bufferedWrite);
        // A companion that went invalid (the JNI layer was disconnected) is replaced.
        auto companion =
            d->companion.prepare(*this, PString(JavaClass), !d->companion.isValid());
        const PString parameters = PJavaDevice::parameterText({
            {"portid", PString(d->portId)},
            {"speed", PString(std::to_string(d->baudRate))},
            {"data_bits", PString(std::to_string(d->charSize))},
            {"stop_bits", PString(std::to_string(d->stopBits))},
            {"parity", PString(std::to_string(d->parity))},
            {"flags", PString(std::to_string(flags))},
        });
        d->eventHeader.set(
            PJavaDevice::eventHeader(PString(d->portId), "serial", parameter(PString("alias"))));
        // Open before the companion starts its reader: a block it reads at once (codes a
        // scanner kept while the link was down) must reach the callback, not be dropped.
        PIODevice::open(flags);
        if (!companion->callBoolean("open", parameters)) {
            const PString message = companion->callText("getLastErrorMessage");
            if (!message.isEmpty())
                throw PError(PError::GeneralFailure, message);
            const PError javaError = companion->lastError();
            if (!javaError.isError())
                P_THROW(PError::DeviceFailure, "Failed to open tcpsocket device. Check connection.");
            throw javaError;
        }
    } catch (...) {
        error = PJavaDevice::caughtError();
    }
    if (error.isError()) {
        PIODevice::close();
        setLastError(error);
    }
    return isOpen();
}

bool PSerialPort::close()
{
    if (isOpen()) {
        if (auto companion = d->companion.get())
            companion->callVoid("close");
    }
    d->buffers.close();
    PIODevice::close();
    return true;
}

bool PSerialPort::isOpen() const
{
    return PIODevice::isOpen() && d->companion.isValid();
}

PIODevice::SizeType PSerialPort::availibleBytes() const
{
    return d->buffers.read.availibleBytes();
}

PIODevice::SizeType PSerialPort::read(char* data, SizeType size)
{
    return d->buffers.read.read(data, size);
}

PIODevice::SizeType PSerialPort::peek(char* data, SizeType size)
{
    return d->buffers.read.peek(data, size);
}

PIODevice::SizeType PSerialPort::write(const char* data, SizeType size)
{
    PError error;
    const SizeType written = PJavaDevice::write(isOpen(), d->companion.get(), data, size, &error);
    if (error.isError())
        setLastError(error);
    return written;
}

PIODevice::SizeType PSerialPort::write(const std::string& data)
{
    return write(data.data(), data.size());
}

int PSerialPort::capabilities() const
{
    return 0;
}

bool PSerialPort::waitForReadyRead(int msecs)
{
    return d->buffers.read.waitForReadyRead(msecs);
}

bool PSerialPort::waitForBytesWriten(int)
{
    return isOpen();
}

void PSerialPort::onReceive(PByteArray data)
{
    if (data.isEmpty())
        return;
    // The block moves into the event's value: no shared count changes on its way.
    const PVariant input(std::move(data));
    const PByteArray& block = *input.bytesOf();
    // The delivery comes from the companion itself, so only the open state is asked: the
    // companion's own check costs three locks per block.
    if (PIODevice::isOpen()) {
        if (const Callback& notify = heldCallback()) {
            const auto fields = PJavaDevice::deviceFields(input, d->eventHeader.get());
            PIODeviceEvent event(fields.data(), fields.size());
            notify(&event);
        }
    }
    d->buffers.read.write(block.constChars(), block.size());
}

void PSerialPort::onBytesWriten(const unsigned long&) {}

std::vector<PString> PSerialPort::getAvailiblePorts()
{
    std::vector<PString> ports;
    try {
        if (!strake::javaConnected())
            P_THROW(PError::GeneralFailure, "JNI not connected");
        PError error;
        const PString answer = PJavaCompanion::callStaticText(PString(JavaClass),
                                                              "availibleDevices", true, &error);
        if (error.isError())
            throw error;
        parsePortList(answer, &ports);
    } catch (...) {
        // Nowhere to keep the reason: the list read so far is the answer.
    }
    return ports;
}

std::vector<KeyValue<PString, PVariant>> PSerialPort::getAvailiblePortsInfo()
{
    std::vector<KeyValue<PString, PVariant>> ports;
    try {
        if (!strake::javaConnected())
            P_THROW(PError::GeneralFailure, "JNI not connected");
        PError error;
        const PString answer = PJavaCompanion::callStaticText(PString(JavaClass),
                                                              "availibleDevicesInfo", true, &error);
        if (error.isError())
            throw error;
        parsePortsInfo(answer, &ports);
    } catch (...) {
    }
    return ports;
}

void PSerialPort::parsePortList(const PString& answer, std::vector<PString>* found)
{
    if (answer.isEmpty())
        P_THROW(PError::GeneralFailure, "No device found");
    for (const PString& part : answer.split(u';'))
        found->push_back(PString(strake::base642Raw(part.toStdString())));
}

void PSerialPort::parsePortsInfo(const PString& answer,
                                 std::vector<KeyValue<PString, PVariant>>* found)
{
    static const char* const keys[] = {"id",          "productId",    "vendorId",
                                       "manufacturerName", "productName", "serialNumber",
                                       "deviceName"};
    PXmlDocument document;
    if (!document.setContent(answer))
        P_THROW(PError::GeneralFailure, "Devices info has ill formed format");
    const PXmlElement devices = document.firstChildElement(PString("Devices"));
    if (!devices.isValid())
        P_THROW(PError::GeneralFailure, "Cant find devices info");
    for (PXmlElement device = devices.firstChildElement(); device.isValid();
         device = device.nextSiblingElement()) {
        KeyValue<PString, PVariant> info;
        for (const char* key : keys)
            info.setValue(PString(key), device.attribute(PString(key)));
        found->push_back(info);
    }
}

std::vector<SerialPortInfo> getAvailibleSerialPorts()
{
    std::vector<SerialPortInfo> result;
    const std::vector<PString> ports = PSerialPort::getAvailiblePorts();
    for (size_t i = 0; i < ports.size(); ++i) {
        SerialPortInfo info;
        info.number = static_cast<int>(i) + 1;
        info.portId = ports[i];
        info.name = PString("COM") + PString(std::to_string(info.number));
        result.push_back(info);
    }
    return result;
}
