// PSerialPort, the device of a serial port driven by its Java companion, and the enumeration
// of the ports that the companion knows.
#pragma once

#include "PIODevice.h"
#include "PPropertyBag.h"

#include <memory>
#include <string>
#include <vector>

struct PSerialPortPrivate;

// One enumerated port: its place from 1, the id that the companion reported and "COM<number>".
struct SerialPortInfo {
    int number = 0;
    PString portId;
    PString name;
};

// The native face of com.tavrel.piodevice.PSerialPort: keeps the line settings, hands them to
// the companion in one parameter string at open, and turns each block that the companion
// delivers into a data event for the callback, then into the read buffer (when opened with
// OpenRead|OpenBuffered). The companion, made at the first open, stays until the destructor;
// deliveries reach the device only while it is open.
// Made with std::make_shared (the companion calls back through a handle, PJavaHandles.h); a
// device made otherwise cannot open. The settings are written before open; open, close and
// write run on the host's thread; deliveries on the companion's, and the host may close or
// drop the device from inside its callback.
class PSerialPort : public PIOCustomDevice {
public:
    // The values of the settings catalogue; the companion gives them their meaning.
    enum StopBits : int { OneStop = 0, OneAndHalfStop = 1, TwoStop = 2 };
    enum Parity : int { NoParity = 0, OddParity = 1, EvenParity = 2, MarkParity = 3, SpaceParity = 4 };
    enum FlowControl : int { NoFlowControl = 0, HardwareControl = 1, SoftwareControl = 2 };

    static const char* const JavaClass;

    PSerialPort();
    PSerialPort(const std::string& portId, const int& baudRate, const signed char& charSize,
                const StopBits& stopBits, const Parity& parity, const FlowControl& flowControl);
    ~PSerialPort() override;

    void setPortID(const std::string& portId);
    void setBaudRate(const int& baudRate);
    void setCharSize(const signed char& charSize);
    void setStopBits(const StopBits& stopBits);
    void setParity(const Parity& parity);
    void setFlowControl(const FlowControl& flowControl);
    void setEOL(char eol);

    // Opens the companion with "portid=..;speed=..;data_bits=..;stop_bits=..;parity=..;flags=..;".
    // False with the reason in getLastError(); true at once when already open.
    bool open(int flags) override;
    // Closes the companion (kept for the next open) and both buffers; always true.
    bool close() override;
    // A companion that is there and valid, and the open state.
    bool isOpen() const override;
    SizeType availibleBytes() const override;
    SizeType read(char* data, SizeType size) override;
    SizeType peek(char* data, SizeType size) override;
    // Hands the bytes to the companion: the size when it took them all, else 0.
    SizeType write(const char* data, SizeType size) override;
    using PIODevice::peek;
    using PIODevice::read;
    using PIODevice::write;
    SizeType write(const std::string& data);
    int capabilities() const override;
    bool waitForReadyRead(int msecs) override;
    // isOpen().
    bool waitForBytesWriten(int msecs) override;

    // A block from the companion: to the callback while open, then to the read buffer. Taken
    // by value, so that the event holds the very block the companion's call made.
    virtual void onReceive(PByteArray data);
    virtual void onBytesWriten(const unsigned long& count);

    // Base64 port ids from the companion's availibleDevices, decoded; empty on any failure.
    static std::vector<PString> getAvailiblePorts();
    // The companion's availibleDevicesInfo: one map per child of <Devices>, with the keys
    // id, productId, vendorId, manufacturerName, productName, serialNumber and deviceName.
    static std::vector<KeyValue<PString, PVariant>> getAvailiblePortsInfo();

    // The parsers behind the two enumerations. They throw PError: "No device found" for an
    // empty answer, "Devices info has ill formed format" for text that is no XML, "Cant find
    // devices info" without a Devices element; *found holds what was read before.
    static void parsePortList(const PString& answer, std::vector<PString>* found);
    static void parsePortsInfo(const PString& answer, std::vector<KeyValue<PString, PVariant>>* found);

private:
    std::unique_ptr<PSerialPortPrivate> d;
};

// The ports of getAvailiblePorts as COM1, COM2, ... in their order.
std::vector<SerialPortInfo> getAvailibleSerialPorts();
