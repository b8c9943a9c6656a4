// The hosted component, event printing and the settings form's reading.
#include "KelmorHost.h"
#include "PHostJvm.h"
#include "XmlReader.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <map>

namespace kelmorhost {

std::atomic<bool> interrupted{false};

namespace {

void onInterrupt(int)
{
    interrupted.store(true);
}

}

void catchInterrupts()
{
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = onInterrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

std::u16string fromUtf8(const std::string& text)
{
    std::u16string out;
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const int extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
        char32_t cp = extra == 0 ? c : c & (0x3F >> extra);
        size_t j = 1;
        for (; j <= static_cast<size_t>(extra) && i + j < text.size(); ++j)
            cp = (cp << 6) | (static_cast<unsigned char>(text[i + j]) & 0x3F);
        i += j;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp);
        }
    }
    return out;
}

std::string readable(const std::string& utf8)
{
    static const char* const names[32] = {
        "NUL", "SOH", "STX", "ETX", "EOT", "ENQ", "ACK", "BEL", "BS", "TAB", "LF",
        "VT",  "FF",  "CR",  "SO",  "SI",  "DLE", "DC1", "DC2", "DC3", "DC4", "NAK",
        "SYN", "ETB", "CAN", "EM",  "SUB", "ESC", "FS",  "GS",  "RS",  "US"};
    std::string out;
    for (char ch : utf8) {
        const unsigned char c = static_cast<unsigned char>(ch);
        if (c < 32)
            out += std::string("<") + names[c] + ">";
        else if (c == 127)
            out += "<DEL>";
        else
            out += ch;
    }
    return out;
}

std::string jsonString(const std::string& utf8)
{
    std::string out = "\"";
    for (char ch : utf8) {
        const unsigned char c = static_cast<unsigned char>(ch);
        if (ch == '"' || ch == '\\') {
            out += '\\';
            out += ch;
        } else if (c < 32) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", c);
            out += code;
        } else {
            out += ch;
        }
    }
    return out + "\"";
}

PHostLibrary* hostLibrary(std::string& error, const std::vector<std::string>& vmOptions)
{
    static PHostLibrary* library = nullptr;
    if (library)
        return library;
    // The program is a tool, not a test: the JNI checker would only slow every call.
    PHostJvmOptions options = PHostJvm::defaultOptions();
    options.checkJni = false;
    options.extraOptions = vmOptions;
    PHostJvm::configure(options);
    if (!PHostJvm::loadLibrary(options.libraryPath)) {
        error = "Java could not load " + options.libraryPath;
        return nullptr;
    }
    // The library stays loaded for the process: Java holds it too.
    auto* loaded = new PHostLibrary(options.libraryPath);
    if (!loaded->isLoaded()) {
        error = loaded->errorText();
        delete loaded;
        return nullptr;
    }
    library = loaded;
    // The VM put its own handlers in place, which would end the process at once: Ctrl+C
    // must first close the devices.
    catchInterrupts();
    return library;
}

Component::Component(PHostLibrary& library, const std::u16string& className,
                     const std::u16string& locale)
    : m_component(library, className, nullptr, &m_connection)
{
    m_connection.setAndroidHelper(static_cast<IHostAndroidHelper*>(&PHostJvm::androidHelper()));
    m_ok = m_component.isValid() && m_component.attach(locale);
}

std::string Component::parameters()
{
    PHostCall form = m_component.call(u"GetParameters", {hostEmptyValue()});
    return form.answered && form.result.bVal ? hostToUtf8(form.paramText(0)) : std::string();
}

bool Component::setParameter(const std::string& name, const std::string& value)
{
    PHostMemoryManager& memory = m_component.memory();
    PHostCall set = m_component.call(u"SetParameter", {memory.text(fromUtf8(name)),
                                                       memory.text(fromUtf8(value))});
    return set.answered && set.result.bVal;
}

bool Component::open(std::string& id)
{
    PHostCall open = m_component.call(u"Open", {hostEmptyValue()});
    id = hostToUtf8(open.paramText(0));
    return open.answered && open.result.bVal;
}

bool Component::close(const std::string& id)
{
    PHostCall close = m_component.call(u"Close", {m_component.memory().text(fromUtf8(id))});
    return close.answered && close.result.bVal;
}

bool Component::deviceTest(std::string& description, std::string& demoResult)
{
    PHostCall test = m_component.call(u"DeviceTest", {hostEmptyValue(), hostEmptyValue()});
    description = hostToUtf8(test.paramText(0));
    demoResult = hostToUtf8(test.paramText(1));
    return test.answered && test.result.bVal;
}

std::string Component::lastError()
{
    PHostCall error = m_component.call(u"GetLastError", {hostEmptyValue()});
    return "code " + std::to_string(error.result.lVal) + ": " + hostToUtf8(error.paramText(0));
}

bool EventPrinter::printUntil(size_t count, Clock::time_point deadline)
{
    while (true) {
        const std::vector<PHostExternalEvent> all = m_connection.events();
        for (; m_printed < all.size(); ++m_printed) {
            const PHostExternalEvent& event = all[m_printed];
            const double seconds =
                std::chrono::duration<double>(Clock::now() - m_start).count();
            const std::string source = hostToUtf8(event.source);
            const std::string name = hostToUtf8(event.name);
            const std::string data = hostToUtf8(event.data);
            if (m_json)
                std::printf("{\"source\":%s,\"message\":%s,\"data\":%s,\"time\":%.3f}\n",
                            jsonString(source).c_str(), jsonString(name).c_str(),
                            jsonString(data).c_str(), seconds);
            else
                std::printf("  %6.3fs  %s  %s: %s\n", seconds, source.c_str(), name.c_str(),
                            readable(data).c_str());
            std::fflush(stdout);
        }
        if (m_printed >= count)
            return true;
        if (interrupted.load() || Clock::now() >= deadline)
            return false;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        m_connection.waitForEvents(m_printed + 1, std::min(left, std::chrono::milliseconds(100)));
    }
}

std::vector<std::pair<std::string, std::string>> choiceList(const std::string& xml,
                                                            const std::string& parameter)
{
    std::vector<std::pair<std::string, std::string>> rows;
    bool inside = false;
    for (const XmlElement& element : readXml(xml)) {
        if (element.name == "Parameter")
            inside = element.attribute("Name") == parameter;
        else if (inside && element.name == "Item")
            rows.emplace_back(element.attribute("Value"), element.text);
    }
    return rows;
}

}
