// Key code tables, key names, the keyboard text packet and the packed form of key messages.
#include "PKeyCodes.h"

#include "PLogger.h"
#include "PVariant.h"
#include "StrakeText.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string>

namespace {

// Android key codes first..last map to code, code + 1, ... Sorted by first, no overlaps.
struct AndroidKeyRange {
    int first;
    int last;
    unsigned char code;
};

constexpr AndroidKeyRange kAndroidKeys[] = {
    {3, 3, 161},     {7, 16, 48},     {17, 17, 42},    {18, 18, 35},    {29, 54, 65},
    {55, 55, 44},    {56, 56, 46},    {57, 57, 128},   {58, 58, 129},   {59, 59, 132},
    {60, 60, 133},   {61, 61, 9},     {62, 62, 32},    {66, 66, 13},    {67, 67, 127},
    {68, 68, 96},    {69, 69, 45},    {70, 70, 61},    {71, 71, 91},    {72, 72, 93},
    {73, 73, 92},    {74, 74, 59},    {75, 75, 39},    {76, 76, 47},    {81, 81, 43},
    {92, 92, 163},   {93, 93, 164},   {111, 111, 27},  {113, 113, 130}, {114, 114, 131},
    {115, 115, 134}, {124, 124, 160}, {131, 142, 241}, {144, 153, 176}, {154, 154, 47},
    {155, 155, 42},  {157, 157, 43},  {159, 159, 44},  {160, 160, 186}, {161, 161, 61},
    {162, 162, 40},  {163, 163, 41},
};

constexpr bool androidKeysSorted()
{
    for (size_t i = 0; i < std::size(kAndroidKeys); ++i) {
        if (kAndroidKeys[i].first > kAndroidKeys[i].last)
            return false;
        if (i > 0 && kAndroidKeys[i - 1].last >= kAndroidKeys[i].first)
            return false;
    }
    return true;
}
static_assert(androidKeysSorted(), "the Android key table is searched by halves");

// The position is the value of the GSSymbolKey setting.
constexpr unsigned char kGSKeys[] = {
    241, 242, 243, 244, 245, 246, 247, 248, 249, 250, 251, 252,  // F1..F12
    160, 127, 161, 162, 163, 164, 134, 129, 186, 32, 9, 172, 175, 173, 174,
};
static_assert(std::size(kGSKeys) == 27, "");

struct NamedKey {
    unsigned char code;
    const char* name;
};

constexpr NamedKey kNamedKeys[] = {
    {0, "NONE"},         {8, "BACKSPACE"},     {9, "TAB"},        {12, "CLEAR"},
    {13, "ENTER"},       {27, "ESC"},          {29, "GS"},        {32, "SPACE"},
    {127, "DEL"},        {128, "ALTL"},        {129, "ALTR"},     {130, "CTRLL"},
    {131, "CTRLR"},      {132, "SHIFTL"},      {133, "SHIFTR"},   {134, "CAPSLOCK"},
    {160, "INSERT"},     {161, "HOME"},        {162, "END"},      {163, "PGUP"},
    {164, "PGDN"},       {165, "PAUSE"},       {166, "PRINT"},    {167, "SCROLL"},
    {172, "ArrowUp"},    {173, "LeftAlt"},     {174, "RightAlt"}, {175, "ArrowDn"},
    {176, "NUM0"},       {177, "NUM1"},        {178, "NUM2"},     {179, "NUM3"},
    {180, "NUM4"},       {181, "NUM5"},        {182, "NUM6"},     {183, "NUM7"},
    {184, "NUM8"},       {185, "NUM9"},        {186, "NumpadEnter"}, {191, "NUMLOCK"},
    {194, "SEP"},        {241, "F1"},          {242, "F2"},       {243, "F3"},
    {244, "F4"},         {245, "F5"},          {246, "F6"},       {247, "F7"},
    {248, "F8"},         {249, "F9"},          {250, "F10"},      {251, "F11"},
    {252, "F12"},
};

bool isCharacterKey(unsigned int code)
{
    return (code >= 33 && code <= 96) || (code >= 123 && code <= 126);
}

// Names by code, so that a lookup on the translation path is one index.
struct KeyNameTable {
    KeyNameTable()
    {
        for (unsigned int code = 0; code < 256; ++code) {
            characters[code][0] = static_cast<char>(code);
            characters[code][1] = 0;
            names[code] = isCharacterKey(code) ? characters[code] : nullptr;
        }
        for (const NamedKey& key : kNamedKeys)
            names[key.code] = key.name;
    }
    char characters[256][2];
    const char* names[256];
};

const KeyNameTable& keyNames()
{
    static const KeyNameTable table;
    return table;
}

// Built with the library rather than on first use, so the translation path never meets the
// guard of a function-local static for the first time on a reader thread.
[[maybe_unused]] const KeyNameTable& gKeyNamesAtLoad = keyNames();

int fieldToInt(const std::string& field)
{
    return PVariant(field).toInt();
}

}  // namespace

