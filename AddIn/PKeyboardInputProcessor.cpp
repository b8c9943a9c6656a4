// The keyboard processors: bursts gathered across ticks, translated, cut and delivered, or
// shown as a preview.
#include "PKeyboardInputProcessor.h"

#include "PEventKeys.h"
#include "PKeyTranslation.h"
#include "PMarkedSequence.h"
#include "StrakeText.h"

#include <mutex>
#include <string>
#include <vector>

namespace {

const int kDefaultGSKeyCode = pKeyCode(PKeyCodes::F8);

enum AcceptStatus : int { Stored = 1, Delivered = 3 };

// The key messages of one burst, gathered tick by tick.
class KeyBurst {
public:
    // Appends; answers how many of the oldest messages were dropped to stay within the cap.
    size_t append(const std::vector<PKeyMSG>& messages)
    {
        std::lock_guard<std::mutex> guard(m_lock);
        m_messages.insert(m_messages.end(), messages.begin(), messages.end());
        const size_t cap = PKeyboardInputProcessor::maxBurstMessages();
        if (m_messages.size() <= cap)
            return 0;
        const size_t dropped = m_messages.size() - cap;
        m_messages.erase(m_messages.begin(), m_messages.begin() + static_cast<long>(dropped));
        return dropped;
    }

    // The whole burst, leaving none behind.
    std::vector<PKeyMSG> take()
    {
        std::vector<PKeyMSG> messages;
        std::lock_guard<std::mutex> guard(m_lock);
        messages.swap(m_messages);
        return messages;
    }

private:
    std::mutex m_lock;  // guards m_messages
    std::vector<PKeyMSG> m_messages;
};

// Stores a tick's messages in the burst, with the debug text of the storing function.
void storeTick(KeyBurst& burst, const std::vector<PKeyMSG>& messages, const char* where,
               const std::shared_ptr<const PInputProcessor::DebugMessageHandler>& handler)
{
    if (handler)
        pDebug(*handler) << where << "msgs count = " << static_cast<unsigned long>(messages.size())
                         << " => " << "store data\n"
                         << strake::keyboardMsgs2string(messages.data(), messages.size());
    const size_t dropped = burst.append(messages);
    if (dropped != 0 && handler)
        pDebug(*handler) << where << "burst longer than "
                         << PKeyboardInputProcessor::maxBurstMessages()
                         << " key messages, oldest dropped: " << static_cast<unsigned long>(dropped);
}

std::string bytesParameter(const PInputProcessor& processor, const PString& name,
                           const char* fallback)
{
    // The bytes of the text, as the serial processor reads them: a text value's own byte array
    // is its wide form, which no typed key matches.
    return processor.parameter(name, PVariant(fallback)).toStdString();
}

}  // namespace

struct PKeyboardInputProcessorPrivate {
    KeyBurst burst;
};

struct PTestKeyboardInputProcessorPrivate {
    KeyBurst burst;
};

PKeyboardInputProcessor::PKeyboardInputProcessor() : d(new PKeyboardInputProcessorPrivate) {}

PKeyboardInputProcessor::~PKeyboardInputProcessor() = default;

void PKeyboardInputProcessor::processInput(PEvent* event)
{
    if (event == nullptr || event->type() != PIODeviceEvent::EventType)
        return;

    const std::vector<PKeyMSG> tick =
        strake::unpackKeyMessages(event->value(PEventKeys::KeyboardInputKey()).toByteArray());
    if (!tick.empty()) {
        storeTick(d->burst, tick, "PKeyboardInputProcessor::processInput:", debugHandler());
        event->setValue(PEventKeys::AcceptStatusKey(), PVariant(int(Stored)));
        return;
    }

    // An empty tick ends the burst.
    const std::vector<PKeyMSG> messages = d->burst.take();
    if (messages.empty())
        return;

    const int gsKeyCode =
        parameter(PEventKeys::GSKeyCodeKey(), PVariant(kDefaultGSKeyCode)).toInt();
    const std::string suffix = bytesParameter(*this, PEventKeys::SuffixKey(), "\r\n");

    strake::TranslateSettings settings;
    settings.translateMode = 0;
    settings.gsKeyCode = gsKeyCode;
    settings.outputDataType = 0;
    settings.printableTranslator = strake::keyMsgsTranslatePrintableWorkMode;
    settings.nonPrintableTranslator = strake::keyMsgsTranslateNonPrintableWorkMode;

    if (auto handler = debugHandler())
        pDebug(*handler) << "PKeyboardInputProcessor::processInput: "
                         << " Input finished => processing data. "
                         << " Stored messages size = "
                         << static_cast<unsigned long>(messages.size());

    const std::string text = strake::translate2Preview(messages, settings);
    if (auto handler = debugHandler())
        pDebug(*handler) << "PKeyboardInputProcessor::processInput: result preview = " << text;
    if (text.empty())
        return;

    const std::string prefix = bytesParameter(*this, PEventKeys::PrefixKey(), "");
    const int outputType = parameter(PEventKeys::OutputDataTypeKey(), PVariant(0)).toInt();
    if (auto handler = debugHandler())
        pDebug(*handler) << "PKeyboardInputProcessor::processInput:\n"
                         << "prefix = " << strake::string2hex(prefix, " ", "0x") << "\n"
                         << "suffix = " << strake::string2hex(suffix, " ", "0x") << "\n"
                         << "output data type = " << outputType << "\n";

    const std::vector<std::string> parts = prepareDataForSend(text, prefix, suffix, outputType);
    if (auto handler = debugHandler())
        pDebug(*handler) << "PKeyboardInputProcessor::processInput: detected parts count = "
                         << static_cast<unsigned long>(parts.size());

    const PByteArray unprocessed(text);
    const Callback& callback = heldCallback();
    for (const std::string& part : parts) {
        if (part.empty())
            continue;
        PIODeviceEvent out;
        for (const PString* key :
             {&PEventKeys::DevIdEventKey(), &PEventKeys::DevTypeEventKey(),
              &PEventKeys::DevStateEventKey(), &PEventKeys::DevAliasEventKey()})
            out.setValue(*key, event->value(*key));
        out.setValue(PEventKeys::InputKey(), PVariant(PByteArray(part)));
        for (const PString* key :
             {&PEventKeys::OutputDataTypeKey(), &PEventKeys::EquipmentTypeKey(),
              &PEventKeys::DevIdKey(), &PEventKeys::EventNameKey()})
            out.setValue(*key, parameter(*key, PVariant()));
        out.setValue(PEventKeys::UnprocessedInputKey(), PVariant(unprocessed));
        processInputWith(callback, &out);
        event->setValue(PEventKeys::AcceptStatusKey(), PVariant(int(Delivered)));
    }
}

