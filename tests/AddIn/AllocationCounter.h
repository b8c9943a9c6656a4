// Counting of heap allocations made by the calling thread, for tests that prove a path
// builds nothing. Defined in PInputProcessorTest.cpp, which replaces operator new of this
// test program; not available under sanitizers, which keep their own allocator.
#pragma once

#include <cstddef>

namespace kelmortest {

// False when operator new is not ours to count (sanitizer builds): skip the test then.
bool allocationCountingAvailable();

// Counts the operator new calls of this thread between construction and the readers.
class AllocationCounter {
public:
    AllocationCounter();
    ~AllocationCounter();
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;

    size_t allocations() const;
    size_t bytes() const;

private:
    size_t m_startAllocations;
    size_t m_startBytes;
};

}
