#include "sound/LSoundSource.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Counts its own destruction so handle lifetimes can be observed.
class CountingSource : public LSoundSourceBase {
public:
    explicit CountingSource(int* destroyed) : LSoundSourceBase(44100, 2, kPeakLimit), _destroyed(destroyed) {}
    ~CountingSource() override { ++*_destroyed; }
    void Read(int* buffer, int frames) override
    {
        for (int i = 0; i < frames * channels; ++i)
            buffer[i] = _position * 10 + i % 2;
        _position += frames;
    }
    int GetPositionSample() const override { return _position; }
    int GetEndSample() const override { return 1000; }
    void Seek(int sample) override { _position = sample; }

private:
    int* _destroyed;
    int _position = 0;
};

}  // namespace

TEST(SoundSourceHandle, LivesWhileAnyHandleHoldsItIncludingSelfAssignment)
{
    int destroyed = 0;
    {
        LSoundSource a(new CountingSource(&destroyed));
        LSoundSource& alias = a;
        a = alias;  // self-assignment keeps the object alive
        EXPECT_EQ(destroyed, 0);
        EXPECT_EQ(a->GetEndSample(), 1000);
        LSoundSource b = a;
        a.Close();
        EXPECT_EQ(destroyed, 0);
        EXPECT_EQ(a->GetError(), kErrClosed);
        EXPECT_EQ(b->GetEndSample(), 1000);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(SoundSourceHandle, ClosedAndDefaultHandlesAreSilentErrorSources)
{
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
    struct Plain : LSoundSourceBase {
        Plain(int r, unsigned char c) : LSoundSourceBase(r, c, 0) {}
        void Read(int*, int) override {}
        int GetPositionSample() const override { return 0; }
        int GetEndSample() const override { return 0; }
    };
    Plain badRate(0, 2), badChannels(8000, 0), good(8000, 2);
    EXPECT_EQ(badRate.GetRate(), 44100);
    EXPECT_EQ(badRate.GetError(), kErrBadFormat);
    EXPECT_EQ(badChannels.GetChannels(), 1);
    EXPECT_EQ(badChannels.GetError(), kErrBadFormat);
    EXPECT_EQ(good.GetError(), kErrNone);
}

TEST(SoundProcessBase, ForwardsPositionsButNotResyncOrControl)
{
    int destroyed = 0;
    struct Pass : LSoundProcessBase {
        using LSoundProcessBase::LSoundProcessBase;
        void Read(int* b, int f) override { source->Read(b, f); }
    };
    LSoundSource inner(new CountingSource(&destroyed));
    LSoundSource process(new Pass(inner));
    process->Seek(40);
    EXPECT_EQ(inner->GetPositionSample(), 40);
    EXPECT_EQ(process->GetPositionSample(), 40);
    EXPECT_EQ(process->GetEndSample(), 1000);
    long data = 5;
    EXPECT_FALSE(process->ControlMessage(0, &data));

    LSoundSource broken;
    LSoundSource overError(new Pass(broken));
    EXPECT_EQ(overError->GetError(), kErrInner);
}
