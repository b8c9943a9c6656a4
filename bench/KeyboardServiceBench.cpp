// The keyboard service's idle tick: open keyboard devices wired to their processors, no key
// messages, CPU time per tick, with one device and with four. Target: at most 5 us per tick
// with one device. Baseline in the same run: a tick with no device, which costs one lock.
#include "PKeyboard.h"
#include "PKeyboardIOQueueService.h"
#include "PKeyboardInputProcessor.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <vector>

namespace {

PKeyboardIOQueueService& service()
{
    return PKeyboardIOQueueService::getInstance();
}

// state.range(0) devices open, each wired to a processor of its own.
void BM_IdleTick(benchmark::State& state)
{
    service().setCompanionFactory(makeSilentKeyboardCompanion);
    std::atomic<long> messages{0};
    std::vector<std::shared_ptr<PKeyboard>> devices;
    for (int64_t i = 0; i < state.range(0); ++i) {
        auto processor = std::make_shared<PKeyboardInputProcessor>();
        processor->setCallback([&messages](PEvent*) { ++messages; });
        auto device = std::make_shared<PKeyboard>();
        // The timer's own ticks would run beside the measured ones: an hour keeps them away.
        device->setParameter("timeout", PVariant(3600 * 1000));
        device->setCallback([processor](PEvent* event) { processor->processInput(event); });
        if (!device->open(1)) {
            state.SkipWithError("a keyboard device did not open");
            break;
        }
        devices.push_back(device);
    }
    for (auto _ : state)
        service().commonTimeoutProc();
    for (auto& device : devices)
        device->close();
    service().setCompanionFactory(nullptr);
    // Idle ticks make no message.
    if (messages != 0)
        state.SkipWithError("an idle tick gave a message");
}
BENCHMARK(BM_IdleTick)->Arg(1)->Arg(4);

void BM_TickWithoutDevices(benchmark::State& state)
{
    for (auto _ : state)
        service().commonTimeoutProc();
}
BENCHMARK(BM_TickWithoutDevices);

}
