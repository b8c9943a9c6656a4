// PDeviceFactory: the one place where Device gets its I/O devices, and where the settings
// catalogue and the serial set-up get the enumerated serial ports and Bluetooth devices.
#pragma once

#include "PIODevice.h"
#include "PPropertyBag.h"
#include "PSerialPort.h"
#include "PString.h"

#include <memory>
#include <string>
#include <vector>

// One enumerated serial port: its place from 1, the companion's id and "COM<number>".
using PSerialPortEntry = SerialPortInfo;

// One paired Bluetooth device: "address", "info" and, when the description has one, "name".
using PBluetoothEntry = KeyValue<PString, PVariant>;

// What a device class needs beyond the parameter bag: the kind and the settings that go to
// the class's own constructor and setters. Fields that a kind does not use stay as they are.
struct PDeviceSpec {
    enum Kind : int { Keyboard, BroadcastReceaver, Bluetooth, SerialPort, TcpSocket, UdpSocket };
    Kind kind = Keyboard;

    // Bluetooth: the device address. TCP and UDP: the host, "0.0.0.0" for every address.
    PString address;
    // TCP and UDP.
    unsigned short port = 0;

    // Serial port.
    std::string portId;
    int baudRate = 0;
    signed char charSize = 0;
    int stopBits = 0;
    int parity = 0;
    int flowControl = 0;
    char eol = '\r';

    // Broadcast receiver: the action, the category (may be empty) and the one data field.
    PString signalName;
    PString signalCategoryName;
    PString fieldName;
    int fieldType = 0;
};

// Thread-safety: current() and setCurrent() may be called from any thread; a factory's own
// operations are called on the host's thread. Failure: make answers null, the lists are
// empty; nothing throws but lack of memory.
class PDeviceFactory {
public:
    virtual ~PDeviceFactory();

    // A new, closed device of the kind that PDeviceSpec names, configured from it and made with
    // std::make_shared (a Java companion holds a handle that needs the shared owner). Null
    // when this build has no such device.
    virtual std::shared_ptr<PIOCustomDevice> make(const PDeviceSpec& spec) = 0;
    // The serial ports of this moment, in enumeration order.
    virtual std::vector<PSerialPortEntry> serialPorts() = 0;
    // The paired Bluetooth devices of this moment, in the order the system gives them.
    virtual std::vector<PBluetoothEntry> bluetoothDevices() = 0;

    // The factory in use: the one set last, else the build's own.
    static std::shared_ptr<PDeviceFactory> current();
    // Puts a factory in place for the whole process; null brings back the build's own.
    static void setCurrent(std::shared_ptr<PDeviceFactory> factory);
};

// The build's own factory of the real device classes (PDeviceFactoryDefault.cpp).
std::shared_ptr<PDeviceFactory> pDefaultDeviceFactory();
