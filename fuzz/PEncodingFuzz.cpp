// Fuzz target: decode and encode of arbitrary input with every encoding of the registry.
#include "PEncoding.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

static void check(bool condition)
{
    if (!condition)
        std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    // The same input read as wide elements, so negative and out-of-range values come too.
    std::wstring wide(size / sizeof(wchar_t), L'\0');
    if (!wide.empty())
        std::memcpy(&wide[0], data, wide.size() * sizeof(wchar_t));

    PEncodingFactory factory;
    for (const PEncodingPrivate& row : factory.encodings()) {
        const std::wstring text = PEncoding::decode(bytes, row.id);
        const std::string encoded = PEncoding::encode(wide, row.id);
        const bool singleByte = row.id > 0 && row.id < 65001;
        if (singleByte) {
            check(text.size() == bytes.size());
            check(encoded.size() == wide.size());
        }
        if (row.id == 65001) {
            // What decoding keeps is valid text: it survives a round trip unchanged.
            check(PEncoding::decode(PEncoding::encode(text, row.id), row.id) == text);
        }
        std::unique_ptr<PEncoding> encoding(factory.create(row.id));
        check(encoding != nullptr);
        if (encoding->canEncode(wide))
            check(encoding->encode(wide) == encoded);
        if (row.id > 100000)
            check(encoding->decode(bytes).empty() && text.empty());
    }
    return 0;
}
