// PSerialInputProcessor and PTestSerialInputProcessor: the stream side of the input path.
#include "PSerialInputProcessor.h"

#include "PEncoding.h"
#include "PEventKeys.h"
#include "PKeyTranslation.h"
#include "PMarkedSequence.h"
#include "StrakeText.h"

namespace {

const int kWindows1251 = 1251;
const int kUtf8 = 65001;
const int kPreviewAsOrdinary = 16;

// Defaults kept as values so that reading a parameter per event builds no text.
const PVariant& invalidValue()
{
    static const PVariant value;
    return value;
}

const PVariant& defaultSuffix()
{
    static const PVariant value("\r");
    return value;
}

const PVariant& emptyText()
{
    static const PVariant value("");
    return value;
}

const PVariant& defaultEncoding()
{
    static const PVariant value("UTF-8");
    return value;
}

const PVariant& zero()
{
    static const PVariant value(0);
    return value;
}

std::string hexOf(const std::string& bytes)
{
    return strake::string2hex(bytes, " ", "0x");
}

}

struct PSerialInputProcessorPrivate {
    // The bytes after the last suffix; touched by the delivering thread only.
    std::string pending;
    // Set when an unfinished message outgrew the bound: the rest of it, up to the next
    // suffix, is dropped as well.
    bool discarding = false;
};

PSerialInputProcessor::PSerialInputProcessor() : s(new PSerialInputProcessorPrivate) {}

PSerialInputProcessor::~PSerialInputProcessor() = default;

size_t PSerialInputProcessor::pendingBytes() const
{
    return s->pending.size();
}

void PSerialInputProcessor::keepPending(const char* data, size_t size)
{
    if (s->discarding)
        return;
    if (s->pending.size() + size <= MaxPendingBytes) {
        s->pending.append(data, size);
        return;
    }
    if (auto handler = debugHandler())
        pDebug(*handler) << "PSerialInputProcessor::processInput: unfinished message of "
                         << static_cast<unsigned long>(s->pending.size() + size)
                         << " bytes exceeds " << static_cast<unsigned long>(MaxPendingBytes)
                         << " bytes and is dropped";
    std::string().swap(s->pending);
    s->discarding = true;
}

