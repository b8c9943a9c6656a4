// Tests of the key code tables, key names, the keyboard text packet and packed key messages.
#include "PKeyCodes.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace strake;

namespace {

struct Expected {
    unsigned int keycode;
    int ch;
};

void expectMessages(const char* packet, std::vector<Expected> expected, uint32_t flags = 1)
{
    SCOPED_TRACE(packet);
    const std::vector<PKeyMSG> messages = rawInputToStandart(PString(packet), 15);
    ASSERT_EQ(messages.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(messages[i].keycode, expected[i].keycode) << "message " << i;
        EXPECT_EQ(messages[i].ch, expected[i].ch) << "message " << i;
        EXPECT_EQ(messages[i].flags, flags) << "message " << i;
        EXPECT_EQ(messages[i].origin, 1) << "message " << i;
        EXPECT_EQ(messages[i].scancode, 0);
        EXPECT_EQ(messages[i].timestamp, 0u);
        EXPECT_EQ(messages[i].mapped, 0u);
    }
}

}  // namespace

TEST(PKeyCodes, packetRecordsBecomeKeyMessages)
{
    expectMessages("29:1:QQ==", {{65, 65}});
    // Several characters on one key event: the first names the key, the rest ride alone.
    expectMessages("0:1:QUI=", {{0, 65}, {0, 66}});
    expectMessages("66:1", {{13, 0}});
    expectMessages("29:0:YQ==", {{65, 97}}, 0);
    // Unusable records: unknown key without characters, no flags field, nothing at all.
    expectMessages("999:1", {});
    expectMessages("29", {});
    expectMessages("", {});
    expectMessages(";;:;", {});
    // Bad records do not disturb their neighbours, and order is kept.
    expectMessages("29:1:QQ==;999:1;30;31:1:Qw==;66:1", {{65, 65}, {67, 67}, {13, 0}});
}

TEST(PKeyCodes, packetFieldsAreReadLeniently)
{
    // Numbers read as atoi does; a fourth field is ignored.
    const std::vector<PKeyMSG> messages = rawInputToStandart(PString("29abc:3x:QQ==:extra"), 15);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].keycode, 65);
    EXPECT_EQ(messages[0].flags, 3u);
    EXPECT_EQ(messages[0].ch, 65);
}

TEST(PKeyCodes, charactersAboveAsciiStaySignedBytes)
{
    // "0JA=" is the UTF-8 of a Cyrillic letter: D0 90. ch must read as a negative byte on
    // every CPU, whatever the signedness of plain char there.
    const std::vector<PKeyMSG> messages = rawInputToStandart(PString("30:1:0JA="), 15);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[0].keycode, 'B');
    EXPECT_EQ(messages[0].ch, -48);
    EXPECT_EQ(messages[1].keycode, 0);
    EXPECT_EQ(messages[1].ch, -112);
}

