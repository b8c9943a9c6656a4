// Translation of a keyboard burst into bytes: a 30-key scan with a GS key and Enter, in
// nanoseconds per key. Target: under 100 ns per key, and within 10 times a plain loop that
// copies the characters of the presses (the floor that any translation pays). Each checks
// that the digits of the scan came through in order.
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

// The digits of the text, in order: what every form of the scan must keep.
std::string digitsOf(const std::string& text)
{
    std::string digits;
    for (char c : text)
        if (c >= '0' && c <= '9')
            digits.push_back(c);
    return digits;
}

std::string scanDigits()
{
    std::string digits;
    for (int i = 0; i < kKeys - 1; ++i)
        if (i != kKeys / 2)
            digits.push_back(static_cast<char>('0' + i % 10));
    return digits;
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
    std::string text;
    for (auto _ : state) {
        text = strake::translate2Preview(burst, settings);
        benchmark::DoNotOptimize(text);
    }
    // The test mode spells keys by name, which may hold digits: only the work mode is exact.
    if (printable == strake::keyMsgsTranslatePrintableWorkMode ? digitsOf(text) != scanDigits()
                                                               : text.empty())
        state.SkipWithError("the scan was translated wrong");
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
    std::string text;
    for (auto _ : state) {
        // A new string each round, as the translation returns one.
        std::string copy;
        for (const PKeyMSG& message : burst)
            if (message.isPressed() && message.ch != 0)
                copy.push_back(static_cast<char>(message.ch));
        benchmark::DoNotOptimize(copy);
        text = std::move(copy);
    }
    if (digitsOf(text) != scanDigits())
        state.SkipWithError("the copy lost a digit");
    perKey(state);
}

}  // namespace

BENCHMARK(BM_Translate2PreviewWorkMode);
BENCHMARK(BM_Translate2PreviewTestMode);
BENCHMARK(BM_CopyPressedCharacters);
