// The subcommands for real work: params, ports, listen and test.
#include "KelmorHost.h"
#include "XmlReader.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace kelmorhost {

namespace {

struct Options {
    std::string ttyPath;  // the tty a BluetoothDevice path named, watched while listening
    std::vector<std::pair<std::string, std::string>> settings;  // KEY=VALUE in their order
    std::vector<std::pair<std::string, std::string>> peers;     // Bluetooth address, endpoint
    std::string lang = "en";
    bool xml = false;
    bool json = false;
    long count = 0;      // 0: no limit
    double seconds = 0;  // 0: no limit
};

// Parses the arguments a subcommand allows; prints the problem and answers false on bad ones.
bool parse(const std::vector<std::string>& args, const std::string& allowed, bool takesSettings,
           Options& options)
{
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= args.size()) {
                std::fprintf(stderr, "kelmor-host: %s needs a value\n", arg.c_str());
                return false;
            }
            out = args[++i];
            return true;
        };
        std::string text;
        if (arg.rfind("--", 0) == 0 && allowed.find(arg + " ") == std::string::npos) {
            std::fprintf(stderr, "kelmor-host: unknown option %s\n", arg.c_str());
            return false;
        }
        if (arg == "--xml") {
            options.xml = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--lang") {
            if (!value(options.lang))
                return false;
            if (options.lang != "ru" && options.lang != "en") {
                std::fprintf(stderr, "kelmor-host: --lang takes ru or en, not %s\n", options.lang.c_str());
                return false;
            }
        } else if (arg == "--peer") {
            if (!value(text))
                return false;
            const size_t eq = text.find('=');
            if (eq == 0 || eq == std::string::npos || eq + 1 == text.size()) {
                std::fprintf(stderr, "kelmor-host: --peer takes ADDRESS=ENDPOINT, not '%s'\n",
                             text.c_str());
                return false;
            }
            options.peers.emplace_back(text.substr(0, eq), text.substr(eq + 1));
        } else if (arg == "--count" || arg == "--seconds") {
            if (!value(text))
                return false;
            char* end = nullptr;
            const double number = std::strtod(text.c_str(), &end);
            if (text.empty() || *end || number <= 0) {
                std::fprintf(stderr, "kelmor-host: %s takes a positive number, not '%s'\n",
                             arg.c_str(), text.c_str());
                return false;
            }
            if (arg == "--count")
                options.count = static_cast<long>(number);
            else
                options.seconds = number;
        } else if (takesSettings && arg.find('=') != std::string::npos && arg[0] != '=') {
            const size_t eq = arg.find('=');
            options.settings.emplace_back(arg.substr(0, eq), arg.substr(eq + 1));
        } else {
            std::fprintf(stderr, "kelmor-host: unexpected argument '%s'%s\n", arg.c_str(),
                         takesSettings ? " (settings are written KEY=VALUE)" : "");
            return false;
        }
    }
    return true;
}

bool wantsHelp(const std::vector<std::string>& args, const char* help)
{
    for (const std::string& arg : args) {
        if (arg == "--help" || arg == "-h") {
            std::fputs(help, stdout);
            return true;
        }
    }
    return false;
}

// The component for the settings: CardReaderDevice when EquipmentType names it.
std::u16string classFor(const Options& options)
{
    for (const auto& setting : options.settings)
        if (setting.first == "EquipmentType" && setting.second == "CardReaderDevice")
            return u"CardReaderDevice";
    return u"InputDevice";
}

