// The host's allocator with an account of its blocks, and the host's own value helpers.
#include "PHostMemoryManager.h"

#include <cstdlib>
#include <cstring>

PHostMemoryManager::~PHostMemoryManager()
{
    for (auto& block : m_blocks)
        std::free(const_cast<void*>(block.first));
}

bool PHostMemoryManager::allocMemory(void** memory, unsigned long size)
{
    if (!memory)
        return false;
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_refuse)
        return false;
    void* block = std::malloc(size ? size : 1);
    if (!block)
        return false;
    m_blocks[block] = size;
    ++m_allocations;
    *memory = block;
    return true;
}

void PHostMemoryManager::freeMemory(void** memory)
{
    if (!memory || !*memory)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    auto found = m_blocks.find(*memory);
    if (found == m_blocks.end()) {
        ++m_foreign;
        return;
    }
    m_blocks.erase(found);
    std::free(*memory);
    *memory = nullptr;
}

void PHostMemoryManager::setRefuseAllocations(bool refuse)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_refuse = refuse;
}

bool PHostMemoryManager::owns(const void* block) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_blocks.count(block) != 0;
}

size_t PHostMemoryManager::liveBlocks() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_blocks.size();
}

size_t PHostMemoryManager::allocations() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_allocations;
}

size_t PHostMemoryManager::foreignBlocks() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_foreign;
}

tVariant PHostMemoryManager::text(const std::u16string& value)
{
    tVariant v = hostEmptyValue();
    void* block = nullptr;
    const unsigned long bytes = (value.size() + 1) * sizeof(char16_t);
    if (allocMemory(&block, bytes)) {
        std::memcpy(block, value.c_str(), bytes);
        v.pwstrVal = static_cast<char16_t*>(block);
        v.wstrLen = static_cast<uint32_t>(value.size());
    }
    v.vt = VTYPE_PWSTR;
    return v;
}

void PHostMemoryManager::release(tVariant& value)
{
    if (hostValueHoldsBlock(value)) {
        void* block = value.pstrVal;
        freeMemory(&block);
    }
    std::memset(&value, 0, sizeof value);
}

tVariant hostEmptyValue()
{
    tVariant value;
    std::memset(&value, 0, sizeof value);
    return value;
}

bool hostValueHoldsBlock(const tVariant& value)
{
    return (value.vt == VTYPE_PSTR || value.vt == VTYPE_PWSTR || value.vt == VTYPE_BLOB) &&
           value.pstrVal;
}

std::u16string hostTextOf(const tVariant& value)
{
    if (value.vt != VTYPE_PWSTR || !value.pwstrVal)
        return std::u16string();
    return std::u16string(value.pwstrVal, value.wstrLen);
}

std::string hostToUtf8(const std::u16string& text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}
