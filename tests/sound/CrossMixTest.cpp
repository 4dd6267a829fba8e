#include "sound/LCrossMix.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

constexpr int kFirst = 4000;       // the first stream, constant
constexpr int kSecond = 8000;      // the second stream's body
constexpr int kSecondEnd = 16000;  // the second stream's last `length` frames

struct Streams {
    MemorySource* second;
    LSoundSource mixed;
};

// A first stream of `frames` frames and a second of 100, joined with fades of `length`.
Streams Join(int frames, int length)
{
    std::vector<int> second(100, kSecond);
    std::fill(second.end() - length, second.end(), kSecondEnd);
    Streams s{new MemorySource(44100, 1, second), {}};
    LSoundSource first(new MemorySource(44100, 1, std::vector<int>(size_t(frames), kFirst)));
    s.mixed = LSPCrossMix(length, LSoundSource(s.second)).OpenSource(first);
    return s;
}

}  // namespace

TEST(CrossMix, FadesInOverTheSecondAndOutIntoItsTail)
{
    Streams s = Join(50, 4);
    const auto out = ReadInPieces(s.mixed, 50);
    // In: first * i/4 + second * (1 - i/4), the second read from where it stands.
    EXPECT_EQ(std::vector<int>(out.begin(), out.begin() + 4), (std::vector<int>{8000, 7000, 6000, 5000}));
    EXPECT_TRUE(std::all_of(out.begin() + 4, out.end() - 4, [](int x) { return x == kFirst; }));
    // Out: first * (1 - j/4) + the second's last frames * j/4.
    EXPECT_EQ(std::vector<int>(out.end() - 4, out.end()), (std::vector<int>{4000, 7000, 10000, 13000}));
    EXPECT_EQ(s.second->seeks, std::vector<int>{96});

    s.mixed->Seek(48);  // straight into the tail: the second stream is placed to match
    EXPECT_EQ(ReadAll(s.mixed, 3), (std::vector<int>{10000, 13000, 0}));
    EXPECT_EQ(s.second->seeks, (std::vector<int>{96, 98}));
}

TEST(CrossMix, LengthOneHasOneEntryTables)
{
    // rise[0] = 0 and fall[0] = 1: the first frame is the second stream's, the last the first's.
    Streams s = Join(10, 1);
    const auto out = ReadInPieces(s.mixed, 10);
    EXPECT_EQ(out[0], kSecond);
    EXPECT_TRUE(std::all_of(out.begin() + 1, out.end(), [](int x) { return x == kFirst; }));
    EXPECT_EQ(s.second->seeks, std::vector<int>{99});
}
