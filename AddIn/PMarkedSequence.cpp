// markSequenceBy and prepareDataForSend: dividing a buffer at its terminators and cutting the
// messages out of it.
#include "PMarkedSequence.h"

#include "StrakeText.h"

#include <algorithm>
#include <cstring>

namespace {

using Span = PMarkSpan<const char*>;
constexpr int32_t kText = PSequenceMark<const char*>::Text;
constexpr int32_t kTerminator = PSequenceMark<const char*>::Terminator;

// A CR LF suffix is also found split in two; compared without a strlen for each block.
bool isCrLf(const std::string& suffix)
{
    return suffix.size() == 2 && suffix[0] == '\r' && suffix[1] == '\n';
}

// The marking walks hand each run to a sink as they find it: markSequenceBy stores the runs,
// and the cut of a plain buffer takes its messages straight from them, so that no vector of
// runs the size of the buffer is built only to be walked once.

// Each whole, non-overlapping occurrence of the sequence is one terminator run.
template <class Sink>
void markWholeSequence(Sink& sink, const char* data, const char* end, const char* sequence,
                       unsigned long sequenceSize)
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
            sink(Span{start, cursor, kText});
        sink(Span{cursor, cursor + sequenceSize, kTerminator});
        cursor += sequenceSize;
        start = cursor;
    }
    if (start < end)
        sink(Span{start, end, kText});
}

typedef unsigned char Lanes __attribute__((vector_size(16)));

Lanes lanesOf(unsigned char byte)
{
    return Lanes{byte, byte, byte, byte, byte, byte, byte, byte,
                 byte, byte, byte, byte, byte, byte, byte, byte};
}

// The first byte of the value in [from, end), or end. Sixteen bytes at a time: a run of a
// message is short, and a call of memchr per run costs more than the search itself.
const char* findByte(const char* from, const char* end, unsigned char byte)
{
    const Lanes wanted = lanesOf(byte);
    for (; end - from >= 16; from += 16) {
        Lanes block;
        std::memcpy(&block, from, sizeof block);
        const Lanes matches = reinterpret_cast<Lanes>(block == wanted);
        uint64_t halves[2];
        std::memcpy(halves, &matches, sizeof halves);
        // Both targets are little-endian: the lowest set byte is the first match.
        if (halves[0] != 0)
            return from + __builtin_ctzll(halves[0]) / 8;
        if (halves[1] != 0)
            return from + 8 + __builtin_ctzll(halves[1]) / 8;
    }
    for (; from < end; ++from) {
        if (static_cast<unsigned char>(*from) == byte)
            return from;
    }
    return end;
}

// The bytes of the sequence form a set; every run of bytes of one class (in the set or not)
// is one mark. A set of one byte value finds its runs sixteen bytes at a time.
template <class Sink>
void markCharacterSet(Sink& sink, const char* data, const char* end, const char* sequence,
                      unsigned long sequenceSize)
{
    bool single = true;
    for (unsigned long i = 1; i < sequenceSize; ++i)
        single = single && sequence[i] == sequence[0];
    const unsigned char only = static_cast<unsigned char>(sequence[0]);
    if (single) {
        // Growing a vector of a few megabytes step by step costs more in page faults than the
        // whole cut: the sink is sized first, by one counting pass.
        if (Sink::sized)
            sink.reserveRuns(2 * countByte(data, static_cast<size_t>(end - data), only) + 1);
        // Compared directly, without a table: a block of a code or two is cut twice per
        // delivery, and filling the table cost more than the search.
        for (const char* run = data; run < end;) {
            const char* cursor = run;
            if (static_cast<unsigned char>(*cursor) == only) {
                while (cursor < end && static_cast<unsigned char>(*cursor) == only)
                    ++cursor;
                sink(Span{run, cursor, kTerminator});
            } else {
                cursor = findByte(cursor, end, only);
                sink(Span{run, cursor, kText});
            }
            run = cursor;
        }
        return;
    }

    bool inSet[256] = {};
    for (unsigned long i = 0; i < sequenceSize; ++i)
        inSet[static_cast<unsigned char>(sequence[i])] = true;
    for (const char* run = data; run < end;) {
        const char* cursor = run;
        const bool terminator = inSet[static_cast<unsigned char>(*cursor)];
        while (cursor < end && inSet[static_cast<unsigned char>(*cursor)] == terminator)
            ++cursor;
        sink(Span{run, cursor, terminator ? kTerminator : kText});
        run = cursor;
    }
}