namespace strake {

unsigned int androidKeyCodeToKeyCode(int androidCode)
{
    auto after = std::upper_bound(std::begin(kAndroidKeys), std::end(kAndroidKeys), androidCode,
                                  [](int value, const AndroidKeyRange& range) {
                                      return value < range.first;
                                  });
    if (after == std::begin(kAndroidKeys))
        return 0;
    const AndroidKeyRange& range = *std::prev(after);
    if (androidCode > range.last)
        return 0;
    return range.code + static_cast<unsigned int>(androidCode - range.first);
}

std::vector<PKeyMSG> rawInputToStandart(const PString& packet, int /*options*/)
{
    const std::string text = packet.toStdString();
    trace("Strake", text.c_str());

    std::vector<PKeyMSG> messages;
    for (const std::string& record : strake::split(text, ';')) {
        const std::vector<std::string> fields = strake::split(record, ':');
        if (fields.size() < 2)
            continue;
        const int androidCode = fieldToInt(fields[0]);
        const uint32_t flags = static_cast<uint32_t>(fieldToInt(fields[1]));
        const std::string data = fields.size() >= 3 ? fields[2] : std::string();

        if (androidCode == 0)
            trace("Strake", "zero keycode");
        const unsigned int keycode = androidKeyCodeToKeyCode(androidCode);
        if (keycode == 0 && data.empty()) {
            trace("Strake", "no keycode or data found");
            continue;
        }
        const std::string characters = strake::base642Raw(data);

        PKeyMSG message{};
        message.flags = flags;
        message.keycode = static_cast<unsigned char>(keycode);
        message.origin = 1;
        message.ch = characters.empty() ? 0 : static_cast<signed char>(characters[0]);
        messages.push_back(message);
        for (size_t i = 1; i < characters.size(); ++i) {
            PKeyMSG extra{};
            extra.flags = flags;
            extra.origin = 1;
            extra.ch = static_cast<signed char>(characters[i]);
            messages.push_back(extra);
        }
    }
    return messages;
}

const char* keyNameAscii(unsigned int code)
{
    return code < 256 ? keyNames().names[code] : nullptr;
}

PString getKeyName(unsigned int code)
{
    const char* name = keyNameAscii(code);
    return name ? PString(name) : PString();
}

PString getKeyName(unsigned int code, int pressed)
{
    const char* name = keyNameAscii(code);
    if (!name)
        return PString("{FAIL(" + std::to_string(code) + "(}");
    std::string text;
    if (isCharacterKey(code))
        text = pressed ? std::string("'") + name + "_'" : std::string("'_") + name + "'";
    else
        text = "'" + (pressed ? std::string(name) : strake::tolower(std::string(name))) + "'";
    return PString(text);
}

int getGSKeyCodeForIndex(unsigned int index)
{
    return index < std::size(kGSKeys) ? kGSKeys[index] : -1;
}

int getGSKeyCodeIndex(unsigned int code)
{
    const auto found = std::find(std::begin(kGSKeys), std::end(kGSKeys), code);
    return found == std::end(kGSKeys) ? -1 : static_cast<int>(found - std::begin(kGSKeys));
}

PByteArray packKeyMessages(const std::vector<PKeyMSG>& messages)
{
    if (messages.empty())
        return PByteArray();
    return PByteArray(reinterpret_cast<const unsigned char*>(messages.data()),
                      messages.size() * sizeof(PKeyMSG));
}

std::vector<PKeyMSG> unpackKeyMessages(const PByteArray& bytes)
{
    std::vector<PKeyMSG> messages(bytes.size() / sizeof(PKeyMSG));
    // The array's storage carries no alignment promise for the 64-bit fields: copy bytes.
    if (!messages.empty())
        std::memcpy(messages.data(), bytes.constData(), messages.size() * sizeof(PKeyMSG));
    return messages;
}

}  // namespace strake
