// Translation of key messages into the bytes a keyboard-wedge scanner meant (GS key,
// Alt + decimal code, Ctrl + key), in work mode for the host and in test mode for display.
#pragma once

#include "PKeyCodes.h"

#include <string>
#include <vector>

namespace strake {

struct TranslateSettings;

// Gives the bytes of one key press; a null translator gives nothing.
using PKeyTranslator = std::string (*)(const PKeyMSG& message, const TranslateSettings* settings);

// Made on the stack by its user; nothing in it is owned.
struct TranslateSettings {
    int translateMode = 0;
    // The key code that stands for GS; -1 for none.
    int gsKeyCode = pKeyCode(PKeyCodes::F8);
    int outputDataType = 0;
    // For a press of a key with a character.
    PKeyTranslator printableTranslator = nullptr;
    // For a press of a key without a character.
    PKeyTranslator nonPrintableTranslator = nullptr;
};

// The bytes of a burst of key messages. Only presses make output; an Alt or Ctrl sequence
// still open at the end of the range is dropped. Pure: safe on any thread.
std::string translate2Preview(const std::vector<PKeyMSG>& messages,
                              const TranslateSettings& settings);
std::string translate2Preview(std::vector<PKeyMSG>::const_iterator begin,
                              std::vector<PKeyMSG>::const_iterator end,
                              const TranslateSettings& settings);

// The character of a key press: zero or one byte. A non-zero mode without bit 0 gives
// nothing; a non-zero mode spells letter keys by their code and the upper-case flag.
std::string translate2Chars(const PKeyMSG& message, int mode);

// Enter gives CR; any other key its character.
std::string keyMsgsTranslatePrintableWorkMode(const PKeyMSG& message,
                                              const TranslateSettings* settings);
std::string keyMsgsTranslatePrintableTestMode(const PKeyMSG& message,
                                              const TranslateSettings* settings);
// A few keys without a character give a control byte; the others nothing.
std::string keyMsgsTranslateNonPrintableWorkMode(const PKeyMSG& message,
                                                 const TranslateSettings* settings);
// The key's name between apostrophes; nothing for Shift and nothing when Base64 is wanted.
std::string keyMsgsTranslateNonPrintableTestMode(const PKeyMSG& message,
                                                 const TranslateSettings* settings);

// The fields of each message, for debug lines; empty for no messages.
std::string keyboardMsgs2string(const PKeyMSG* messages, unsigned long count);

// The name of a control character ("NUL".."US", "SPACE", "DEL"), empty for any other byte.
std::string getCharName(char c);
// The name between apostrophes for a control character, else the byte itself.
std::string getCharPreview(char c);

}
