// Fuzz target: any text given as a method signature parses to some semantic without failing.
#include "PSemanticEntry.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const PMethodSemantic semantic = PMethodSemantic::fromString(text);
    // A parsed signature never has more parameters than it has commas plus one.
    size_t commas = 0;
    for (char c : text)
        commas += c == ',';
    if (semantic.parametersCount() > commas + 1)
        std::abort();
    if (semantic.hasRetValue() && semantic.result().type() <= 0)
        std::abort();
    return 0;
}
