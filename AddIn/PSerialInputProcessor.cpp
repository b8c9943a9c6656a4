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

// Defaults kept as values so that reading a parameter per event builds no text; never
// destroyed, since a delivery may read them while the process ends.
const PVariant& invalidValue()
{
    static const PVariant& value = *new PVariant;
    return value;
}

const PVariant& defaultSuffix()
{
    static const PVariant& value = *new PVariant("\r");
    return value;
}

const PVariant& emptyText()
{
    static const PVariant& value = *new PVariant("");
    return value;
}

const PVariant& defaultEncoding()
{
    static const PVariant& value = *new PVariant("UTF-8");
    return value;
}

const PVariant& zero()
{
    static const PVariant& value = *new PVariant(0);
    return value;
}

std::string hexOf(const std::string& bytes)
{
    return strake::string2hex(bytes, " ", "0x");
}

}

// What processInput reads from the parameters, kept until a parameter changes.
struct PSerialSettings {
    uint64_t generation = ~uint64_t(0);
    std::string suffix;
    std::string prefix;
    int outputType = 0;
    std::string encoding;
    // Read from the texts above once, not per block.
    bool crLfSuffix = false;
    bool fromWindows1251 = false;
    // What every message carries from the parameters.
    PVariant outputDataType;
    PVariant equipmentType;
    PVariant deviceId;
    PVariant eventName;
};

struct PSerialInputProcessorPrivate {
    // The settings and the bytes after the last suffix; touched by the delivering thread only.
    PSerialSettings settings;
    std::string pending;
    // Set when an unfinished message outgrew the bound: the rest of it, up to the next
    // suffix, is dropped as well.
    bool discarding = false;
};

PSerialInputProcessor::PSerialInputProcessor() : s(new PSerialInputProcessorPrivate) {}

