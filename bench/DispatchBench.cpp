// Dispatch of host calls through the loaded library's component vtable. Targets (a record,
// host call rates are a human's): FindMethod by a Russian alias under 1 us and a
// CallAsFunc(Version) round trip, host memory included, under 5 us. Baseline in the same
// run: GetNMethods, a vtable call that does no look-up. Each checks what it got.
#include "PHostLibrary.h"

#include <benchmark/benchmark.h>

#include <thread>

#include <cstdlib>
#include <cstring>

namespace {

// The library always has threads (the VM's, the timers'), and libstdc++ counts shared owners
// without atomics in a process that never started one: start one, so that counts cost here
// what they cost there.
const bool kThreaded = [] {
    std::thread([] {}).join();
    return true;
}();

std::string libraryPath()
{
    const char* path = std::getenv("KELMOR_LIBRARY");
    return path && *path ? path : KELMOR_LIBRARY_PATH;
}

PHostComponent& component()
{
    static PHostLibrary library(libraryPath());
    static PHostComponent instance(library, u"InputDevice");
    static bool attached = instance.attach();
    if (!attached)
        std::abort();
    return instance;
}

void BM_GetNMethodsBaseline(benchmark::State& state)
{
    IComponentBase* object = component().object();
    long count = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(count = object->GetNMethods());
    if (count <= 0)
        state.SkipWithError("no methods");
}
BENCHMARK(BM_GetNMethodsBaseline);

void BM_FindMethodByRussianAlias(benchmark::State& state)
{
    IComponentBase* object = component().object();
    long index = -1;
    for (auto _ : state)
        benchmark::DoNotOptimize(index = object->FindMethod(u"ПолучитьНомерВерсии"));
    if (index < 0 || index != object->FindMethod(u"Version"))
        state.SkipWithError("the alias found another method");
}
BENCHMARK(BM_FindMethodByRussianAlias);

void BM_FindMethodByName(benchmark::State& state)
{
    IComponentBase* object = component().object();
    long index = -1;
    for (auto _ : state)
        benchmark::DoNotOptimize(index = object->FindMethod(u"Version"));
    if (index < 0)
        state.SkipWithError("Version not found");
}
BENCHMARK(BM_FindMethodByName);

void BM_CallVersionRoundTrip(benchmark::State& state)
{
    PHostComponent& host = component();
    IComponentBase* object = host.object();
    const long index = object->FindMethod(u"Version");
    tVariant result;
    std::memset(&result, 0, sizeof result);
    for (auto _ : state) {
        if (!object->CallAsFunc(index, &result, nullptr, 0) || result.vt != VTYPE_PWSTR
            || result.wstrLen == 0) {
            state.SkipWithError("Version failed");
            break;
        }
        host.memory().release(result);
    }
}
BENCHMARK(BM_CallVersionRoundTrip);

}
