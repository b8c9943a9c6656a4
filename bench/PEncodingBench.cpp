// Benchmark: decoding 1 MiB of CP1251 with PEncoding.
// Target: at least 300 MB/s on this machine, and no slower than the C library's iconv(3)
// on the same bytes; a widening copy of each byte is the floor.
#include "PEncoding.h"

#include <benchmark/benchmark.h>

#include <iconv.h>
#include <string>

namespace {

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
    for (auto _ : state)
        benchmark::DoNotOptimize(PEncoding::decode(data, 1251));
    state.SetBytesProcessed(state.iterations() * data.size());
}
BENCHMARK(decodeCp1251);

// The stream processor's recoding: CP1251 bytes to UTF-8 bytes.
void recodeCp1251ToUtf8(benchmark::State& state)
{
    const std::string data = cp1251Text();
    for (auto _ : state)
        benchmark::DoNotOptimize(PEncoding::encode(PEncoding::decode(data, 1251), 65001));
    state.SetBytesProcessed(state.iterations() * data.size());
}
BENCHMARK(recodeCp1251ToUtf8);

void baselineWideningCopy(benchmark::State& state)
{
    const std::string data = cp1251Text();
    for (auto _ : state) {
        std::wstring text(data.size(), L'\0');
        for (size_t i = 0; i < data.size(); ++i)
            text[i] = static_cast<unsigned char>(data[i]);
        benchmark::DoNotOptimize(text);
    }
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
    for (auto _ : state) {
        std::wstring text(data.size(), L'\0');
        char* in = &data[0];
        char* out = reinterpret_cast<char*>(&text[0]);
        size_t inLeft = data.size();
        size_t outLeft = text.size() * sizeof(wchar_t);
        iconv(cd, &in, &inLeft, &out, &outLeft);
        benchmark::DoNotOptimize(text);
    }
    iconv_close(cd);
    state.SetBytesProcessed(state.iterations() * data.size());
}
BENCHMARK(baselineIconv);

}