const PSerialSettings& PSerialInputProcessor::settings()
{
    PSerialSettings& kept = s->settings;
    const uint64_t generation = parameterGeneration();
    if (generation == kept.generation)
        return kept;
    kept.suffix = parameter(PEventKeys::SuffixKey(), defaultSuffix()).toStdString();
    kept.prefix = parameter(PEventKeys::PrefixKey(), emptyText()).toStdString();
    kept.outputType = parameter(PEventKeys::OutputDataTypeKey(), zero()).toInt();
    kept.encoding = parameter(PEventKeys::COMEncodingKey(), defaultEncoding()).toStdString();
    kept.crLfSuffix = kept.suffix == "\r\n";
    kept.fromWindows1251 = kept.encoding == "Windows-1251";
    kept.outputDataType = parameter(PEventKeys::OutputDataTypeKey(), invalidValue());
    kept.equipmentType = parameter(PEventKeys::EquipmentTypeKey(), invalidValue());
    kept.deviceId = parameter(PEventKeys::DevIdKey(), invalidValue());
    kept.eventName = parameter(PEventKeys::EventNameKey(), invalidValue());
    // A write that came after the generation was read makes the next call read again.
    kept.generation = generation;
    return kept;
}

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

    // What the messages of this event share with it, borrowed: the device that hands the
    // event over holds it for the length of this call, and nothing here writes it.
    const PVariant& inputValue = event->borrowValue(PEventKeys::InputKey());
    const PVariant& devId = event->borrowValue(PEventKeys::DevIdEventKey());
    const PVariant& devType = event->borrowValue(PEventKeys::DevTypeEventKey());
    const PVariant& devState = event->borrowValue(PEventKeys::DevStateEventKey());
    const PVariant& devAlias = event->borrowValue(PEventKeys::DevAliasEventKey());
    // Bytes, as devices send them, are read in place; anything else is converted.
    const PByteArray converted =
        inputValue.bytesOf() ? PByteArray() : inputValue.toByteArray();
    const PByteArray& input = inputValue.bytesOf() ? *inputValue.bytesOf() : converted;
    const char* data = input.constChars();
    const size_t size = input.size();
    if (auto handler = debugHandler())
        pDebug(*handler) << "PSerialInputProcessor::processInput: input data = "
                         << strake::string2hex(data, size, " ", "0x") << " : "
                         << std::string(data, size);
    if (size == 0)
        return;

    const PSerialSettings& settings = this->settings();
    const Callback& callback = heldCallback();
    // Copies (short texts, kept in place): the messages go out during the cut, and nothing
    // the host does from its handler may change what the cut reads.
    const std::string suffix = settings.suffix;
    // The finished text: a part of the input itself when nothing was pending before it, so
    // that the common block of whole messages is cut where it lies; else gathered in text.
    std::string text;
    const char* finished = nullptr;
    size_t finishedSize = 0;
    // With a suffix of one byte (or CR LF, cut as a set of bytes), a block that ends on a
    // suffix byte while nothing is pending or being dropped is finished whole: the common
    // delivery of whole codes needs no pass for its bounds before the cut.
    const bool endsFinished = (suffix.size() == 1 || settings.crLfSuffix) && s->pending.empty()
        && !s->discarding && suffix.find(data[size - 1]) != std::string::npos;
    if (suffix.empty() || endsFinished) {
        finished = data;
        finishedSize = size;
    } else {
        const PMarkBounds bounds =
            markBoundsBy(data, static_cast<unsigned long>(size), suffix.data(),
                         static_cast<unsigned long>(suffix.size()), settings.crLfSuffix ? 1 : 0);
        if (bounds.lastTerminator.isEmpty()) {
            keepPending(data, size);
        } else {
            const char* begin = bounds.first.begin;
            // The end of a message that outgrew the bound goes with the rest of it.
            if (s->discarding && bounds.first.type == PSequenceMark<const char*>::Text)
                begin = bounds.first.end;
            const char* end = bounds.lastTerminator.end;
            if (s->pending.empty()) {
                finished = begin;
                finishedSize = static_cast<size_t>(end - begin);
            } else {
                text.reserve(s->pending.size() + static_cast<size_t>(end - begin));
                text.append(s->pending).append(begin, end);
            }
            s->pending.clear();
            s->discarding = false;
            if (end != data + size)
                keepPending(end, static_cast<size_t>(data + size - end));
        }
    }
    if (finished == nullptr) {
        finished = text.data();
        finishedSize = text.size();
    }

    auto handler = debugHandler();
    if (handler)
        pDebug(*handler) << "PSerialInputProcessor::processInput: processed data = "
                         << strake::string2hex(finished, finishedSize, " ", "0x") << " : "
                         << std::string(finished, finishedSize);
    if (finishedSize == 0)
        return;

    const std::string prefix = settings.prefix;
    const int outputType = settings.outputType;
    const std::string& encoding = settings.encoding;
    if (settings.fromWindows1251) {
        if (handler)
            pDebug(*handler) << "PSerialInputProcessor::processInput: recode intup data from "
                             << encoding << ":" << kWindows1251 << " to UTF-8 ";
        text = PEncoding::encode(
            PEncoding::decode(std::string(finished, finishedSize), kWindows1251), kUtf8);
        finished = text.data();
        finishedSize = text.size();
    }
    if (handler)
        pDebug(*handler) << "PSerialInputProcessor::processInput: \n"
                         << "prefix = " << hexOf(prefix) << "\n"
                         << "suffix = " << hexOf(suffix) << "\n"
                         << "output data type = " << outputType << "\n"
                         << "encoding = " << encoding << "\n"
                         << "preview = " << std::string(finished, finishedSize);

    // The input itself when the finished text is the whole of it.
    const bool wholeInput =
        finished == data && finishedSize == size && inputValue.type() == PVariant::Bytes;
    const PVariant gathered =
        wholeInput ? PVariant()
                   : PVariant(PByteArray(reinterpret_cast<const unsigned char*>(finished),
                                         static_cast<unsigned long>(finishedSize)));
    const PVariant& unprocessed = wholeInput ? inputValue : gathered;
    // Each message becomes an event as it is cut; with a log, the messages are counted first,
    // so that the count is written before they go. An event lives for the call that takes it,
    // so it borrows what it shares: the values read above and the settings, which only this
    // thread writes, and not while a message is out.
    const auto send = [&](const char* message, size_t messageSize) {
        const PVariant input(PByteArray(reinterpret_cast<const unsigned char*>(message),
                                        static_cast<unsigned long>(messageSize)));
        // What the component reads of every message first: it finds a key by walking the list.
        const PEvent::Field fields[] = {
            {&PEventKeys::InputKey(), &input},
            {&PEventKeys::EventNameKey(), &settings.eventName},
            {&PEventKeys::DevIdKey(), &settings.deviceId},
            {&PEventKeys::DevIdEventKey(), &devId},
            {&PEventKeys::DevTypeEventKey(), &devType},
            {&PEventKeys::DevStateEventKey(), &devState},
            {&PEventKeys::DevAliasEventKey(), &devAlias},
            {&PEventKeys::OutputDataTypeKey(), &settings.outputDataType},
            {&PEventKeys::EquipmentTypeKey(), &settings.equipmentType},
            {&PEventKeys::UnprocessedInputKey(), &unprocessed},
        };
        PIODeviceEvent out(fields, sizeof fields / sizeof fields[0]);
        processInputWith(callback, &out);
    };
    if (handler) {
        const std::vector<std::string> messages =
            prepareDataForSend(finished, finishedSize, prefix, suffix, outputType);
        pDebug(*handler) << "PSerialInputProcessor::processInput: detected parts count = "
                         << static_cast<unsigned long>(messages.size());
        for (const std::string& message : messages)
            send(message.data(), message.size());
    } else {
        // By reference: the closure is too big to sit in the function object without an
        // allocation of its own.
        cutMessages(finished, finishedSize, prefix, suffix, outputType, std::cref(send));
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
