// The walk over a burst of key messages and the translators of work and test mode.
#include "PKeyTranslation.h"

#include <cstdint>

namespace {

bool isAlt(unsigned int code)
{
    return code == pKeyCode(PKeyCodes::ALTL) || code == pKeyCode(PKeyCodes::ALTR);
}

bool isCtrl(unsigned int code)
{
    return code == pKeyCode(PKeyCodes::CTRLL) || code == pKeyCode(PKeyCodes::CTRLR);
}

bool isNumpadDigit(unsigned int code)
{
    return code >= pKeyCode(PKeyCodes::NUM0) && code <= pKeyCode(PKeyCodes::NUM9);
}

// Ctrl + key as a keyboard-wedge scanner types control characters; -1 for no character.
int ctrlCharacter(unsigned int code)
{
    if (code >= 'A' && code <= 'Z')
        return static_cast<int>(code) - 64;
    switch (code) {
    case '-': return 31;
    case '@': return 0;
    case '[': return 27;
    case '\\': return 28;
    case ']': return 29;
    case '^': return 30;
    default: return -1;
    }
}

constexpr const char* kControlNames[33] = {
    "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS",  "TAB", "LF",
    "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
    "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US",  "SPACE",
};

const char* controlName(unsigned char c)
{
    if (c < 33)
        return kControlNames[c];
    return c == 127 ? "DEL" : nullptr;
}

std::string translatePrintable(const PKeyMSG& message, const strake::TranslateSettings* settings)
{
    if (message.keycode == pKeyCode(PKeyCodes::ENTER))
        return std::string(1, '\r');
    return strake::translate2Chars(message, settings ? settings->translateMode : 0);
}

}  // namespace

namespace strake {

std::string translate2Preview(const std::vector<PKeyMSG>& messages,
                              const TranslateSettings& settings)
{
    return translate2Preview(messages.cbegin(), messages.cend(), settings);
}

std::string translate2Preview(std::vector<PKeyMSG>::const_iterator begin,
                              std::vector<PKeyMSG>::const_iterator end,
                              const TranslateSettings& settings)
{
    enum class State { Normal, Alt, Ctrl };
    State state = State::Normal;
    // Unsigned, so that a long run of digits wraps instead of overflowing: only the low
    // 8 bits are ever used, and those survive the wrap.
    uint32_t accumulator = 0;
    bool haveDigit = false;

    std::string result;
    for (auto it = begin; it != end; ++it) {
        const PKeyMSG& message = *it;
        const unsigned int code = message.keycode;
        const int ch = message.ch;

        if (!message.isPressed()) {
            if (isAlt(code) && state == State::Alt) {
                if (haveDigit)
                    result.push_back(static_cast<char>(accumulator & 0xFF));
                accumulator = 0;
                haveDigit = false;
                state = State::Normal;
            } else if (isCtrl(code) && state == State::Ctrl) {
                state = State::Normal;
            }
            continue;
        }

        if (isAlt(code) && state == State::Normal) {
            state = State::Alt;
            accumulator = 0;
        } else if (isCtrl(code) && state == State::Normal) {
            state = State::Ctrl;
        } else if (state == State::Alt) {
            // The digit row counts by its character, the numeric pad by its key code.
            if (ch != 0 && code >= '0' && code <= '9') {
                accumulator = accumulator * 10 + static_cast<uint32_t>(ch - '0');
                haveDigit = true;
            } else if (isNumpadDigit(code)) {
                accumulator = accumulator * 10 + (code - pKeyCode(PKeyCodes::NUM0));
                haveDigit = true;
            }
        } else if (state == State::Ctrl) {
            const int control = ctrlCharacter(code);
            if (control >= 0)
                result.push_back(static_cast<char>(control));
        } else if (static_cast<int>(code) == settings.gsKeyCode) {
            // Before the character test: the GS key gives GS whatever it carries.
            result.push_back(static_cast<char>(pKeyCode(PKeyCodes::GS)));
        } else if (ch == 0) {
            if (settings.nonPrintableTranslator)
                result += settings.nonPrintableTranslator(message, &settings);
        } else if (settings.printableTranslator) {
            result += settings.printableTranslator(message, &settings);
        }
    }
    return result;
}

std::string translate2Chars(const PKeyMSG& message, int mode)
{
    if (mode != 0 && (mode & 1) == 0)
        return std::string();
    if (!message.isPressed())
        return std::string();
    if (mode != 0 && message.keycode >= 'A' && message.keycode <= 'Z') {
        const bool upper = (message.flags & PKeyMSG::UpperCase) != 0;
        return std::string(1, static_cast<char>(upper ? message.keycode : message.keycode + 32));
    }
    if (message.ch == 0)
        return std::string();
    return std::string(1, static_cast<char>(message.ch));
}

std::string keyMsgsTranslatePrintableWorkMode(const PKeyMSG& message,
                                              const TranslateSettings* settings)
{
    return translatePrintable(message, settings);
}

std::string keyMsgsTranslatePrintableTestMode(const PKeyMSG& message,
                                              const TranslateSettings* settings)
{
    return translatePrintable(message, settings);
}

std::string keyMsgsTranslateNonPrintableWorkMode(const PKeyMSG& message,
                                                 const TranslateSettings* /*settings*/)
{
    const unsigned int code = message.keycode;
    int byte = -1;
    if (code >= pKeyCode(PKeyCodes::F1) && code <= pKeyCode(PKeyCodes::F10)) {
        byte = 22 + static_cast<int>(code - pKeyCode(PKeyCodes::F1));
    } else {
        switch (static_cast<PKeyCodes>(code)) {
        case PKeyCodes::DEL: byte = 12; break;
        case PKeyCodes::INSERT: byte = 14; break;
        case PKeyCodes::HOME: byte = 17; break;
        case PKeyCodes::ArrowDn: byte = 10; break;
        case PKeyCodes::F11: byte = 16; break;
        case PKeyCodes::F12: byte = 21; break;
        default: break;
        }
    }
    return byte < 0 ? std::string() : std::string(1, static_cast<char>(byte));
}

std::string keyMsgsTranslateNonPrintableTestMode(const PKeyMSG& message,
                                                 const TranslateSettings* settings)
{
    if (settings && settings->outputDataType != 0)
        return std::string();
    if (message.keycode == pKeyCode(PKeyCodes::SHIFTL) ||
        message.keycode == pKeyCode(PKeyCodes::SHIFTR))
        return std::string();
    const char* name = keyNameAscii(message.keycode);
    return "'" + std::string(name ? name : "") + "'";
}

std::string keyboardMsgs2string(const PKeyMSG* messages, unsigned long count)
{
    std::string text;
    if (!messages)
        return text;
    for (unsigned long i = 0; i < count; ++i) {
        const PKeyMSG& message = messages[i];
        text += "(keycode = ";
        text.push_back(static_cast<char>(message.keycode));
        text += ";scancode = ";
        text.push_back(static_cast<char>(message.scancode));
        text += ";ch = " + std::to_string(static_cast<int>(message.ch));
        text += ";flags = " + std::to_string(message.flags);
        text += ";timestamp = " + std::to_string(message.timestamp);
        text += ";):";
    }
    return text;
}

std::string getCharName(char c)
{
    const char* name = controlName(static_cast<unsigned char>(c));
    return name ? std::string(name) : std::string();
}

std::string getCharPreview(char c)
{
    const char* name = controlName(static_cast<unsigned char>(c));
    return name ? "'" + std::string(name) + "'" : std::string(1, c);
}

}  // namespace strake
