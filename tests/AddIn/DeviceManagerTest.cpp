// The device registry, its errors and settings catalogue.
#include "DeviceManager.h"

#include "Device.h"
#include "PLocale.h"
#include "PVKSettings.h"
#include "RecordingDevice.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <thread>

namespace {

using kelmortest::RecordingFactory;
using kelmortest::bag;

class DeviceManagerTest : public ::testing::Test {
protected:
    void SetUp() override { DeviceManager::close(); }
    void TearDown() override
    {
        DeviceManager::close();
        PLocale::setDefaultLocaleId(PLocale::English);
    }
    std::shared_ptr<RecordingFactory> factory = std::make_shared<RecordingFactory>();
    kelmortest::FactoryScope scope{factory};
};

TEST_F(DeviceManagerTest, numbersCountTheWholeTableAndARepeatedIdLeavesTheLiveDevice)
{
    PString id;
    auto first = DeviceManager::create("InputDevice", &id);
    EXPECT_EQ(id, PString("InputDevice#1"));
    auto second = DeviceManager::create("CardReaderDevice", &id);
    EXPECT_EQ(id, PString("CardReaderDevice#2"));
    auto third = DeviceManager::create("InputDevice", &id);
    EXPECT_EQ(id, PString("InputDevice#3"));
    EXPECT_EQ(DeviceManager::DevicesIds(),
              (std::vector<PString>{PString("CardReaderDevice#2"), PString("InputDevice#1"), PString("InputDevice#3")}));
    EXPECT_EQ(DeviceManager::get("InputDevice#1"), first);

    // With the first gone the count gives 3 again: the live device keeps its id.
    ASSERT_TRUE(third->open(bag({{"BluetoothDevice", PVariant("00:11:22:33:44:55")}}),
                            [](PEvent*) {}, [](const PError&) {}));
    EXPECT_TRUE(DeviceManager::destroy("InputDevice#1"));
    PString repeated("untouched");
    EXPECT_EQ(DeviceManager::create("InputDevice", &repeated), nullptr);
    EXPECT_EQ(repeated, PString("untouched"));
    EXPECT_EQ(DeviceManager::getLastError().code(), 2);
    EXPECT_TRUE(DeviceManager::getLastError().message().contains("InputDevice#3"));
    EXPECT_EQ(DeviceManager::get("InputDevice#3"), third);
    EXPECT_TRUE(third->isOpened());
    EXPECT_EQ(factory->last()->closes, 0);

    // The last component's bring-down closes what is left.
    DeviceManager::close();
    EXPECT_TRUE(DeviceManager::DevicesIds().empty());
    EXPECT_FALSE(third->isOpened());
    EXPECT_EQ(factory->last()->closes, 1);

    EXPECT_EQ(DeviceManager::create("", &id), nullptr);
    EXPECT_EQ(DeviceManager::getLastError().message(), PString("Bad extention name"));
    EXPECT_EQ(DeviceManager::create("InputDevice", nullptr), nullptr);
    EXPECT_EQ(DeviceManager::getLastError().message(), PString("Cant create device Id"));
}

TEST_F(DeviceManagerTest, badIdsAnswerWithTheirOwnTextsInEitherLanguageAndEachThreadReadsItsOwn)
{
    const struct {
        int locale;
        const char* getText;
        const char* destroyText;
    } cases[] = {{PLocale::Russian, "Неверный Id устройства", "Неверный Id"},
                 {PLocale::English, "Bad device Id", "Bad device id"}};
    for (const auto& c : cases) {
        PLocale::setDefaultLocaleId(c.locale);
        EXPECT_EQ(DeviceManager::get("InputDevice#9"), nullptr);
        EXPECT_EQ(DeviceManager::getLastError().message(), PString(c.getText));
        EXPECT_FALSE(DeviceManager::destroy("InputDevice#9"));
        EXPECT_EQ(DeviceManager::getLastError().message(), PString(c.destroyText));
        EXPECT_EQ(DeviceManager::getLastError().code(), 2);
    }

    std::atomic<int> ready{0};
    std::atomic<int> mixed{0};
    auto run = [&](bool viaGet) {
        ++ready;
        while (ready < 2) {
        }
        for (int i = 0; i < 2000; ++i) {
            if (viaGet)
                DeviceManager::get("none");
            else
                DeviceManager::destroy("none");
            const PString expected(viaGet ? "Bad device Id" : "Bad device id");
            if (DeviceManager::getLastError().message() != expected)
                ++mixed;
        }
    };
    std::thread a(run, true), b(run, false);
    a.join();
    b.join();
    EXPECT_EQ(mixed, 0);
}

TEST_F(DeviceManagerTest, keyboardPortWithoutSuffixIsRefusedWhateverTheValueTypes)
{
    const struct {
        PPropertyBag settings;
        bool allowed;
    } cases[] = {
        {bag({{"Port", PVariant("0")}, {"Suffix", PVariant("-1")}}), false},
        {bag({{"Port", PVariant(0)}, {"Suffix", PVariant("-1")}}), false},
        {bag({{"Port", PVariant(0)}, {"Suffix", PVariant(-1)}}), false},
        {bag({{"Port", PVariant("0")}, {"Suffix", PVariant(-1)},
              {"BluetoothDevice", PVariant("00:11:22:33:44:55")}}), false},
        {bag({{"Port", PVariant("0")}, {"Suffix", PVariant(13)}}), true},
        {bag({{"Port", PVariant("DEV_KEYBOARD")}, {"Suffix", PVariant("-1")}}), true},
        {bag({{"Suffix", PVariant("-1")}}), true},
    };
    for (const auto& c : cases) {
        PError error;
        EXPECT_EQ(DeviceManager::isSettingsAllowed(c.settings, &error), c.allowed);
        EXPECT_EQ(DeviceManager::isSettingsAllowed(c.settings, nullptr), c.allowed);
        EXPECT_EQ(error.code(), c.allowed ? 0 : 100);  // the text: DeviceTest, in both languages
    }
    EXPECT_FALSE(DeviceManager::isAlreadyOpened(cases[4].settings));
}

TEST_F(DeviceManagerTest, aTestIsOneAttemptThatLeavesTheTableAsItWas)
{
    PString id;
    auto kept = DeviceManager::create("InputDevice", &id);
    const PPropertyBag settings = bag({{"BluetoothDevice", PVariant("BROADCAST")},
                                       {"Action", PVariant("scan")}, {"Extra", PVariant("data")}});
    EXPECT_TRUE(DeviceManager::test(settings));
    EXPECT_EQ(factory->last()->spec.kind, PDeviceSpec::BroadcastReceaver);
    EXPECT_EQ(factory->last()->closes, 1);

    factory->failures = 3;
    EXPECT_FALSE(DeviceManager::test(settings));
    EXPECT_EQ(factory->count(), 2);
    EXPECT_EQ(DeviceManager::getLastError().message(), PString("Failed to open device. Check connection"));
    EXPECT_EQ(DeviceManager::DevicesIds(), std::vector<PString>{PString("InputDevice#1")});
}

// Compared whole with reviewed documents: English with the port and device lists, Russian without.
TEST_F(DeviceManagerTest, catalogueIsTheWholeSettingsDocumentInEitherLanguage)
{
    for (bool withLists : {false, true}) {
        SCOPED_TRACE(withLists ? "lists, en" : "no lists, ru");
        if (withLists)
            kelmortest::fillFakeLists(*factory);
        PLocale::setDefaultLocaleId(withLists ? PLocale::English : PLocale::Russian);
        PVKSettings settings;
        ASSERT_TRUE(DeviceManager::fillSettings(&settings));
        std::ifstream in(std::string(KELMOR_SOURCE_DIR) + "/tests/AddIn/data/" +
                         (withLists ? "settings-en-lists.xml" : "settings-ru.xml"));
        const std::string expected((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(settings.getXML().toStdString(), expected);
    }
    EXPECT_FALSE(DeviceManager::fillSettings(nullptr));
}

}
