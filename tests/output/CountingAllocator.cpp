#include "CountingAllocator.h"

#include <cstdlib>
#include <new>

// The whole test program's operator new goes through here, every form of it (the sanitizer
// would pair a form left out with its own delete); only the thread inside an AllocationCount
// scope is counted.
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

namespace {

void* _Allocate(std::size_t size) noexcept
{
    if (tCounting)
        ++tCount;
    return std::malloc(size ? size : 1);
}

void* _AllocateOrThrow(std::size_t size)
{
    if (void* p = _Allocate(size))
        return p;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return _AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return _AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return _Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return _Allocate(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
