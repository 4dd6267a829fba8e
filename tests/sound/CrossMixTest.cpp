#include "sound/LCrossMix.h"
#include "tests/sound/EffectSources.h"
#include "tests/sound/MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

constexpr int kFirst = 4000;      // the first stream, constant
constexpr int kSecond = 8000;     // the second stream's body
constexpr int kSecondEnd = 16000; // the second stream's last frames

struct Streams {
    MemorySource* first;
    MemorySource* second;
    LSoundSource mixed;
};

// A first stream of `frames` frames and a second one of 100 frames whose last `length` frames
// differ from the rest, joined with fades of `length`.
Streams Join(int frames, int length)
{
    std::vector<int> second(100, kSecond);
    std::fill(second.end() - length, second.end(), kSecondEnd);
    Streams s{new MemorySource(44100, 1, std::vector<int>(size_t(frames), kFirst)),
              new MemorySource(44100, 1, second), {}};
    LSoundSource first(s.first);
    s.mixed = LSPCrossMix(length, LSoundSource(s.second)).OpenSource(first);
    return s;
}

}  // namespace

TEST(CrossMix, FadesInOverTheSecondAndOutIntoItsTail)
{
    Streams s = Join(50, 4);
    const auto out = ReadInPieces(s.mixed, 50);
    // In: first * i/4 + second * (1 - i/4), the second read from its start.
    EXPECT_EQ(std::vector<int>(out.begin(), out.begin() + 4), (std::vector<int>{8000, 7000, 6000, 5000}));
    for (int i = 4; i < 46; ++i)
        ASSERT_EQ(out[size_t(i)], kFirst) << i;
    // Out: first * (1 - j/4) + the second's last frames * j/4.
    EXPECT_EQ(std::vector<int>(out.end() - 4, out.end()), (std::vector<int>{4000, 7000, 10000, 13000}));
    EXPECT_EQ(s.second->seeks, std::vector<int>{96});
    EXPECT_EQ(s.mixed->GetPositionSample(), 50);
    EXPECT_EQ(s.mixed->GetEndSample(), 50);
}

TEST(CrossMix, LengthOneHasOneEntryTables)
{
    // rise[0] = 0 and fall[0] = 1: the first frame is the second stream's, the last the first's.
    Streams s = Join(10, 1);
    const auto out = ReadInPieces(s.mixed, 10);
    EXPECT_EQ(out[0], kSecond);
    for (int i = 1; i < 10; ++i)
        EXPECT_EQ(out[size_t(i)], kFirst) << i;
    EXPECT_EQ(s.second->seeks, std::vector<int>{99});
}

TEST(CrossMix, SeekIntoTheTailPlacesTheSecondStreamToMatch)
{
    Streams s = Join(50, 4);
    s.mixed->Seek(48);
    EXPECT_EQ(ReadAll(s.mixed, 2), (std::vector<int>{10000, 13000}));
    EXPECT_EQ(s.second->seeks, std::vector<int>{98});
    EXPECT_EQ(ReadAll(s.mixed, 3), (std::vector<int>{0, 0, 0}));  // past both ends
}