template <class Sink>
void markInto(Sink& sink, const char* data, unsigned long size, const char* sequence,
              unsigned long sequenceSize, int flags)
{
    if (data == nullptr || size == 0)
        return;
    const char* end = data + size;
    if (sequence == nullptr || sequenceSize == 0)
        sink(Span{data, end, kText});
    else if ((flags & 1) || sequenceSize == 1)
        markCharacterSet(sink, data, end, sequence, sequenceSize);
    else
        markWholeSequence(sink, data, end, sequence, sequenceSize);
}

// Stores the runs in a marked sequence.
struct StoringSink {
    static constexpr bool sized = true;
    PMarkedSequence<char, const char*>& marks;
    void operator()(const Span& span) { marks.addMark(span.begin, span.end, span.type); }
    void reserveRuns(size_t count) { marks.reserve(count); }
};

// Takes the messages out of the runs as they come: a text run is sent when a terminator run
// follows it and it carries the prefix (then removed); outputType 1 sends Base64. Each
// message goes to emit(begin, size), valid for the call only.
template <class Emit>
class CuttingSink {
public:
    static constexpr bool sized = Emit::sized;
    CuttingSink(Emit& emit, const std::string& prefix, int outputType)
        : emit_(emit), prefix_(prefix), outputType_(outputType)
    {
    }
    void operator()(const Span& span)
    {
        if (!span.isEmpty() && span.type == kTerminator && !text_.isEmpty()
            && text_.type == kText)
            send(text_);
        text_ = span;
    }
    // The messages are sized by the terminators, as the stored runs would be.
    void reserveRuns(size_t count) { emit_.reserve(count / 2 + 1); }

private:
    void send(const Span& text)
    {
        const size_t length = static_cast<size_t>(text.end - text.begin);
        if (!prefix_.empty()
            && (length <= prefix_.size()
                || std::memcmp(text.begin, prefix_.data(), prefix_.size()) != 0))
            return;
        const char* begin = text.begin + prefix_.size();
        const size_t size = static_cast<size_t>(text.end - begin);
        if (outputType_ == 1) {
            const std::string encoded =
                strake::base64_encode(begin, static_cast<unsigned long>(size));
            emit_(encoded.data(), encoded.size());
        } else {
            emit_(begin, size);
        }
    }

    Emit& emit_;
    const std::string& prefix_;
    const int outputType_;
    Span text_{nullptr, nullptr, kTerminator};
};

// Collects the messages, sized before the cut.
struct CollectingEmit {
    static constexpr bool sized = true;
    std::vector<std::string>& messages;
    void operator()(const char* begin, size_t size) { messages.emplace_back(begin, size); }
    void reserve(size_t count) { messages.reserve(count); }
};

// Hands each message on as it is cut.
struct ForwardingEmit {
    static constexpr bool sized = false;
    const PMessageSink& send;
    size_t count = 0;
    void operator()(const char* begin, size_t size)
    {
        ++count;
        send(begin, size);
    }
    void reserve(size_t) {}
};

// Keeps the first run and the last terminator run.
struct BoundsSink {
    static constexpr bool sized = false;
    PMarkBounds& bounds;
    void operator()(const Span& span)
    {
        if (bounds.first.begin == nullptr)
            bounds.first = span;
        if (span.type == kTerminator)
            bounds.lastTerminator = span;
    }
    void reserveRuns(size_t) {}
};

// With an empty suffix the whole marked text is one message, as it is.
void cutWhole(std::vector<std::string>& messages, const Span* first, const Span* last)
{
    if (first == nullptr || first->isEmpty() || last->isEmpty())
        return;
    messages.emplace_back(first->begin, last->end);
}

}