// Makes the component, reads the form and sets the settings as the host does; null after
// printing why when any of it fails.
std::unique_ptr<Component> prepared(Options& options)
{
    std::string error;
    PHostLibrary* library = hostLibrary(error);
    if (!library) {
        std::fprintf(stderr, "kelmor-host: %s\n", error.c_str());
        return nullptr;
    }
    // Peers are known to the Bluetooth companion before the form lists the devices.
    for (const auto& peer : options.peers) {
        if (!callJava("com.tavrel.piodevice.PBluetooth", "registerDevice",
                      "(Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;)V",
                      {peer.first, "Peer " + peer.first, peer.second})) {
            std::fprintf(stderr, "kelmor-host: the peer %s could not be registered\n",
                         peer.first.c_str());
            return nullptr;
        }
    }
    auto component = std::make_unique<Component>(*library, classFor(options),
                                                 options.lang == "ru" ? u"ru_RU" : u"en_US");
    if (!component->ok()) {
        std::fprintf(stderr, "kelmor-host: the component could not be attached\n");
        return nullptr;
    }
    component->parameters();
    // A host always names the equipment type; without it no event would carry a name.
    bool typed = false;
    for (const auto& setting : options.settings)
        typed = typed || setting.first == "EquipmentType";
    if (!typed)
        options.settings.emplace(options.settings.begin(), "EquipmentType", hostToUtf8(classFor(options)));
    for (auto setting : options.settings) {
        // A tty path stands for its port: the companion learns it, the form gets its number.
        if (setting.first == "BluetoothDevice" && setting.second.rfind("/", 0) == 0) {
            const std::string number = serialPortNumber(setting.second);
            if (number.empty()) {
                std::fprintf(stderr, "kelmor-host: %s is not a serial port the companion can use\n",
                             setting.second.c_str());
                return nullptr;
            }
            std::fprintf(stderr, "%s is serial port %s\n", setting.second.c_str(), number.c_str());
            options.ttyPath = setting.second;
            setting.second = number;
        }
        if (!component->setParameter(setting.first, setting.second)) {
            std::fprintf(stderr, "kelmor-host: SetParameter %s=%s failed, %s\n", setting.first.c_str(),
                         setting.second.c_str(), component->lastError().c_str());
            return nullptr;
        }
    }
    return component;
}

void printForm(const std::string& xml)
{
    for (const XmlElement& element : readXml(xml)) {
        if (element.name == "Page") {
            std::printf("Page: %s\n", element.attribute("Caption").c_str());
        } else if (element.name == "Group") {
            std::printf("  Group: %s\n", element.attribute("Caption").c_str());
        } else if (element.name == "Parameter") {
            std::printf("    %-17s %s (%s), default \"%s\"\n", element.attribute("Name").c_str(),
                        element.attribute("Caption").c_str(), element.attribute("TypeValue").c_str(),
                        element.attribute("DefaultValue").c_str());
            const std::string description = element.attribute("Description");
            if (!description.empty())
                std::printf("      %s\n", description.c_str());
            const auto rows = choiceList(xml, element.attribute("Name"));
            const size_t shown = rows.size() > 8 ? 6 : rows.size();
            for (size_t i = 0; i < shown; ++i)
                std::printf("      %-8s %s\n", rows[i].first.c_str(), rows[i].second.c_str());
            if (shown < rows.size())
                std::printf("      ... %zu more, the last: %s %s\n", rows.size() - shown,
                            rows.back().first.c_str(), rows.back().second.c_str());
        }
    }
}

}

int runParams(const std::vector<std::string>& args)
{
    if (wantsHelp(args, "usage: kelmor-host params [--lang ru|en] [--xml]\n"
                        "Shows the settings form the host offers: pages, groups, parameters with\n"
                        "their defaults and choice lists; --xml prints the form as GetParameters\n"
                        "answers it.\n"))
        return 0;
    Options options;
    if (!parse(args, "--lang --xml ", false, options))
        return 2;
    std::unique_ptr<Component> component = prepared(options);
    if (!component)
        return 1;
    const std::string xml = component->parameters();
    if (xml.empty()) {
        std::fprintf(stderr, "kelmor-host: GetParameters failed, %s\n", component->lastError().c_str());
        return 1;
    }
    if (options.xml)
        std::printf("%s\n", xml.c_str());
    else
        printForm(xml);
    return 0;
}

