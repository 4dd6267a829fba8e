#include "sound/LSoundSourceCat.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

namespace {

constexpr int kRate = 1000;  // Hz: one frame a millisecond

}  // namespace

TEST(SoundSourceCat, PlaysEntriesInARowWithSilenceForErrorsAndSeeksInsideTheRightEntry)
{
    // Three frames 1..3, an entry in error standing for 2 ms of silence, two frames 10, 11.
    LSoundSourceCat cat;
    LSoundSource first = MakeMemory({1, 2, 3}, 1, kRate).handle, second = MakeMemory({10, 11}, 1, kRate).handle;
    LSoundSource missing = MakeErrorSource(kErrMissing, kRate, 1, 0x7fffffff);
    cat.AddSource(first);
    cat.AddSource(missing, 2);
    cat.AddSource(second);
    LSoundSource joined = cat.OpenSource(kRate, 1);
    EXPECT_EQ(joined->GetPeak(), kPeakLimit);  // the entry in error does not count
    std::vector<int> block(9, 99);
    joined->Read(block.data(), 4);
    joined->Read(block.data() + 4, 5);
    EXPECT_EQ(block, (std::vector<int>{1, 2, 3, 0, 0, 10, 11, 0, 0}));
    EXPECT_EQ(joined->GetEndSample(), 7);

    joined->Seek(4);  // the second millisecond of silence
    EXPECT_EQ(ReadAll(joined, 3), (std::vector<int>{0, 10, 11}));
    joined->Seek(1);
    EXPECT_EQ(ReadAll(joined, 3), (std::vector<int>{2, 3, 0}));
    joined->Seek(6);
    EXPECT_EQ(ReadAll(joined, 2), (std::vector<int>{11, 0}));

    joined->Seek(-2);  // before the start: silence up to 0
    EXPECT_EQ(ReadAll(joined, 4), (std::vector<int>{0, 0, 1, 2}));
    EXPECT_EQ(joined->GetPositionSample(), 2);

    joined->Seek(20);  // past the last entry: a second of silence
    EXPECT_EQ(joined->GetPositionSample(), 20);
    EXPECT_EQ(joined->GetEndSample(), 20 + kRate);
    EXPECT_EQ(ReadAll(joined, 3), (std::vector<int>{0, 0, 0}));
}

TEST(SoundSourceCat, ConvertsEntriesAndTakesTheirPeaksAndStreaming)
{
    LSoundSourceCat cat;
    HeldMemory mono = MakeMemory({5, -6}, 1, kRate);
    auto [stereo, loud] = MakeMemory({7, 8}, 2, kRate, kPeakDefault);
    cat.AddSource(mono.handle);
    cat.AddSource(stereo);
    LSoundSource joined = cat.OpenSource(kRate, 2);
    EXPECT_EQ(joined->GetPeak(), kPeakDefault);
    EXPECT_EQ(ReadAll(joined, 4), (std::vector<int>{5, 5, -6, -6, 7, 8, 0, 0}));

    loud->streaming = true;
    EXPECT_TRUE(joined->IsStreaming());

    // An entry at another rate is resampled: its length doubles at twice the rate.
    LSoundSourceCat other;
    HeldMemory tone = MakeMemory(MakeSine(kRate, 1, 50, 1000, 100), 1, kRate);
    other.AddSource(tone.handle);
    EXPECT_NEAR(other.OpenSource(2 * kRate, 1)->GetEndSample(), 200, 1);

    EXPECT_EQ(ReadAll(LSoundSourceCat().OpenSource(kRate, 2), 2), std::vector<int>(4, 0));
}
