// The Bluetooth companion's device list on arbitrary text: one device per part, and a name
// only beside a description that has text before its first "[".
#include "PBluetooth.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const PString answer(std::string(reinterpret_cast<const char*>(data), size));
    const auto devices = PBluetooth::parseDevices(answer);
    if (devices.size() != answer.split(u';').size())
        std::abort();
    for (const auto& device : devices) {
        if (device.size() > 3)
            std::abort();
        if (device.hasKey(PString("name"))) {
            const PByteArray info = device.value(PString("info")).toByteArray();
            const std::string text(info.constChars(), info.size());
            const size_t bracket = text.find('[');
            if (bracket == std::string::npos || bracket == 0)
                std::abort();
        }
    }
    return 0;
}
