// Text and bytes: copying shares (target: copying 1 MiB costs less than twice copying an
// empty string), a move costs no more than a copy of an empty std::u16string, and the
// throughput of the UTF round trip and of Base64.
#include "PPropertyBag.h"
#include "PString.h"
#include "StrakeText.h"

#include <benchmark/benchmark.h>

#include <thread>

namespace {

const size_t kMiB = 1 << 20;

// The library always has threads (the VM's, the timers'), and libstdc++ counts shared owners
// without atomics in a process that never started one: start one, so that counts cost here
// what they cost there.
const bool kThreaded = [] {
    std::thread([] {}).join();
    return true;
}();

std::string mixedText(size_t bytes)
{
    const std::string piece = "Штрихкод 4600000000001; Сканер ready. ";
    std::string text;
    while (text.size() + piece.size() <= bytes)
        text += piece;
    text.append(bytes - text.size(), 'x');
    return text;
}

void copyPString(benchmark::State& state, const PString& source)
{
    for (auto _ : state) {
        PString copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

void BM_CopyEmptyPString(benchmark::State& state)
{
    copyPString(state, PString());
}

void BM_CopyMiBPString(benchmark::State& state)
{
    copyPString(state, PString(kMiB, u'x'));
}

// The baseline a deep copy would cost.
void BM_CopyMiBStdU16String(benchmark::State& state)
{
    const std::u16string source(kMiB, u'x');
    for (auto _ : state) {
        std::u16string copy(source);
        benchmark::DoNotOptimize(copy);
    }
}

// There and back, so the source is whole again for the next round.
void BM_MovePString(benchmark::State& state)
{
    PString text(kMiB, u'x');
    for (auto _ : state) {
        PString moved(std::move(text));
        text = std::move(moved);
        benchmark::DoNotOptimize(text);
    }
}

// The baseline a move of the units themselves costs.
void BM_MoveStdU16String(benchmark::State& state)
{
    std::u16string text(kMiB, u'x');
    for (auto _ : state) {
        std::u16string moved(std::move(text));
        text = std::move(moved);
        benchmark::DoNotOptimize(text);
    }
}

void BM_CopyPPropertyBag(benchmark::State& state)
{
    PPropertyBag bag;
    bag.addValue(u"Port", PVariant(u"/dev/ttyS0"));
    bag.addValue(u"Speed", PVariant(9600));
    for (auto _ : state) {
        PPropertyBag copy(bag);
        benchmark::DoNotOptimize(copy);
    }
}

void BM_Utf8Utf16Utf8RoundTrip(benchmark::State& state)
{
    const std::string text = mixedText(kMiB);
    for (auto _ : state) {
        std::u16string units = strake::str2_tavrelstr(text);
        std::string back = strake::_tavrelstr2str(units);
        benchmark::DoNotOptimize(back);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_Base64Encode(benchmark::State& state)
{
    const std::string raw = mixedText(kMiB);
    for (auto _ : state)
        benchmark::DoNotOptimize(strake::base64_encode(raw));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(raw.size()));
}

void BM_Base64Decode(benchmark::State& state)
{
    const std::string encoded = strake::base64_encode(mixedText(kMiB));
    for (auto _ : state)
        benchmark::DoNotOptimize(strake::base64_decode(encoded));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(encoded.size()));
}

}

BENCHMARK(BM_CopyEmptyPString);
BENCHMARK(BM_CopyMiBPString);
BENCHMARK(BM_CopyMiBStdU16String);
BENCHMARK(BM_MovePString);
BENCHMARK(BM_MoveStdU16String);
BENCHMARK(BM_CopyPPropertyBag);
BENCHMARK(BM_Utf8Utf16Utf8RoundTrip)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Base64Encode)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Base64Decode)->Unit(benchmark::kMillisecond);
