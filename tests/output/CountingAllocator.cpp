#include "CountingAllocator.h"

#include <cstdlib>
#include <new>

// The whole test program's operator new goes through here (the array and nothrow forms of the
// library call it too); only the thread inside an AllocationCount scope is counted.
namespace {

thread_local bool tCounting = false;
thread_local long tCount = 0;

}  // namespace

AllocationCount::AllocationCount()
{
    tCount = 0;
    tCounting = true;
}

AllocationCount::~AllocationCount()
{
    tCounting = false;
}

long AllocationCount::Count() const
{
    return tCount;
}

void* operator new(std::size_t size)
{
    if (tCounting)
        ++tCount;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}