void PKeyboardInputProcessor::processError(const PError& error)
{
    PInputProcessor::processError(error);
}

PTestKeyboardInputProcessor::PTestKeyboardInputProcessor()
    : d(new PTestKeyboardInputProcessorPrivate)
{
}

PTestKeyboardInputProcessor::~PTestKeyboardInputProcessor() = default;

void PTestKeyboardInputProcessor::processInput(PEvent* event)
{
    if (event == nullptr || event->type() != PIODeviceEvent::EventType)
        return;
    if (parameter(PEventKeys::PreviewModeKey(), PVariant()).toInt() == 16) {
        PKeyboardInputProcessor::processInput(event);
        return;
    }
    PByteArray raw;
    const PByteArray shown = preview(*event, &raw);
    if (!shown.isEmpty()) {
        event->setValue(PEventKeys::UnprocessedInputKey(), PVariant(raw));
        event->setValue(PEventKeys::InputKey(), PVariant(shown));
    }
    // Every tick reaches the callback, the storing ones with the input they came with.
    PInputProcessor::processInput(event);
}

void PTestKeyboardInputProcessor::processError(const PError& error)
{
    PKeyboardInputProcessor::processError(error);
}

PByteArray PTestKeyboardInputProcessor::processToPreiew(PIODeviceEvent* event, PByteArray* raw)
{
    return event ? preview(*event, raw) : PByteArray();
}

PByteArray PTestKeyboardInputProcessor::preview(PEvent& event, PByteArray* raw)
{
    const bool keyView = parameter(PEventKeys::PreviewModeKey(), PVariant()).toInt() == 1;
    const std::vector<PKeyMSG> tick =
        strake::unpackKeyMessages(event.value(PEventKeys::KeyboardInputKey()).toByteArray());
    if (!tick.empty()) {
        storeTick(d->burst, tick, "PTestKeyboardInputProcessor::processToPreiew:",
                  debugHandler());
        return PByteArray();
    }

    const int gsKeyCode =
        parameter(PEventKeys::GSKeyCodeKey(), PVariant(kDefaultGSKeyCode)).toInt();
    const int outputType = parameter(PEventKeys::OutputDataTypeKey(), PVariant(0)).toInt();
    const std::vector<PKeyMSG> messages = d->burst.take();
    if (messages.empty())
        return PByteArray();

    std::string shown;
    if (keyView) {
        for (const PKeyMSG& message : messages)
            shown += strake::getKeyName(message.keycode, message.flags & PKeyMSG::Pressed)
                         .toStdString();
    } else {
        strake::TranslateSettings settings;
        settings.translateMode = 0;
        settings.gsKeyCode = gsKeyCode;
        settings.outputDataType = outputType;
        settings.printableTranslator = strake::keyMsgsTranslatePrintableTestMode;
        settings.nonPrintableTranslator = strake::keyMsgsTranslateNonPrintableTestMode;
        const std::string text = strake::translate2Preview(messages, settings);

        if (raw) {
            // The characters alone, without the names of the keys that have none.
            settings.nonPrintableTranslator = [](const PKeyMSG&, const strake::TranslateSettings*) {
                return std::string();
            };
            *raw = PByteArray(strake::translate2Preview(messages, settings));
        }
        if (text.empty())
            return PByteArray();
        if (outputType == 1) {
            shown = strake::raw2Base64(text);
        } else {
            for (char c : text)
                shown += strake::getCharPreview(c);
        }
    }
    return shown.empty() ? PByteArray() : PByteArray(shown);
}
