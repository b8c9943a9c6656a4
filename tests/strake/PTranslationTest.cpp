// The translation table and its XML loader.
#include "PTranslation.h"

#include "PLocale.h"

#include <gtest/gtest.h>

namespace {

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

    // A faulty document changes nothing.
    struct Case {
        std::string xml;
        const char* message;
    };
    const std::string good = R"(<string sid="a"><locale lid="en">A</locale></string>)";
    const Case cases[] = {
        {"<localization><strings>", "Bad xml"},
        {"<other/>", "Bad xml localization format"},
        {"<localization/>", "Bad xml localization format"},
        {document(good + "<str sid=\"b\"/>"), "Bad xml localization format"},
        {document(good + "<string/>"), "Bad xml localization format"},
        {document(good + R"(<string sid="b"><locale>B</locale></string>)"), "Bad xml localization format"},
        {document(good + R"(<string sid="b"><locale lid="en"></locale></string>)"), "Bad xml localization format"},
        {document(good + R"(<string sid="b"><text lid="en">B</text></string>)"), "Bad xml localization format"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.xml);
        PTranslation table;
        PError error;
        EXPECT_FALSE(table.load(c.xml, &error));
        EXPECT_EQ(error.code(), 100);
        EXPECT_EQ(error.message(), PString(c.message));
        EXPECT_TRUE(table.isEmpty());
        EXPECT_THROW(table.load(c.xml, nullptr), PError);
    }
    PError error(5, "stale");
    EXPECT_TRUE(table.load(document(""), &error));
    EXPECT_EQ(error.code(), 0);
    EXPECT_TRUE(table.isEmpty());
}

}
