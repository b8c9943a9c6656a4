// The cost of what a host does before it shows the settings form. Target: GetClassObject +
// Init + SetLocale + GetParameters with 4 serial ports and 4 Bluetooth devices under 5 ms.
// GetParameters is measured as its work, the catalogue filled and printed (fillSettings and
// getXML), beside the host's part through the test host; baseline in the same run: the
// catalogue's store filled without the printing. Each checks that the form has the ports.
#include "DeviceManager.h"
#include "PHostLibrary.h"
#include "PLocale.h"
#include "PVKSettings.h"

#include "../tests/AddIn/RecordingDevice.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

std::string libraryPath()
{
    const char* path = std::getenv("KELMOR_LIBRARY");
    return path && *path ? path : KELMOR_LIBRARY_PATH;
}

std::shared_ptr<kelmortest::RecordingFactory> fakeLists()
{
    auto factory = std::make_shared<kelmortest::RecordingFactory>();
    kelmortest::fillFakeLists(*factory);
    return factory;
}

void BM_HostCreateInitSetLocale(benchmark::State& state)
{
    static PHostLibrary library(libraryPath());
    // One component stays, so that each round measures a component, not the first-object work.
    static PHostComponent keeper(library, u"InputDevice");
    for (auto _ : state) {
        PHostComponent component(library, u"InputDevice");
        if (!component.attach(u"ru_RU"))
            state.SkipWithError("attach failed");
    }
}
BENCHMARK(BM_HostCreateInitSetLocale)->Unit(benchmark::kMicrosecond);

void BM_CatalogueFilledBaseline(benchmark::State& state)
{
    kelmortest::FactoryScope scope(fakeLists());
    PLocale::setDefaultLocaleId(PLocale::Russian);
    for (auto _ : state) {
        PVKSettings settings;
        DeviceManager::fillSettings(&settings);
        benchmark::DoNotOptimize(settings.empty());
        if (settings.empty()) {
            state.SkipWithError("the catalogue is empty");
            break;
        }
    }
}
BENCHMARK(BM_CatalogueFilledBaseline)->Unit(benchmark::kMicrosecond);

void BM_CatalogueFilledAndPrinted(benchmark::State& state)
{
    kelmortest::FactoryScope scope(fakeLists());
    PLocale::setDefaultLocaleId(PLocale::Russian);
    PVKSettings settings;
    std::string xml;
    for (auto _ : state) {
        settings.clear();
        DeviceManager::fillSettings(&settings);
        xml = settings.getXML().toStdString();
        benchmark::DoNotOptimize(xml.size());
    }
    if (xml.find("BluetoothDevice") == std::string::npos)
        state.SkipWithError("the form lacks the ports");
}
BENCHMARK(BM_CatalogueFilledAndPrinted)->Unit(benchmark::kMicrosecond);

}
