// The settings catalogue, compared whole with reviewed documents: English with ports and paired
// devices listed, Russian with none.
#include "DeviceManager.h"

#include "PLocale.h"
#include "PVKSettings.h"
#include "RecordingDevice.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace {

std::string golden(const char* name)
{
    std::ifstream in(std::string(KELMOR_SOURCE_DIR) + "/tests/AddIn/data/" + name);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class DeviceCatalogueTest : public ::testing::Test {
protected:
    void TearDown() override { PLocale::setDefaultLocaleId(PLocale::English); }
};

TEST_F(DeviceCatalogueTest, documentIsTheWholeCatalogueInEitherLanguage)
{
    auto factory = std::make_shared<kelmortest::RecordingFactory>();
    kelmortest::FactoryScope scope(factory);
    for (bool withLists : {false, true}) {
        SCOPED_TRACE(withLists ? "lists, en" : "no lists, ru");
        if (withLists)
            kelmortest::fillFakeLists(*factory);
        PLocale::setDefaultLocaleId(withLists ? PLocale::English : PLocale::Russian);
        PVKSettings settings;
        ASSERT_TRUE(DeviceManager::fillSettings(&settings));
        const std::string expected = golden(withLists ? "settings-en-lists.xml" : "settings-ru.xml");
        ASSERT_FALSE(expected.empty());
        EXPECT_EQ(settings.getXML().toStdString(), expected);
        const PPropertyBag bag = settings.getSettings();
        EXPECT_EQ(bag.size(), 20u);
        EXPECT_EQ(bag.value("GSSymbolKey").toPString(), PString("7"));
        EXPECT_FALSE(bag.hasKey("Port"));
    }
    EXPECT_FALSE(DeviceManager::fillSettings(nullptr));
}

}
