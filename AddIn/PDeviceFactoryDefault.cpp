// The build's own device factory: the real device classes, and the ports and paired devices
// that their Java companions report.
#include "PDeviceFactory.h"

#include "PBluetooth.h"
#include "PBroadcastReceaver.h"
#include "PKeyboard.h"
#include "PSerialPort.h"
#include "PTcpSocket.h"
#include "PUdpSocket.h"

namespace {

class PRealDeviceFactory : public PDeviceFactory {
public:
    std::shared_ptr<PIOCustomDevice> make(const PDeviceSpec& spec) override
    {
        switch (spec.kind) {
        case PDeviceSpec::Keyboard:
            return std::make_shared<PKeyboard>();
        case PDeviceSpec::BroadcastReceaver: {
            auto receiver = std::make_shared<PBroadcastReceaver>();
            receiver->setSignalName(spec.signalName);
            receiver->setSignalCategoryName(spec.signalCategoryName);
            receiver->setFieldsDesc({PBroadcastDataField(spec.fieldName, spec.fieldType)});
            return receiver;
        }
        case PDeviceSpec::SerialPort: {
            auto port = std::make_shared<PSerialPort>();
            port->setPortID(spec.portId);
            port->setBaudRate(spec.baudRate);
            port->setCharSize(spec.charSize);
            port->setStopBits(static_cast<PSerialPort::StopBits>(spec.stopBits));
            port->setParity(static_cast<PSerialPort::Parity>(spec.parity));
            port->setFlowControl(static_cast<PSerialPort::FlowControl>(spec.flowControl));
            port->setEOL(spec.eol);
            return port;
        }
        case PDeviceSpec::Bluetooth:
            return std::make_shared<PBluetooth>(spec.address);
        case PDeviceSpec::TcpSocket:
            return std::make_shared<PTcpSocket>(spec.address, spec.port);
        case PDeviceSpec::UdpSocket: {
            auto socket = std::make_shared<PUdpSocket>();
            socket->setAddress(spec.address);
            socket->setPort(spec.port);
            return socket;
        }
        }
        return nullptr;
    }

    std::vector<PSerialPortEntry> serialPorts() override
    {
        return getAvailibleSerialPorts();
    }

    std::vector<PBluetoothEntry> bluetoothDevices() override { return PBluetooth::availibleDevices(); }
};

}

std::shared_ptr<PDeviceFactory> pDefaultDeviceFactory()
{
    static const std::shared_ptr<PDeviceFactory> factory = std::make_shared<PRealDeviceFactory>();
    return factory;
}
