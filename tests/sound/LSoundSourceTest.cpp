#include "sound/LSoundSource.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Counts its own destruction so handle lifetimes can be observed.
struct CountingSource : MemorySource {
    explicit CountingSource(int* destroyed) : MemorySource(44100, 2, std::vector<int>(2000)), _destroyed(destroyed) {}
    ~CountingSource() override { ++*_destroyed; }
    int* _destroyed;
};

}  // namespace

TEST(SoundSourceHandle, LivesWhileAnyHandleHoldsItAndClosedOrDefaultHandlesAreSilent)
{
    int destroyed = 0;
    {
        LSoundSource a(new CountingSource(&destroyed));
        LSoundSource& alias = a;
        a = alias;  // self-assignment keeps the object alive
        EXPECT_EQ(a->GetEndSample(), 1000);
        LSoundSource b = a;
        a.Close();
        EXPECT_EQ(destroyed, 0);
        EXPECT_EQ(a->GetError(), kErrClosed);
        EXPECT_EQ(b->GetEndSample(), 1000);
    }
    EXPECT_EQ(destroyed, 1);

    LSoundSource handle;
    EXPECT_EQ(handle->GetError(), kErrClosed);
    EXPECT_EQ(handle->GetEndSample(), 0);
    std::vector<int> block(8, 7);
    handle->Read(block.data(), 8);
    EXPECT_EQ(block, std::vector<int>(8, 0));
    handle->Read(block.data(), -3);  // negative count touches nothing

    LSoundSink sink;
    EXPECT_EQ(sink->GetError() & kSinkErrorFlag, kSinkErrorFlag);
    sink->Write(block.data(), 4);
    EXPECT_EQ(sink->GetPosition(), 0);
}

TEST(SoundSourceBase, BadRateOrChannelsSetErrorThree)
{
    MemorySource badRate(0, 2, {}), badChannels(8000, 0, {}), good(8000, 2, {});
    EXPECT_EQ(badRate.GetRate(), 44100);
    EXPECT_EQ(badRate.GetError(), kErrBadFormat);
    EXPECT_EQ(badChannels.GetChannels(), 1);
    EXPECT_EQ(badChannels.GetError(), kErrBadFormat);
    EXPECT_EQ(good.GetError(), kErrNone);
}

