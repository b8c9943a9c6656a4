// Cutting a stream into messages. Targets: cutting 1 MiB of 13-byte codes, each ended by CR,
// with markSequenceBy + prepareDataForSend takes at most 1.2 times a find + substr loop that
// yields the same messages into a vector sized the same way, and at most 3 times one memchr
// pass that only finds the terminators (the floor). PSerialInputProcessor::processInput with
// 20-byte codes, one per event, costs at most 5 us per message.
// Each benchmark checks the count and the content of what it made.
#include "PMarkedSequence.h"
#include "PSerialInputProcessor.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

std::string codes(size_t totalBytes, size_t codeBytes)
{
    std::string stream;
    stream.reserve(totalBytes + codeBytes + 1);
    for (size_t n = 0; stream.size() + codeBytes + 1 <= totalBytes; ++n) {
        std::string code = std::to_string(4600000000000ULL + n);
        code.resize(codeBytes, '7');
        stream += code;
        stream += '\r';
    }
    return stream;
}

const std::string& megabyte()
{
    static const std::string stream = codes(1 << 20, 13);
    return stream;
}

// Every code of the megabyte, as a cut must give them.
bool sameAsCodes(const std::vector<std::string>& messages)
{
    const std::string& stream = megabyte();
    if (messages.size() != stream.size() / 14)
        return false;
    for (size_t i = 0; i < messages.size(); ++i) {
        if (stream.compare(i * 14, 13, messages[i]) != 0 || messages[i].size() != 13)
            return false;
    }
    return true;
}

void BM_CutWithMarkedSequence(benchmark::State& state)
{
    const std::string& stream = megabyte();
    std::vector<std::string> messages;
    for (auto _ : state) {
        messages = prepareDataForSend(stream, "", "\r", 0);
        benchmark::DoNotOptimize(messages.data());
    }
    if (!sameAsCodes(messages))
        state.SkipWithError("the cut gave other messages");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(stream.size()));
}
BENCHMARK(BM_CutWithMarkedSequence);

// Baseline: the same messages by find and substr; empty runs between CRs are not messages.
// The vector is sized by counting the terminators first, as the cutter sizes its own.
void BM_CutWithFindSubstr(benchmark::State& state)
{
    const std::string& stream = megabyte();
    std::vector<std::string> result;
    for (auto _ : state) {
        std::vector<std::string> messages;
        messages.reserve(countByte(stream.data(), stream.size(), '\r') + 1);
        size_t start = 0;
        for (size_t at = stream.find('\r'); at != std::string::npos; at = stream.find('\r', start)) {
            if (at != start)
                messages.push_back(stream.substr(start, at - start));
            start = at + 1;
        }
        benchmark::DoNotOptimize(messages.data());
        result = std::move(messages);
    }
    if (!sameAsCodes(result))
        state.SkipWithError("the baseline gave other messages");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(stream.size()));
}
BENCHMARK(BM_CutWithFindSubstr);

// Floor: one memchr pass that only finds the terminators.
void BM_MemchrPass(benchmark::State& state)
{
    const std::string& stream = megabyte();
    size_t count = 0;
    for (auto _ : state) {
        count = 0;
        const char* cursor = stream.data();
        const char* end = cursor + stream.size();
        while (const void* found = std::memchr(cursor, '\r', size_t(end - cursor))) {
            ++count;
            cursor = static_cast<const char*>(found) + 1;
        }
        benchmark::DoNotOptimize(count);
    }
    if (count != stream.size() / 14)
        state.SkipWithError("the pass missed a terminator");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(stream.size()));
}
BENCHMARK(BM_MemchrPass);

void BM_SerialProcessInputPerMessage(benchmark::State& state)
{
    PSerialInputProcessor processor;
    processor.setParameter("EventName", "Barcode");
    processor.setParameter("DevId", "InputDevice#1");
    size_t delivered = 0;
    processor.setCallback([&](PEvent* event) {
        delivered += event->value("input").toByteArray().size();
    });
    const std::string stream = codes(1000 * 21, 20);
    std::vector<std::unique_ptr<PIODeviceEvent>> events;
    for (size_t at = 0; at < stream.size(); at += 21) {
        events.emplace_back(new PIODeviceEvent);
        events.back()->setValue("input", PByteArray(stream.substr(at, 21)));
        events.back()->setValue("dev_id", "COM3");
    }
    size_t next = 0;
    for (auto _ : state) {
        processor.processInput(events[next].get());
        next = next + 1 == events.size() ? 0 : next + 1;
    }
    if (delivered != size_t(state.iterations()) * 20)
        state.SkipWithError("a message was lost or cut wrong");
    state.SetItemsProcessed(int64_t(state.iterations()));
}
BENCHMARK(BM_SerialProcessInputPerMessage);

}
