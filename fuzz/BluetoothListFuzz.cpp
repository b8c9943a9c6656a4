// The Bluetooth companion's device list on arbitrary text: one device per part, and a name
// only beside a description that has text before its first "[" (when a part has one).
#include "PBluetooth.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const PString answer(std::string(reinterpret_cast<const char*>(data), size));
    const auto devices = PBluetooth::parseDevices(answer);
    const auto parts = answer.split(u';');
    if (devices.size() != parts.size())
        std::abort();
    for (size_t i = 0; i < devices.size(); ++i) {
        const auto& device = devices[i];
        if (device.size() > 3)
            std::abort();
        // A later "info" replaces the description but not the name that an earlier one gave.
        int infos = 0;
        for (const PString& piece : parts[i].split(u'#'))
            infos += piece.startsWith(PString("info:"));
        if (infos == 1 && device.hasKey(PString("name"))) {
            const PByteArray info = device.value(PString("info")).toByteArray();
            const std::string text(info.constChars(), info.size());
            const size_t bracket = text.find('[');
            if (bracket == std::string::npos || bracket == 0)
                std::abort();
        }
    }
    return 0;
}
