// kelmor-host: hosts the driver as the platform does (a Java VM with the companions, the
// library loaded by Java, components driven by method name) and shows what a host receives.
#include "KelmorHost.h"

#include <android/log.h>

#include <cstdio>
#include <cstring>

namespace {

const char kUsage[] =
    "usage: kelmor-host [COMMAND] [ARGS...]\n"
    "  (none), demo [--json]       the built-in demo: every mode with a simulated scanner\n"
    "  params [--lang ru|en] [--xml]  the settings form\n"
    "  ports                        serial ports and Bluetooth devices the companions see\n"
    "  listen KEY=VALUE... [--count N] [--seconds S] [--json]\n"
    "                               open a device and print its events\n"
    "  test KEY=VALUE...            DeviceTest with those settings\n"
    "Each command takes --help; --verbose anywhere shows the library's trace lines.\n";

}

int main(int argc, char** argv)
{
    kelmorhost::catchInterrupts();
    std::vector<std::string> args(argv + 1, argv + argc);
    // The library's trace lines would drown the events; --verbose keeps them.
    bool verbose = false;
    for (auto arg = args.begin(); arg != args.end();) {
        if (*arg == "--verbose") {
            verbose = true;
            arg = args.erase(arg);
        } else {
            ++arg;
        }
    }
    if (!verbose)
        __android_log_set_minimum_priority(ANDROID_LOG_WARN);
    std::string command = "demo";
    if (!args.empty() && args[0].rfind("-", 0) != 0) {
        command = args[0];
        args.erase(args.begin());
    } else if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    int status;
    if (command == "demo")
        status = kelmorhost::runDemo(args);
    else if (command == "params")
        status = kelmorhost::runParams(args);
    else if (command == "ports")
        status = kelmorhost::runPorts(args);
    else if (command == "listen")
        status = kelmorhost::runListen(args);
    else if (command == "test")
        status = kelmorhost::runTest(args);
    else {
        std::fprintf(stderr, "kelmor-host: unknown command '%s'\n%s", command.c_str(), kUsage);
        status = 2;
    }
    std::fflush(stdout);
    std::fflush(stderr);
    // The VM is never destroyed; its companion threads are daemons, so leave without running
    // static destructors under them.
    std::_Exit(status);
}
