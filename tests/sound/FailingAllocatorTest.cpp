// The global allocator of the sound test program, replaced by one that can be told to fail, so
// that a path that allocates shows what it does when memory runs out.
#include "sound/LSRCEcho.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

// Size from which the next allocation fails; 0 when disarmed. One failure per arming.
std::atomic<size_t> gFailFromBytes{0};

void* _Allocate(size_t bytes) noexcept
{
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

// Fails the next allocation of at least `bytes` while it lives.
class FailNextLargeAllocation {
public:
    explicit FailNextLargeAllocation(size_t bytes) { gFailFromBytes.store(bytes); }
    ~FailNextLargeAllocation() { gFailFromBytes.store(0); }
    bool Fired() const { return gFailFromBytes.load() == 0; }
};

}  // namespace

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

TEST(FailingAllocator, EchoWhoseRingCannotBeHadGoesOnWithTheShortRing)
{
    const auto in = MakeNoise(2, 4000, 0x40000);
    LSoundSource inner = MakeMemory(in, 2, 44100).handle;
    LSoundSource echo;
    {
        FailNextLargeAllocation fail(1 << 20);  // the 4 s ring is 1.4 MB; nothing else is that large
        echo = LSPEcho(40, 4000).OpenSource(inner);
        ASSERT_TRUE(fail.Fired());
    }
    EXPECT_EQ(echo->GetError(), kErrNone);
    EXPECT_EQ(static_cast<LSRCEcho*>(echo.Get())->GetLength(), LSRCEcho::kFallbackLength);

    // It plays as an echo of the fallback length: the kernel alone over a ring of that size.
    int ring[LSRCEcho::kFallbackLength] = {};
    LEchoKernel expected{ring, LSRCEcho::kFallbackLength, 0, LEchoFactor(40)};
    std::vector<int> model = in;
    expected.Process(model.data(), int(model.size()));
    EXPECT_EQ(ReadInPieces(echo, 4000), model);

    // Without the failure the same stage gets its whole ring.
    EXPECT_EQ(static_cast<LSRCEcho*>(LSPEcho(40, 4000).OpenSource(inner).Get())->GetLength(), 2 * 4 * 44100);
}
