// The build's own device factory. The device classes (keyboard, broadcast receiver,
// Bluetooth, serial port, TCP and UDP socket) are not part of this build yet: until they are,
// it makes no device, so that every open ends in "Failed to create device" (code 2), and it
// knows no serial port and no Bluetooth device.
#include "PDeviceFactory.h"

namespace {

class PNoDeviceFactory : public PDeviceFactory {
public:
    std::shared_ptr<PIOCustomDevice> make(const PDeviceSpec&) override { return nullptr; }
    std::vector<PSerialPortEntry> serialPorts() override { return {}; }
    std::vector<PBluetoothEntry> bluetoothDevices() override { return {}; }
};

}

std::shared_ptr<PDeviceFactory> pDefaultDeviceFactory()
{
    static const std::shared_ptr<PDeviceFactory> factory = std::make_shared<PNoDeviceFactory>();
    return factory;
}
