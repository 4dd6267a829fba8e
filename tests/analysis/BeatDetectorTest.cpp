#include "analysis/LBeatDetector.h"

#include "analysis/ClickTrain.h"
#include "base/LEventQueue.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace {

struct DoneRecord : LBeatDetectorNotify {
    void bdntfDone(int p, int o) override
    {
        period = p;
        offset = o;
        ++done;
    }
    int period = 0, offset = 0, done = 0;
};

// Runs a detection on its thread and waits for its report.
DoneRecord Detect(LBeatDetector& detector, const std::string& path)
{
    DoneRecord record;
    detector.DetectBeats(path.c_str(), &record);
    EXPECT_TRUE(LEventQueue::ForCurrentThread()->RunUntil([&] { return record.done > 0; }, 60000));
    return record;
}

TEST(BeatDetector, ClickTrainsGiveTheirTempoWithinHalfAPercent)
{
    TempFolder folder;
    for (double bpm : {80.0, 100.0, 128.0, 140.0, 174.0}) {
        SCOPED_TRACE(bpm);
        ClickTrain train{.bpm = bpm, .seconds = 30.0, .firstClickFrame = 5000};
        const std::string path = folder / "clicks.wav";
        ASSERT_TRUE(WriteStereoWave(path, MakeClickTrain(train)));
        LBeatDetector detector;
        const DoneRecord r = Detect(detector, path);
        ASSERT_GT(r.period, 0);
        const double found = 60.0 * 44100 / r.period;
        EXPECT_NEAR(found, bpm, bpm * 0.005);
        // The first click's block starts the grid.
        const int truePhase = train.firstClickFrame % r.period;
        EXPECT_LE(std::abs(r.offset - truePhase), LBeatDetector::kBlockFrames);
    }
}

TEST(BeatDetector, NothingToFindGivesHalfTheRate)
{
    TempFolder folder;
    struct Case {
        const char* name;
        std::vector<int> samples;
        int rate;
    } cases[] = {
        {"silence", std::vector<int>(44100 * 2 * 10, 0), 44100},
        {"shorter than the shortest period", MakeClickTrain({.bpm = 200, .seconds = 0.2}), 44100},
        {"silence at 22050", std::vector<int>(22050 * 2 * 5, 0), 22050},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = folder / "quiet.wav";
        ASSERT_TRUE(WriteStereoWave(path, c.samples, c.rate));
        LBeatDetector detector;
        EXPECT_EQ(Detect(detector, path).period, c.rate / 2);
    }
}

TEST(BeatDetector, AMissingFileGivesTheDefaultOfItsErrorSource)
{
    LBeatDetector detector;
    const DoneRecord r = Detect(detector, "/no/such/file.wav");
    EXPECT_EQ(r.period, kClosedRateHz / 2);
}

TEST(BeatDetector, AStoppedRunReportsNothing)
{
    TempFolder folder;
    const std::string path = folder / "long.wav";
    ASSERT_TRUE(WriteStereoWave(path, MakeClickTrain({.bpm = 128, .seconds = 120})));
    DoneRecord record;
    {
        LBeatDetector detector;
        detector.DetectBeats(path.c_str(), &record);
        detector.Stop();
        // Whatever the thread posted before it was stopped is delivered now, and must be silent.
        LEventQueue::ForCurrentThread()->DispatchPending(1000);
        EXPECT_EQ(record.done, 0);
        // A new request after a stop reports once.
        detector.DetectBeats(path.c_str(), &record);
        EXPECT_TRUE(LEventQueue::ForCurrentThread()->RunUntil([&] { return record.done > 0; }, 60000));
        EXPECT_EQ(record.done, 1);
    }
    LEventQueue::ForCurrentThread()->DispatchPending(1000);
    EXPECT_EQ(record.done, 1);
}

TEST(BeatDetector, ResultsCarryOverWhenANewRunFindsNothing)
{
    TempFolder folder;
    const std::string clicks = folder / "clicks.wav", quiet = folder / "quiet.wav";
    ASSERT_TRUE(WriteStereoWave(clicks, MakeClickTrain({.bpm = 100, .seconds = 20, .firstClickFrame = 700})));
    ASSERT_TRUE(WriteStereoWave(quiet, std::vector<int>(44100 * 2, 0)));
    LBeatDetector detector;
    const DoneRecord first = Detect(detector, clicks);
    ASSERT_NE(first.period, 22050);
    const DoneRecord second = Detect(detector, quiet);
    EXPECT_EQ(second.period, first.period);
    EXPECT_EQ(second.offset, first.offset);
}

}  // namespace

namespace {

// Every block of a held tone or of noise is loud: each is a start and each period a candidate.
// Such tracks must finish in about the time of a click train, not the square of their length.
TEST(BeatDetector, DenseEnvelopesFinish)
{
    TempFolder folder;
    std::vector<int> tone(size_t(44100) * 120 * 2), noise(tone.size());
    unsigned seed = 12345;
    for (size_t f = 0; f < tone.size() / 2; ++f) {
        tone[f * 2] = tone[f * 2 + 1] = static_cast<int>(300000 * std::sin(f * 0.0313));
        seed = seed * 1103515245 + 12345;
        noise[f * 2] = noise[f * 2 + 1] = static_cast<int>((seed >> 8) % 600000) - 300000;
    }
    for (const auto* samples : {&tone, &noise}) {
        const std::string path = folder / "dense.wav";
        ASSERT_TRUE(WriteStereoWave(path, *samples));
        LBeatDetector detector;
        EXPECT_GT(Detect(detector, path).period, 0);
    }
}

}  // namespace