TEST(PKeyCodes, androidCodesMapAtTheEdgesOfEveryRange)
{
    const struct {
        int android;
        unsigned int code;
    } rows[] = {
        {3, 161},   {7, '0'},   {16, '9'},  {17, '*'},  {18, '#'},  {29, 'A'},  {54, 'Z'},
        {55, ','},  {56, '.'},  {57, 128},  {58, 129},  {59, 132},  {60, 133},  {61, 9},
        {62, 32},   {66, 13},   {67, 127},  {68, '`'},  {69, '-'},  {70, '='},  {71, '['},
        {72, ']'},  {73, '\\'}, {74, ';'},  {75, '\''}, {76, '/'},  {81, '+'},  {92, 163},
        {93, 164},  {111, 27},  {113, 130}, {114, 131}, {115, 134}, {124, 160}, {131, 241},
        {142, 252}, {144, 176}, {153, 185}, {154, '/'}, {155, '*'}, {157, '+'}, {159, ','},
        {160, 186}, {161, '='}, {162, '('}, {163, ')'},
        // Codes between and around the ranges have no key.
        {-1, 0},    {0, 0},     {2, 0},     {4, 0},     {6, 0},     {19, 0},    {28, 0},
        {63, 0},    {65, 0},    {77, 0},    {143, 0},   {156, 0},   {158, 0},   {164, 0},
        {100000, 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(androidKeyCodeToKeyCode(row.android), row.code) << "android " << row.android;
}

TEST(PKeyCodes, keyNamesShowDirection)
{
    EXPECT_EQ(getKeyName(65, 1), PString("'A_'"));
    EXPECT_EQ(getKeyName(65, 0), PString("'_A'"));
    EXPECT_EQ(getKeyName(126, 1), PString("'~_'"));
    EXPECT_EQ(getKeyName(13, 1), PString("'ENTER'"));
    EXPECT_EQ(getKeyName(13, 0), PString("'enter'"));
    EXPECT_EQ(getKeyName(173, 0), PString("'leftalt'"));
    EXPECT_EQ(getKeyName(97, 1), PString("{FAIL(97(}"));
    EXPECT_EQ(getKeyName(97, 0), PString("{FAIL(97(}"));
    EXPECT_EQ(getKeyName(300, 1), PString("{FAIL(300(}"));

    EXPECT_EQ(getKeyName(0), PString("NONE"));
    EXPECT_EQ(getKeyName(33), PString("!"));
    EXPECT_EQ(getKeyName(96), PString("`"));
    EXPECT_EQ(getKeyName(186), PString("NumpadEnter"));
    EXPECT_EQ(getKeyName(252), PString("F12"));
    for (unsigned int unnamed : {1u, 97u, 122u, 128u + 7u, 168u, 187u, 253u, 256u})
        EXPECT_TRUE(getKeyName(unnamed).isEmpty()) << unnamed;
}

TEST(PKeyCodes, gsKeysByIndexAndBack)
{
    const int expected[] = {241, 242, 243, 244, 245, 246, 247, 248, 249, 250, 251, 252, 160, 127,
                            161, 162, 163, 164, 134, 129, 186, 32,  9,   172, 175, 173, 174};
    for (unsigned int i = 0; i < 27; ++i) {
        EXPECT_EQ(getGSKeyCodeForIndex(i), expected[i]) << i;
        EXPECT_EQ(getGSKeyCodeIndex(static_cast<unsigned int>(expected[i])), static_cast<int>(i));
    }
    EXPECT_EQ(getGSKeyCodeForIndex(27), -1);
    EXPECT_EQ(getGSKeyCodeForIndex(0xFFFFFFFFu), -1);
    EXPECT_EQ(getGSKeyCodeIndex(248), 7);
    EXPECT_EQ(getGSKeyCodeIndex(65), -1);
    EXPECT_EQ(getGSKeyCodeIndex(248 + 256), -1);
}

TEST(PKeyCodes, packedMessagesKeepTheirLayout)
{
    std::vector<PKeyMSG> messages = rawInputToStandart(PString("29:3:QQ==;0:1:0A=="), 15);
    ASSERT_EQ(messages.size(), 2u);
    PByteArray packed = packKeyMessages(messages);
    ASSERT_EQ(packed.size(), 80u);
    const unsigned char* bytes = packed.constData();
    EXPECT_EQ(bytes[12], 3);
    EXPECT_EQ(bytes[16], 65);
    EXPECT_EQ(bytes[17], 1);
    EXPECT_EQ(bytes[33], 65);
    EXPECT_EQ(bytes[40 + 33], 0xD0);

    // A remainder short of a whole record is ignored.
    packed.add(reinterpret_cast<const unsigned char*>("x"), 1);
    const std::vector<PKeyMSG> back = unpackKeyMessages(packed);
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(std::memcmp(back.data(), messages.data(), 80), 0);
    EXPECT_EQ(back[1].ch, -48);
    EXPECT_TRUE(unpackKeyMessages(PByteArray("0123456789")).empty());
    EXPECT_TRUE(packKeyMessages({}).isEmpty());
}
