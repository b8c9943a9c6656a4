// Tests of the broadcast device without a VM: its parameter text, its refusals, and the
// reading of the extras XML.
#include "PBroadcastReceaver.h"

#include "PLocale.h"
#include "StrakeText.h"

#include <gtest/gtest.h>

namespace {

std::string xmlInput(const std::string& xml, const std::string& suffix)
{
    PByteArray input;
    if (!PBroadcastReceaver::inputFromXml(PString(xml), PByteArray(suffix), &input))
        return "<none>";
    return input.toStdString();
}

std::string field(const std::string& bytes)
{
    return "<action><fields><field key=\"data\" value=\"" + strake::raw2Base64(bytes)
        + "\"/></fields></action>";
}

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
            EXPECT_EQ(device->getLastError().message(),
                      PString(language == PLocale::Russian ? c.russian : c.english));
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

    // The parameter text and the type names.
    PBroadcastReceaver device("com.scanner.ACTION");
    device.setFieldsDesc({PBroadcastDataField("data", PBroadcastDataField::String)});
    EXPECT_EQ(device.parametersText(), PString("action_name=com.scanner.ACTION;fields=data(9);"));
    EXPECT_EQ(PBroadcastDataField::typeName(9), PString("string"));
    EXPECT_EQ(PBroadcastDataField::typeName(0x10002), PString("byte[]"));
    EXPECT_EQ(PBroadcastDataField::typeName(12), PString());
}
