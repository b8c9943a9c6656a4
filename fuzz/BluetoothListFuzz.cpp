// The Bluetooth companion's device list on arbitrary text: one device per part, and a name
// only beside a description that has text before its first "[" (when a part has one).
// The checks scan the text as bytes: splitting it again into PStrings, as the parser does,
// doubled the cost of every input.
#include "PBluetooth.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const PString answer(std::string(reinterpret_cast<const char*>(data), size));
    const auto devices = PBluetooth::parseDevices(answer);
    const std::string text = answer.toStdString();
    size_t from = 0;
    for (const auto& device : devices) {
        if (from > text.size() || device.size() > 3)
            std::abort();
        size_t end = text.find(';', from);
        if (end == std::string::npos)
            end = text.size();
        // A later "info" replaces the description but not the name that an earlier one gave.
        int infos = 0;
        for (size_t piece = from; piece < end;) {
            infos += text.compare(piece, 5, "info:") == 0 && piece + 5 <= end;
            // Searched within the part: a search to the end of the text for each part made
            // the check quadratic in the number of parts.
            const void* hash = std::memchr(text.data() + piece, '#', end - piece);
            piece = hash ? static_cast<size_t>(static_cast<const char*>(hash) - text.data()) + 1
                         : end;
        }
        if (infos == 1 && device.hasKey(PString("name"))) {
            const PByteArray info = device.value(PString("info")).toByteArray();
            const size_t bracket = std::string(info.constChars(), info.size()).find('[');
            if (bracket == std::string::npos || bracket == 0)
                std::abort();
        }
        from = end + 1;
    }
    // One device per part; an empty text has none and a ";" at the end starts none.
    if (from != ((text.empty() || text.back() == ';') ? text.size() : text.size() + 1))
        std::abort();
    return 0;
}
