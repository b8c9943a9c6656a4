// Tests of the translation of key messages into bytes, in work mode and in test mode.
#include "PKeyTranslation.h"

#include <gtest/gtest.h>

using namespace strake;

namespace {

PKeyMSG key(unsigned int code, int ch, bool pressed)
{
    PKeyMSG message{};
    message.keycode = static_cast<unsigned char>(code);
    message.ch = static_cast<signed char>(ch);
    message.flags = pressed ? uint32_t(PKeyMSG::Pressed) : 0u;
    return message;
}

// A press and a release of one key.
void tap(std::vector<PKeyMSG>& messages, unsigned int code, int ch = 0)
{
    messages.push_back(key(code, ch, true));
    messages.push_back(key(code, ch, false));
}

void press(std::vector<PKeyMSG>& messages, unsigned int code, int ch = 0)
{
    messages.push_back(key(code, ch, true));
}

void release(std::vector<PKeyMSG>& messages, unsigned int code, int ch = 0)
{
    messages.push_back(key(code, ch, false));
}

void typeText(std::vector<PKeyMSG>& messages, const std::string& text)
{
    for (char c : text)
        tap(messages, static_cast<unsigned char>(c), c);
}

TranslateSettings workMode(int gsKeyCode = 248)
{
    TranslateSettings settings;
    settings.gsKeyCode = gsKeyCode;
    settings.printableTranslator = keyMsgsTranslatePrintableWorkMode;
    settings.nonPrintableTranslator = keyMsgsTranslateNonPrintableWorkMode;
    return settings;
}

TranslateSettings testMode(int outputDataType)
{
    TranslateSettings settings;
    settings.outputDataType = outputDataType;
    settings.printableTranslator = keyMsgsTranslatePrintableTestMode;
    settings.nonPrintableTranslator = keyMsgsTranslateNonPrintableTestMode;
    return settings;
}

const unsigned int ALT = 128, ALTR = 129, CTRL = 130, CTRLR = 131, SHIFT = 132, NUM0 = 176;
const unsigned int F8 = 248, F9 = 249, ENTER = 13;

}  // namespace

TEST(PKeyTranslation, altWithDecimalCodeGivesThatByteAndWithoutDigitsNothing)
{
    for (bool numpad : {false, true}) {
        SCOPED_TRACE(numpad ? "numeric pad" : "digit row");
        std::vector<PKeyMSG> messages;
        typeText(messages, "01");
        press(messages, ALT);
        for (char digit : std::string("029")) {
            if (numpad)
                tap(messages, NUM0 + (digit - '0'));
            else
                tap(messages, static_cast<unsigned char>(digit), digit);
        }
        release(messages, ALT);
        typeText(messages, "23");
        EXPECT_EQ(translate2Preview(messages, workMode()), std::string("01\x1d" "23"));
    }

    // Only the low 8 bits of the number count; the right Alt works alike.
    std::vector<PKeyMSG> messages;
    press(messages, ALTR);
    tap(messages, '3', '3');
    tap(messages, '2', '2');
    tap(messages, NUM0 + 1);
    release(messages, ALTR);
    EXPECT_EQ(translate2Preview(messages, workMode()), "A");

    // Alt without digits gives nothing.
    messages.clear();
    press(messages, ALT);
    tap(messages, '6', '6');
    tap(messages, '5', '5');
    release(messages, ALT);
    // A second Alt without digits must not repeat the first one's byte.
    tap(messages, ALT);
    // Letters and a Ctrl press are ignored inside an Alt sequence.
    press(messages, ALT);
    tap(messages, 'X', 'X');
    press(messages, CTRL);
    tap(messages, ']', ']');
    release(messages, ALT);
    release(messages, CTRL);
    tap(messages, 'B', 'B');
    EXPECT_EQ(translate2Preview(messages, workMode()), "AB");
}

TEST(PKeyTranslation, ctrlWithKeyGivesControlCharacter)
{
    const struct {
        unsigned int code;
        char byte;
    } rows[] = {{'A', 1}, {'M', 13}, {'Z', 26}, {'-', 31}, {'@', 0}, {'[', 27},
                {'\\', 28}, {']', 29}, {'^', 30}};
    for (const auto& row : rows) {
        std::vector<PKeyMSG> messages;
        press(messages, CTRL);
        tap(messages, row.code, static_cast<int>(row.code));
        release(messages, CTRL);
        EXPECT_EQ(translate2Preview(messages, workMode()), std::string(1, row.byte))
            << "Ctrl+" << static_cast<char>(row.code);
    }

    // Keys without a control character are ignored; the sequence ends with either Ctrl.
    std::vector<PKeyMSG> messages;
    press(messages, CTRLR);
    tap(messages, '1', '1');
    tap(messages, F8);
    release(messages, CTRLR);
    tap(messages, 'C', 'C');
    EXPECT_EQ(translate2Preview(messages, workMode()), "C");
}

