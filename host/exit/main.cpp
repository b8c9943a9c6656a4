// kelmor-exit: a process that ends while devices of every mode are open and scanners keep
// sending, run many times. Each run opens a serial, a Bluetooth, a network, a keyboard and a
// broadcast device, waits for a code of each, and returns from main with a code of its own,
// so that static destructors run while the companions' threads and the keyboard timer still
// deliver. Half the runs destroy their components first (the last DestroyObject closes
// everything); the other half leave them to the end of the process.
#include "KelmorHost.h"
#include "PHostJvm.h"
#include "Scanners.h"

#include <android/log.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

using namespace kelmorhost;

namespace {

const char kUsage[] =
    "usage: kelmor-exit [--runs N]\n"
    "Runs N processes (default 100) that each open every mode, keep scanners sending and\n"
    "return from main with devices open, half of them after destroying their components;\n"
    "exits 1 when a run crashed, hung for 60 s or changed its exit code.\n";
const int kChildCode = 37;
const char kBluetoothAddress[] = "00:1A:7D:DA:71:15";
const char kAction[] = "com.tavrel.exit.SCAN";

// What a run keeps to the end of the process: reachable from here, so that a leak checker
// doesn't take components the host never destroyed for lost memory.
struct Kept {
    Pty serial, bluetooth;
    Server server;
    std::vector<std::unique_ptr<Component>> components;
    std::atomic<bool> feeding{true};
};
Kept* kept = nullptr;

int child(bool destroy)
{
    __android_log_set_minimum_priority(ANDROID_LOG_FATAL);
    std::string error;
    PHostLibrary* library = hostLibrary(error);
    if (!library) {
        std::fprintf(stderr, "kelmor-exit: %s\n", error.c_str());
        return 1;
    }
    kept = new Kept;
    for (const Pty* pty : {&kept->serial, &kept->bluetooth})
        fcntl(pty->master, F_SETFL, O_NONBLOCK);
    callJava("com.tavrel.piodevice.PBluetooth", "registerDevice",
             "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V",
             {kBluetoothAddress, "Exit ring scanner", kept->bluetooth.slave});
    const std::vector<std::vector<std::pair<std::string, std::string>>> modes = {
        {{"BluetoothDevice", serialPortNumber(kept->serial.slave)}, {"Suffix", "13"}},
        {{"BluetoothDevice", kBluetoothAddress}, {"Suffix", "13"}},
        {{"BluetoothDevice", "tcp://127.0.0.1:" + std::to_string(kept->server.port)}, {"Suffix", "13"}},
        {{"BluetoothDevice", "DEV_KEYBOARD"}, {"Timeout", "20"}, {"Suffix", "-1"}},
        {{"BluetoothDevice", "BROADCAST"}, {"Action", kAction}, {"Extra", "barcode"},
         {"ExtraType", "String"}, {"Suffix", "13"}},
    };
    for (const auto& settings : modes) {
        auto component = std::make_unique<Component>(*library, u"InputDevice", u"en_US");
        component->parameters();
        component->setParameter("EquipmentType", "InputDevice");
        for (const auto& setting : settings)
            component->setParameter(setting.first, setting.second);
        std::string id;
        if (!component->ok() || !component->open(id)) {
            std::fprintf(stderr, "kelmor-exit: Open %s failed, %s\n", settings[0].second.c_str(),
                         component->lastError().c_str());
            return 1;
        }
        kept->components.push_back(std::move(component));
    }
    // The scanners go on sending through the end of the process, as the platform's own
    // threads would.
    std::thread([] {
        for (long n = 0; kept->feeding.load(); ++n) {
            const std::string code = std::to_string(n);
            kept->serial.send(code + "\r");
            kept->bluetooth.send(code + "\r");
            kept->server.accept(0);
            if (kept->server.peer >= 0)
                kept->server.send(code + "\r");
            // A keyboard code ends with a pause of more than its timeout.
            if (n % 20 == 0)
                callJava("com.tavrel.piodevice.PKeyboard", "sendText", "(Ljava/lang/String;)I", {code});
            broadcast(kAction, "barcode", code + "\r");
            char drop[4096];
            for (const Pty* pty : {&kept->serial, &kept->bluetooth})
                while (::read(pty->master, drop, sizeof drop) > 0) {
                }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }).detach();
    for (size_t i = 0; i < modes.size(); ++i) {
        if (!kept->components[i]->connection().waitForEvents(1, std::chrono::seconds(20))) {
            std::fprintf(stderr, "kelmor-exit: no code came from %s\n", modes[i][0].second.c_str());
            return 1;
        }
    }
    if (destroy)
        kept->components.clear();
    return kChildCode;
}

// Runs one child and tells how it ended; a child still running after the limit is killed.
bool runChild(const char* self, bool destroy, int run)
{
    const pid_t pid = fork();
    if (pid == 0) {
        execl(self, self, "--child", destroy ? "destroy" : "keep", static_cast<char*>(nullptr));
        _exit(127);
    }
    if (pid < 0)
        return false;
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(pid, &status, WNOHANG)) == 0 && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const char* how = destroy ? "after DestroyObject" : "with components alive";
    if (ended == 0) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        std::fprintf(stderr, "kelmor-exit: run %d (%s) hung at exit\n", run, how);
        return false;
    }
    if (WIFSIGNALED(status)) {
        std::fprintf(stderr, "kelmor-exit: run %d (%s) died of signal %d\n", run, how, WTERMSIG(status));
        return false;
    }
    if (WEXITSTATUS(status) != kChildCode) {
        std::fprintf(stderr, "kelmor-exit: run %d (%s) exited with %d, not %d\n", run, how,
                     WEXITSTATUS(status), kChildCode);
        return false;
    }
    return true;
}

}

int main(int argc, char** argv)
{
    if (argc == 3 && !std::strcmp(argv[1], "--child"))
        return child(!std::strcmp(argv[2], "destroy"));
    long runs = 100;
    if (argc == 3 && !std::strcmp(argv[1], "--runs") && std::atol(argv[2]) > 0) {
        runs = std::atol(argv[2]);
    } else if (argc != 1) {
        std::fputs(kUsage, std::strcmp(argv[1], "--help") ? stderr : stdout);
        return std::strcmp(argv[1], "--help") ? 2 : 0;
    }
    const auto start = std::chrono::steady_clock::now();
    long failed = 0;
    for (long run = 0; run < runs; ++run)
        failed += !runChild("/proc/self/exe", run % 2 == 0, static_cast<int>(run));
    std::printf("kelmor-exit: %ld of %ld runs exited cleanly with their code, %.1f s\n",
                runs - failed, runs,
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    return failed == 0 ? 0 : 1;
}
