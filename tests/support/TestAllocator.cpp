#include "support/TestAllocator.h"

#include <atomic>
#include <cstdlib>
#include <new>

// Every form of operator new and delete goes through here: the sanitizer would pair a form
// left out with its own delete.
namespace {

thread_local bool tCounting = false;
thread_local long tCount = 0;
// Size from which the next allocation fails; 0 when disarmed.
std::atomic<size_t> gFailFromBytes{0};

void* _Allocate(size_t bytes) noexcept
{
    if (tCounting)
        ++tCount;
    size_t armed = gFailFromBytes.load(std::memory_order_relaxed);
    if (armed != 0 && bytes >= armed && gFailFromBytes.compare_exchange_strong(armed, 0))
        return nullptr;
    return std::malloc(bytes == 0 ? 1 : bytes);
}

void* _AllocateOrThrow(size_t bytes)
{
    if (void* p = _Allocate(bytes))
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

FailNextLargeAllocation::FailNextLargeAllocation(size_t bytes)
{
    gFailFromBytes.store(bytes);
}

FailNextLargeAllocation::~FailNextLargeAllocation()
{
    gFailFromBytes.store(0);
}

bool FailNextLargeAllocation::Fired() const
{
    return gFailFromBytes.load() == 0;
}

void* operator new(size_t bytes) { return _AllocateOrThrow(bytes); }
void* operator new[](size_t bytes) { return _AllocateOrThrow(bytes); }
void* operator new(size_t bytes, const std::nothrow_t&) noexcept { return _Allocate(bytes); }
void* operator new[](size_t bytes, const std::nothrow_t&) noexcept { return _Allocate(bytes); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, size_t) noexcept { std::free(p); }
void operator delete[](void* p, size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
