// kelmor-soak: runs the library in the VM as kelmor-host does, with every mode open at once,
// simulated scanners streaming codes, devices closed and opened again at random and the two
// components destroyed and made again, for a given time. Every second it prints the process's
// resident memory, threads, open descriptors and the VM's global references, and it fails when
// codes stop coming or one of those figures keeps climbing.
#include "KelmorHost.h"
#include "PHostJvm.h"
#include "Scanners.h"

#include <android/log.h>
#include <dirent.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <thread>

using namespace kelmorhost;

namespace {

const char kUsage[] =
    "usage: kelmor-soak [--seconds N] [--memory-unjudged]\n"
    "Runs every mode at once for N seconds (default 60): codes streaming, devices opened and\n"
    "closed at random, two components destroyed and made again. Prints resident memory,\n"
    "threads, open descriptors and the VM's global references every second; exits 1 when codes\n"
    "stop coming or a figure grows from an early window after warm-up to the last one.\n"
    "--memory-unjudged prints resident memory without judging it, for a build whose allocator\n"
    "keeps freed memory back (a sanitizer's quarantine).\n";
const char kBluetoothAddress[] = "00:1A:7D:DA:71:14";
const char kAction[] = "com.tavrel.soak.SCAN";

struct Figures {
    long rssKb = 0;
    long threads = 0;
    long fds = 0;
    long globalRefs = 0;
};

long statusField(const std::string& status, const char* name)
{
    const size_t at = status.find(name);
    return at == std::string::npos ? -1 : std::atol(status.c_str() + at + std::strlen(name));
}

Figures sample()
{
    Figures figures;
    std::ifstream file("/proc/self/status");
    const std::string status((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    figures.rssKb = statusField(status, "\nVmRSS:");
    figures.threads = statusField(status, "\nThreads:");
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (dirent* entry = readdir(dir))
            figures.fds += entry->d_name[0] != '.';
        closedir(dir);
        --figures.fds;  // the directory being read
    }
    figures.globalRefs = PHostJvm::globalRefCount();
    return figures;
}

// One mode with its simulated scanner. The feeder sends while `open` is set; codes are the
// channel's letter and a counter, so an event tells whose it is.
struct Channel {
    const char* name;
    char letter;
    std::u16string className;
    std::vector<std::pair<std::string, std::string>> settings;
    std::function<bool(const std::string&)> send;
    const char* suffix;
    int everyTicks;  // the feeder's ticks between two codes
    std::atomic<bool> open{false};
    std::atomic<long> sent{0};
    long received = 0;
    int slot = -1;
    std::string id;
    long receivedAtCheck = 0;
};

class Soak {
public:
    Soak(PHostLibrary& library, std::vector<std::unique_ptr<Channel>>& channels)
        : m_library(library), m_channels(channels), m_random(20261123) {}

    bool makeSlot(int slot)
    {
        m_slots[slot] = std::make_unique<Component>(m_library, u"InputDevice", u"en_US");
        return m_slots[slot]->ok();
    }

    bool openIn(Channel& channel, int slot)
    {
        Component& component = *m_slots[slot];
        component.parameters();
        for (const auto& setting : channel.settings)
            if (!component.setParameter(setting.first, setting.second))
                return fail(channel, "SetParameter " + setting.first, component);
        if (!component.open(channel.id))
            return fail(channel, "Open", component);
        channel.slot = slot;
        channel.open.store(true);
        ++m_opens;
        return true;
    }

    bool close(Channel& channel)
    {
        channel.open.store(false);
        Component& component = *m_slots[channel.slot];
        channel.slot = -1;
        return component.close(channel.id) || fail(channel, "Close", component);
    }

    // Device ids are numbered by the count of open devices, so a device closed in the middle
    // would leave its number to the next Open while a later device still holds it. Devices are
    // therefore closed from the highest number down: the last `count` of them.
    std::vector<Channel*> closeLast(size_t count)
    {
        std::vector<Channel*> open;
        for (auto& channel : m_channels)
            if (channel->open.load())
                open.push_back(channel.get());
        std::sort(open.begin(), open.end(), [](Channel* a, Channel* b) { return number(*a) > number(*b); });
        open.resize(std::min(count, open.size()));
        for (Channel* channel : open)
            if (!close(*channel))
                return {};
        return open;
    }

    // Opens them again in an order and in components chosen at random.
    bool reopen(std::vector<Channel*> channels)
    {
        std::shuffle(channels.begin(), channels.end(), m_random);
        for (Channel* channel : channels)
            if (!openIn(*channel, static_cast<int>(m_random() % 2)))
                return false;
        return true;
    }

    // Closes some of the devices and opens them again.
    bool reopenSome()
    {
        const std::vector<Channel*> closed = closeLast(1 + m_random() % m_channels.size());
        return !closed.empty() && reopen(closed);
    }

    // Remakes one component after closing its devices, or, every third time, destroys both
    // with their devices open, so the last destruction closes them, and opens everything again.
    bool remakeComponents()
    {
        drain();
        const bool both = ++m_remakes % 3 == 0;
        const int slot = static_cast<int>(m_remakes % 2);
        std::vector<Channel*> closed;
        if (both) {
            for (auto& channel : m_channels) {
                channel->open.store(false);
                channel->slot = -1;
                closed.push_back(channel.get());
            }
            m_slots[0].reset();
            m_slots[1].reset();
        } else {
            size_t lowest = m_channels.size() + 1;
            for (auto& channel : m_channels)
                if (channel->slot == slot)
                    lowest = std::min(lowest, number(*channel));
            closed = closeLast(m_channels.size() + 1 - lowest);
            m_slots[slot].reset();
        }
        ++m_destroyed;
        for (int s = 0; s < 2; ++s)
            if (!m_slots[s] && !makeSlot(s)) {
                std::fprintf(stderr, "kelmor-soak: the component could not be made again\n");
                return false;
            }
        return reopen(closed);
    }

    // Counts the events both components received.
    void drain()
    {
        for (auto& slot : m_slots) {
            if (!slot)
                continue;
            for (const PHostExternalEvent& event : slot->connection().takeEvents()) {
                const std::string data = hostToUtf8(event.data);
                Channel* owner = nullptr;
                for (auto& channel : m_channels)
                    if (!data.empty() && data[0] == channel->letter &&
                        data.find_first_not_of("0123456789", 1) == std::string::npos)
                        owner = channel.get();
                if (owner) {
                    ++owner->received;
                } else if (++m_strange <= 10) {
                    // Keys typed while no keyboard device is open can wait in the keyboard service's
                    // cache and come glued to the next code ("K12K13"): shown, not failed.
                    std::fprintf(stderr, "kelmor-soak: unrecognised event \"%s\"\n", data.c_str());
                }
            }
        }
    }

    // A channel none of whose codes came since the last look.
    Channel* stalled()
    {
        Channel* stalled = nullptr;
        for (auto& channel : m_channels) {
            if (channel->received == channel->receivedAtCheck)
                stalled = channel.get();
            channel->receivedAtCheck = channel->received;
        }
        return stalled;
    }

    void closeAll()
    {
        for (auto& channel : m_channels)
            if (channel->open.load())
                close(*channel);
        drain();
        m_slots[0].reset();
        m_slots[1].reset();
    }

    long opens() const { return m_opens; }
    long destroyed() const { return m_destroyed; }
    long strange() const { return m_strange; }

private:
    static size_t number(const Channel& channel)
    {
        const size_t hash = channel.id.rfind('#');
        return hash == std::string::npos ? 0 : std::strtoul(channel.id.c_str() + hash + 1, nullptr, 10);
    }

    bool fail(const Channel& channel, const std::string& what, Component& component)
    {
        std::fprintf(stderr, "kelmor-soak: %s of %s failed, %s\n", what.c_str(), channel.name,
                     component.lastError().c_str());
        return false;
    }

    PHostLibrary& m_library;
    std::vector<std::unique_ptr<Channel>>& m_channels;
    std::unique_ptr<Component> m_slots[2];
    std::minstd_rand m_random;
    long m_opens = 0;
    long m_remakes = 0;
    long m_destroyed = 0;
    long m_strange = 0;
};

// Whether a figure climbed: every sample of the late window above every sample of the early
// one by more than the noise allowed.
bool grew(const std::vector<Figures>& samples, long Figures::*figure, long noise, const char* name)
{
    const size_t warmUp = std::max<size_t>(3, samples.size() / 4);
    if (samples.size() < warmUp + 6)
        return false;
    const size_t window = std::max<size_t>(3, (samples.size() - warmUp) / 3);
    long earlyMax = 0, lateMin = -1;
    for (size_t i = warmUp; i < warmUp + window; ++i)
        earlyMax = std::max(earlyMax, samples[i].*figure);
    for (size_t i = samples.size() - window; i < samples.size(); ++i)
        lateMin = lateMin < 0 ? samples[i].*figure : std::min(lateMin, samples[i].*figure);
    if (lateMin <= earlyMax + noise)
        return false;
    std::fprintf(stderr, "kelmor-soak: %s grew from at most %ld (seconds %zu-%zu) to at least %ld "
                 "(last %zu seconds)\n", name, earlyMax, warmUp, warmUp + window, lateMin, window);
    return true;
}

void report(const char* name, const std::vector<Figures>& samples, long Figures::*figure)
{
    long peak = 0;
    for (const Figures& f : samples)
        peak = std::max(peak, f.*figure);
    std::printf("  %-12s start %ld, end %ld, peak %ld\n", name, samples.front().*figure,
                samples.back().*figure, peak);
}

}

int main(int argc, char** argv)
{
    long seconds = 60;
    bool judgeMemory = true;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--seconds") && i + 1 < argc && std::atol(argv[i + 1]) > 0) {
            seconds = std::atol(argv[++i]);
        } else if (!std::strcmp(argv[i], "--memory-unjudged")) {
            judgeMemory = false;
        } else {
            std::fputs(kUsage, std::strcmp(argv[i], "--help") ? stderr : stdout);
            return std::strcmp(argv[i], "--help") ? 2 : 0;
        }
    }
    __android_log_set_minimum_priority(ANDROID_LOG_WARN);
    catchInterrupts();
    std::string error;
    // A small young generation: the heap's pages are all in use after the warm-up, so resident
    // memory that still climbs later is not the VM's heap filling up.
    PHostLibrary* library = hostLibrary(error, {"-Xmx64m", "-Xmn8m"});
    if (!library) {
        std::fprintf(stderr, "kelmor-soak: %s\n", error.c_str());
        std::_Exit(1);
    }

    Pty serialPty, bluetoothPty;
    Server server;
    for (const Pty* pty : {&serialPty, &bluetoothPty})
        fcntl(pty->master, F_SETFL, O_NONBLOCK);
    callJava("com.tavrel.piodevice.PBluetooth", "registerDevice",
             "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V",
             {kBluetoothAddress, "Soak ring scanner", bluetoothPty.slave});
    const std::string serialNumber = serialPortNumber(serialPty.slave);

    std::vector<std::unique_ptr<Channel>> channels;
    auto add = [&](const char* name, char letter, std::vector<std::pair<std::string, std::string>> settings,
                   std::function<bool(const std::string&)> send, const char* suffix, int everyTicks) {
        auto channel = std::make_unique<Channel>();
        channel->name = name;
        channel->letter = letter;
        channel->settings = std::move(settings);
        channel->settings.insert(channel->settings.begin(), {"EquipmentType", "InputDevice"});
        channel->send = std::move(send);
        channel->suffix = suffix;
        channel->everyTicks = everyTicks;
        channels.push_back(std::move(channel));
    };
    add("serial", 'S', {{"BluetoothDevice", serialNumber}, {"Speed", "9600"}, {"Suffix", "13"}},
        [&](const std::string& c) { return serialPty.send(c); }, "\r", 1);
    add("bluetooth", 'B', {{"BluetoothDevice", kBluetoothAddress}, {"Suffix", "13"}},
        [&](const std::string& c) { return bluetoothPty.send(c); }, "\r", 1);
    add("tcp", 'T', {{"BluetoothDevice", "tcp://127.0.0.1:" + std::to_string(server.port)}, {"Suffix", "13"}},
        [&](const std::string& c) { server.accept(0); return server.peer >= 0 && server.send(c); }, "\r", 1);
    add("broadcast", 'I', {{"BluetoothDevice", "BROADCAST"}, {"Action", kAction}, {"Extra", "barcode"},
                           {"ExtraType", "String"}, {"Suffix", "13"}},
        [&](const std::string& c) { return broadcast(kAction, "barcode", c); }, "\r", 1);
    // A keyboard code ends with the pause after it: a tick of the keyboard's timer with no key,
    // so codes come more than two timeouts apart.
    add("keyboard", 'K', {{"BluetoothDevice", "DEV_KEYBOARD"}, {"Timeout", "25"}, {"Suffix", "-1"}},
        [&](const std::string& c) {
            return callJava("com.tavrel.piodevice.PKeyboard", "sendText", "(Ljava/lang/String;)I", {c});
        }, "", 5);

    Soak soak(*library, channels);
    bool ok = soak.makeSlot(0) && soak.makeSlot(1);
    for (size_t i = 0; ok && i < channels.size(); ++i)
        ok = soak.openIn(*channels[i], static_cast<int>(i % 2));

    std::atomic<bool> stop{false};
    std::thread feeder([&] {
        char drop[4096];
        for (long tick = 0; !stop.load(); ++tick) {
            for (auto& channel : channels) {
                if (!channel->open.load() || tick % channel->everyTicks != 0)
                    continue;
                const long number = channel->sent.load() + 1;
                if (channel->send(channel->letter + std::to_string(number) + channel->suffix))
                    channel->sent.store(number);
            }
            // Nobody reads the masters otherwise: what a closed tty echoed must not fill them.
            for (const Pty* pty : {&serialPty, &bluetoothPty})
                while (::read(pty->master, drop, sizeof drop) > 0) {
                }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    });

    std::vector<Figures> samples;
    const Clock::time_point start = Clock::now();
    Clock::time_point nextSecond = start;
    Channel* stall = nullptr;
    while (ok && !interrupted.load() && Clock::now() - start < std::chrono::seconds(seconds)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        soak.drain();
        if (Clock::now() < nextSecond)
            continue;
        nextSecond += std::chrono::seconds(1);
        samples.push_back(sample());
        const Figures& now = samples.back();
        long sent = 0, received = 0;
        for (auto& channel : channels) {
            sent += channel->sent.load();
            received += channel->received;
        }
        std::printf("%5zus rss %6ld KiB  threads %3ld  fds %3ld  globalrefs %4ld  codes %ld/%ld  "
                    "opens %ld  components destroyed %ld\n", samples.size(), now.rssKb,
                    now.threads, now.fds, now.globalRefs, received, sent, soak.opens(),
                    soak.destroyed());
        std::fflush(stdout);
        if (samples.size() % 5 == 0 && (stall = soak.stalled()))
            break;
        ok = soak.reopenSome() && (samples.size() % 5 != 0 || soak.remakeComponents());
    }
    stop.store(true);
    feeder.join();
    soak.closeAll();
    callJava("com.tavrel.piodevice.PBluetooth", "unregisterDevice", "(Ljava/lang/String;)V",
             {kBluetoothAddress});

    if (stall) {
        std::fprintf(stderr, "kelmor-soak: no %s code came in 5 seconds\n", stall->name);
        ok = false;
    }
    if (!samples.empty()) {
        std::printf("kelmor-soak: %zu seconds, %ld opens, %ld component destructions\n", samples.size(),
                    soak.opens(), soak.destroyed());
        for (auto& channel : channels)
            std::printf("  %-10s %ld codes sent, %ld received\n", channel->name, channel->sent.load(),
                        channel->received);
        std::printf("  unrecognised events: %ld\n", soak.strange());
        report("rss KiB", samples, &Figures::rssKb);
        report("threads", samples, &Figures::threads);
        report("fds", samples, &Figures::fds);
        report("globalrefs", samples, &Figures::globalRefs);
        // Noise: the VM's heap and code cache settle slowly; a thread or two of its compiler come
        // and go.
        // Every figure is judged, so that each one that grew is reported.
        int climbed = 0;
        climbed += judgeMemory && grew(samples, &Figures::rssKb,
                                       16 * 1024 + samples.front().rssKb / 20, "resident memory");
        climbed += grew(samples, &Figures::threads, 3, "the thread count");
        climbed += grew(samples, &Figures::fds, 2, "the open descriptors");
        climbed += grew(samples, &Figures::globalRefs, 16, "the global references");
        ok = ok && climbed == 0;
    }
    std::printf("%s\n", ok ? "PASSED" : "FAILED");
    std::fflush(stdout);
    std::fflush(stderr);
    // The VM is never destroyed and its companion threads are daemons.
    std::_Exit(ok ? 0 : 1);
}
