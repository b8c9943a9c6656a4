// Arbitrary keyboard packet text, Base64 characters included, through the packet reader, the
// translation in both modes, key names and the keyboard processors tick by tick.
#include "PKeyTranslation.h"
#include "PKeyboardInputProcessor.h"

#include <android/log.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

void feedInTicks(PKeyboardInputProcessor& processor, const std::vector<PKeyMSG>& messages,
                 size_t perTick)
{
    for (size_t at = 0; at < messages.size(); at += perTick) {
        const size_t end = std::min(messages.size(), at + perTick);
        PIODeviceEvent event;
        event.setValue("keyboard_input",
                       PVariant(strake::packKeyMessages(
                           std::vector<PKeyMSG>(messages.begin() + long(at),
                                                messages.begin() + long(end)))));
        processor.processInput(&event);
    }
    PIODeviceEvent end;
    processor.processInput(&end);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // The reader logs what it skips, line by line: at this rate that is most of the time.
    static const bool quiet = (__android_log_set_minimum_priority(ANDROID_LOG_WARN), true);
    (void)quiet;
    if (size == 0)
        return 0;
    // The first byte chooses the settings; the rest is the packet.
    const uint8_t choice = data[0];
    const std::string packet(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::vector<PKeyMSG> messages = strake::rawInputToStandart(PString(packet), 15);

    strake::TranslateSettings settings;
    settings.gsKeyCode = strake::getGSKeyCodeForIndex(choice % 32);
    settings.outputDataType = choice >> 7;
    settings.printableTranslator = strake::keyMsgsTranslatePrintableTestMode;
    settings.nonPrintableTranslator = strake::keyMsgsTranslateNonPrintableTestMode;
    std::string text = strake::translate2Preview(messages, settings);
    for (char c : text)
        strake::getCharPreview(c);
    for (const PKeyMSG& message : messages)
        strake::getKeyName(message.keycode, message.flags & 1);
    strake::keyboardMsgs2string(messages.data(), messages.size());

    // The processors cost far more than the rest: run them for one input in four.
    if ((choice & 0x18) != 0)
        return 0;
    PKeyboardInputProcessor keyboard;
    keyboard.setParameter("GSKeyCode", PVariant(settings.gsKeyCode));
    keyboard.setParameter("Suffix", PVariant((choice & 0x20) ? "\r" : "\r\n"));
    keyboard.setParameter("Prefix", PVariant((choice & 0x40) ? "0" : ""));
    keyboard.setParameter("OutputDataType", PVariant(choice >> 7));
    keyboard.setCallback([](PEvent* event) { event->value("input").toByteArray(); });
    feedInTicks(keyboard, messages, 1 + choice % 7);

    PTestKeyboardInputProcessor preview;
    preview.setParameter("PreviewMode", PVariant((choice & 0x20) ? 1 : 0));
    preview.setParameter("OutputDataType", PVariant(choice >> 7));
    feedInTicks(preview, messages, 1 + choice % 5);
    return 0;
}
