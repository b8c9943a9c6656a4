// Counting of this thread's heap allocations (operator new is replaced in PSerialInputProcessorTest.cpp).
#pragma once

#include <cstddef>

namespace kelmortest {

extern thread_local size_t tAllocations;
extern thread_local size_t tBytes;

// False when operator new is not ours to count (sanitizer builds): skip the test then.
bool allocationCountingAvailable();

// Counts the operator new calls of this thread from its construction on.
class AllocationCounter {
public:
    size_t allocations() const { return tAllocations - m_startAllocations; }
    size_t bytes() const { return tBytes - m_startBytes; }

private:
    const size_t m_startAllocations = tAllocations;
    const size_t m_startBytes = tBytes;
};

}
