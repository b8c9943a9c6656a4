// The message cutter: PSequenceMark and PMarkedSequence, which divide a buffer into runs of
// text and runs of terminator without copying it, markSequenceBy and prepareDataForSend.
#pragma once

#include "PSharedDataPtr.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

template <class T>
struct PSequenceMarkPrivate {
    T begin = nullptr;
    T end = nullptr;
    int32_t type = 0;
};

// One run of a marked sequence: [begin, end) and its type, 0 for message text and
// 1 for terminator. A default mark is empty (both pointers null). A value handle.
template <class T>
class PSequenceMark {
public:
    enum Type : int32_t { Text = 0, Terminator = 1 };

    PSequenceMark() = default;
    PSequenceMark(T begin, T end, int32_t type)
    {
        auto* record = d.data();
        record->begin = begin;
        record->end = end;
        record->type = type;
    }

    T begin() const { return d->begin; }
    T end() const { return d->end; }
    int32_t type() const { return d->type; }
    unsigned long size() const { return static_cast<unsigned long>(d->end - d->begin); }
    bool isEmpty() const { return d->begin == d->end; }

private:
    PSharedDataPtr<PSequenceMarkPrivate<T>> d;
};

// One run as the sequence stores it; PSequenceMark handles are made from these on demand,
// so dividing a buffer costs one vector of plain records.
template <class T>
struct PMarkSpan {
    T begin;
    T end;
    int32_t type;
    bool isEmpty() const { return begin == end; }
};

template <class C, class T>
struct PMarkedSequencePrivate {
    T origin = nullptr;
    std::vector<PMarkSpan<T>> marks;
    PSequenceMark<T> defaultMark;
};

// A view that divides a caller's buffer into consecutive runs, in buffer order. The marks
// point into that buffer, which must outlive the sequence and every mark taken from it.
// A value handle; no operation fails.
template <class C, class T>
class PMarkedSequence {
public:
    PMarkedSequence() = default;
    explicit PMarkedSequence(T origin) { d.data()->origin = origin; }

    T origin() const { return d->origin; }
    // Appends a run; nothing happens when the sequence has no origin.
    void addMark(T begin, T end, int type)
    {
        if (d->origin == nullptr)
            return;
        d.data()->marks.push_back(PMarkSpan<T>{begin, end, static_cast<int32_t>(type)});
    }
    // An empty mark when there are none.
    PSequenceMark<T> firstMark() const { return d->marks.empty() ? PSequenceMark<T>() : at(0); }
    PSequenceMark<T> lastMark() const
    {
        return d->marks.empty() ? PSequenceMark<T>() : at(d->marks.size() - 1);
    }
    // Removes the last run and gives it back; an empty mark and no change when there is none.
    PSequenceMark<T> popBackMark()
    {
        if (d->marks.empty())
            return PSequenceMark<T>();
        PSequenceMark<T> last = lastMark();
        d.data()->marks.pop_back();
        return last;
    }
    // The mark at index; the empty default mark past the end.
    PSequenceMark<T> operator[](size_t index) const
    {
        return index < d->marks.size() ? at(index) : d->defaultMark;
    }
    size_t count() const { return d->marks.size(); }
    size_t size() const { return d->marks.size(); }
    // The runs as stored, for walking without making handles.
    const std::vector<PMarkSpan<T>>& spans() const { return d->marks; }
    void reserve(size_t count) { d.data()->marks.reserve(count); }

private:
    PSequenceMark<T> at(size_t index) const
    {
        const PMarkSpan<T>& span = d->marks[index];
        return PSequenceMark<T>(span.begin, span.end, span.type);
    }

    PSharedDataPtr<PMarkedSequencePrivate<C, T>> d;
};

// Divides data at the terminator sequence. With an empty sequence the whole of the data is
// one text run; with bit 0 of flags set, or a one-byte sequence, the bytes of the sequence
// form a set and every run of bytes from that set is one terminator run; otherwise each
// whole, non-overlapping occurrence of the sequence is one terminator run.
// The result points into data. No failure.
template <class C>
PMarkedSequence<C, const C*> markSequenceBy(const C* data, unsigned long size, const C* sequence,
                                            unsigned long sequenceSize, int flags);

template <>
PMarkedSequence<char, const char*> markSequenceBy<char>(const char* data, unsigned long size,
                                                       const char* sequence,
                                                       unsigned long sequenceSize, int flags);

// The messages that may be sent, in order: each text run that has a terminator run right
// behind it and, when prefix is not empty, is longer than the prefix and begins with it;
// the prefix is removed, and outputType 1 turns the rest into Base64 text. With an empty
// suffix the whole marked text is one message as it is, prefix and all, never Base64.
// Everything else is dropped without a report.
std::vector<std::string> prepareDataForSend(const PMarkedSequence<char, const char*>& marks,
                                            const std::string& prefix, const std::string& suffix,
                                            int outputType);
// Marks data at suffix (as a set of bytes when suffix is exactly "\r\n") and cuts it.
std::vector<std::string> prepareDataForSend(const std::string& data, const std::string& prefix,
                                            const std::string& suffix, int outputType);
std::vector<std::string> prepareDataForSend(const char* data, size_t size,
                                            const std::string& prefix, const std::string& suffix,
                                            int outputType);

// Cuts as prepareDataForSend(data, size, ...) does, handing each message to send as it is
// cut, in order (the bytes are valid for the call only); answers how many were sent.
using PMessageSink = std::function<void(const char* begin, size_t size)>;
size_t cutMessages(const char* data, size_t size, const std::string& prefix,
                   const std::string& suffix, int outputType, const PMessageSink& send);

// How many bytes of data equal byte: a cut sizes its results by it before it cuts.
size_t countByte(const char* data, size_t size, unsigned char byte);

// Where the runs of markSequenceBy lie, found without storing them: the first run and the
// last terminator run, which is empty (null pointers) when there is none. The runs cover the
// data, so whatever follows the last terminator is one text run.
struct PMarkBounds {
    PMarkSpan<const char*> first{nullptr, nullptr, 0};
    PMarkSpan<const char*> lastTerminator{nullptr, nullptr, 1};
};
PMarkBounds markBoundsBy(const char* data, unsigned long size, const char* sequence,
                         unsigned long sequenceSize, int flags);
