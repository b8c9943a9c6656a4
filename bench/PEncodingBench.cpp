// Benchmark: decoding 1 MiB of CP1251 with PEncoding.
// Target: at least 300 MB/s on this machine, and no slower than the C library's iconv(3)
// on the same bytes; a widening copy of each byte is the floor. Each checks its text: one
// character per byte, Cyrillic where the bytes were.
#include "PEncoding.h"

#include <benchmark/benchmark.h>

#include <iconv.h>
#include <string>

namespace {

// One character per byte, and the Cyrillic range where the bytes were letters.
bool decodedRight(const std::string& data, const std::wstring& text)
{
    if (text.size() != data.size())
        return false;
    for (size_t i = 0; i < data.size(); ++i) {
        const unsigned char byte = static_cast<unsigned char>(data[i]);
        const wchar_t wanted = byte >= 0xC0 ? wchar_t(0x410 + byte - 0xC0) : wchar_t(byte);
        if (text[i] != wanted)
            return false;
    }
    return true;
}

std::string cp1251Text()
{
    // Cyrillic and ASCII letters, digits and GS, as in marking codes with Russian names.
    std::string data(1 << 20, '\0');
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i % 7 == 0 ? 0x1D : (i % 3 == 0 ? 0x30 + i % 10 : 0xC0 + i % 64));
    return data;
}

void decodeCp1251(benchmark::State& state)
{
    const std::string data = cp1251Text();
    std::wstring text;
    for (auto _ : state) {
        text = PEncoding::decode(data, 1251);
        benchmark::DoNotOptimize(text);
    }
    if (!decodedRight(data, text))
        state.SkipWithError("wrong text");
    state.SetBytesProcessed(state.iterations() * data.size());
}
BENCHMARK(decodeCp1251);

// The stream processor's recoding: CP1251 bytes to UTF-8 bytes.
void recodeCp1251ToUtf8(benchmark::State& state)
{
    const std::string data = cp1251Text();
    std::string bytes;
    for (auto _ : state) {
        bytes = PEncoding::encode(PEncoding::decode(data, 1251), 65001);
        benchmark::DoNotOptimize(bytes);
    }
    if (!decodedRight(data, PEncoding::decode(bytes, 65001)))
        state.SkipWithError("wrong bytes");
    state.SetBytesProcessed(state.iterations() * data.size());
}
BENCHMARK(recodeCp1251ToUtf8);

void baselineWideningCopy(benchmark::State& state)
{
    const std::string data = cp1251Text();
    std::wstring last;
    for (auto _ : state) {
        std::wstring text(data.size(), L'\0');
        for (size_t i = 0; i < data.size(); ++i)
            text[i] = static_cast<unsigned char>(data[i]);
        benchmark::DoNotOptimize(text);
        last = std::move(text);
    }
    if (last.size() != data.size())
        state.SkipWithError("wrong size");
    state.SetBytesProcessed(state.iterations() * data.size());
}
BENCHMARK(baselineWideningCopy);

void baselineIconv(benchmark::State& state)
{
    std::string data = cp1251Text();
    iconv_t cd = iconv_open("WCHAR_T", "CP1251");
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        state.SkipWithError("no CP1251 converter");
        return;
    }
    std::wstring last;
    for (auto _ : state) {
        std::wstring text(data.size(), L'\0');
        char* in = &data[0];
        char* out = reinterpret_cast<char*>(&text[0]);
        size_t inLeft = data.size();
        size_t outLeft = text.size() * sizeof(wchar_t);
        iconv(cd, &in, &inLeft, &out, &outLeft);
        benchmark::DoNotOptimize(text);
        last = std::move(text);
    }
    iconv_close(cd);
    if (!decodedRight(data, last))
        state.SkipWithError("wrong text");
    state.SetBytesProcessed(state.iterations() * data.size());
}
BENCHMARK(baselineIconv);

}
