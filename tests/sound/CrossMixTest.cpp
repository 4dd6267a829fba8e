#include "sound/LCrossMix.h"
#include "MemorySource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

constexpr int kFirst = 4000;       // the first stream, constant
constexpr int kSecond = 8000;      // the second stream's body
constexpr int kSecondEnd = 16000;  // the second stream's last `length` frames

// A first stream of `frames` frames and a second of 100, joined with fades of `length`; the
// mixed stream and the second's source.
std::pair<LSoundSource, MemorySource*> Join(int frames, int length)
{
    std::vector<int> second(100, kSecond);
    std::fill(second.end() - length, second.end(), kSecondEnd);
    HeldMemory held = MakeMemory(second, 1);
    LSoundSource first = MakeMemory(std::vector<int>(size_t(frames), kFirst), 1).handle;
    return {LSPCrossMix(length, held.handle).OpenSource(first), held.memory};
}

}  // namespace

TEST(CrossMix, FadesInOverTheSecondAndOutIntoItsTail)
{
    auto [mixed, second] = Join(50, 4);
    const auto out = ReadInPieces(mixed, 50);
    // In: first * i/4 + second * (1 - i/4), the second read from where it stands.
    EXPECT_EQ(std::vector<int>(out.begin(), out.begin() + 4), (std::vector<int>{8000, 7000, 6000, 5000}));
    EXPECT_TRUE(std::all_of(out.begin() + 4, out.end() - 4, [](int x) { return x == kFirst; }));
    // Out: first * (1 - j/4) + the second's last frames * j/4.
    EXPECT_EQ(std::vector<int>(out.end() - 4, out.end()), (std::vector<int>{4000, 7000, 10000, 13000}));
    EXPECT_EQ(second->seeks, std::vector<int>{96});

    mixed->Seek(48);  // straight into the tail: the second stream is placed to match
    EXPECT_EQ(ReadAll(mixed, 3), (std::vector<int>{10000, 13000, 0}));
    EXPECT_EQ(second->seeks, (std::vector<int>{96, 98}));
}

TEST(CrossMix, LengthOneHasOneEntryTables)
{
    // rise[0] = 0 and fall[0] = 1: the first frame is the second stream's, the last the first's.
    auto [mixed, second] = Join(10, 1);
    const auto out = ReadInPieces(mixed, 10);
    EXPECT_EQ(out[0], kSecond);
    EXPECT_TRUE(std::all_of(out.begin() + 1, out.end(), [](int x) { return x == kFirst; }));
    EXPECT_EQ(second->seeks, std::vector<int>{99});
}
