// PKeyMSG and PKeyCodes: one key message and the library's own key codes; the Android key
// code table, the keys that may stand for GS, key names and the keyboard text packet.
#pragma once

#include "PByteArray.h"
#include "PString.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

// The library's key codes. Letters and digits keep their ASCII values; the codes 33 to 96 and
// 123 to 126 are named by their own character and have no enumerator here.
enum class PKeyCodes : unsigned char {
    NONE = 0,
    BACKSPACE = 8,
    TAB = 9,
    CLEAR = 12,
    ENTER = 13,
    ESC = 27,
    GS = 29,
    SPACE = 32,
    DEL = 127,
    ALTL = 128,
    ALTR = 129,
    CTRLL = 130,
    CTRLR = 131,
    SHIFTL = 132,
    SHIFTR = 133,
    CAPSLOCK = 134,
    INSERT = 160,
    HOME = 161,
    END = 162,
    PGUP = 163,
    PGDN = 164,
    PAUSE = 165,
    PRINT = 166,
    SCROLL = 167,
    ArrowUp = 172,
    LeftAlt = 173,
    RightAlt = 174,
    ArrowDn = 175,
    NUM0 = 176,
    NUM1, NUM2, NUM3, NUM4, NUM5, NUM6, NUM7, NUM8,
    NUM9 = 185,
    NumpadEnter = 186,
    NUMLOCK = 191,
    SEP = 194,
    F1 = 241,
    F2, F3, F4, F5, F6, F7, F8, F9, F10, F11,
    F12 = 252,
};

constexpr unsigned int pKeyCode(PKeyCodes code) { return static_cast<unsigned int>(code); }

// One key press or release. A plain 40-byte record: it travels by value in vectors and,
// packed one after another, as the bytes of a keyboard event. Zero-initialise with PKeyMSG{}.
struct PKeyMSG {
    uint64_t reserved = 0;
    // Non-zero marks a taken slot in a table of messages.
    uint32_t mapped = 0;
    // Bit 0: pressed (clear: released); bit 1: the letter is wanted in upper case.
    uint32_t flags = 0;
    // A PKeyCodes value; 0 for a message that only carries a character.
    unsigned char keycode = 0;
    // 1 on every message made from the text packet.
    unsigned char origin = 0;
    unsigned char scancode = 0;
    unsigned char padding1[5] = {};
    uint64_t timestamp = 0;
    unsigned char reserved2 = 0;
    // The character of the key, 0 for none. Signed on every CPU, unlike plain char.
    signed char ch = 0;
    unsigned char padding2[6] = {};

    enum Flag : uint32_t { Pressed = 0x1, UpperCase = 0x2 };
    bool isPressed() const { return (flags & Pressed) != 0; }
};

static_assert(sizeof(PKeyMSG) == 40, "a key message is a 40-byte record");
static_assert(std::is_trivially_copyable<PKeyMSG>::value, "key messages are copied as bytes");
static_assert(std::is_standard_layout<PKeyMSG>::value, "key message offsets are fixed");
static_assert(offsetof(PKeyMSG, reserved) == 0, "");
static_assert(offsetof(PKeyMSG, mapped) == 8, "");
static_assert(offsetof(PKeyMSG, flags) == 12, "");
static_assert(offsetof(PKeyMSG, keycode) == 16, "");
static_assert(offsetof(PKeyMSG, origin) == 17, "");
static_assert(offsetof(PKeyMSG, scancode) == 18, "");
static_assert(offsetof(PKeyMSG, timestamp) == 24, "");
static_assert(offsetof(PKeyMSG, reserved2) == 32, "");
static_assert(offsetof(PKeyMSG, ch) == 33, "");
static_assert(std::is_signed<decltype(PKeyMSG::ch)>::value, "ch is signed even where char is not");

// The free functions below keep no state of their own beyond tables built at load; all are
// safe on any thread, and none throws except for lack of memory.
namespace strake {

// The PKeyCodes value of an Android key code; 0 for a code that has none.
unsigned int androidKeyCodeToKeyCode(int androidCode);

// Turns the keyboard text packet ("code:flags[:base64 characters];...") into key messages.
// The first character of a record rides on the message of its key, each further character
// on a message of its own with keycode 0. Records with fewer than two fields and keys
// without a code or a character are skipped. The integer argument takes no part.
// The packet, and a note for each unusable record, go to the system log.
std::vector<PKeyMSG> rawInputToStandart(const PString& packet, int options = 15);

// The name of a key code: its character for 33..96 and 123..126, a word for the named keys,
// empty for any other code.
PString getKeyName(unsigned int code);
// A key event for display: "'A_'" pressed / "'_A'" released for a character key, "'ENTER'"
// pressed / "'enter'" released for a named one, "{FAIL(<code>(}" for a code without a name.
PString getKeyName(unsigned int code, int pressed);
// The same names as UTF-8 without building a PString; null for a code without a name.
const char* keyNameAscii(unsigned int code);

// The keys that can stand for GS, by position: the code at an index, or -1 past the end;
// the first index of a code, or -1 when the code is not among them.
int getGSKeyCodeForIndex(unsigned int index);
int getGSKeyCodeIndex(unsigned int code);

// Key messages as the packed bytes of a keyboard event, and back. Unpacking ignores a
// remainder of fewer than 40 bytes.
PByteArray packKeyMessages(const std::vector<PKeyMSG>& messages);
std::vector<PKeyMSG> unpackKeyMessages(const PByteArray& bytes);

}
