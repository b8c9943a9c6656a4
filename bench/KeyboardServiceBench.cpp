// The keyboard service's idle tick: one open keyboard device wired to its processor, no key
// messages, CPU time per tick. Target: at most 5 us per tick. Baseline in the same run: a
// tick with no device, which costs one lock.
#include "PKeyboard.h"
#include "PKeyboardIOQueueService.h"
#include "PKeyboardInputProcessor.h"

#include <benchmark/benchmark.h>

namespace {

PKeyboardIOQueueService& service()
{
    return PKeyboardIOQueueService::getInstance();
}

void BM_IdleTickWithOneDevice(benchmark::State& state)
{
    service().setCompanionFactory(makeSilentKeyboardCompanion);
    auto processor = std::make_shared<PKeyboardInputProcessor>();
    auto device = std::make_shared<PKeyboard>();
    // The timer's own ticks would run beside the measured ones: an hour keeps them away.
    device->setParameter("timeout", PVariant(3600 * 1000));
    device->setCallback([processor](PEvent* event) { processor->processInput(event); });
    if (!device->open(1)) {
        state.SkipWithError("the keyboard device did not open");
        return;
    }
    for (auto _ : state)
        service().commonTimeoutProc();
    device->close();
    service().setCompanionFactory(nullptr);
}
BENCHMARK(BM_IdleTickWithOneDevice);

void BM_TickWithoutDevices(benchmark::State& state)
{
    for (auto _ : state)
        service().commonTimeoutProc();
}
BENCHMARK(BM_TickWithoutDevices);

}
