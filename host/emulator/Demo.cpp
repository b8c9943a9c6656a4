// The embedded demo: each mode opened with a simulated scanner of its own, a few realistic
// codes sent, every event printed as the host receives it.
#include "KelmorHost.h"
#include "PHostJvm.h"
#include "Scanners.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace kelmorhost {

namespace {

const char kEan13[] = "4006381333931";
const char kDataMatrix[] = "0104607001771234215Kq7mZ\x1d" "91EE07\x1d" "92dGVzdA==";
const char kCyrillic[] = "Привет, сканер!";
const char kTrack[] = "%B4000001234567899^IVANOV/IVAN^2812101000000?";
const char kBluetoothAddress[] = "00:1A:7D:DA:71:13";

// One mode of the demo.
struct Mode {
    std::string title;
    std::u16string className;
    std::vector<std::pair<std::string, std::string>> settings;
    std::vector<std::string> codes;        // what the scanner sends, suffix included
    std::vector<std::string> expected;     // the data the host must receive
    std::function<bool(const std::string&)> send;  // sends one code after Open
};

struct Result {
    size_t expected = 0;
    size_t matched = 0;
};

Result runMode(PHostLibrary& library, Mode& mode, bool json, Clock::time_point start)
{
    Result result;
    result.expected = mode.expected.size();
    if (!json)
        std::printf("== %s\n", mode.title.c_str());
    std::fflush(stdout);
    Component component(library, mode.className, u"en_US");
    if (!component.ok()) {
        std::printf("  the component could not be attached\n");
        return result;
    }
    component.parameters();
    for (const auto& setting : mode.settings) {
        if (!component.setParameter(setting.first, setting.second)) {
            std::printf("  SetParameter %s=%s failed, %s\n", setting.first.c_str(),
                        setting.second.c_str(), component.lastError().c_str());
            return result;
        }
    }
    std::string id;
    if (!component.open(id)) {
        std::printf("  Open failed, %s\n", component.lastError().c_str());
        return result;
    }
    EventPrinter printer(component.connection(), json, start);
    for (const std::string& code : mode.codes) {
        if (!mode.send(code)) {
            std::printf("  the simulated scanner could not send\n");
            break;
        }
        // One code at a time, as a person scans, so each is its own message.
        printer.printUntil(printer.printed() + 1, Clock::now() + std::chrono::milliseconds(3000));
    }
    component.close(id);
    const std::vector<PHostExternalEvent> events = printer.events();
    for (size_t i = 0; i < events.size() && i < mode.expected.size(); ++i)
        if (hostToUtf8(events[i].data) == mode.expected[i])
            ++result.matched;
    if (!json && result.matched < result.expected)
        std::printf("  %zu of %zu expected events came\n", result.matched, result.expected);
    return result;
}

}

