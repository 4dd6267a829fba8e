// The fast capture device under a render limit: it stops exactly at each limit, the player
// reads no further ahead than the limit allows, and the file is the source, frame for frame.
#include "output/LSoundPlayer.h"
#include "output/LVirtualOutputStream.h"

#include "OutputTestSupport.h"
#include "sound/MemorySource.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr int kAheadFrames = 3 * LSoundPlayer::kFillFrames;

// Waits, on the limit's signal, until the device stands at the limit and the player can put
// no more in the ring (or has put all of `frames` there).
void WaitAtStop(const LRenderLimit& limit, LSoundPlayer& player, int frames)
{
    for (;;) {
        limit.ResetStandSignal();
        const int64_t written = limit.GetDelivered() + player.output.GetHeldFrames();
        if (limit.IsReached() && (player.output.GetWriteRoom() < LSoundPlayer::kFillFrames || written == frames))
            return;
        ASSERT_TRUE(limit.GetStandSignal().WaitSignal(kWaitForever));
    }
}

std::vector<int32_t> CapturedWords(const std::string& path)
{
    const std::string bytes = ReadWholeFile(path);
    const size_t data = bytes.find("data");
    std::vector<int32_t> words(data == std::string::npos ? 0 : (bytes.size() - data - 8) / 4);
    std::memcpy(words.data(), bytes.data() + data + 8, words.size() * 4);
    return words;
}

TEST(RenderLimit, TheDeviceStopsAtEachLimitAndThePlayerAtItsBound)
{
    TempFolder folder;
    const int frames = 44100 * 2 + 33;
    std::vector<int> values(size_t(frames) * 2);
    for (size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<int>(i % 30000) * 16;  // a ramp: any repeated or lost frame shows
    CaptureDevice capture(folder / "out.wav");
    PlayerRecord record;
    {
        LRenderLimit limit(kAheadFrames);
        LSoundPlayer player;
        player.SetNotify(&record, 0);
        player.SetSoundSource(LSoundSource(new MemorySource(44100, 2, values)));
        ASSERT_TRUE(player.Play());
        // Limits within a block, at a block, across blocks, and near the end of the source.
        for (const int at : {0, 1, 511, 512, 513, 10000, 44100, frames - 100, frames}) {
            SCOPED_TRACE(at);
            limit.Raise(at);
            WaitAtStop(limit, player, frames);
            EXPECT_EQ(limit.GetDelivered(), at);
            const int64_t written = at + player.output.GetHeldFrames();
            // Whole blocks of the player up to the bound, or the whole source.
            EXPECT_LE(written, std::min<int64_t>(at + kAheadFrames, frames));
            EXPECT_TRUE(written == frames || written > at + kAheadFrames - LSoundPlayer::kFillFrames) << written;
        }
        limit.Raise(LRenderLimit::kUnlimited);
        ASSERT_TRUE(RunUntilStopped(record));
    }
    const std::vector<int32_t> words = CapturedWords(capture.Path());
    ASSERT_EQ(words.size(), values.size());
    for (size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(words[i], values[i] * 4096) << "value " << i;
}

// A limit below the one in force is no way back; without a limit installed the device runs
// as fast as the ring fills.
TEST(RenderLimit, LowerLimitsAreIgnoredAndOnlyTheInstalledLimitCounts)
{
    EXPECT_EQ(LRenderLimit::GetInstalled(), nullptr);
    {
        LRenderLimit limit(0);
        EXPECT_EQ(LRenderLimit::GetInstalled(), &limit);
        limit.Raise(1000);
        limit.Raise(10);
        EXPECT_EQ(limit.GetLimit(), 1000);
        EXPECT_FALSE(limit.IsReached());
    }
    EXPECT_EQ(LRenderLimit::GetInstalled(), nullptr);
}

}  // namespace