size_t countByte(const char* data, size_t size, unsigned char byte)
{
    // Sixteen lanes at a time, each lane counting its matches; a lane holds up to 255, so
    // the lanes are summed every 255 rounds. Vector extensions of GCC and clang: SSE2 on
    // x86-64, NEON on arm64.
    const Lanes wanted = lanesOf(byte);
    size_t count = 0;
    size_t at = 0;
    while (size - at >= sizeof(Lanes)) {
        Lanes lanes = {};
        const size_t rounds = std::min<size_t>((size - at) / sizeof(Lanes), 255);
        for (size_t round = 0; round < rounds; ++round, at += sizeof(Lanes)) {
            Lanes block;
            std::memcpy(&block, data + at, sizeof block);
            // A match compares as all ones, that is -1: subtracting it counts one.
            lanes -= reinterpret_cast<Lanes>(block == wanted);
        }
        for (size_t lane = 0; lane < sizeof(Lanes); ++lane)
            count += lanes[lane];
    }
    for (; at < size; ++at)
        count += static_cast<unsigned char>(data[at]) == byte ? 1 : 0;
    return count;
}

template <>
PMarkedSequence<char, const char*> markSequenceBy<char>(const char* data, unsigned long size,
                                                       const char* sequence,
                                                       unsigned long sequenceSize, int flags)
{
    PMarkedSequence<char, const char*> marks(data);
    StoringSink sink{marks};
    markInto(sink, data, size, sequence, sequenceSize, flags);
    return marks;
}

std::vector<std::string> prepareDataForSend(const PMarkedSequence<char, const char*>& marks,
                                            const std::string& prefix, const std::string& suffix,
                                            int outputType)
{
    std::vector<std::string> messages;
    const auto& spans = marks.spans();
    if (suffix.empty()) {
        if (!spans.empty())
            cutWhole(messages, &spans.front(), &spans.back());
        return messages;
    }
    CollectingEmit emit{messages};
    CuttingSink<CollectingEmit> sink(emit, prefix, outputType);
    sink.reserveRuns(spans.size());
    for (const Span& span : spans)
        sink(span);
    return messages;
}

std::vector<std::string> prepareDataForSend(const std::string& data, const std::string& prefix,
                                            const std::string& suffix, int outputType)
{
    return prepareDataForSend(data.data(), data.size(), prefix, suffix, outputType);
}

std::vector<std::string> prepareDataForSend(const char* data, size_t size,
                                            const std::string& prefix, const std::string& suffix,
                                            int outputType)
{
    std::vector<std::string> messages;
    if (suffix.empty()) {
        // One text run over the whole of the data, or none.
        if (size != 0)
            messages.emplace_back(data, size);
        return messages;
    }
    CollectingEmit emit{messages};
    CuttingSink<CollectingEmit> sink(emit, prefix, outputType);
    markInto(sink, data, static_cast<unsigned long>(size), suffix.data(),
             static_cast<unsigned long>(suffix.size()), isCrLf(suffix) ? 1 : 0);
    return messages;
}

size_t cutMessages(const char* data, size_t size, const std::string& prefix,
                   const std::string& suffix, int outputType, const PMessageSink& send)
{
    if (suffix.empty()) {
        if (size == 0)
            return 0;
        send(data, size);
        return 1;
    }
    ForwardingEmit emit{send};
    CuttingSink<ForwardingEmit> sink(emit, prefix, outputType);
    markInto(sink, data, static_cast<unsigned long>(size), suffix.data(),
             static_cast<unsigned long>(suffix.size()), isCrLf(suffix) ? 1 : 0);
    return emit.count;
}

PMarkBounds markBoundsBy(const char* data, unsigned long size, const char* sequence,
                         unsigned long sequenceSize, int flags)
{
    PMarkBounds bounds;
    BoundsSink sink{bounds};
    markInto(sink, data, size, sequence, sequenceSize, flags);
    return bounds;
}
