// Fuzz target: the stream processor fed an arbitrary sequence of chunks under arbitrary
// settings. With a CR or CR LF suffix, the chunked feed must give exactly the messages of
// one whole feed of the same bytes.
#include "PSerialInputProcessor.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

std::vector<std::string> run(const std::vector<std::string>& chunks, const std::string& suffix,
                             const std::string& prefix, int outputType, bool recode, bool debug)
{
    PSerialInputProcessor processor;
    processor.setParameter("Suffix", PByteArray(suffix));
    processor.setParameter("Prefix", PByteArray(prefix));
    processor.setParameter("OutputDataType", outputType);
    if (recode)
        processor.setParameter("COMEncoding", "Windows-1251");
    if (debug)
        processor.setDebugMessageHandler([](const DebugMessageContext&, const std::string&) {});
    std::vector<std::string> messages;
    processor.setCallback([&](PEvent* event) {
        messages.push_back(event->value("input").toByteArray().toStdString());
    });
    for (const std::string& chunk : chunks) {
        PIODeviceEvent event;
        event.setValue("input", PByteArray(chunk));
        processor.processInput(&event);
    }
    return messages;
}

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size < 4)
        return 0;
    static const char* const suffixes[] = {"\r", "\r\n", "", "AB", "\n", "\x1d"};
    const uint8_t setup = bytes[0];
    const std::string suffix = suffixes[(setup & 7) % 6];
    const int outputType = (setup >> 3) & 1;
    const bool recode = (setup >> 4) & 1;
    const bool debug = (setup >> 5) & 1;
    const std::string prefix(reinterpret_cast<const char*>(bytes) + 1, bytes[1] % 3);
    const uint8_t seed = bytes[2];

    // The rest is the stream; chunk lengths come from the seed, walked like a tiny generator.
    const std::string stream(reinterpret_cast<const char*>(bytes) + 3, size - 3);
    std::vector<std::string> chunks;
    unsigned state = seed | 1u;
    for (size_t at = 0; at < stream.size();) {
        state = state * 1103515245u + 12345u;
        const size_t length = std::min<size_t>((state >> 16) % 17 + 1, stream.size() - at);
        chunks.push_back(stream.substr(at, length));
        at += length;
    }
    const auto chunked = run(chunks, suffix, prefix, outputType, recode, debug);
    if (suffix == "\r" || suffix == "\r\n") {
        if (chunked != run({stream}, suffix, prefix, outputType, recode, false))
            std::abort();
    }
    return 0;
}
