// Fuzz target: PJniSignature::parse of arbitrary text, with the invariants of its result.
#include "PJniSignature.h"

#include <cstdint>
#include <cstdlib>
#include <string>

static void check(bool condition)
{
    if (!condition)
        std::abort();
}

static bool isKnownCode(int code, bool returnType)
{
    const int base = code & ~PJniSignature::ArrayBit;
    if (base == PJniSignature::Void)
        return returnType && code == base;
    return (base >= PJniSignature::Boolean && base <= PJniSignature::Double)
        || base == PJniSignature::Object || base == PJniSignature::String;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const PString text(std::string(reinterpret_cast<const char*>(data), size));
    PJniSignature signature(PString("(I)V"));
    PError why;
    const bool valid = signature.parse(text, why);
    check(valid == signature.isValid());
    check(!why.isError() || why.code() == PError::BadArgument);
    if (why.isError())
        check(!valid && signature.parametersCount() == 0);
    if (valid)
        check(isKnownCode(signature.retValueType(), true));
    for (int i = 0; i < signature.parametersCount(); ++i)
        check(isKnownCode(signature.parameterType(i), false));
    check(signature.parameterType(signature.parametersCount()) == 0);

    const PJniSignature again(text);
    check(again.retValueType() == signature.retValueType());
    check(again.parameterTypes() == signature.parameterTypes());
    return 0;
}