void PSerialInputProcessor::processInput(PEvent* event)
{
    if (event == nullptr || event->type() != PIODeviceEvent::EventType)
        return;

    const PByteArray input = event->value(PEventKeys::InputKey()).toByteArray();
    const char* data = input.constChars();
    const size_t size = input.size();
    if (auto handler = debugHandler())
        pDebug(*handler) << "PSerialInputProcessor::processInput: input data = "
                         << strake::string2hex(data, size, " ", "0x") << " : "
                         << std::string(data, size);
    if (size == 0)
        return;

    const std::string suffix = parameter(PEventKeys::SuffixKey(), defaultSuffix()).toStdString();
    std::string text;
    if (suffix.empty()) {
        text.assign(data, size);
    } else {
        auto marks = markSequenceBy<char>(data, static_cast<unsigned long>(size), suffix.data(),
                                          static_cast<unsigned long>(suffix.size()),
                                          suffix == "\r\n" ? 1 : 0);
        bool ended = false;
        for (const auto& span : marks.spans())
            ended = ended || span.type != PSequenceMark<const char*>::Text;
        if (!ended) {
            keepPending(data, size);
        } else {
            PSequenceMark<const char*> tail;
            if (marks.lastMark().type() == PSequenceMark<const char*>::Text)
                tail = marks.popBackMark();
            const auto first = marks.firstMark();
            const auto last = marks.lastMark();
            if (!first.isEmpty() && !last.isEmpty()) {
                const char* begin = first.begin();
                // The end of a message that outgrew the bound goes with the rest of it.
                if (s->discarding && first.type() == PSequenceMark<const char*>::Text)
                    begin = first.end();
                text.reserve(s->pending.size() + static_cast<size_t>(last.end() - begin));
                text.append(s->pending).append(begin, last.end());
            }
            s->pending.clear();
            s->discarding = false;
            if (!tail.isEmpty())
                keepPending(tail.begin(), tail.size());
        }
    }

    auto handler = debugHandler();
    if (handler)
        pDebug(*handler) << "PSerialInputProcessor::processInput: processed data = " << hexOf(text)
                         << " : " << text;
    if (text.empty())
        return;

    const std::string prefix = parameter(PEventKeys::PrefixKey(), emptyText()).toStdString();
    const int outputType = parameter(PEventKeys::OutputDataTypeKey(), zero()).toInt();
    const std::string encoding =
        parameter(PEventKeys::COMEncodingKey(), defaultEncoding()).toStdString();
    if (encoding == "Windows-1251") {
        if (handler)
            pDebug(*handler) << "PSerialInputProcessor::processInput: recode intup data from "
                             << encoding << ":" << kWindows1251 << " to UTF-8 ";
        text = PEncoding::encode(PEncoding::decode(text, kWindows1251), kUtf8);
    }
    if (handler)
        pDebug(*handler) << "PSerialInputProcessor::processInput: \n"
                         << "prefix = " << hexOf(prefix) << "\n"
                         << "suffix = " << hexOf(suffix) << "\n"
                         << "output data type = " << outputType << "\n"
                         << "encoding = " << encoding << "\n"
                         << "preview = " << text;

    const std::vector<std::string> messages = prepareDataForSend(text, prefix, suffix, outputType);
    if (handler)
        pDebug(*handler) << "PSerialInputProcessor::processInput: detected parts count = "
                         << static_cast<unsigned long>(messages.size());
    if (messages.empty())
        return;

    // What every message of this event shares, read once.
    const PVariant devId = event->value(PEventKeys::DevIdEventKey());
    const PVariant devType = event->value(PEventKeys::DevTypeEventKey());
    const PVariant devState = event->value(PEventKeys::DevStateEventKey());
    const PVariant devAlias = event->value(PEventKeys::DevAliasEventKey());
    const PVariant outputDataType = parameter(PEventKeys::OutputDataTypeKey(), invalidValue());
    const PVariant equipmentType = parameter(PEventKeys::EquipmentTypeKey(), invalidValue());
    const PVariant deviceId = parameter(PEventKeys::DevIdKey(), invalidValue());
    const PVariant eventName = parameter(PEventKeys::EventNameKey(), invalidValue());
    const PVariant unprocessed = PVariant(PByteArray(text));

    for (const std::string& message : messages) {
        PIODeviceEvent out;
        out.setValue(PEventKeys::DevIdEventKey(), devId);
        out.setValue(PEventKeys::DevTypeEventKey(), devType);
        out.setValue(PEventKeys::DevStateEventKey(), devState);
        out.setValue(PEventKeys::DevAliasEventKey(), devAlias);
        out.setValue(PEventKeys::InputKey(), PVariant(PByteArray(message)));
        out.setValue(PEventKeys::OutputDataTypeKey(), outputDataType);
        out.setValue(PEventKeys::EquipmentTypeKey(), equipmentType);
        out.setValue(PEventKeys::DevIdKey(), deviceId);
        out.setValue(PEventKeys::EventNameKey(), eventName);
        out.setValue(PEventKeys::UnprocessedInputKey(), unprocessed);
        PInputProcessor::processInput(&out);
    }
}

void PSerialInputProcessor::processError(const PError& error)
{
    PInputProcessor::processError(error);
}

PTestSerialInputProcessor::PTestSerialInputProcessor() = default;

PTestSerialInputProcessor::~PTestSerialInputProcessor() = default;

void PTestSerialInputProcessor::processInput(PEvent* event)
{
    if (event == nullptr || event->type() != PIODeviceEvent::EventType)
        return;
    if (parameter(PEventKeys::PreviewModeKey(), invalidValue()).toInt() == kPreviewAsOrdinary) {
        PSerialInputProcessor::processInput(event);
        return;
    }

    PByteArray bytes = event->value(PEventKeys::InputKey()).toByteArray();
    auto handler = debugHandler();
    if (handler)
        pDebug(*handler) << "PTestSerialInputProcessor::processInput: input data = "
                         << strake::string2hex(bytes.constChars(), bytes.size(), " ", "0x")
                         << " : " << bytes.toStdString();
    if (bytes.isEmpty())
        return;
    if (parameter(PEventKeys::OutputDataTypeKey(), zero()).toInt() == 1)
        bytes = bytes.toBase64();

    std::string preview;
    preview.reserve(bytes.size());
    const char* chars = bytes.constChars();
    for (unsigned long i = 0; i < bytes.size(); ++i)
        preview += strake::getCharPreview(chars[i]);
    if (handler)
        pDebug(*handler) << "PTestSerialInputProcessor::processInput: preview = " << preview;

    event->setValue(PEventKeys::UnprocessedInputKey(), PVariant(bytes));
    event->setValue(PEventKeys::InputKey(), PVariant(PByteArray(preview)));
    PInputProcessor::processInput(event);
}

void PTestSerialInputProcessor::processError(const PError& error)
{
    PSerialInputProcessor::processError(error);
}
