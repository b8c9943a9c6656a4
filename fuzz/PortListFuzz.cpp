// The serial companion's two answers on arbitrary text: the Base64 port list and the Devices
// XML. Each list has one port per part; each described device has exactly the seven keys.
#include "PSerialPort.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const PString answer(std::string(reinterpret_cast<const char*>(data), size));

    std::vector<PString> ports;
    try {
        PSerialPort::parsePortList(answer, &ports);
        // One port per part, counted on the bytes: a second split into PStrings cost as
        // much as the parser.
        const std::string text = answer.toStdString();
        const size_t parts = std::count(text.begin(), text.end(), ';') + (text.back() != ';');
        if (ports.size() != parts)
            std::abort();
    } catch (const PError& error) {
        if (!answer.isEmpty() || error.message() != PString("No device found"))
            std::abort();
    }

    std::vector<KeyValue<PString, PVariant>> devices;
    try {
        PSerialPort::parsePortsInfo(answer, &devices);
    } catch (const PError&) {
        if (!devices.empty())
            std::abort();
    }
    for (const auto& device : devices) {
        if (device.size() != 7 || !device.hasKey(PString("deviceName")))
            std::abort();
    }
    return 0;
}
