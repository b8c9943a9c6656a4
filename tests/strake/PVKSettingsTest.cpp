// The parameter store and the parameters document it builds.
#include "PVKSettings.h"

#include "PHostMemoryManager.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

using Types = PXMLParametersBuilder::ParametersTypes;
const PXMLParametersBuilder::Choices kYesNo = {{"1", "Yes"}, {"0", "No"}};

TEST(PVKSettingsTest, documentHoldsOnlyWhatHasAPlace)
{
    PVKSettings settings;
    settings.addGroup("Orphan group");
    settings.addParameter("Early", "E", "", Types::Number, "5", PVKSettings::Choices{});
    settings.addPage("Page 1");
    settings.addParameter("NoGroup", "N", "", Types::String, "", false);
    settings.addGroup("Group 1");
    settings.addParameter("Flag", "F & \"x\"", "<d>", Types::Boolean, "1", kYesNo);
    settings.addParameter("Bare", "B", "", Types::Boolean, "0", true);
    settings.addParameter("Secret", "S", "", Types::String, "s", false, true);
    settings.addParameter("Odd", "O", "", static_cast<Types>(7), "", PVKSettings::Choices{});
    settings.addPage("Page 2");
    settings.addParameter("Lost", "L", "", Types::String, "", false);
    settings.addGroup("Group 2");
    settings.addParameter("Flag", "F2", "", Types::String, "again", false);

    // Compared whole with a reviewed document.
    std::ifstream reviewed(std::string(KELMOR_SOURCE_DIR) + "/tests/strake/data/settings-document.xml");
    const std::string expected((std::istreambuf_iterator<char>(reviewed)), std::istreambuf_iterator<char>());
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(settings.getXML().toStdString(), expected);

    // Values exist for everything added, placed or not, as the text of the default; a second
    // parameter of one name replaced the entry.
    const PPropertyBag bag = settings.getSettings();
    EXPECT_EQ(bag.size(), 7u);
    EXPECT_EQ(bag.value("Early").type(), PVariant::String);
    EXPECT_EQ(bag.value("Early").toPString(), PString("5"));
    EXPECT_EQ(bag.value("Secret").toPString(), PString("s"));
    EXPECT_EQ(bag.value("Flag").toPString(), PString("again"));

    settings.clear();
    EXPECT_TRUE(settings.empty());
    EXPECT_EQ(settings.getXML(), PString("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings/>\n"));
}

TEST(PVKSettingsTest, writesKeepTheHostTypeAndRefuseWhatHasNoValue)
{
    PHostMemoryManager memory;
    PVKSettings settings;
    settings.addParameter("Prefix", "P", "", Types::Number, "-1", PVKSettings::Choices{});
    settings.addParameter("Hidden", "H", "", Types::String, "h", false, true);
    settings.addParameter("Doubled", "D", "", Types::Number, "0", false, false,
                          [](tVariant* v) { return PVariant(v->lVal * 2); });
    settings.addParameter("Broken", "B", "", Types::Number, "0", false, false,
                          [](tVariant*) -> PVariant { throw std::runtime_error("no"); });

    tVariant value = hostEmptyValue();
    value.vt = VTYPE_I4;
    value.lVal = 13;
    EXPECT_TRUE(settings.setParameter("Prefix", &value));
    EXPECT_EQ(settings.getSettings().value("Prefix").type(), PVariant::Int);
    EXPECT_TRUE(settings.setParameter("Hidden", &value));
    EXPECT_EQ(settings.getSettings().value("Hidden").toInt(), 13);
    EXPECT_TRUE(settings.setParameter("Doubled", &value));
    EXPECT_EQ(settings.getSettings().value("Doubled").toInt(), 26);

    struct Refusal {
        const char* name;
        tVariant* value;
        uint16_t type;
        int code;
        const char* message;
    };
    const Refusal refusals[] = {
        {"Prefix", nullptr, 0, 2, "Parameter value corrupted"},
        {"Port", &value, VTYPE_I4, 100, "Wrong parameter name"},
        {"Prefix", &value, VTYPE_EMPTY, 100, "Wrong parameter type/value"},
        {"Prefix", &value, VTYPE_NULL, 100, "Wrong parameter type/value"},
        {"Prefix", &value, 7 /* date */, 100, "Wrong parameter type/value"},
        {"Prefix", &value, VTYPE_ERROR, 100, "Wrong parameter type/value"},
        {"Prefix", &value, VTYPE_VARIANT, 100, "Wrong parameter type/value"},
        {"Broken", &value, VTYPE_I4, 2, ""},
    };
    for (const Refusal& r : refusals) {
        SCOPED_TRACE(std::string(r.name) + " " + std::to_string(r.type));
        value.vt = r.type;
        EXPECT_FALSE(settings.setParameter(r.name, r.value));
        const PError error = settings.getLastError();
        EXPECT_EQ(error.code(), r.code);
        EXPECT_EQ(error.message(), PString(r.message));
        EXPECT_EQ(settings.getSettings().value("Prefix").toInt(), 13);
    }

    // Text of any kind, invalid UTF-16 included, is a value.
    tVariant text = hostEmptyValue();
    char16_t units[] = {u'4', 0xD800, u'2', 0};
    text.vt = VTYPE_PWSTR;
    text.pwstrVal = units;
    text.wstrLen = 3;
    EXPECT_TRUE(settings.setParameter("Prefix", &text));
    EXPECT_EQ(settings.getSettings().value("Prefix").toPString(), PString("42"));
    EXPECT_FALSE(settings.getLastError().isError());
}

}
