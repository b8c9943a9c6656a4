// Fuzz target: parseIniData of arbitrary bytes, with the invariants of its result.
#include "PINIReader.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <string>

static void check(bool condition)
{
    if (!condition)
        std::abort();
}

static bool printableAndTrimmed(const std::string& s)
{
    for (const char ch : s) {
        if (!std::isprint(static_cast<unsigned char>(ch)))
            return false;
    }
    return !s.empty() && s.front() != ' ' && s.back() != ' ';
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    PError error;
    const PPropertyBag bag = strake::parseIniData(text, &error);
    if (error.isError())
        check(bag.empty() && (error.code() == PError::NotImplemented
                              || error.code() == PError::BadArgument));
    for (const PString& key : bag.keys()) {
        check(printableAndTrimmed(key.toStdString()));
        check(printableAndTrimmed(bag.value(key).toStdString()));
    }
    return 0;
}