int runDemo(const std::vector<std::string>& args)
{
    bool json = false;
    for (const std::string& arg : args) {
        if (arg == "--help" || arg == "-h") {
            std::puts("usage: kelmor-host [demo] [--json]\n"
                      "Runs the built-in demo: each connection mode with a simulated scanner,\n"
                      "printing every event the host receives; exits 0 when all came.");
            return 0;
        }
        if (arg != "--json") {
            std::fprintf(stderr, "kelmor-host: unknown option %s (try --help)\n", arg.c_str());
            return 2;
        }
        json = true;
    }
    const Clock::time_point start = Clock::now();
    std::string error;
    PHostLibrary* library = hostLibrary(error);
    if (!library) {
        std::fprintf(stderr, "kelmor-host: %s\n", error.c_str());
        return 1;
    }
    if (!json)
        std::printf("Java VM and library ready in %.2f s\n",
                    std::chrono::duration<double>(Clock::now() - start).count());

    Pty serialPty, cardPty, bluetoothPty;
    Server server;
    callJava("com.tavrel.piodevice.PBluetooth", "registerDevice",
             "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V",
             {kBluetoothAddress, "Demo ring scanner", bluetoothPty.slave});

    // A port's number is its place in the companion's list, as the form's device list shows it.
    const std::string serialNumber = serialPortNumber(serialPty.slave);
    const std::string cardNumber = serialPortNumber(cardPty.slave);

    const std::vector<std::string> codes = {kEan13, kDataMatrix, kCyrillic};
    auto withCr = [](std::vector<std::string> list) {
        for (std::string& code : list)
            code += "\r";
        return list;
    };
    std::vector<Mode> modes;
    modes.push_back({"Serial scanner on " + serialPty.slave + " (BluetoothDevice=" + serialNumber + ")",
                     u"InputDevice",
                     {{"EquipmentType", "InputDevice"}, {"BluetoothDevice", serialNumber},
                      {"Speed", "9600"}, {"Suffix", "13"}},
                     withCr(codes), codes, [&](const std::string& c) { return serialPty.send(c); }});
    modes.push_back({std::string("Bluetooth scanner ") + kBluetoothAddress + " on " + bluetoothPty.slave,
                     u"InputDevice",
                     {{"EquipmentType", "InputDevice"}, {"BluetoothDevice", kBluetoothAddress},
                      {"Suffix", "13"}},
                     withCr(codes), codes, [&](const std::string& c) { return bluetoothPty.send(c); }});
    const std::string tcp = "tcp://127.0.0.1:" + std::to_string(server.port);
    modes.push_back({"Network scanner at " + tcp, u"InputDevice",
                     {{"EquipmentType", "InputDevice"}, {"BluetoothDevice", tcp}, {"Suffix", "13"}},
                     withCr(codes), codes, [&](const std::string& c) {
                         return (server.peer >= 0 || server.accept(1500)) && server.send(c);
                     }});
    // A keyboard scanner types its code in one burst; the pause after it ends the message.
    const std::vector<std::string> typed = {kEan13, kDataMatrix};
    modes.push_back({"Keyboard scanner (key events, GS on F8)", u"InputDevice",
                     {{"EquipmentType", "InputDevice"}, {"BluetoothDevice", "DEV_KEYBOARD"},
                      {"Suffix", "-1"}},
                     typed, typed, [&](const std::string& c) {
                         return callJava("com.tavrel.piodevice.PKeyboard", "sendText",
                                         "(Ljava/lang/String;)I", {c});
                     }});
    modes.push_back({"Broadcast scanner (intent com.tavrel.demo.SCAN, extra barcode)", u"InputDevice",
                     {{"EquipmentType", "InputDevice"}, {"BluetoothDevice", "BROADCAST"},
                      {"Action", "com.tavrel.demo.SCAN"}, {"Extra", "barcode"},
                      {"ExtraType", "String"}, {"Suffix", "13"}},
                     withCr(codes), codes, [&](const std::string& c) {
                         return broadcast("com.tavrel.demo.SCAN", "barcode", c);
                     }});
    modes.push_back({"Card reader on " + cardPty.slave + " (BluetoothDevice=" + cardNumber + ")",
                     u"CardReaderDevice",
                     {{"EquipmentType", "CardReaderDevice"}, {"BluetoothDevice", cardNumber},
                      {"Suffix", "13"}},
                     {std::string(kTrack) + "\r"}, {kTrack},
                     [&](const std::string& c) { return cardPty.send(c); }});

    size_t expected = 0, matched = 0;
    for (Mode& mode : modes) {
        if (interrupted.load())
            break;
        const Result result = runMode(*library, mode, json, start);
        expected += result.expected;
        matched += result.matched;
    }
    callJava("com.tavrel.piodevice.PBluetooth", "unregisterDevice", "(Ljava/lang/String;)V",
             {kBluetoothAddress});
    const bool all = matched == expected && !interrupted.load();
    std::fprintf(json ? stderr : stdout, "%s: %zu of %zu expected events came, all devices closed, %.2f s\n",
                 all ? "PASSED" : "FAILED", matched, expected,
                 std::chrono::duration<double>(Clock::now() - start).count());
    return all ? 0 : 1;
}

}
