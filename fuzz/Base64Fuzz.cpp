// Base64: the lenient decoder stays in bounds on any input and gives its computed length;
// what the encoder writes decodes back to the same bytes.
#include "StrakeText.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::string decoded = strake::base64_decode(input);
    if (size > 0) {
        const bool pad1 = size % 4 != 0 || input[size - 1] == '=';
        const bool pad2 = pad1 && (size % 4 > 2 || (size >= 2 && input[size - 2] != '='));
        const size_t last = (size - (pad1 ? 1 : 0)) / 4 * 4;
        if (decoded.size() != last / 4 * 3 + pad1 + pad2)
            std::abort();
    } else if (!decoded.empty()) {
        std::abort();
    }
    if (strake::base64_decode(strake::base64_encode(input)) != input)
        std::abort();
    return 0;
}
