// The Java-backed devices without a VM: the lists their companions answer, and what open and
// write say when there is no Java to reach.
#include "PBluetooth.h"
#include "PSerialPort.h"
#include "PTcpSocket.h"
#include "PUdpSocket.h"

#include <gtest/gtest.h>

namespace {

std::vector<PString> ports(const char* answer)
{
    std::vector<PString> found;
    PSerialPort::parsePortList(PString(answer), &found);
    return found;
}

TEST(PJavaDevicesTest, portListAndDevicesInfoDecodeAndNameTheirFailures)
{
    EXPECT_EQ(ports("L2Rldi90dHlBQ00w"), std::vector<PString>{PString("/dev/ttyACM0")});
    EXPECT_EQ(ports("QQ==;;Qg==;"), (std::vector<PString>{PString("A"), PString(), PString("B")}));
    EXPECT_EQ(ports(";"), std::vector<PString>{PString()});
    try {
        ports("");
        ADD_FAILURE() << "an empty answer is no list";
    } catch (const PError& error) {
        EXPECT_EQ(error.message(), PString("No device found"));
    }

    std::vector<KeyValue<PString, PVariant>> found;
    PSerialPort::parsePortsInfo(
        PString("<Devices><Device id=\"/dev/ttyUSB0\" vendorId=\"1659\"/><Other/></Devices>"), &found);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].size(), 7u);
    EXPECT_EQ(found[0].value(PString("id")).toPString(), PString("/dev/ttyUSB0"));
    EXPECT_EQ(found[0].value(PString("vendorId")).toPString(), PString("1659"));
    EXPECT_TRUE(found[0].hasKey(PString("serialNumber")));
    EXPECT_TRUE(found[0].value(PString("serialNumber")).toPString().isEmpty());

    for (const auto& bad : {std::make_pair("<Devices>", "Devices info has ill formed format"),
                            std::make_pair("<List/>", "Cant find devices info")}) {
        try {
            PSerialPort::parsePortsInfo(PString(bad.first), &found);
            ADD_FAILURE() << bad.first;
        } catch (const PError& error) {
            EXPECT_EQ(error.message(), PString(bad.second));
        }
    }
}

TEST(PJavaDevicesTest, bluetoothListNamesOnlyDescriptionsWithTextBeforeTheBracket)
{
    // "AA" and "Gun [AA]", "[AA]", "Gun"
    const auto devices = PBluetooth::parseDevices(
        PString("address:QUE=#info:R3VuIFtBQV0=;address:QUE=#info:W0FBXQ==;info:R3Vu#x:eQ==;info:;"));
    ASSERT_EQ(devices.size(), 4u);
    EXPECT_EQ(devices[0].value(PString("address")).toByteArray(), PByteArray("AA"));
    EXPECT_EQ(devices[0].value(PString("info")).toByteArray(), PByteArray("Gun [AA]"));
    EXPECT_EQ(devices[0].value(PString("name")).toPString(), PString("Gun"));
    EXPECT_FALSE(devices[1].hasKey(PString("name"))) << "a description that begins with [";
    EXPECT_FALSE(devices[2].hasKey(PString("name"))) << "a description without [";
    EXPECT_FALSE(devices[2].hasKey(PString("address")));
    EXPECT_EQ(devices[3].size(), 0u) << "\"info:\" splits into one piece";
    EXPECT_TRUE(PBluetooth::parseDevices(PString()).empty());
}

TEST(PJavaDevicesTest, withoutJavaOpenFailsWithTheFirstCheckOfEachDevice)
{
    auto serial = std::make_shared<PSerialPort>();
    EXPECT_FALSE(serial->open(PIODevice::OpenRead));
    EXPECT_EQ(serial->getLastError().message(), PString("JNI not connected"));
    EXPECT_EQ(serial->write(std::string("x")), 0u);
    EXPECT_EQ(serial->getLastError().code(), 200);
    EXPECT_EQ(serial->getLastError().message(), PString("device not opened"));

    auto tcp = std::make_shared<PTcpSocket>();
    EXPECT_FALSE(tcp->open(PIODevice::OpenRead));
    EXPECT_EQ(tcp->getLastError().message(), PString("JNI not connected"));
    EXPECT_TRUE(tcp->waitForBytesWriten(0));

    auto udp = std::make_shared<PUdpSocket>();
    EXPECT_EQ(udp->port(), 5000);
    EXPECT_FALSE(udp->open(PIODevice::OpenRead));
    EXPECT_EQ(udp->getLastError().message(), PString("no device address set"))
        << "the address is tested before Java";
    udp->setAddress(PString("127.0.0.1"));
    EXPECT_FALSE(udp->open(PIODevice::OpenRead));
    EXPECT_EQ(udp->getLastError().message(), PString("JNI not connected"));

    auto bluetooth = std::make_shared<PBluetooth>();
    EXPECT_FALSE(bluetooth->open(PIODevice::OpenRead));
    EXPECT_EQ(bluetooth->getLastError().message(), PString("JNI not connected"));
    EXPECT_TRUE(PSerialPort::getAvailiblePorts().empty());
    EXPECT_TRUE(getAvailibleSerialPorts().empty());
    EXPECT_TRUE(PBluetooth::availibleDevices().empty());
}

}
