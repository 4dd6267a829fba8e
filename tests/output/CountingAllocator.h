#pragma once

// Counts the allocations that operator new serves on the calling thread while a scope runs.
class AllocationCount {
public:
    AllocationCount();
    ~AllocationCount();
    AllocationCount(const AllocationCount&) = delete;
    AllocationCount& operator=(const AllocationCount&) = delete;

    long Count() const;
};
