// Fuzz target: reading arbitrary 64-byte host values, whose pointers point into the input,
// and writing the result back into a host value never reads or writes out of bounds.
#include "StrakeVariant.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <unordered_set>
#include <vector>

namespace {

// Hands out blocks and frees them all at the end of each input.
class FuzzMemory : public IMemoryManager {
public:
    ~FuzzMemory() override
    {
        for (void* block : m_blocks)
            std::free(block);
    }
    bool allocMemory(void** memory, unsigned long size) override
    {
        if (size > (1ul << 20))
            return false;
        *memory = std::malloc(size ? size : 1);
        m_blocks.insert(*memory);
        return *memory != nullptr;
    }
    void freeMemory(void** memory) override
    {
        m_blocks.erase(*memory);
        std::free(*memory);
        *memory = nullptr;
    }

private:
    std::unordered_set<void*> m_blocks;
};

}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < sizeof(tVariant))
        return 0;
    tVariant value;
    std::memcpy(&value, data, sizeof value);
    // The bytes behind the value are the only memory its pointer may reach; text units get
    // an aligned copy of them.
    const std::vector<uint8_t> bytes(data + sizeof value, data + size);
    std::vector<char16_t> units(bytes.size() / 2 + 1, 0);
    if (bytes.size() >= 2)
        std::memcpy(units.data(), bytes.data(), bytes.size() / 2 * 2);
    if (value.vt == VTYPE_PWSTR) {
        value.pwstrVal = units.data();
        value.wstrLen %= static_cast<uint32_t>(units.size());
    } else {
        value.pstrVal = reinterpret_cast<char*>(const_cast<uint8_t*>(bytes.data()));
        value.strLen %= static_cast<uint32_t>(bytes.size() + 1);
    }

    const PVariant read = strake::var2var(&value);
    strake::var2pstring(&value);
    strake::var2wstr(&value);
    strake::var2blob(&value);

    FuzzMemory memory;
    tVariant out;
    std::memset(&out, 0, sizeof out);
    const bool written = strake::make_variant(&out, read, &memory);
    if (written != read.isValid())
        std::abort();
    if (written && out.vt == VTYPE_BLOB && out.strLen != read.toByteArray().size())
        std::abort();
    strake::make_variant(&out, read, nullptr);
    return 0;
}
