#include "CountingAllocator.h"

#include <cstdlib>
#include <new>

// The whole test program's operator new goes through here; only the thread inside an
// AllocationCount scope is counted.
namespace {

thread_local bool tCounting = false;
thread_local long tCount = 0;

void* _Allocate(std::size_t size)
{
    if (tCounting)
        ++tCount;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}

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
    return _Allocate(size);
}

void* operator new[](std::size_t size)
{
    return _Allocate(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return _Allocate(size);
    } catch (...) {
        return nullptr;
    }
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return _Allocate(size);
    } catch (...) {
        return nullptr;
    }
}

void operator delete(void* p) noexcept
{
    std::free(p);
}

void operator delete[](void* p) noexcept
{
    std::free(p);
}

void operator delete(void* p, std::size_t) noexcept
{
    std::free(p);
}

void operator delete[](void* p, std::size_t) noexcept
{
    std::free(p);
}
