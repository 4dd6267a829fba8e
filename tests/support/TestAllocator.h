#pragma once

#include <cstddef>

// The test program's global operator new, replaced (every form of it) once for all tests that
// link this: it can count what one thread allocates, and can be told to fail, so that a path
// that allocates shows what it does when memory runs out.

// Counts the allocations that operator new serves on the calling thread while a scope runs.
class AllocationCount {
public:
    AllocationCount();
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    long Count() const;
};

// Fails the next allocation of at least `bytes`, on any thread, while it lives; once only.
class FailNextLargeAllocation {
public:
    explicit FailNextLargeAllocation(size_t bytes);
    ~FailNextLargeAllocation();
    FailNextLargeAllocation(const FailNextLargeAllocation&) = delete;
    FailNextLargeAllocation& operator=(const FailNextLargeAllocation&) = delete;

    bool Fired() const;
};
