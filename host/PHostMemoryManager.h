// PHostMemoryManager: the host's allocator as the platform gives it to a component, with an
// account of every block, and helpers for the host's own tVariant values.
#pragma once

#include "HostInterface.h"

#include <cstddef>
#include <mutex>
#include <string>
#include <unordered_map>

// Allocates with malloc and keeps every live block, so that a test can tell whether what a
// component handed over came from here and whether all of it was freed.
// Thread-safety: every operation takes the manager's lock.
class PHostMemoryManager : public IMemoryManager {
public:
    PHostMemoryManager() = default;
    ~PHostMemoryManager() override;  // frees what is still live
    PHostMemoryManager(const PHostMemoryManager&) = delete;
    PHostMemoryManager& operator=(const PHostMemoryManager&) = delete;

    // False (and *memory untouched) while refusing; a size of 0 gets a block of one byte.
    bool allocMemory(void** memory, unsigned long size) override;
    // Frees a block of this manager and nulls *memory; anything else is counted as foreign.
    void freeMemory(void** memory) override;

    // From now on every allocation fails.
    void setRefuseAllocations(bool refuse);
    bool owns(const void* block) const;
    size_t liveBlocks() const;
    size_t allocations() const;
    // Frees asked for blocks that never came from here, plus strings and blobs found in a
    // released value that were not ours.
    size_t foreignBlocks() const;

    // A type 22 value in memory of this manager, as the host passes text to a component.
    tVariant text(const std::u16string& value);
    // Frees the string or blob of a value (when it is ours; else counts it as foreign) and
    // empties the value.
    void release(tVariant& value);

private:
    mutable std::mutex m_mutex;  // guards every member below
    std::unordered_map<const void*, unsigned long> m_blocks;
    size_t m_allocations = 0;
    size_t m_foreign = 0;
    bool m_refuse = false;
};

// A value of all zeros (type 0), as the host passes an out parameter.
tVariant hostEmptyValue();
// A string or blob value with a pointer.
bool hostValueHoldsBlock(const tVariant& value);
// The text of a type 22 value; empty for any other type.
std::u16string hostTextOf(const tVariant& value);
// A UTF-8 form of host text, for printing.
std::string hostToUtf8(const std::u16string& text);
