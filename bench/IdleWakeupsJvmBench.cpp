// Idle wake-ups: one device of every connection mode open (serial, Bluetooth, TCP, UDP,
// keyboard, broadcast) and nothing arriving, as on a handheld that waits for the next scan.
// Counts the voluntary context switches of the library's and the companions' threads over 5 s
// and reports them per second. The baseline in the same run is the component alone, before any
// device opens. Target: 0 per second with every mode open.
//
// Threads are told apart by name (/proc/self/task/<tid>/comm): the library names its timer
// thread "PTimer", and each companion names its reader after its class ("PSerialPort ...",
// "PBluetooth ...", "PTcpSocket ...", "PUdpSocket ..."). The VM's own threads and this program's
// are not counted; their names are listed once on stderr, so that a thread of ours with another
// name would show up there.
#include "KelmorHost.h"
#include "PHostJvm.h"
#include "Scanners.h"

#include <benchmark/benchmark.h>

#include <dirent.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <thread>

using namespace kelmorhost;

namespace {

const char kBluetoothAddress[] = "00:1A:7D:DA:71:15";
const char* const kOwnThreads[] = {"PTimer", "PSerialPort", "PBluetooth", "PTcpSocket", "PUdpSocket"};
constexpr int kSeconds = 5;

struct Task {
    std::string name;
    long switches = 0;
};

bool ours(const std::string& name)
{
    for (const char* prefix : kOwnThreads)
        if (name.rfind(prefix, 0) == 0)
            return true;
    return false;
}

std::map<std::string, Task> tasks()
{
    std::map<std::string, Task> found;
    DIR* dir = opendir("/proc/self/task");
    if (!dir)
        return found;
    while (dirent* entry = readdir(dir)) {
        const std::string tid = entry->d_name;
        if (tid[0] == '.')
            continue;
        Task task;
        std::ifstream comm("/proc/self/task/" + tid + "/comm");
        std::getline(comm, task.name);
        std::ifstream status("/proc/self/task/" + tid + "/status");
        for (std::string line; std::getline(status, line);)
            if (line.rfind("voluntary_ctxt_switches:", 0) == 0)
                task.switches = std::atol(line.c_str() + line.find(':') + 1);
        found[tid] = task;
    }
    closedir(dir);
    return found;
}

// Wake-ups per second of our threads over the measured span; the count of them in threads.
double wakeupsPerSecond(int& threads)
{
    const std::map<std::string, Task> before = tasks();
    std::this_thread::sleep_for(std::chrono::seconds(kSeconds));
    const std::map<std::string, Task> after = tasks();
    long switches = 0;
    threads = 0;
    for (const auto& task : after) {
        if (!ours(task.second.name))
            continue;
        ++threads;
        const auto earlier = before.find(task.first);
        switches += task.second.switches - (earlier == before.end() ? 0 : earlier->second.switches);
    }
    return static_cast<double>(switches) / kSeconds;
}

void idleWakeups(benchmark::State& state)
{
    std::string error;
    PHostLibrary* library = hostLibrary(error);
    if (!library) {
        state.SkipWithError(error.c_str());
        return;
    }
    Pty serialPty, bluetoothPty;
    Server tcp;
    callJava("com.tavrel.piodevice.PBluetooth", "registerDevice",
             "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V",
             {kBluetoothAddress, "Idle ring scanner", bluetoothPty.slave});
    const std::string port = std::to_string(tcp.port);
    const std::vector<std::vector<std::pair<std::string, std::string>>> modes = {
        {{"BluetoothDevice", serialPortNumber(serialPty.slave)}, {"Speed", "9600"}},
        {{"BluetoothDevice", kBluetoothAddress}},
        {{"BluetoothDevice", "tcp://127.0.0.1:" + port}},
        // The TCP server's port is taken for TCP only, so it is free for UDP.
        {{"BluetoothDevice", "udp://127.0.0.1:" + port}},
        {{"BluetoothDevice", "DEV_KEYBOARD"}, {"Timeout", "25"}},
        {{"BluetoothDevice", "BROADCAST"}, {"Action", "com.tavrel.idle.SCAN"}, {"Extra", "barcode"},
         {"ExtraType", "String"}},
    };

    Component component(*library, u"InputDevice", u"en_US");
    std::vector<std::string> ids;
    for (auto _ : state) {
        int threads = 0;
        state.counters["baseline_per_s"] = wakeupsPerSecond(threads);
        for (const auto& settings : modes) {
            component.parameters();
            component.setParameter("EquipmentType", "InputDevice");
            for (const auto& setting : settings)
                component.setParameter(setting.first, setting.second);
            std::string id;
            if (!component.open(id)) {
                state.SkipWithError(("Open failed: " + component.lastError()).c_str());
                break;
            }
            ids.push_back(id);
        }
        tcp.accept(1000);
        // Let every device settle: connections made, first ticks over.
        std::this_thread::sleep_for(std::chrono::seconds(1));
        state.counters["wakeups_per_s"] = wakeupsPerSecond(threads);
        state.counters["threads"] = threads;
    }
    for (const auto& name : tasks())
        if (!ours(name.second.name))
            std::fprintf(stderr, "not counted: %s\n", name.second.name.c_str());
    for (auto it = ids.rbegin(); it != ids.rend(); ++it)
        component.close(*it);
    callJava("com.tavrel.piodevice.PBluetooth", "unregisterDevice", "(Ljava/lang/String;)V",
             {kBluetoothAddress});
}

}

BENCHMARK(idleWakeups)->Iterations(1)->Unit(benchmark::kSecond);
