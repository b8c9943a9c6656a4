// Cutting a stream into messages. Targets: cutting 1 MiB of 13-byte codes, each ended by CR,
// with markSequenceBy + prepareDataForSend takes at most twice a plain std::string::find +
// substr loop that yields the same messages (the memchr pass over the buffer is the floor);
// PSerialInputProcessor::processInput with 20-byte codes, one per event, costs at most 5 us
// per message.
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

void BM_CutWithMarkedSequence(benchmark::State& state)
{
    const std::string& stream = megabyte();
    for (auto _ : state) {
        std::vector<std::string> messages = prepareDataForSend(stream, "", "\r", 0);
        benchmark::DoNotOptimize(messages.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(stream.size()));
}
BENCHMARK(BM_CutWithMarkedSequence);

// Baseline: the same messages by find and substr; empty runs between CRs are not messages.
void BM_CutWithFindSubstr(benchmark::State& state)
{
    const std::string& stream = megabyte();
    for (auto _ : state) {
        std::vector<std::string> messages;
        size_t start = 0;
        for (size_t at = stream.find('\r'); at != std::string::npos; at = stream.find('\r', start)) {
            if (at != start)
                messages.push_back(stream.substr(start, at - start));
            start = at + 1;
        }
        benchmark::DoNotOptimize(messages.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(stream.size()));
}
BENCHMARK(BM_CutWithFindSubstr);

// Floor: one memchr pass that only finds the terminators.
void BM_MemchrPass(benchmark::State& state)
{
    const std::string& stream = megabyte();
    for (auto _ : state) {
        size_t count = 0;
        const char* cursor = stream.data();
        const char* end = cursor + stream.size();
        while (const void* found = std::memchr(cursor, '\r', size_t(end - cursor))) {
            ++count;
            cursor = static_cast<const char*>(found) + 1;
        }
        benchmark::DoNotOptimize(count);
    }
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
    benchmark::DoNotOptimize(delivered);
    state.SetItemsProcessed(int64_t(state.iterations()));
}
BENCHMARK(BM_SerialProcessInputPerMessage);

}