int runPorts(const std::vector<std::string>& args)
{
    if (wantsHelp(args, "usage: kelmor-host ports [--peer ADDRESS=ENDPOINT]...\n"
                        "Lists the serial ports and Bluetooth devices the companions see, with the\n"
                        "value to give as BluetoothDevice=VALUE. --peer (also taken by listen and test)\n"
                        "adds a Bluetooth device whose stream is ENDPOINT: a tty path or tcp:HOST:PORT.\n"))
        return 0;
    Options options;
    if (!parse(args, "--peer ", false, options))
        return 2;
    std::unique_ptr<Component> component = prepared(options);
    if (!component)
        return 1;
    const auto rows = choiceList(component->parameters(), "BluetoothDevice");
    std::printf("BluetoothDevice value  device\n");
    for (const auto& row : rows)
        std::printf("  %-20s %s\n", row.first.c_str(), row.second.c_str());
    if (rows.size() <= 3)
        std::printf("(no serial port or Bluetooth device found besides the fixed modes)\n");
    return 0;
}

int runListen(const std::vector<std::string>& args)
{
    if (wantsHelp(args,
                  "usage: kelmor-host listen KEY=VALUE... [--count N] [--seconds S] [--json]\n"
                  "Sets the parameters (after GetParameters, as a host does), opens the device and\n"
                  "prints each event until Ctrl+C, N events or S seconds. EquipmentType=CardReaderDevice\n"
                  "uses the card reader component. Example:\n"
                  "  kelmor-host listen BluetoothDevice=1 Speed=9600 EquipmentType=InputDevice\n"
                  "BluetoothDevice=/dev/ttyUSB0 (a tty path) picks that port by its path.\n"))
        return 0;
    Options options;
    if (!parse(args, "--count --seconds --json --peer ", true, options))
        return 2;
    const Clock::time_point start = Clock::now();
    std::unique_ptr<Component> component = prepared(options);
    if (!component)
        return 1;
    std::string id;
    if (!component->open(id)) {
        std::fprintf(stderr, "kelmor-host: Open failed, %s\n", component->lastError().c_str());
        return 1;
    }
    std::string waitingFor = options.count ? std::to_string(options.count) + " event(s)" : "events";
    if (options.seconds > 0)
        waitingFor += " for " + std::to_string(options.seconds).substr(0, 5) + " s";
    std::fprintf(stderr, "Opened %s; waiting for %s (Ctrl+C stops)\n", id.c_str(), waitingFor.c_str());
    EventPrinter printer(component->connection(), options.json, start);
    const auto deadline = options.seconds > 0
                              ? start + std::chrono::milliseconds(static_cast<long>(options.seconds * 1000))
                              : Clock::time_point::max();
    const size_t wanted = options.count ? static_cast<size_t>(options.count) : SIZE_MAX;
    // Short rounds, so that a port unplugged meanwhile is noticed: the device itself doesn't
    // tell the host.
    bool gone = false;
    while (!printer.printUntil(wanted, std::min(deadline, Clock::now() + std::chrono::milliseconds(250))) &&
           !interrupted.load() && Clock::now() < deadline) {
        if (!options.ttyPath.empty() && ::access(options.ttyPath.c_str(), F_OK) != 0) {
            std::fprintf(stderr, "kelmor-host: the port %s is gone\n", options.ttyPath.c_str());
            gone = true;
            break;
        }
    }
    component->close(id);
    std::fprintf(stderr, "Closed %s after %zu event(s)%s\n", id.c_str(), printer.printed(),
                 interrupted.load() ? " (interrupted)" : "");
    if (interrupted.load())
        return 130;
    if (gone)
        return 1;
    return options.count && printer.printed() < static_cast<size_t>(options.count) ? 1 : 0;
}

int runTest(const std::vector<std::string>& args)
{
    if (wantsHelp(args, "usage: kelmor-host test KEY=VALUE...\n"
                        "Runs DeviceTest with those parameters and prints its answer and the last error.\n"))
        return 0;
    Options options;
    if (!parse(args, "--peer ", true, options))
        return 2;
    std::unique_ptr<Component> component = prepared(options);
    if (!component)
        return 1;
    std::string description, demo;
    const bool passed = component->deviceTest(description, demo);
    std::printf("DeviceTest: %s\n  description: %s\n  last error: %s\n",
                passed ? "passed" : "failed", readable(description).c_str(),
                component->lastError().c_str());
    return passed ? 0 : 1;
}

}
