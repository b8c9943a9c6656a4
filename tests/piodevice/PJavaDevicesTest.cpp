// The Java-backed devices without a VM: companion lists, extras XML, open without Java, handles.
#include "PBluetooth.h"
#include "PBroadcastReceaver.h"
#include "PJavaHandles.h"
#include "PLocale.h"
#include "PSerialPort.h"
#include "PTcpSocket.h"
#include "PUdpSocket.h"
#include "StrakeText.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

std::vector<PString> ports(const char* answer)
{
    std::vector<PString> found;
    PSerialPort::parsePortList(PString(answer), &found);
    return found;
}

std::string xmlInput(const std::string& xml, const std::string& suffix)
{
    PByteArray input;
    if (!PBroadcastReceaver::inputFromXml(PString(xml), PByteArray(suffix), &input))
        return "<none>";
    return input.toStdString();
}

std::string field(const std::string& bytes)
{
    return "<action><fields><field key=\"data\" value=\"" + strake::raw2Base64(bytes) + "\"/></fields></action>";
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
    ASSERT_EQ(found.size(), 2u);  // each with all seven keys: the port list fuzz target's check
    EXPECT_EQ(found[0].value(PString("id")).toPString(), PString("/dev/ttyUSB0"));
    EXPECT_EQ(found[0].value(PString("vendorId")).toPString(), PString("1659"));

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

TEST(PJavaDevicesTest, bluetoothListDecodesEachPartAndNamesADeviceFromItsDescription)
{
    // "AA" and "Gun [AA]", "[AA]", "Gun"
    const auto devices = PBluetooth::parseDevices(
        PString("address:QUE=#info:R3VuIFtBQV0=;address:QUE=#info:W0FBXQ==;info:R3Vu#x:eQ==;info:;"));
    ASSERT_EQ(devices.size(), 4u);
    EXPECT_EQ(devices[0].value(PString("address")).toByteArray(), PByteArray("AA"));
    EXPECT_EQ(devices[0].value(PString("info")).toByteArray(), PByteArray("Gun [AA]"));
    EXPECT_EQ(devices[0].value(PString("name")).toPString(), PString("Gun"));
    // Which descriptions give a name is the Bluetooth list fuzz target's check.
    EXPECT_FALSE(devices[2].hasKey(PString("address")));
    EXPECT_EQ(devices[3].size(), 0u) << "\"info:\" splits into one piece";
    EXPECT_TRUE(PBluetooth::parseDevices(PString()).empty());
}

TEST(PJavaDevicesTest, withoutJavaOpenFailsWithTheFirstCheckOfEachDevice)
{
    auto udp = std::make_shared<PUdpSocket>();
    EXPECT_EQ(udp->port(), 5000);
    EXPECT_FALSE(udp->open(PIODevice::OpenRead));
    EXPECT_EQ(udp->getLastError().message(), PString("no device address set"))
        << "the address is tested before Java";
    udp->setAddress(PString("127.0.0.1"));
    const std::shared_ptr<PIOCustomDevice> devices[] = {std::make_shared<PSerialPort>(),
                                                        std::make_shared<PTcpSocket>(), udp,
                                                        std::make_shared<PBluetooth>()};
    for (const auto& device : devices) {
        EXPECT_FALSE(device->open(PIODevice::OpenRead));
        EXPECT_EQ(device->getLastError().message(), PString("JNI not connected"));
    }
    EXPECT_TRUE(PSerialPort::getAvailiblePorts().empty());
    EXPECT_TRUE(getAvailibleSerialPorts().empty());
    EXPECT_TRUE(PBluetooth::availibleDevices().empty());
}

TEST(PBroadcastReceaverTest, openRefusesMissingSettingsAndAMissingVmInTheLanguageOfTheMoment)
{
    struct Case {
        const char* signal;
        bool fields;
        const char* english;
        const char* russian;
    };
    const Case cases[] = {
        {"", true, "Broadcast event name not set", "Не задано имя оповещения"},
        {"A", false, "Broadcast data fields not specified", "Не заданы поля данных оповещения"},
        {"A", true, "JNI not connected", "Не удалось подключить интерфейс JNI"},
    };
    for (const Case& c : cases) {
        for (int language : {PLocale::English, PLocale::Russian}) {
            PLocale::setDefaultLocaleId(language);
            auto device = std::make_shared<PBroadcastReceaver>(c.signal);
            if (c.fields)
                device->setFieldsDesc({PBroadcastDataField("data", 9)});
            EXPECT_FALSE(device->open(1));
            EXPECT_FALSE(device->isOpen());
            EXPECT_EQ(device->getLastError().code(), 2);
            EXPECT_EQ(device->getLastError().message(), PString(language == PLocale::Russian ? c.russian : c.english));
        }
    }
    PLocale::setDefaultLocaleId(PLocale::English);
}

TEST(PBroadcastReceaverTest, extrasXmlGivesTheFirstFieldWithTheSuffixUnlessItEndsWithIt)
{
    EXPECT_EQ(xmlInput(field("4601234567894"), "\r\n"), "4601234567894\r\n");
    EXPECT_EQ(xmlInput(field("4601234567894\r"), "\r"), "4601234567894\r");
    // Bytes that are only the suffix, or shorter, still get it.
    EXPECT_EQ(xmlInput(field("\r"), "\r"), "\r\r");
    EXPECT_EQ(xmlInput(field("\n"), "\r\n"), "\n\r\n");
    EXPECT_EQ(xmlInput(field(""), "\r\n"), "\r\n");
    EXPECT_EQ(xmlInput(field("code"), ""), "code");
    // Every byte survives the Base64 road, GS and NUL included.
    EXPECT_EQ(xmlInput(field(std::string("01\x1d" "21\0x", 7)), "\r"), std::string("01\x1d" "21\0x\r", 8));

    EXPECT_EQ(xmlInput("<action><fields><field key=\"a\" value=\"QQ==\"/>"
                       "<field key=\"b\" value=\"Qg==\"/></fields></action>", "\r"),
              "A\r");
    EXPECT_EQ(xmlInput("<action><fields/></action>", "\r"), "<none>");
    EXPECT_EQ(xmlInput("<action><fields><field", "\r"), "<none>");
    EXPECT_EQ(xmlInput("", "\r"), "<none>");

    PBroadcastReceaver device("com.scanner.ACTION");
    device.setFieldsDesc({PBroadcastDataField("data", PBroadcastDataField::String)});
    EXPECT_EQ(device.parametersText(), PString("action_name=com.scanner.ACTION;fields=data(9);"));
    EXPECT_EQ(PBroadcastDataField::typeName(9), PString("string"));
    EXPECT_EQ(PBroadcastDataField::typeName(0x10002), PString("byte[]"));
    EXPECT_EQ(PBroadcastDataField::typeName(12), PString());
}

struct Target {
    explicit Target(int v) : value(v) {}
    ~Target() { value = -1; }
    int value;
};
struct OtherTarget {};

TEST(PJavaHandlesTest, handleFindsOnlyItsOwnLiveObjectOfItsOwnClass)
{
    auto object = std::make_shared<Target>(7);
    const int64_t handle = PJavaHandles::add(object);
    const int64_t second = PJavaHandles::add(object);
    EXPECT_NE(handle, 0);
    EXPECT_NE(second, handle) << "a handle is never given out twice";

    ASSERT_EQ(PJavaHandles::find<Target>(handle), object);
    EXPECT_EQ(PJavaHandles::find<OtherTarget>(handle), nullptr);
    EXPECT_EQ(PJavaHandles::find<Target>(0), nullptr);
    EXPECT_EQ(PJavaHandles::find<Target>(-12345), nullptr);
    EXPECT_EQ(PJavaHandles::add(std::shared_ptr<Target>()), 0);

    PJavaHandles::remove(handle);
    PJavaHandles::remove(handle);
    EXPECT_EQ(PJavaHandles::find<Target>(handle), nullptr);
    EXPECT_EQ(PJavaHandles::find<Target>(second), object);

    object.reset();
    EXPECT_EQ(PJavaHandles::find<Target>(second), nullptr) << "the table keeps nothing alive";
    PJavaHandles::remove(second);

    // A guard registers for its life; attaching again gives a new handle.
    object = std::make_shared<Target>(1);
    const std::size_t before = PJavaHandles::count();
    int64_t first = 0;
    {
        PJavaHandle guard;
        first = guard.attach(object);
        const int64_t again = guard.attach(object);
        EXPECT_NE(first, again);
        EXPECT_EQ(PJavaHandles::find<Target>(first), nullptr);
        EXPECT_EQ(PJavaHandles::find<Target>(again), object);
        EXPECT_EQ(PJavaHandles::count(), before + 1);
    }
    EXPECT_EQ(PJavaHandles::count(), before);
}

// Deliveries race with owners that drop their objects and handles: a found object is always
// whole for as long as the finder holds it.
TEST(PJavaHandlesTest, objectFoundByADeliveryOutlivesItsOwnerUntilTheDeliveryEnds)
{
    constexpr int Rounds = 2000;
    std::vector<std::atomic<int64_t>> slots(8);
    std::atomic<bool> done{false};
    std::atomic<long> deliveries{0};

    std::vector<std::thread> deliverers;
    for (int t = 0; t < 3; ++t) {
        deliverers.emplace_back([&] {
            while (!done.load()) {
                for (auto& slot : slots) {
                    if (auto target = PJavaHandles::find<Target>(slot.load())) {
                        ASSERT_GE(target->value, 0);
                        std::this_thread::yield();
                        ASSERT_GE(target->value, 0);
                        ++deliveries;
                    }
                }
            }
        });
    }
    for (int round = 0; round < Rounds; ++round) {
        auto& slot = slots[round % slots.size()];
        auto owner = std::make_shared<Target>(round);
        PJavaHandle handle;
        slot.store(handle.attach(owner));
        std::this_thread::yield();
        if (round % 2 == 0)
            owner.reset();  // the owner goes first, the handle after
    }
    done.store(true);
    for (auto& thread : deliverers)
        thread.join();
    EXPECT_GT(deliveries.load(), 0);
}

}
