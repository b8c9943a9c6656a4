// The parameter store and the document it builds, settings read from INI files, and the
// translation table that gives the documents their texts.
#include "PVKSettings.h"

#include "PHostMemoryManager.h"
#include "PINIReader.h"
#include "PLocale.h"
#include "PTranslation.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <unistd.h>

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

    std::ifstream reviewed(std::string(KELMOR_SOURCE_DIR) + "/tests/strake/data/settings-document.xml");
    const std::string expected((std::istreambuf_iterator<char>(reviewed)), std::istreambuf_iterator<char>());
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(settings.getXML().toStdString(), expected);

    // Every parameter added has its default as text; a second one of a name replaces the first.
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
        // Every type that reads as no value (StrakeVariantTest) is refused alike.
        {"Prefix", &value, VTYPE_EMPTY, 100, "Wrong parameter type/value"},
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


TEST(PINIReaderTest, linesGiveTrimmedTextValues)
{
    PError error(7, "stale");
    const PPropertyBag bag = strake::parseIniData(" a = 1 ;note ] [ =\r\n"
                                              ";comment a=2\n"
                                              "\n"
                                              "two words=x y\t\r\n"
                                              "empty=\n"
                                              "a=second\n"
                                              "k\xD0\x99\x7F=v\xFF\n",
                                              &error);
    EXPECT_FALSE(error.isError());
    EXPECT_EQ(bag.size(), 3u);
    EXPECT_EQ(bag.value(PString("a")).type(), PVariant::StdString);
    EXPECT_EQ(bag.value(PString("a")).toStdString(), "1");
    EXPECT_EQ(bag.value(PString("two words")).toStdString(), "x y");
    // Bytes that are not printable ASCII are dropped, on every sign of char.
    EXPECT_EQ(bag.value(PString("k")).toStdString(), "v");
    EXPECT_FALSE(bag.hasKey(PString("empty")));

    // Only a line feed stores a pair; NUL ends the text.
    EXPECT_TRUE(strake::parseIniData("a=1", &error).empty());
    EXPECT_TRUE(strake::parseIniData("", &error).empty());

    EXPECT_EQ(strake::parseIniData(std::string("a=1\n\0b\n", 7), &error).keys(), std::vector<PString>{PString("a")});
    EXPECT_FALSE(error.isError());
}

