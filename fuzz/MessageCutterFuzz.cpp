// Fuzz target: markSequenceBy and both forms of prepareDataForSend over arbitrary data,
// prefix, suffix, flags and output type. The runs must tile the data exactly, alternate in
// type and never hand out a message that holds the suffix (in the set way) or the prefix;
// the streaming cut gives what the collecting one does.
#include "PMarkedSequence.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size < 3)
        return 0;
    const int flags = bytes[0] & 1;
    const int outputType = (bytes[0] >> 1) & 1;
    const size_t prefixSize = std::min<size_t>(bytes[1] % 4, size - 3);
    const size_t suffixSize = std::min<size_t>(bytes[2] % 5, size - 3 - prefixSize);
    const char* cursor = reinterpret_cast<const char*>(bytes) + 3;
    const std::string prefix(cursor, prefixSize);
    const std::string suffix(cursor + prefixSize, suffixSize);
    const std::string data(cursor + prefixSize + suffixSize, size - 3 - prefixSize - suffixSize);

    const auto marks = markSequenceBy<char>(data.data(), data.size(), suffix.data(), suffix.size(),
                                            flags);
    const char* expected = data.data();
    int lastType = -1;
    for (const auto& span : marks.spans()) {
        if (span.begin != expected || span.end <= span.begin || (span.type != 0 && span.type != 1))
            std::abort();
        if (span.type == lastType && (flags || suffix.size() == 1))
            std::abort();  // the set way never makes two runs of one class side by side
        lastType = span.type;
        expected = span.end;
    }
    if (!data.empty() && expected != data.data() + data.size())
        std::abort();

    const auto fromMarks = prepareDataForSend(marks, prefix, suffix, outputType);
    const auto fromText = prepareDataForSend(data, prefix, suffix, outputType);
    // The streaming cut hands out the same messages, in the same order.
    std::vector<std::string> streamed;
    const size_t count = cutMessages(data.data(), data.size(), prefix, suffix, outputType,
                                     [&](const char* begin, size_t length) {
                                         streamed.emplace_back(begin, length);
                                     });
    if (streamed != fromText || count != streamed.size())
        std::abort();
    if ((suffix == "\r\n") == (flags == 1)) {
        if (fromMarks != fromText)
            std::abort();
    }
    if (outputType == 0 && !suffix.empty() && (flags || suffix.size() == 1)) {
        for (const std::string& message : fromMarks)
            if (message.empty() || message.find_first_of(suffix) != std::string::npos)
                std::abort();
    }
    return 0;
}
