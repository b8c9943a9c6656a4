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

// A text taps its characters' keys, a code taps that key; down() and up() press or release one.
struct Step {
    Step(const char* text)
    {
        for (const char c : std::string(text))
            tap(static_cast<unsigned char>(c), c);
    }
    Step(unsigned int code, int ch = 0) { tap(code, ch); }
    void tap(unsigned int code, int ch)
    {
        messages.push_back(key(code, ch, true));
        messages.push_back(key(code, ch, false));
    }
    std::vector<PKeyMSG> messages;
};

Step down(unsigned int code, int ch = 0, bool pressed = true)
{
    Step step("");
    step.messages.push_back(key(code, ch, pressed));
    return step;
}

Step up(unsigned int code, int ch = 0)
{
    return down(code, ch, false);
}

std::vector<PKeyMSG> keys(std::initializer_list<Step> steps)
{
    std::vector<PKeyMSG> messages;
    for (const Step& step : steps)
        messages.insert(messages.end(), step.messages.begin(), step.messages.end());
    return messages;
}

TranslateSettings workMode(int gsKeyCode = 248)
{
    TranslateSettings settings;
    settings.gsKeyCode = gsKeyCode;
    settings.printableTranslator = keyMsgsTranslatePrintableWorkMode;
    settings.nonPrintableTranslator = keyMsgsTranslateNonPrintableWorkMode;
    return settings;
}

std::string preview(std::initializer_list<Step> steps, const TranslateSettings& settings = workMode())
{
    return translate2Preview(keys(steps), settings);
}

const unsigned int ALT = 128, ALTR = 129, CTRL = 130, CTRLR = 131, SHIFT = 132, NUM0 = 176;
const unsigned int F8 = 248, F9 = 249, ENTER = 13;

}  // namespace

TEST(PKeyTranslation, altWithDecimalCodeGivesThatByteAndWithoutDigitsNothing)
{
    // Digit row or numeric pad, the low 8 bits of the number, either Alt.
    EXPECT_EQ(preview({"01", down(ALT), "029", up(ALT), "23"}), "01\x1d" "23");
    EXPECT_EQ(preview({"01", down(ALT), NUM0, NUM0 + 2, NUM0 + 9, up(ALT), "23"}), "01\x1d" "23");
    EXPECT_EQ(preview({down(ALTR), "32", NUM0 + 1, up(ALTR)}), "A");
    // A second Alt without digits repeats nothing; letters and Ctrl are ignored inside Alt.
    EXPECT_EQ(preview({down(ALT), "65", up(ALT), ALT, down(ALT), "X", down(CTRL), "]", up(ALT), up(CTRL), "B"}),
              "AB");
}

TEST(PKeyTranslation, ctrlWithKeyGivesControlCharacter)
{
    const std::pair<unsigned int, char> rows[] = {{'A', 1}, {'M', 13}, {'Z', 26}, {'-', 31}, {'@', 0},
                                                  {'[', 27}, {'\\', 28}, {']', 29}, {'^', 30}};
    for (const auto& [code, byte] : rows)
        EXPECT_EQ(preview({down(CTRL), {code, static_cast<int>(code)}, up(CTRL)}), std::string(1, byte)) << code;
    // Keys without a control character are ignored; the sequence ends with either Ctrl.
    EXPECT_EQ(preview({down(CTRLR), "1", F8, up(CTRLR), "C"}), "C");
}

TEST(PKeyTranslation, gsKeyWinsOverItsOwnCharacterAndTable)
{
    EXPECT_EQ(preview({"A", {F8, 'x'}, "B"}, workMode(248)), "A\x1d" "B");
    // F8 is GS in the control table too; without a GS key F9 gives its table byte.
    EXPECT_EQ(preview({F8, F9}, workMode(249)), "\x1d\x1d");
    EXPECT_EQ(preview({F8, F9}, workMode(-1)), "\x1d\x1e");
}

TEST(PKeyTranslation, onlyPressesMakeOutputAndOpenSequencesAreDropped)
{
    const std::vector<PKeyMSG> messages = keys({up('A', 'A'), down('B', 'B'), down(ALT), "65"});
    EXPECT_EQ(translate2Preview(messages, workMode()), "B");
    EXPECT_EQ(translate2Preview(messages.cbegin(), messages.cbegin(), workMode()), "");
}

TEST(PKeyTranslation, workModeCharactersAndControlKeys)
{
    // Enter gives CR whatever it carries; a second character counts; bytes above ASCII pass.
    EXPECT_EQ(preview({{ENTER, 'q'}, ENTER, SHIFT, {0, 'z'}, {'A', -48}, 127u, 160u, 161u, 175u, 241u, 250u, 251u,
                       252u, 172u},
                      workMode(-1)),
              std::string("\rz\xD0\x0C\x0E\x11\x0A\x16\x1F\x10\x15"));

    // Without translators only the sequences make output.
    TranslateSettings settings;
    settings.gsKeyCode = F8;
    EXPECT_EQ(preview({"AB", 241u, F8, down(CTRL), "B", up(CTRL), down(ALT), NUM0 + 6, NUM0 + 7, up(ALT)}, settings),
              "\x1d\x02" "C");
}

TEST(PKeyTranslation, testModeNamesKeysWithoutCharacter)
{
    // 97 is a code without a name. When Base64 is wanted the names would spoil the coded text.
    TranslateSettings test;
    test.printableTranslator = keyMsgsTranslatePrintableTestMode;
    test.nonPrintableTranslator = keyMsgsTranslateNonPrintableTestMode;
    EXPECT_EQ(preview({SHIFT, "A", 241u, 97u, {ENTER, 13}}, test), "A'F1'''\r");
    test.outputDataType = 1;
    EXPECT_EQ(preview({SHIFT, "A", 241u, 97u, {ENTER, 13}}, test), "A\r");

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

