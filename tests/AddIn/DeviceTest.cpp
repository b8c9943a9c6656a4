// Device::open against a recording device: modes, settings, failures, and closes from a delivery.
#include "Device.h"

#include "DeviceManager.h"
#include "PLocale.h"
#include "RecordingDevice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using kelmortest::RecordingDevice;
using kelmortest::RecordingFactory;
using Values = std::initializer_list<std::pair<const char*, PVariant>>;

using kelmortest::bag;

class DeviceTest : public ::testing::Test {
protected:
    void SetUp() override { kelmortest::fillFakeLists(*factory); }
    void TearDown() override { PLocale::setDefaultLocaleId(PLocale::English); }

    bool open(Device& device, Values values)
    {
        return device.open(bag(values), [this](PEvent* event) {
            messages.push_back(event->value(PString("input")).toByteArray().toStdString());
        }, [](const PError&) {});
    }
    std::string parameter(const char* name)
    {
        return factory->last()->parameter(PString(name)).toStdString();
    }

    std::shared_ptr<RecordingFactory> factory = std::make_shared<RecordingFactory>();
    kelmortest::FactoryScope scope{factory};
    std::vector<std::string> messages;
};

TEST_F(DeviceTest, portValueChoosesTheModeAndItsDevice)
{
    struct Case {
        Values settings;
        PDeviceSpec::Kind kind;
        int flags;
        const char* address;
        int port;
        const char* timeout;
    };
    const Case cases[] = {
        {{{"Port", PVariant("0")}, {"Suffix", PVariant(13)}}, PDeviceSpec::Keyboard, 0x2001, "", 0, "25"},
        {{{"BluetoothDevice", PVariant("DEV_KEYBOARD")}, {"AppType", PVariant(2)}, {"Timeout", PVariant("40")}},
         PDeviceSpec::Keyboard, 0x3001, "", 0, "40"},
        {{{"Port", PVariant("0")}, {"BluetoothDevice", PVariant("00:11:22:33:44:55")}},
         PDeviceSpec::Bluetooth, 1, "00:11:22:33:44:55", 0, "75"},
        {{{"Port", PVariant("123456789012")}, {"Timeout", PVariant(9)}}, PDeviceSpec::Bluetooth, 1,
         "123456789012", 0, "9"},
        {{{"BluetoothDevice", PVariant("tcp://10.0.0.5:9100")}, {"Timeout", PVariant(75)}},
         PDeviceSpec::TcpSocket, 1, "10.0.0.5", 9100, "5000"},
        {{{"Port", PVariant("TCP://[fe80::1]:7")}}, PDeviceSpec::TcpSocket, 1, "fe80::1", 7, "5000"},
        {{{"BluetoothDevice", PVariant("udp://:5000")}}, PDeviceSpec::UdpSocket, 1, "0.0.0.0", 5000, "5000"},
        {{{"Port", PVariant("12345678901")}}, PDeviceSpec::SerialPort, 1, "", 0, ""},
        {{{"Port", PVariant("65534")}}, PDeviceSpec::SerialPort, 1, "", 0, ""},
        {{{"Port", PVariant("scanner")}}, PDeviceSpec::SerialPort, 1, "", 0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(&c - cases));
        Device device;
        ASSERT_TRUE(open(device, c.settings)) << device.getLastError().toString().toStdString();
        const auto made = factory->last();
        EXPECT_EQ(made->spec.kind, c.kind);
        EXPECT_EQ(made->openedWith, c.flags);
        EXPECT_EQ(made->spec.address, PString(c.address));
        EXPECT_EQ(made->spec.port, c.port);
        EXPECT_EQ(parameter("timeout"), c.timeout);
        EXPECT_TRUE(device.close());
        EXPECT_TRUE(device.close());
        EXPECT_EQ(made->closes, 1);
    }
    Device keyboard;
    ASSERT_TRUE(open(keyboard, {{"Port", PVariant("0")}, {"KeyboardDevice", PVariant("hid0")}}));
    EXPECT_EQ(parameter("ignore_state"), "true");
    EXPECT_EQ(parameter("HID"), "hid0");
}

