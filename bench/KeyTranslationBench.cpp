// Translation of a keyboard burst into bytes: a 30-key scan with a GS key and Enter, in
// nanoseconds per key. Target: under 100 ns per key, and within 10 times a plain loop that
// copies the characters of the presses (the floor that any translation pays).
#include "PKeyTranslation.h"

#include <benchmark/benchmark.h>

namespace {

const int kKeys = 30;

// 28 digits, the GS key in the middle and Enter: one press and one release each.
std::vector<PKeyMSG> scanBurst()
{
    std::vector<PKeyMSG> messages;
    for (int i = 0; i < kKeys; ++i) {
        PKeyMSG message{};
        if (i == kKeys / 2) {
            message.keycode = pKeyCode(PKeyCodes::F8);
        } else if (i == kKeys - 1) {
            message.keycode = pKeyCode(PKeyCodes::ENTER);
            message.ch = '\n';
        } else {
            message.keycode = static_cast<unsigned char>('0' + i % 10);
            message.ch = static_cast<signed char>(message.keycode);
        }
        message.flags = PKeyMSG::Pressed;
        messages.push_back(message);
        message.flags = 0;
        messages.push_back(message);
    }
    return messages;
}

void perKey(benchmark::State& state)
{
    // An inverted rate: CPU time per key.
    state.counters["time_per_key"] =
        benchmark::Counter(double(state.iterations()) * kKeys,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void translateBurst(benchmark::State& state, strake::PKeyTranslator printable,
                    strake::PKeyTranslator nonPrintable)
{
    const std::vector<PKeyMSG> burst = scanBurst();
    strake::TranslateSettings settings;
    settings.printableTranslator = printable;
    settings.nonPrintableTranslator = nonPrintable;
    for (auto _ : state) {
        std::string text = strake::translate2Preview(burst, settings);
        benchmark::DoNotOptimize(text);
    }
    perKey(state);
}

void BM_Translate2PreviewWorkMode(benchmark::State& state)
{
    translateBurst(state, strake::keyMsgsTranslatePrintableWorkMode,
                   strake::keyMsgsTranslateNonPrintableWorkMode);
}

void BM_Translate2PreviewTestMode(benchmark::State& state)
{
    translateBurst(state, strake::keyMsgsTranslatePrintableTestMode,
                   strake::keyMsgsTranslateNonPrintableTestMode);
}

// Baseline: the characters of the presses copied into a string.
void BM_CopyPressedCharacters(benchmark::State& state)
{
    const std::vector<PKeyMSG> burst = scanBurst();
    for (auto _ : state) {
        std::string text;
        for (const PKeyMSG& message : burst)
            if (message.isPressed() && message.ch != 0)
                text.push_back(static_cast<char>(message.ch));
        benchmark::DoNotOptimize(text);
    }
    perKey(state);
}

}  // namespace

BENCHMARK(BM_Translate2PreviewWorkMode);
BENCHMARK(BM_Translate2PreviewTestMode);
BENCHMARK(BM_CopyPressedCharacters);
