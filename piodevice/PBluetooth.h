// PBluetooth, the device of a Bluetooth link driven by its Java companion, and the list of
// the devices that the companion knows.
#pragma once

#include "PIODevice.h"
#include "PPropertyBag.h"

#include <memory>
#include <vector>

struct PBluetoothPrivate;

// One listed device: "address" and "info" (the description) as bytes, and "name", the text of
// the description before its first "[", trimmed, when there is such text.
using PBluetoothDeviceInfo = KeyValue<PString, PVariant>;

// The native face of com.tavrel.piodevice.PBluetooth: opens the companion with
// "address=..;flags=..;" (or hands it a socket that is already connected), and turns each
// block that it delivers into the read buffer and an event. isOpen() asks the companion each
// time, so a dropped link shows at once. close drops the companion; the next open makes a new
// one. Made with std::make_shared (PJavaHandles.h); threads as PSerialPort.
class PBluetooth : public PIOCustomDevice {
public:
    static const char* const JavaClass;

    PBluetooth();
    explicit PBluetooth(const PString& deviceId);
    // Takes over a prepared record, which may hold a connected socket.
    explicit PBluetooth(PBluetoothPrivate* record);
    // The source is closed first and keeps a fresh record, as PTcpSocket's.
    PBluetooth(PBluetooth&& other);
    PBluetooth& operator=(PBluetooth&& other);
    ~PBluetooth() override;

    void setDeviceId(const PString& deviceId);

    bool open(int flags) override;
    bool close() override;
    // Companion valid, open state, and the companion's own isOpen().
    bool isOpen() const override;
    SizeType availibleBytes() const override;
    SizeType read(char* data, SizeType size) override;
    SizeType peek(char* data, SizeType size) override;
    SizeType write(const char* data, SizeType size) override;
    using PIODevice::peek;
    using PIODevice::read;
    using PIODevice::write;
    int capabilities() const override;
    bool waitForReadyRead(int msecs) override;
    // isOpen().
    bool waitForBytesWriten(int msecs) override;
    // The device's own error; else "Current object is invalid" without companion; else the
    // companion's message or call error.
    PError getLastError() const override;

    // A block from the companion: to the read buffer, then to the callback while open.
    void onReceive(const PByteArray& data);
    void onReceive(const char* data, unsigned long size);
    void onBytesWriten(const unsigned long& count);
    // The error callback, the error kept, the device and its buffers closed.
    void onError(const PError& error);

    // The companion's availibleDevices; empty on any failure.
    static std::vector<PBluetoothDeviceInfo> availibleDevices();
    // The parser behind it: one entry per ";"-part, fields "key:Base64" split by "#".
    static std::vector<PBluetoothDeviceInfo> parseDevices(const PString& answer);

private:
    std::unique_ptr<PBluetoothPrivate> d;
};
