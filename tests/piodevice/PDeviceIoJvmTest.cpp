// The devices with the real desktop companions: a serial port and a Bluetooth peer behind
// pseudo-terminals, a TCP echo server and a UDP sender on 127.0.0.1.
#include "DeviceJvmFixture.h"
#include "LoopbackSocket.h"
#include "PBluetooth.h"
#include "PSerialPort.h"
#include "PTcpSocket.h"
#include "PUdpSocket.h"

#include <termios.h>

#include <cstring>

namespace devicetest {
namespace {

using kelmortest::LoopbackSocket;
using kelmortest::readFor;

using PDeviceIoJvmTest = DeviceJvmTest;

TEST_F(PDeviceIoJvmTest, serialPortOverAPseudoTerminalAppliesTheLineAndCarriesBytesBothWays)
{
    PseudoTerminal pty;
    ASSERT_FALSE(pty.slave.empty());
    setProperty("kelmor.serial.ports", pty.slave);
    const auto ports = getAvailibleSerialPorts();
    kelmortest::clearProperty("kelmor.serial.ports");
    ASSERT_FALSE(ports.empty());
    EXPECT_EQ(ports.back().portId, PString(pty.slave));
    EXPECT_EQ(ports.back().name, PString("COM") + PString(std::to_string(ports.size())));

    // A pseudo-terminal keeps speed and stop bits but refuses other than 8 bits and no parity.
    auto refused = std::make_shared<PSerialPort>(pty.slave, 9600, 7, PSerialPort::OneStop,
                                                 PSerialPort::EvenParity, PSerialPort::NoFlowControl);
    EXPECT_FALSE(refused->open(PIODevice::OpenRead));
    EXPECT_EQ(refused->getLastError().code(), 2);
    EXPECT_EQ(refused->getLastError().message().toStdString().rfind("stty: " + pty.slave, 0), 0u)
        << refused->getLastError().message().toStdString();

    Recorder recorder;
    auto port = std::make_shared<PSerialPort>(pty.slave, 19200, 8, PSerialPort::TwoStop,
                                              PSerialPort::NoParity, PSerialPort::NoFlowControl);
    port->setParameter(PString("alias"), PVariant("COM1"));
    port->setCallback(recorder.callback());
    ASSERT_TRUE(port->open(PIODevice::OpenRead | PIODevice::OpenBuffered)) << port->getLastError().toString().toStdString();

    const int slave = ::open(pty.slave.c_str(), O_RDWR | O_NOCTTY);
    ASSERT_GE(slave, 0);
    termios line{};
    ASSERT_EQ(tcgetattr(slave, &line), 0);
    ::close(slave);
    EXPECT_EQ(cfgetispeed(&line), B19200);
    EXPECT_EQ(cfgetospeed(&line), B19200);
    EXPECT_EQ(line.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
    EXPECT_TRUE(line.c_cflag & CSTOPB);
    EXPECT_FALSE(line.c_cflag & PARENB);
    EXPECT_FALSE(line.c_lflag & (ICANON | ECHO)) << "raw bytes, no echo";

    ASSERT_TRUE(pty.send("4601234567893\r"));
    EXPECT_EQ(recorder.waitForInput(14), "4601234567893\r");
    const auto event = recorder.events().front();
    EXPECT_EQ(event->value(PString("dev_id")).toPString(), PString(pty.slave));
    EXPECT_EQ(event->value(PString("dev_type")).toPString(), PString("serial"));
    EXPECT_EQ(event->value(PString("dev_alias")).toPString(), PString("COM1"));
    EXPECT_TRUE(eventually([&] { return port->availibleBytes() == 14; }));

    EXPECT_EQ(port->write(std::string("ACK\x06", 4)), 4u);
    EXPECT_EQ(pty.receive(4), std::string("ACK\x06", 4));
    port->close();

    auto unknown = std::make_shared<PSerialPort>("/dev/no-such-tty", 9600, 8, PSerialPort::OneStop,
                                                 PSerialPort::NoParity, PSerialPort::NoFlowControl);
    EXPECT_FALSE(unknown->open(PIODevice::OpenRead));
    EXPECT_EQ(unknown->getLastError().code(), 2);
    EXPECT_NE(unknown->getLastError().message().toStdString().find("/dev/no-such-tty"), std::string::npos);
}

TEST_F(PDeviceIoJvmTest, tcpSocketTalksToAnEchoServerAndReportsThePeerLeaving)
{
    LoopbackSocket server(SOCK_STREAM);
    const unsigned short port = server.listenAny();
    ASSERT_NE(port, 0);

    Recorder recorder;
    auto tcp = std::make_shared<PTcpSocket>(PString("127.0.0.1"), port);
    tcp->setCallback(recorder.callback());
    tcp->setErrorCallback(recorder.errorCallback());
    ASSERT_TRUE(tcp->open(PIODevice::OpenReadWrite)) << tcp->getLastError().toString().toStdString();
    int peer = server.accept();
    ASSERT_GE(peer, 0);

    EXPECT_EQ(tcp->write(PByteArray("ping")), 4u);
    const std::string echoed = readFor(peer, 4);
    ASSERT_EQ(echoed, "ping");
    ASSERT_EQ(send(peer, echoed.data(), echoed.size(), 0), 4);
    EXPECT_EQ(recorder.waitForInput(4), "ping");
    const auto event = recorder.events().front();
    EXPECT_EQ(event->value(PString("id")).toPString(), PString("tcpsocket"));
    EXPECT_EQ(event->value(PString("type")).toPString(), PString("tcp"));
    EXPECT_EQ(event->value(PString("state")).toInt(), 0);
    EXPECT_EQ(tcp->readAll(), PByteArray("ping"));

    std::thread waiter([&] { EXPECT_FALSE(tcp->waitForReadyRead(-1)); });
    ::close(peer);
    waiter.join();
    ASSERT_TRUE(eventually([&] { return !recorder.errors().empty(); }));
    EXPECT_FALSE(tcp->isOpen());
    EXPECT_EQ(tcp->getLastError().code(), 200);
    EXPECT_EQ(tcp->getLastError().message(), PString("Connection closed by peer"));

    ASSERT_TRUE(tcp->open(PIODevice::OpenReadWrite));
    EXPECT_TRUE(tcp->isOpen());
    EXPECT_EQ(tcp->getLastError().code(), 0);
    peer = server.accept();
    tcp->close();
    ::close(peer);
}

TEST_F(PDeviceIoJvmTest, udpSocketKeepsEachDatagramWholeAndAnswersItsSender)
{
    LoopbackSocket sender(SOCK_DGRAM);
    sender.bindAny();
    unsigned short port = 0;
    {
        LoopbackSocket probe(SOCK_DGRAM);
        port = probe.bindAny();
    }
    Recorder recorder;
    auto udp = std::make_shared<PUdpSocket>();
    udp->setCallback(recorder.callback());
    ASSERT_TRUE(udp->bindTo(PString("127.0.0.1"), port, PIODevice::OpenReadWrite))
        << udp->getLastError().toString().toStdString();

    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    target.sin_port = htons(port);
    for (const char* datagram : {"a", "bb", "ccc"})
        sendto(sender.fd, datagram, strlen(datagram), 0, reinterpret_cast<sockaddr*>(&target), sizeof target);
    ASSERT_TRUE(recorder.waitFor(3));
    const auto events = recorder.events();
    EXPECT_EQ(events[0]->value(PString("input")).toByteArray(), PByteArray("a"));
    EXPECT_EQ(events[1]->value(PString("input")).toByteArray(), PByteArray("bb"));
    EXPECT_EQ(events[2]->value(PString("input")).toByteArray(), PByteArray("ccc"));
    EXPECT_EQ(events[2]->value(PString("id")).toPString(), PString("udpsocket"));
    EXPECT_EQ(udp->availibleBytes(), 6u);

    EXPECT_EQ(udp->write(PByteArray("reply")), 5u);
    EXPECT_EQ(readFor(sender.fd, 5), "reply");
    udp->close();
}

TEST_F(PDeviceIoJvmTest, bluetoothPeerBehindAPseudoTerminalIsListedOpenedAndSeenToLeave)
{
    PseudoTerminal pty;
    ASSERT_FALSE(pty.slave.empty());
    registerBluetooth("00:11:22:33:44:55", "Scanner", pty.slave);
    const auto devices = PBluetooth::availibleDevices();
    ASSERT_FALSE(devices.empty());
    const PBluetoothDeviceInfo& listed = devices.back();
    EXPECT_EQ(listed.value(PString("address")).toByteArray(), PByteArray("00:11:22:33:44:55"));
    EXPECT_EQ(listed.value(PString("info")).toByteArray(), PByteArray("Scanner [00:11:22:33:44:55]"));
    EXPECT_EQ(listed.value(PString("name")).toPString(), PString("Scanner"));

    Recorder recorder;
    auto device = std::make_shared<PBluetooth>(PString("00:11:22:33:44:55"));
    device->setCallback(recorder.callback());
    ASSERT_TRUE(device->open(PIODevice::OpenRead)) << device->getLastError().toString().toStdString();
    EXPECT_TRUE(device->isOpen());
    ASSERT_TRUE(pty.send("AB\r"));
    EXPECT_EQ(recorder.waitForInput(3), "AB\r");
    EXPECT_EQ(recorder.events().front()->value(PString("dev_type")).toPString(), PString("bluetooth"));
    EXPECT_EQ(recorder.events().front()->value(PString("dev_id")).toPString(), PString("00:11:22:33:44:55"));
    EXPECT_EQ(device->write(PByteArray("hi")), 2u);
    EXPECT_EQ(pty.receive(2), "hi");

    pty.closeMaster();
    EXPECT_TRUE(eventually([&] { return !device->isOpen(); }));
    device->close();
    unregisterBluetooth("00:11:22:33:44:55");
}

TEST_F(PDeviceIoJvmTest, bluetoothLinkThatDropsIsMadeAgainWhileOpen)
{
    LoopbackSocket server(SOCK_STREAM);
    const unsigned short port = server.listenAny();
    ASSERT_NE(port, 0);
    const std::string endpoint = "tcp:127.0.0.1:" + std::to_string(port);
    registerBluetooth("AA:BB:CC:DD:EE:FF", "", endpoint);

    Recorder recorder;
    auto device = std::make_shared<PBluetooth>(PString("AA:BB:CC:DD:EE:FF"));
    device->setCallback(recorder.callback());
    ASSERT_TRUE(device->open(PIODevice::OpenRead)) << device->getLastError().toString().toStdString();
    int link = server.accept();
    ASSERT_GE(link, 0);
    ::close(link);
    EXPECT_TRUE(eventually([&] { return !device->isOpen(); }));

    link = server.accept();
    ASSERT_GE(link, 0) << "the companion comes back";
    EXPECT_TRUE(eventually([&] { return device->isOpen(); }));
    ASSERT_EQ(send(link, "X1\r", 3, 0), 3);
    EXPECT_EQ(recorder.waitForInput(3), "X1\r");
    ::close(link);
    device->close();  // also while a reconnect may be waiting
    unregisterBluetooth("AA:BB:CC:DD:EE:FF");
}

}
}