TEST_F(DeviceTest, serialPortIsLookedUpByNumberAndGetsTheSettings)
{
    Device device;
    ASSERT_TRUE(open(device, {{"Port", PVariant("2")}, {"Speed", PVariant("115200")}, {"DataBits", PVariant(7)},
                              {"StopBits", PVariant("2")}, {"Parity", PVariant(1)}, {"Suffix", PVariant(266)}}));
    const PDeviceSpec& spec = factory->last()->spec;
    EXPECT_EQ(spec.portId, "/dev/ttyUSB1");
    EXPECT_EQ(parameter("alias"), "COM2");
    EXPECT_EQ(spec.baudRate, 115200);
    EXPECT_EQ(spec.charSize, 7);
    EXPECT_EQ(spec.stopBits, 2);
    EXPECT_EQ(spec.parity, 1);
    EXPECT_EQ(spec.flowControl, 0);
    EXPECT_EQ(spec.eol, '\n');

    // The serial processor cuts at the suffix, which 266 makes CR LF.
    factory->last()->deliver("12");
    factory->last()->deliver("34\r\n56");
    EXPECT_EQ(messages, std::vector<std::string>{"1234"});

    for (const char* suffix : {"0", "256"}) {
        Device other;
        ASSERT_TRUE(open(other, {{"Port", PVariant("9")}, {"Suffix", PVariant(suffix)}}));
        EXPECT_EQ(factory->last()->spec.portId, "");
        EXPECT_EQ(parameter("alias"), "");
        EXPECT_EQ(factory->last()->spec.eol, '\r');
    }
}

