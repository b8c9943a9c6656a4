// markSequenceBy and prepareDataForSend: dividing a buffer at its terminators and cutting the
// messages out of it.
#include "PMarkedSequence.h"

#include "StrakeText.h"

#include <cstring>

namespace {

using CharSequence = PMarkedSequence<char, const char*>;

// Each whole, non-overlapping occurrence of the sequence is one terminator run.
void markWholeSequence(CharSequence& marks, const char* data, const char* end,
                       const char* sequence, unsigned long sequenceSize)
{
    const char* start = data;
    const char* cursor = data;
    while (static_cast<unsigned long>(end - cursor) >= sequenceSize) {
        // memchr finds the candidates; the byte compare decides.
        const void* found = std::memchr(cursor, static_cast<unsigned char>(sequence[0]),
                                        static_cast<size_t>(end - cursor) - sequenceSize + 1);
        if (found == nullptr)
            break;
        cursor = static_cast<const char*>(found);
        if (std::memcmp(cursor, sequence, sequenceSize) != 0) {
            ++cursor;
            continue;
        }
        if (cursor != start)
            marks.addMark(start, cursor, PSequenceMark<const char*>::Text);
        marks.addMark(cursor, cursor + sequenceSize, PSequenceMark<const char*>::Terminator);
        cursor += sequenceSize;
        start = cursor;
    }
    if (start < end)
        marks.addMark(start, end, PSequenceMark<const char*>::Text);
}

// The bytes of the sequence form a set; every run of bytes of one class (in the set or not)
// is one mark. A set of one byte value finds its runs by memchr.
void markCharacterSet(CharSequence& marks, const char* data, const char* end,
                      const char* sequence, unsigned long sequenceSize)
{
    bool inSet[256] = {};
    for (unsigned long i = 0; i < sequenceSize; ++i)
        inSet[static_cast<unsigned char>(sequence[i])] = true;
    bool single = true;
    for (unsigned long i = 1; i < sequenceSize; ++i)
        single = single && sequence[i] == sequence[0];
    const unsigned char only = static_cast<unsigned char>(sequence[0]);
    if (single) {
        // One memchr pass sizes the marks at once: growing a vector of a few megabytes step by
        // step costs more in page faults than the whole cut.
        size_t terminators = 0;
        for (const char* at = data;
             (at = static_cast<const char*>(std::memchr(at, only, size_t(end - at)))) != nullptr;
             ++at)
            ++terminators;
        marks.reserve(2 * terminators + 1);
    }

    const char* run = data;
    while (run < end) {
        const char* cursor = run;
        if (inSet[static_cast<unsigned char>(*cursor)]) {
            while (cursor < end && inSet[static_cast<unsigned char>(*cursor)])
                ++cursor;
            marks.addMark(run, cursor, PSequenceMark<const char*>::Terminator);
        } else {
            if (single) {
                const void* found = std::memchr(cursor, only, static_cast<size_t>(end - cursor));
                cursor = found != nullptr ? static_cast<const char*>(found) : end;
            } else {
                while (cursor < end && !inSet[static_cast<unsigned char>(*cursor)])
                    ++cursor;
            }
            marks.addMark(run, cursor, PSequenceMark<const char*>::Text);
        }
        run = cursor;
    }
}

}

template <>
PMarkedSequence<char, const char*> markSequenceBy<char>(const char* data, unsigned long size,
                                                       const char* sequence,
                                                       unsigned long sequenceSize, int flags)
{
    CharSequence marks(data);
    if (data == nullptr || size == 0)
        return marks;
    const char* end = data + size;
    if (sequence == nullptr || sequenceSize == 0) {
        marks.addMark(data, end, PSequenceMark<const char*>::Text);
        return marks;
    }
    if ((flags & 1) || sequenceSize == 1)
        markCharacterSet(marks, data, end, sequence, sequenceSize);
    else
        markWholeSequence(marks, data, end, sequence, sequenceSize);
    return marks;
}

std::vector<std::string> prepareDataForSend(const PMarkedSequence<char, const char*>& marks,
                                            const std::string& prefix, const std::string& suffix,
                                            int outputType)
{
    std::vector<std::string> messages;
    const auto& spans = marks.spans();
    if (suffix.empty()) {
        if (spans.empty() || spans.front().isEmpty() || spans.back().isEmpty())
            return messages;
        messages.emplace_back(spans.front().begin, spans.back().end);
        return messages;
    }

    messages.reserve(spans.size() / 2 + 1);
    for (size_t i = 0; i + 1 < spans.size(); ++i) {
        const auto& text = spans[i];
        if (text.isEmpty() || text.type != PSequenceMark<const char*>::Text)
            continue;
        const auto& next = spans[i + 1];
        if (next.isEmpty() || next.type != PSequenceMark<const char*>::Terminator)
            continue;
        const size_t length = static_cast<size_t>(text.end - text.begin);
        if (!prefix.empty()
            && (length <= prefix.size()
                || std::memcmp(text.begin, prefix.data(), prefix.size()) != 0))
            continue;
        const char* begin = text.begin + prefix.size();
        if (outputType == 1)
            messages.push_back(strake::base64_encode(begin, static_cast<unsigned long>(text.end - begin)));
        else
            messages.emplace_back(begin, text.end);
    }
    return messages;
}

std::vector<std::string> prepareDataForSend(const std::string& data, const std::string& prefix,
                                            const std::string& suffix, int outputType)
{
    const int flags = suffix == "\r\n" ? 1 : 0;
    return prepareDataForSend(
        markSequenceBy<char>(data.data(), static_cast<unsigned long>(data.size()), suffix.data(),
                             static_cast<unsigned long>(suffix.size()), flags),
        prefix, suffix, outputType);
}
