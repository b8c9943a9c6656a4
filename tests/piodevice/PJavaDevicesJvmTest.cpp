// The Java-backed devices against recording companions and the real desktop companions.
#include "DeviceJvmFixture.h"
#include "DeviceLifeChecks.h"
#include "LoopbackSocket.h"
#include "PBluetooth.h"
#include "PJavaHandles.h"
#include "PSerialPort.h"
#include "PTcpSocket.h"
#include "PUdpSocket.h"
#include "TestSupport.h"

#include <termios.h>

#include <cstring>

namespace devicetest {
namespace {

using kelmortest::errorText;

// One device of each kind, made with an address that its companion accepts.
struct Kind {
    const char* name;
    const char* javaClass;
    kelmortest::MakeDevice make;
};

const std::vector<Kind>& kinds()
{
    static const std::vector<Kind> all = {
        {"serial", PSerialPort::JavaClass, [] { return std::make_shared<PSerialPort>("/dev/ttyACM0", 9600, 8, PSerialPort::OneStop, PSerialPort::NoParity, PSerialPort::NoFlowControl); }},
        {"tcp", PTcpSocket::JavaClass, [] { return std::make_shared<PTcpSocket>(PString("127.0.0.1"), 7000); }},
        {"udp", PUdpSocket::JavaClass, [] {
             auto udp = std::make_shared<PUdpSocket>();
             udp->setAddress(PString("127.0.0.1"));
             return udp;
         }},
        {"bluetooth", PBluetooth::JavaClass, [] { return std::make_shared<PBluetooth>(PString("00:11:22:33:44:55")); }},
    };
    return all;
}

class PJavaDevicesJvmTest : public DeviceJvmTest {
protected:
    void SetUp() override
    {
        DeviceJvmTest::SetUp();
        useRecordingCompanions();
    }

