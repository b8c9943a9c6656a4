// Counting of heap allocations made by the calling thread, for tests that prove a path
// builds nothing. PSerialInputProcessorTest.cpp replaces operator new of this test program to count;
// not available under sanitizers, which keep their own allocator.
#pragma once

#include <cstddef>

namespace kelmortest {

// What this thread's operator new was asked for so far.
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