TEST(PINIReaderTest, malformedLinesEmptyTheWholeBag)
{
    const std::pair<const char*, int> cases[] = {
        {"good=1\na=1=2\n", 100}, {"good=1\na\n", 100},    {"good=1\n[section]\n", 1},
        {"good=1\na=[1]\n", 100}, {"good=1\na]=1\n", 100}, {"good=1\nx=1]", 100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        PError error;
        EXPECT_TRUE(strake::parseIniData(c.first, &error).empty());
        EXPECT_EQ(error.code(), c.second);
        EXPECT_EQ(error.message(), c.second == 100 ? PString("wrong ini format") : PString());
        try {
            strake::parseIniData(c.first, nullptr);
            ADD_FAILURE() << "no exception without an error out-parameter";
        } catch (const PError& thrown) {
            EXPECT_EQ(thrown.code(), c.second);
        }
    }
}

TEST(PINIReaderTest, settingsAreReadOnceAndKeptUntilThePathChangesAndFailuresSayWhy)
{
    const std::string path = ::testing::TempDir() + "PINIReaderTest_" + std::to_string(::getpid()) + ".ini";
    auto write = [&path](const std::string& content) { std::ofstream(path, std::ios::binary) << content; };
    write("port=COM1\n");
    PINIReader reader{PString(path)};
    EXPECT_EQ(reader.getSettings().value(PString("port")).toStdString(), "COM1");
    EXPECT_FALSE(reader.lastError().isError());

    std::remove(path.c_str());
    EXPECT_EQ(reader.getSettings().size(), 1u);

    reader.setFilePath(PString(path));
    EXPECT_TRUE(reader.getSettings().empty());
    EXPECT_EQ(reader.lastError().code(), 200);
    EXPECT_EQ(reader.lastError().message(), PString("cant access file"));

    PError error;
    EXPECT_TRUE(PINIReader::readSettings(PString(), &error).empty());
    EXPECT_EQ(error.code(), 2);
    EXPECT_EQ(error.message(), PString("bad file path"));

    write("");
    EXPECT_TRUE(PINIReader::readSettings(PString(path), &error).empty());
    EXPECT_EQ(error.code(), 2);
    EXPECT_EQ(error.message(), PString("failed to read, or file is empty"));

    write("a=1\n");
    EXPECT_EQ(PINIReader::readSettings(PString(path), &error).size(), 1u);
    EXPECT_FALSE(error.isError());
    EXPECT_EQ(PINIReader::readSettings(PString(path)).size(), 1u);
    std::remove(path.c_str());
}

std::string document(const std::string& strings)
{
    return "<localization><strings>" + strings + "</strings></localization>";
}

TEST(PTranslationTest, textsAreFoundOnlyInTheirOwnLanguageAndAFaultyDocumentChangesNothing)
{
    PTranslation table;
    ASSERT_TRUE(table.load(document(R"(<string sid="port"><locale lid="ru_RU">Порт</locale>
        <locale lid="en">Port</locale></string>
        <string sid="only"><locale lid="de">Nur</locale></string>
        <string sid="late"><locale lid="xxRUru">Первый</locale><locale lid="ru">Второй</locale></string>)"),
                           nullptr));
    EXPECT_FALSE(table.isEmpty());
    EXPECT_EQ(table.tr(PString("port"), PString("?"), PLocale::Russian), PString("Порт"));
    EXPECT_EQ(table.tr(PString("port"), PString("?"), PLocale::English), PString("Port"));
    EXPECT_EQ(table.tr(PString("only"), PString("?"), PLocale::English), PString("Nur"));
    EXPECT_EQ(table.tr(PString("only"), PString("?"), PLocale::Russian), PString("?"));
    EXPECT_EQ(table.tr(PString("late"), PString("?"), PLocale::Russian), PString("Второй"));
    EXPECT_EQ(table.tr(PString("none"), PString("fallback"), PLocale::Russian), PString("fallback"));

    table.clear();
    EXPECT_TRUE(table.isEmpty());
    EXPECT_EQ(table.tr(PString("port"), PString("?"), PLocale::English), PString("?"));
    // A look-up never fills the table.
    EXPECT_TRUE(table.isEmpty());

    const std::string good = R"(<string sid="a"><locale lid="en">A</locale></string>)";
    const std::pair<std::string, const char*> cases[] = {
        {"<localization><strings>", "Bad xml"},
        {"<other/>", "Bad xml localization format"},
        {"<localization/>", "Bad xml localization format"},
        {document(good + "<str sid=\"b\"/>"), "Bad xml localization format"},
        {document(good + "<string/>"), "Bad xml localization format"},
        {document(good + R"(<string sid="b"><locale>B</locale></string>)"), "Bad xml localization format"},
        {document(good + R"(<string sid="b"><locale lid="en"></locale></string>)"), "Bad xml localization format"},
        {document(good + R"(<string sid="b"><text lid="en">B</text></string>)"), "Bad xml localization format"},
    };
    for (const auto& [xml, message] : cases) {
        SCOPED_TRACE(xml);
        PTranslation table;
        PError error;
        EXPECT_FALSE(table.load(xml, &error));
        EXPECT_EQ(error.code(), 100);
        EXPECT_EQ(error.message(), PString(message));
        EXPECT_TRUE(table.isEmpty());
        EXPECT_THROW(table.load(xml, nullptr), PError);
    }
    PError error(5, "stale");
    EXPECT_TRUE(table.load(document(""), &error));
    EXPECT_EQ(error.code(), 0);
    EXPECT_TRUE(table.isEmpty());
}

}