    // Delivers a block through the exported function, as the companion made last would.
    void deliverAsCompanion(void (*native)(JNIEnv*, jclass, jlong, jbyteArray), const std::string& bytes)
    {
        jbyteArray array = strake::str2jbyteArray(env(), bytes);
        native(env(), nullptr, static_cast<jlong>(lastHandle()), array);
        kelmortest::dropLocal(array);
    }
    // Companions pump as fast as they can, every kind's class pinned; the global references then.
    long pumpWithEveryClassPinned()
    {
        setRecording("pumping", true);
        for (const Kind& kind : kinds())
            EXPECT_TRUE(PJNIHelper::getClass(PString(kind.javaClass)).isValid());
        return PHostJvm::globalRefCount();
    }
    // The VM's count of global references comes down to `limit`: it moves by one now and then
    // on its own (the JDK's own references), so a leak is a count that stays above.
    static bool globalRefsSettleAtMost(long limit)
    {
        return kelmortest::eventually([&] { return PHostJvm::globalRefCount() <= limit; });
    }
};

TEST_F(PJavaDevicesJvmTest, serialPortSendsItsSettingsOnceAndKeepsItsCompanion)
{
    PSerialPort onStack;
    onStack.setPortID("/dev/ttyACM0");
    EXPECT_FALSE(onStack.open(PIODevice::OpenRead));
    EXPECT_EQ(errorText(onStack), "[2]a device that Java calls back must be made with std::make_shared");
    auto port = std::make_shared<PSerialPort>("/dev/ttyACM0", 9600, 7, PSerialPort::TwoStop,
                                              PSerialPort::EvenParity, PSerialPort::NoFlowControl);
    EXPECT_TRUE(port->close());
    EXPECT_EQ(recordedCalls(), "") << "neither a port on the stack nor a close of one never opened calls Java";

    ASSERT_TRUE(port->open(PIODevice::OpenRead));
    EXPECT_TRUE(port->open(PIODevice::OpenRead));
    EXPECT_TRUE(port->close());
    setRecording("openResult", false);
    EXPECT_FALSE(port->open(PIODevice::OpenRead | PIODevice::OpenBuffered));
    EXPECT_EQ(errorText(*port), "[200]Failed to open tcpsocket device. Check connection.");
    setRecording("errorMessage", "port busy");
    EXPECT_FALSE(port->open(PIODevice::OpenRead));
    EXPECT_EQ(errorText(*port), "[2]port busy");
    EXPECT_EQ(recordedCalls(),
              "new\n"
              "open portid=/dev/ttyACM0;speed=9600;data_bits=7;stop_bits=2;parity=2;flags=1;\n"
              "close\n"
              "open portid=/dev/ttyACM0;speed=9600;data_bits=7;stop_bits=2;parity=2;flags=257;\n"
              "getLastErrorMessage\n"
              "open portid=/dev/ttyACM0;speed=9600;data_bits=7;stop_bits=2;parity=2;flags=1;\n"
              "getLastErrorMessage");
}

TEST_F(PJavaDevicesJvmTest, serialPortHandsBlocksToTheCallbackAndBuffersOnlyWhenAsked)
{
    Recorder recorder;
    auto port = std::make_shared<PSerialPort>();
    port->setPortID("/dev/ttyUSB3");
    port->setCallback(recorder.callback());
    ASSERT_TRUE(port->open(PIODevice::OpenRead));
    deliverAsCompanion(&Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData, "A1\r");
    deliverAsCompanion(&Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData, "");
    ASSERT_EQ(recorder.events().size(), 1u);
    EXPECT_EQ(port->availibleBytes(), 0u) << "flags 1 open no buffer";
    const auto event = recorder.events()[0];
    EXPECT_EQ(event->type(), 17);
    EXPECT_EQ(event->value(PString("input")).toByteArray(), PByteArray("A1\r"));
    EXPECT_TRUE(event->value(PString("keyboard_input")).toByteArray().isEmpty());
    EXPECT_EQ(event->value(PString("dev_state")).toInt(), 0);

    port->close();
    ASSERT_TRUE(port->open(PIODevice::OpenRead | PIODevice::OpenBuffered));
    deliverAsCompanion(&Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData, "B2\r");
    EXPECT_EQ(recorder.events().size(), 2u);
    EXPECT_EQ(port->readAll(), PByteArray("B2\r"));
    EXPECT_EQ(port->write(std::string("hi")), 2u);
    port->close();
    deliverAsCompanion(&Java_com_tavrel_piodevice_PSerialPort_PSerialPortStoreData, "late");
    EXPECT_EQ(recorder.events().size(), 2u) << "a closed port raises nothing";
    EXPECT_EQ(port->write(std::string("x")), 0u);
    EXPECT_EQ(errorText(*port), "[200]device not opened");
}

TEST_F(PJavaDevicesJvmTest, blockReadAsTheLinkComesUpReachesTheCallback)
{
    setRecording("deliverOnOpen", "KEPT\r");
    for (const Kind& kind : kinds()) {
        setRecording("deliverAs", kind.name);
        Recorder recorder;
        const auto device = kind.make();
        device->setCallback(recorder.callback());
        ASSERT_TRUE(device->open(PIODevice::OpenRead));
        ASSERT_EQ(recorder.events().size(), 1u) << recordedCalls();
        EXPECT_EQ(recorder.events()[0]->value(PString("input")).toByteArray(), PByteArray("KEPT\r"));
        device->close();
    }
}

TEST_F(PJavaDevicesJvmTest, socketsSendAddressPortAndTimeoutAndTellTheirOwnFailures)
{
    auto tcp = std::make_shared<PTcpSocket>(PString("scanner.local"), 7000);
    ASSERT_TRUE(tcp->open(PIODevice::OpenReadWrite));
    tcp->setParameter(PString("timeout"), PVariant(250));
    EXPECT_TRUE(tcp->connectToHost(PString("10.1.1.1"), 7001, PIODevice::OpenRead));
    tcp->close();
    EXPECT_TRUE(tcp->waitForBytesWriten(0));
    setRecording("openResult", false);
    EXPECT_FALSE(tcp->open(PIODevice::OpenRead));
    EXPECT_EQ(errorText(*tcp), "[200]Failed to open tcp socket. Check connection.");
    EXPECT_EQ(recordedCalls(),
              "new\nopen timeout=5000;address=scanner.local;port=7000;flags=3;\nclose\n"
              "new\nopen timeout=250;address=10.1.1.1;port=7001;flags=1;\nclose\n"
              "new\nopen timeout=250;address=10.1.1.1;port=7001;flags=1;\ngetLastErrorMessage");

    useRecordingCompanions();
    auto udp = std::make_shared<PUdpSocket>();
    udp->setAddress(PString("127.0.0.1"));
    ASSERT_TRUE(udp->open(PIODevice::OpenRead));
    udp->close();
    ASSERT_TRUE(udp->broadcast(7002, PIODevice::OpenReadWrite));
    deliverAsCompanion(&Java_com_tavrel_piodevice_PUdpSocket_PUdpSocketStoreData, "x");
    EXPECT_EQ(udp->availibleBytes(), 0u) << "a broadcast socket only writes";
    udp->close();
    setRecording("openResult", false);
    EXPECT_FALSE(udp->bindTo(PString("127.0.0.1"), 7003, PIODevice::OpenRead));
    EXPECT_EQ(errorText(*udp), "[200]Failed to open udp socket. Check connection.");
    EXPECT_EQ(udp->availibleBytes(), 0u);
    EXPECT_EQ(recordedCalls(),
              "new\nopen timeout=5000;address=127.0.0.1;port=5000;flags=1;\nclose\n"
              "open timeout=5000;address=BROADCAST;port=7002;flags=2;\nclose\n"
              "open timeout=5000;address=127.0.0.1;port=7003;flags=1;\ngetLastErrorMessage\nclose");
}

TEST_F(PJavaDevicesJvmTest, bluetoothAsksItsCompanionAndMakesANewOneAtEachOpen)
{
    auto device = std::make_shared<PBluetooth>();
    EXPECT_FALSE(device->open(PIODevice::OpenRead));
    EXPECT_EQ(device->getLastError().message(), PString("no device address set"));
    EXPECT_EQ(recordedCalls(), "") << "no companion is made without an address";

    device = std::make_shared<PBluetooth>(PString("00:11:22:33:44:55"));
    ASSERT_TRUE(device->open(PIODevice::OpenRead));
    EXPECT_TRUE(device->isOpen());
    EXPECT_TRUE(device->close());
    EXPECT_EQ(device->getLastError().message(), PString("Current object is invalid"));
    setRecording("openResult", false);
    EXPECT_FALSE(device->open(PIODevice::OpenRead));
    EXPECT_EQ(device->getLastError().message(), PString("Failed to open bluetooth device. Check connection."));
    EXPECT_EQ(recordedCalls(),
              "new\nopen address=00:11:22:33:44:55;flags=1;\nisOpen\nclose\n"
              "new\nopen address=00:11:22:33:44:55;flags=1;\ngetLastErrorMessage");
}

TEST_F(PJavaDevicesJvmTest, listsThatAreNoAnswerGiveNothingAndLeaveNoPendingException)
{
    for (const char* answer : {static_cast<const char*>(nullptr), "", "<Devices", "not xml", "<Other/>"}) {
        SCOPED_TRACE(answer ? answer : "null");
        setRecording("listAnswer", answer);
        if (!answer || !*answer) {
            EXPECT_TRUE(PSerialPort::getAvailiblePorts().empty());
        }
        EXPECT_TRUE(PSerialPort::getAvailiblePortsInfo().empty());
        EXPECT_EQ(PBluetooth::availibleDevices().size(), answer && *answer ? 1u : 0u);
        EXPECT_FALSE(PHostJvm::env()->ExceptionCheck());
    }
    setRecording("listThrows", true);
    EXPECT_TRUE(PSerialPort::getAvailiblePorts().empty());
    EXPECT_TRUE(PSerialPort::getAvailiblePortsInfo().empty());
    EXPECT_TRUE(PBluetooth::availibleDevices().empty());
    EXPECT_FALSE(PHostJvm::env()->ExceptionCheck());

    setRecording("throwing", true);
    auto port = std::make_shared<PSerialPort>("/dev/ttyACM0", 9600, 8, PSerialPort::OneStop,
                                              PSerialPort::NoParity, PSerialPort::NoFlowControl);
    // More times than a native frame has room for local references: the VM keeps one for each
    // object whose constructor threw, and this thread never returns to Java to drop them.
    for (int attempt = 0; attempt < 40; ++attempt)
        ASSERT_FALSE(port->open(PIODevice::OpenRead)) << "a companion whose constructor throws";
    EXPECT_FALSE(PHostJvm::env()->ExceptionCheck());
}

// Open, let the pump deliver, close: over and over, while the pump goes as fast as it can.
class PJavaDeviceStressJvmTest : public PJavaDevicesJvmTest, public ::testing::WithParamInterface<size_t> {};

TEST_P(PJavaDeviceStressJvmTest, openStreamCloseCyclesLeakNothing)
{
    const Kind& kind = kinds()[GetParam()];
    setRecording("deliverAs", kind.name);
    const long globalRefs = pumpWithEveryClassPinned();
    const size_t handles = PJavaHandles::count();
    kelmortest::openStreamCloseCycles(kind.name, kind.make, PIODevice::OpenReadWrite);
    EXPECT_TRUE(companionThreadsEnded());
    EXPECT_EQ(PJavaHandles::count(), handles);
    EXPECT_TRUE(globalRefsSettleAtMost(globalRefs));
}

INSTANTIATE_TEST_SUITE_P(EachDevice, PJavaDeviceStressJvmTest, ::testing::Range<size_t>(0, 4),
                         [](const auto& info) { return std::string(kinds()[info.param].name); });

// The host closes or drops the device inside its callback, or during it: it goes when that ends.
TEST_F(PJavaDevicesJvmTest, hostMayCloseOrDropTheDeviceInsideOrDuringItsCallback)
{
    const long globalRefs = pumpWithEveryClassPinned();
    for (const Kind& kind : kinds()) {
        SCOPED_TRACE(kind.name);
        setRecording("deliverAs", kind.name);
        for (bool drop : {false, true}) {
            kelmortest::closeOrDropInsideCallback(kind.make, PIODevice::OpenReadWrite, !drop, drop,
                                                  [] { EXPECT_TRUE(companionThreadsEnded()); });
        }
        kelmortest::letGoDuringCallback(kind.make, PIODevice::OpenReadWrite, false);
        EXPECT_TRUE(companionThreadsEnded());
    }
    EXPECT_TRUE(globalRefsSettleAtMost(globalRefs));
}

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
    EXPECT_EQ(errorText(*refused).rfind("[2]stty: " + pty.slave, 0), 0u) << errorText(*refused);

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
    EXPECT_EQ(readFor(pty.master, 4), std::string("ACK\x06", 4));
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
    kelmortest::WaitCounter errors;
    auto tcp = std::make_shared<PTcpSocket>(PString("127.0.0.1"), port);
    tcp->setCallback(recorder.callback());
    tcp->setErrorCallback([&errors](const PError&) { errors.add(); });
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
    ASSERT_TRUE(errors.waitFor(1));
    EXPECT_FALSE(tcp->isOpen());
    EXPECT_EQ(errorText(*tcp), "[200]Connection closed by peer");

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
    const unsigned short port = LoopbackSocket(SOCK_DGRAM).bindAny();  // free again at once
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

TEST_F(PDeviceIoJvmTest, bluetoothPeerIsListedCarriesBytesBothWaysAndItsDroppedLinkIsMadeAgain)
{
    LoopbackSocket server(SOCK_STREAM);
    const unsigned short port = server.listenAny();
    ASSERT_NE(port, 0);
    registerBluetooth("00:11:22:33:44:55", "Scanner", "tcp:127.0.0.1:" + std::to_string(port));
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
    int link = server.accept();
    ASSERT_GE(link, 0);
    ASSERT_EQ(send(link, "AB\r", 3, 0), 3);
    EXPECT_EQ(recorder.waitForInput(3), "AB\r");
    EXPECT_EQ(recorder.events().front()->value(PString("dev_type")).toPString(), PString("bluetooth"));
    EXPECT_EQ(recorder.events().front()->value(PString("dev_id")).toPString(), PString("00:11:22:33:44:55"));
    EXPECT_EQ(device->write(PByteArray("hi")), 2u);
    EXPECT_EQ(readFor(link, 2), "hi");
    ::close(link);
    EXPECT_TRUE(eventually([&] { return !device->isOpen(); }));

    link = server.accept();
    ASSERT_GE(link, 0) << "the companion comes back";
    EXPECT_TRUE(eventually([&] { return device->isOpen(); }));
    ASSERT_EQ(send(link, "X1\r", 3, 0), 3);
    EXPECT_EQ(recorder.waitForInput(6), "AB\rX1\r");
    ::close(link);
    device->close();  // also while a reconnect may be waiting
    unregisterBluetooth("00:11:22:33:44:55");
}

}
}