TEST(PKeyTranslation, gsKeyWinsOverItsOwnCharacterAndTable)
{
    std::vector<PKeyMSG> messages;
    tap(messages, 'A', 'A');
    tap(messages, F8, 'x');
    tap(messages, 'B', 'B');
    EXPECT_EQ(translate2Preview(messages, workMode(248)), "A\x1d" "B");

    // F8 gives GS through the control table as well, so with F9 as the GS key both do.
    messages.clear();
    tap(messages, F8);
    tap(messages, F9);
    EXPECT_EQ(translate2Preview(messages, workMode(249)), "\x1d\x1d");

    // No GS key configured: F9 falls back to its table byte.
    EXPECT_EQ(translate2Preview(messages, workMode(-1)), "\x1d\x1e");
}

TEST(PKeyTranslation, onlyPressesMakeOutputAndOpenSequencesAreDropped)
{
    std::vector<PKeyMSG> messages;
    release(messages, 'A', 'A');
    press(messages, 'B', 'B');
    press(messages, ALT);
    tap(messages, '6', '6');
    tap(messages, '5', '5');
    EXPECT_EQ(translate2Preview(messages, workMode()), "B");
    EXPECT_EQ(translate2Preview(messages.cbegin(), messages.cbegin(), workMode()), "");
}

TEST(PKeyTranslation, workModeCharactersAndControlKeys)
{
    std::vector<PKeyMSG> messages;
    tap(messages, ENTER, 'q');  // Enter gives CR whatever it carries
    tap(messages, ENTER);       // without a character it is no control key: nothing
    tap(messages, SHIFT);
    tap(messages, 0, 'z');    // a second character of one key event
    tap(messages, 'A', -48);  // a byte above ASCII goes out unchanged
    for (unsigned int code : {127u, 160u, 161u, 175u, 241u, 250u, 251u, 252u, 172u})
        tap(messages, code);
    EXPECT_EQ(translate2Preview(messages, workMode(-1)),
              std::string("\rz\xD0\x0C\x0E\x11\x0A\x16\x1F\x10\x15"));

    // Without translators only the sequences make output.
    messages.clear();
    typeText(messages, "AB");
    tap(messages, 241);
    tap(messages, F8);
    press(messages, CTRL);
    tap(messages, 'B', 'B');
    release(messages, CTRL);
    press(messages, ALT);
    tap(messages, NUM0 + 6);
    tap(messages, NUM0 + 7);
    release(messages, ALT);
    TranslateSettings settings;
    settings.gsKeyCode = F8;
    EXPECT_EQ(translate2Preview(messages, settings), "\x1d\x02" "C");
}

TEST(PKeyTranslation, testModeNamesKeysWithoutCharacter)
{
    std::vector<PKeyMSG> messages;
    tap(messages, SHIFT);
    tap(messages, 'A', 'A');
    tap(messages, 241);
    tap(messages, 97);  // a code without a name
    tap(messages, ENTER, 13);
    EXPECT_EQ(translate2Preview(messages, testMode(0)), "A'F1'''\r");
    // When Base64 is wanted the names would spoil the coded text.
    EXPECT_EQ(translate2Preview(messages, testMode(1)), "A\r");

    // Control characters have names and previews.
    std::string names;
    for (int byte : {0, 9, 13, 29, 31, 32, 127, 65, 0x80, 0xD0, 0xFF})
        names += getCharName(static_cast<char>(byte)) + ",";
    EXPECT_EQ(names, "NUL,TAB,CR,GS,US,SPACE,DEL,,,,,");
    EXPECT_EQ(getCharPreview(13) + getCharPreview('A') + getCharPreview(char(0xD0)),
              "'CR'A\xD0");
}

TEST(PKeyTranslation, translate2CharsHonoursModeAndCase)
{
    PKeyMSG upper = key('Q', 'q', true);
    upper.flags |= PKeyMSG::UpperCase;
    EXPECT_EQ(translate2Chars(key('Q', 'q', true), 1) + translate2Chars(upper, 1), "qQ");
    EXPECT_EQ(translate2Chars(upper, 0), "q");
    EXPECT_EQ(translate2Chars(upper, 2) + translate2Chars(key('Q', 'q', false), 0) +
                  translate2Chars(key('1', 0, true), 0),
              "");
    // The settings' mode reaches translate2Chars; without settings mode 0 is used.
    TranslateSettings settings;
    settings.translateMode = 1;
    EXPECT_EQ(keyMsgsTranslatePrintableWorkMode(upper, &settings), "Q");
    EXPECT_EQ(keyMsgsTranslatePrintableWorkMode(upper, nullptr), "q");
}

