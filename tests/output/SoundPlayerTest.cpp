#include "output/LSoundPlayer.h"
#include "output/LVirtualOutputStream.h"

#include "OutputTestSupport.h"
#include "sound/LWaveFile.h"
#include "sound/MemorySource.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

namespace {

int NullIndex()
{
    return LSoundPlayDevice::GetListDeviceIndex(kNullDeviceName);
}

// A stream still growing: each wait for data is counted, and `onWait` may add data.
class GrowingSource : public MemorySource {
public:
    GrowingSource(std::vector<int> samples, int available)
        : MemorySource(44100, 2, std::move(samples))
    {
        streaming = true;
        streamEnd = available;
    }
    void WaitForStreamingData(int milliseconds) override
    {
        waits.push_back(milliseconds);
        waiting.Signal();
        if (onWait)
            onWait(*this, static_cast<int>(waits.size()));
    }

    std::vector<int> waits;
    LSignalObject waiting;
    std::function<void(GrowingSource&, int)> onWait;
};

int64_t FileSize(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? info.st_size : 0;
}

// The 32-bit words of a capture file's data chunk.
std::vector<int32_t> CapturedWords(const std::string& path)
{
    const std::string bytes = ReadWholeFile(path);
    const size_t data = bytes.find("data");
    EXPECT_NE(data, std::string::npos);
    std::vector<int32_t> words((bytes.size() - data - 8) / 4);
    std::memcpy(words.data(), bytes.data() + data + 8, words.size() * 4);
    return words;
}

TEST(SoundPlayer, AnEmptySourceFinishesAtOnceAtTimeZero)
{
    PlayerRecord record;
    LSoundPlayer player;
    player.SetNotify(&record, 7);
    player.output.SetDeviceIndex(NullIndex());
    player.SetSoundSource(MakeMemory({}).handle);
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(RunUntilStopped(record));
    ASSERT_GE(record.entries.size(), 3u);
    EXPECT_EQ(record.entries.front().kind, PlayerRecord::Kind::kPlay);
    const auto& last = record.entries[record.entries.size() - 1];
    const auto& beforeLast = record.entries[record.entries.size() - 2];
    EXPECT_EQ(beforeLast.kind, PlayerRecord::Kind::kTime);
    EXPECT_EQ(beforeLast.ms, 0);
    EXPECT_EQ(last.kind, PlayerRecord::Kind::kStop);
    for (int ms : record.Times())
        EXPECT_EQ(ms, 0);
    EXPECT_FALSE(player.IsRunning());
}

TEST(SoundPlayer, AStreamAtItsEndWaitsAndResumesWhenDataCome)
{
    TempFolder folder;
    CaptureDevice capture(folder / "c.wav");
    const std::vector<int> all = Ramp(8000);
    auto* growing = new GrowingSource(all, 5000);
    const LSoundSource held(growing);  // the player lets go of it when it stops
    growing->onWait = [](GrowingSource& s, int wait) {
        if (wait == 2)
            s.streamEnd = 8000;  // more has arrived
        if (wait == 4)
            s.streaming = false;  // and that was all
    };
    PlayerRecord record;
    {
        LSoundPlayer player;
        player.SetNotify(&record, 0);
        player.SetSoundSource(held);
        ASSERT_TRUE(player.Play()) << player.output.GetOpenError();
        ASSERT_TRUE(RunUntilStopped(record));
        EXPECT_EQ(growing->waits, std::vector<int>(4, 150));
    }
    LSoundSource captured = LWaveFile::OpenSource(capture.Path().c_str());
    ASSERT_EQ(captured->GetEndSample(), 8000);
    EXPECT_EQ(ReadAll(captured, 8000), all);
}

TEST(SoundPlayer, StopEndsAStreamingWait)
{
    auto* growing = new GrowingSource(Ramp(100), 0);  // nothing ever comes
    PlayerRecord record;
    LSoundPlayer player;
    player.SetNotify(&record, 0);
    player.output.SetDeviceIndex(NullIndex());
    player.SetSoundSource(LSoundSource(growing));
    ASSERT_TRUE(player.Play());
    ASSERT_TRUE(growing->waiting.WaitSignal(kWaitForever));
    player.Stop();
    EXPECT_FALSE(player.IsRunning());
    EXPECT_TRUE(record.stopped) << "the device ran, so its stop is reported";
}

// Signals once the reads have gone past `frames`.
class WatchedSource : public MemorySource {
public:
    WatchedSource(std::vector<int> samples, int frames) : MemorySource(44100, 2, std::move(samples)), _frames(frames) {}
    void Read(int* buffer, int frames) override
    {
        MemorySource::Read(buffer, frames);
        if (pos >= _frames)
            passed.Signal();
    }
    LSignalObject passed;

private:
    int _frames;
};

TEST(SoundPlayer, StopEndsTheWaitOfAFullRing)
{
    auto* source = new WatchedSource(std::vector<int>(2 * 44100 * 6), 44100 * 4 - 8192);
    LSoundPlayer player;
    player.output.SetDeviceIndex(NullIndex());
    player.SetSoundSource(LSoundSource(source));
    ASSERT_TRUE(player.output.OpenAudioUnit());
    ASSERT_TRUE(player.Start(kThreadPriorityNormal));  // the device never takes anything
    ASSERT_TRUE(source->passed.WaitSignal(kWaitForever));
    player.Stop();
    EXPECT_FALSE(player.IsRunning());
    EXPECT_EQ(player.output.GetHeldFrames(), 0);
}

TEST(SoundPlayer, CaptureHoldsTheFileExactlyAndReportedTimesFollowIt)
{
    TempFolder folder;
    const std::string wave = folder / "in.wav";
    const int frames = 44100 * 5 + 17;  // longer than the ring, so it wraps
    std::vector<int> values = MakeNoise(2, frames, 32767);
    for (int& v : values)
        v *= 16;
    {
        LSoundSink sink = LWaveFile::OpenSinkPCM(wave.c_str(), 44100, 2, 16, 0);
        sink->Write(values.data(), frames);
    }
    CaptureDevice capture(folder / "out.wav");
    PlayerRecord record;
    int ahead = 0;  // reports of frames not yet written
    record.onTime = [&](LSoundTime time) {
        // The block just rendered may still be on its way to the file.
        const int written = static_cast<int>((FileSize(capture.Path()) - 46) / 8) +
                            LVirtualOutputStream::kLowLatencyFrames;
        if (time.GetMilliseconds() > LSoundTime::FromFrames(std::max(written, 0), 44100).GetMilliseconds())
            ++ahead;
    };
    {
        LSoundPlayer player;
        player.SetNotify(&record, 0);
        player.SetSoundSource(LWaveFile::OpenSource(wave.c_str()));
        ASSERT_TRUE(player.Play());
        ASSERT_TRUE(RunUntilStopped(record));
    }
    const std::vector<int32_t> words = CapturedWords(capture.Path());
    ASSERT_EQ(words.size(), values.size());
    for (size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(words[i], values[i] * 4096) << "value " << i;

    const std::vector<int> times = record.Times();
    ASSERT_FALSE(times.empty());
    EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
    EXPECT_EQ(times.back(), LSoundTime::FromFrames(frames, 44100).GetMilliseconds());
    EXPECT_EQ(ahead, 0);
}

}  // namespace
