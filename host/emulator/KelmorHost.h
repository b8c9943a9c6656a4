// The pieces of kelmor-host: one hosted component driven by method name, the event printer
// and the subcommands.
#pragma once

#include "PHostLibrary.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelmorhost {

using Clock = std::chrono::steady_clock;

// Set by SIGINT/SIGTERM; every wait of the program looks at it.
extern std::atomic<bool> interrupted;
// Makes SIGINT and SIGTERM set interrupted.
void catchInterrupts();

std::u16string fromUtf8(const std::string& text);
// Control characters as <GS>, <CR>, <0x7F>; everything else as it is.
std::string readable(const std::string& utf8);
std::string jsonString(const std::string& utf8);

// The VM with the companions, the library loaded by Java and opened by dlopen as the platform
// does. Made once; the VM is never destroyed.
// vmOptions go to the VM when this call makes it.
PHostLibrary* hostLibrary(std::string& error, const std::vector<std::string>& vmOptions = {});

// One component of the library with its own connection, attached as the platform attaches it.
class Component {
public:
    Component(PHostLibrary& library, const std::u16string& className, const std::u16string& locale);
    bool ok() const { return m_ok; }
    PHostComponent& raw() { return m_component; }
    PHostConnection& connection() { return m_connection; }

    // GetParameters: the settings form, empty when the method failed.
    std::string parameters();
    bool setParameter(const std::string& name, const std::string& value);
    // Open; the device id in id.
    bool open(std::string& id);
    bool close(const std::string& id);
    // DeviceTest: its answer and its description.
    bool deviceTest(std::string& description, std::string& demoResult);
    // GetLastError as "code N: text".
    std::string lastError();

private:
    PHostConnection m_connection;
    PHostComponent m_component;
    bool m_ok = false;
};

// Prints the connection's events as they come, from the first not yet printed.
class EventPrinter {
public:
    EventPrinter(PHostConnection& connection, bool json, Clock::time_point start)
        : m_connection(connection), m_json(json), m_start(start) {}
    // Waits until count events have been printed in all, the deadline passed or the program
    // was interrupted; true when they came.
    bool printUntil(size_t count, Clock::time_point deadline);
    size_t printed() const { return m_printed; }
    std::vector<PHostExternalEvent> events() const { return m_connection.events(); }

private:
    PHostConnection& m_connection;
    bool m_json;
    Clock::time_point m_start;
    size_t m_printed = 0;
};

// Values of the settings form's choice list of one parameter: (value, label) pairs.
std::vector<std::pair<std::string, std::string>> choiceList(const std::string& xml,
                                                            const std::string& parameter);

std::string fromBase64(const std::string& text);
// Calls a static method with String parameters that returns void, int or an object (dropped);
// false when the class or method is missing or Java threw.
bool callJava(const char* className, const char* method, const char* signature,
              const std::vector<std::string>& texts);
bool setProperty(const std::string& key, const std::string& value);
// Sends an intent with one String extra on the JVM's broadcast bus.
bool broadcast(const std::string& action, const std::string& extra, const std::string& value);
std::string property(const std::string& key);
// The serial ports as the companion lists them: a port's number is its place, from 1.
std::vector<std::string> serialPorts();
// Makes a tty path known to the serial companion; its number, or empty when not listed.
std::string serialPortNumber(const std::string& path);

int runDemo(const std::vector<std::string>& args);
int runParams(const std::vector<std::string>& args);
int runPorts(const std::vector<std::string>& args);
int runListen(const std::vector<std::string>& args);
int runTest(const std::vector<std::string>& args);

}
