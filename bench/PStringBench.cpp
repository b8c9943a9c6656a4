// Text and bytes: copying shares (target: copying 1 MiB costs less than twice copying an
// empty string), a move costs no more than a copy of an empty std::u16string, and the
// throughput of the UTF round trip and of Base64. Each checks what it made.
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
    if (PString(source).size() != source.size())
        state.SkipWithError("the copy differs");
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
    if (std::u16string(source).size() != kMiB)
        state.SkipWithError("the copy differs");
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
    if (text.size() != kMiB)
        state.SkipWithError("the text was lost");
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
    if (text.size() != kMiB)
        state.SkipWithError("the text was lost");
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
    if (PPropertyBag(bag).value(u"Speed").toInt() != 9600)
        state.SkipWithError("the copy differs");
}

void BM_Utf8Utf16Utf8RoundTrip(benchmark::State& state)
{
    const std::string text = mixedText(kMiB);
    std::string back;
    for (auto _ : state) {
        std::u16string units = strake::str2_tavrelstr(text);
        back = strake::_tavrelstr2str(units);
        benchmark::DoNotOptimize(back);
    }
    if (back != text)
        state.SkipWithError("the round trip changed the text");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_Base64Encode(benchmark::State& state)
{
    const std::string raw = mixedText(kMiB);
    std::string encoded;
    for (auto _ : state) {
        encoded = strake::base64_encode(raw);
        benchmark::DoNotOptimize(encoded);
    }
    if (strake::base64_decode(encoded) != raw)
        state.SkipWithError("the encoding does not decode to the bytes");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(raw.size()));
}

void BM_Base64Decode(benchmark::State& state)
{
    const std::string raw = mixedText(kMiB);
    const std::string encoded = strake::base64_encode(raw);
    std::string decoded;
    for (auto _ : state) {
        decoded = strake::base64_decode(encoded);
        benchmark::DoNotOptimize(decoded);
    }
    if (decoded != raw)
        state.SkipWithError("the decoding differs from the bytes");
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