TEST_F(DeviceTest, broadcastTakesFreeValuesOverStandardOnesAndTheCutTexts)
{
    struct Case {
        Values fix;
        const char* prefix;
        const char* suffix;
    };
    const Case cases[] = {
        {{}, "", "\r"}, {{{"Suffix", PVariant(128)}}, "", ""}, {{{"Suffix", PVariant(3338)}}, "", "\r\n"},
        {{{"Suffix", PVariant(0)}, {"Prefix", PVariant(-1)}}, "", "\r"},
        {{{"Suffix", PVariant("end")}, {"Prefix", PVariant(2)}}, "\x02", "\r"},
        {{{"Suffix", PVariant(-1)}, {"Prefix", PVariant(200)}}, "", ""},
        {{{"Suffix", PVariant(10)}, {"Prefix", PVariant("65")}}, "A", "\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(static_cast<int>(&c - cases));
        PPropertyBag settings = bag({{"BluetoothDevice", PVariant("BROADCAST")}, {"Action", PVariant("")},
            {"StandardAction", PVariant("android.intent.action.MAIN")}, {"Category", PVariant("")},
            {"StandardCategory", PVariant("android.intent.category.DEFAULT")}, {"Extra", PVariant("barcode")},
            {"StandardExtra", PVariant("NONE")}, {"ExtraType", PVariant("ByteArray")}});
        for (const auto& value : c.fix)
            settings.addValue(PString(value.first), value.second);
        Device device;
        ASSERT_TRUE(device.open(settings, [](PEvent*) {}, [](const PError&) {}));
        const PDeviceSpec& spec = factory->last()->spec;
        EXPECT_EQ(spec.signalName, PString("android.intent.action.MAIN"));
        EXPECT_EQ(spec.signalCategoryName, PString("android.intent.category.DEFAULT"));
        EXPECT_EQ(spec.fieldName, PString("barcode"));
        EXPECT_EQ(spec.fieldType, 0x10002);
        EXPECT_EQ(factory->last()->openedWith, 1);
        EXPECT_EQ(parameter("Prefix"), c.prefix);
        EXPECT_EQ(parameter("Suffix"), c.suffix);
    }
}

TEST_F(DeviceTest, everyFailureLeavesTheDeviceClosedWithItsTextInEitherLanguage)
{
    struct Case {
        Values settings;
        int code;
        const char* english;
        const char* russian;
    };
    const Values broadcast = {{"BluetoothDevice", PVariant("BROADCAST")}, {"StandardAction", PVariant("NONE")},
                              {"Extra", PVariant("x")}};
    const Case cases[] = {
        {{{"Port", PVariant("0")}, {"Suffix", PVariant("-1")}}, 100,
         "Keyboard mode without suffix is not allowed. Set suffix in settings.",
         "Использование клавиатурного режима без суффикса не допускается. Установите суффикс."},
        {{{"Suffix", PVariant(13)}}, 2, "Wrond device id", "Устройство задано не верно"},
        {{{"BluetoothDevice", PVariant("-1")}, {"Port", PVariant("")}}, 2, "Wrond device id",
         "Устройство задано не верно"},
        {{{"Port", PVariant("65535")}}, 2, "Failed to create device", "Не удалось создать устройство"},
        {{{"Port", PVariant("tcp://host")}}, 2, "Failed to create device", "Не удалось создать устройство"},
        {{{"Port", PVariant("udp://h:70000")}}, 2, "Failed to create device", "Не удалось создать устройство"},
        {broadcast, 120, "Intent Action name not set", "Не задан идентификатор Intent Action"},
        {{{"BluetoothDevice", PVariant("BROADCAST")}, {"Action", PVariant("a")}, {"StandardExtra", PVariant("NONE")}},
         120, "Intent Extra not set", "Не задан Intent Extra"},
    };
    for (int locale : {PLocale::English, PLocale::Russian}) {
        PLocale::setDefaultLocaleId(locale);
        for (const Case& c : cases) {
            SCOPED_TRACE(c.english);
            Device device;
            EXPECT_FALSE(open(device, c.settings));
            EXPECT_FALSE(device.isOpened());
            EXPECT_EQ(device.getLastError().code(), c.code);
            EXPECT_EQ(device.getLastError().message(), PString(locale ? c.russian : c.english));
        }
        Device device;
        EXPECT_FALSE(device.open(bag({{"Port", PVariant("1")}}), nullptr, [](const PError&) {}));
        EXPECT_EQ(device.getLastError().message(),
                  PString(locale ? "Не задана функция оповещения" : "Callback function not set"));
    }
    EXPECT_EQ(factory->count(), 0);
    Device neverOpened;
    EXPECT_TRUE(neverOpened.close());
}

TEST_F(DeviceTest, failedOpensLeaveNothingBehindAndTheNextOneWorks)
{
    Device device;
    const Values settings = {{"BluetoothDevice", PVariant("00:11:22:33:44:55")}};
    factory->failures = 2;
    EXPECT_FALSE(open(device, settings));
    EXPECT_EQ(device.getLastError().message(), PString("Failed to open device. Check connection"));
    // The device's own reason stays with it; only a thrown error replaces the text.
    EXPECT_FALSE(open(device, settings));
    EXPECT_EQ(device.getLastError().code(), 2);
    factory->failures = 1;
    factory->onOpen = [](RecordingDevice&) { throw PError(7, "thrown"); };
    EXPECT_FALSE(open(device, settings));
    EXPECT_EQ(device.getLastError().message(), PString("thrown"));
    EXPECT_TRUE(device.settings().empty());

    // Nothing holds the failed devices but the factory, and their deliveries reach nobody.
    for (const auto& made : factory->made()) {
        EXPECT_EQ(made.use_count(), 2);  // the list and this loop's copy
        made->deliver("lost\r");
    }
    EXPECT_TRUE(messages.empty());

    factory->onOpen = nullptr;
    EXPECT_TRUE(open(device, settings));
    EXPECT_EQ(device.settings().value(PString("BluetoothDevice")).toStdString(), "00:11:22:33:44:55");
    const auto first = factory->last();
    EXPECT_TRUE(open(device, settings));
    EXPECT_EQ(first->closes, 1);
}

TEST_F(DeviceTest, hostMayCloseAndDeleteTheDeviceFromInsideItsOwnDelivery)
{
    auto device = std::make_shared<Device>();
    std::shared_ptr<Device>* owner = &device;
    std::atomic<int> calls{0};
    ASSERT_TRUE(device->open(bag({{"BluetoothDevice", PVariant("00:11:22:33:44:55")}}),
                             [&](PEvent*) {
                                 ++calls;
                                 if (*owner) {
                                     (*owner)->close();
                                     owner->reset();
                                 }
                             },
                             [](const PError&) {}));
    const auto made = factory->last();
    std::thread([&] { made->deliver("a\rb\r"); }).join();
    EXPECT_EQ(device, nullptr);
    EXPECT_EQ(made->closes, 1);
    // The second message of that delivery was cut already; nothing comes after the close.
    EXPECT_EQ(calls, 2);
    made->deliver("c\r");
    EXPECT_EQ(calls, 2);
}

TEST_F(DeviceTest, closeDuringOpenLeavesTheClosingToTheOpen)
{
    Device device;
    factory->onOpen = [&](RecordingDevice& made) {
        EXPECT_TRUE(device.isOpened());
        device.close();
        EXPECT_EQ(made.closes, 0);
    };
    EXPECT_FALSE(open(device, {{"BluetoothDevice", PVariant("00:11:22:33:44:55")}}));
    EXPECT_EQ(device.getLastError().message(), PString("Device was closed while it was being opened"));
    EXPECT_EQ(factory->last()->closes, 1);
    EXPECT_FALSE(device.isOpened());
}

TEST_F(DeviceTest, registryClosesWhileAnotherThreadDelivers)
{
    for (int round = 0; round < 50; ++round) {
        PString id;
        auto device = DeviceManager::create("InputDevice", &id);
        std::atomic<int> delivered{0};
        ASSERT_TRUE(device->open(bag({{"BluetoothDevice", PVariant("00:11:22:33:44:55")}}),
                                 [&](PEvent*) { ++delivered; }, [](const PError&) {}));
        device.reset();
        const auto made = factory->last();
        std::atomic<bool> stop{false};
        std::thread reader([&] {
            while (!stop)
                made->deliver("x\r");
        });
        while (delivered == 0) {
            std::this_thread::yield();
        }
        if (round % 2)
            DeviceManager::close();
        else
            EXPECT_TRUE(DeviceManager::destroy(id));
        const int after = delivered;
        stop = true;
        reader.join();
        // At most the delivery under way when the close came.
        EXPECT_LE(delivered - after, 1);
        EXPECT_EQ(made->closes, 1);
    }
}

}
