// Paths that allocate, run out of memory on purpose.
#include "sound/LSRCEcho.h"
#include "MemorySource.h"
#include "support/TestAllocator.h"

#include <gtest/gtest.h>

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
