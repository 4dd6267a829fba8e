#include "engine/DJConsole.h"
#include "output/LSoundPlayer.h"
#include "output/LVirtualOutputStream.h"
#include "sound/LConvertRateBase.h"

#include "ConsoleTestSupport.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <functional>
#include <string>
#include <utility>

namespace {

constexpr size_t kUnderrunFrames = 32;

class Console : public ::testing::Test {
protected:
    std::string Track(const std::string& name, const std::vector<int>& samples)
    {
        const std::string path = home / name;
        EXPECT_TRUE(WriteStereoWave(path, samples));
        return path;
    }
    TestHome home;
    MemorySettings settings;
    Capture capture{home / "capture.wav"};
    ControllerRecord controller;
};

TEST_F(Console, CrossFadeLawIsLinearInAmplitudeAndTheSameValueDoesNotResync)
{
    DJConsole console;
    DJDeck& left = console.AddDeck(kDeckLeft);
    DJDeck& right = console.AddDeck(kDeckRight);
    EXPECT_EQ(console.GetFirstDeck(), &right);
    EXPECT_EQ(console.GetCrossFade(), 50);
    struct Case {
        int position, leftDB, rightDB;
    } cases[] = {{0, 0, -127}, {50, -6, -6}, {100, -127, 0}, {25, -2, -12}, {1, 0, -40}};
    for (const Case& c : cases) {
        console.SetCrossFade(c.position);
        EXPECT_EQ(left.GetCrossFadeVolume().GetDB(), c.leftDB) << c.position;
        EXPECT_EQ(right.GetCrossFadeVolume().GetDB(), c.rightDB) << c.position;
    }
    left.SetVolume(LdBValue(-6));
    EXPECT_EQ(left.GetVolumeTotal().GetDB(), -6);
    console.SetCrossFade(50);
    EXPECT_EQ(left.GetVolumeTotal().GetDB(), -12);

    ASSERT_TRUE(left.Load(Track("a.wav", MakeTone(30, 220, 8000, true, true)).c_str(), 22050, 0));
    left.Play();
    ASSERT_TRUE(console.IsPlayerRunning());
    console.SetCrossFade(70);
    const int resyncs = console.GetResyncCount();
    EXPECT_GE(resyncs, 1);
    console.SetCrossFade(70);
    EXPECT_EQ(console.GetResyncCount(), resyncs);
    console.Stop();
    EXPECT_FALSE(console.IsPlayerRunning());
}

TEST_F(Console, SyncWithoutABeatPeriodLeavesThePitch)
{
    DJConsole console;
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    const std::string path = Track("a.wav", MakeTone(5, 220, 8000, true, true));
    ASSERT_TRUE(a.Load(path.c_str(), 20000, 0));
    ASSERT_TRUE(b.Load(path.c_str(), 1, 1));
    b.ResetBeatFrequency();
    a.Sync();  // the other deck has no grid
    EXPECT_EQ(a.GetPitch(), 1.0);
    b.Sync();  // the deck itself has none
    EXPECT_EQ(b.GetPitch(), 1.0);
    b.bdntfDone(25000, 0);
    a.Sync();
    EXPECT_DOUBLE_EQ(a.GetPitch(), 20000.0 / 25000.0);
    a.Unsync();
    EXPECT_EQ(a.GetPitch(), 1.0);
}

TEST_F(Console, StoppingBothDecksClosesBothPlayersAndTheRecording)
{
    settings.Set("DefaultRecordFolder", home.Path());
    settings.Set("RecordingFileName", "set one");
    DJConsole console;
    console.SetNotify(&controller);
    controller.recording = true;
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    const std::string path = Track("a.wav", MakeTone(60, 220, 8000, true, true));
    ASSERT_TRUE(a.Load(path.c_str(), 22050, 0));
    ASSERT_TRUE(b.Load(path.c_str(), 22050, 0));
    a.Play();
    b.Play();
    EXPECT_TRUE(console.IsRecording());
    ASSERT_TRUE(RunUntil([&] { return a.GetPosition().GetMilliseconds() > 1000; }));
    a.Stop();
    EXPECT_TRUE(console.IsPlayerRunning());
    EXPECT_TRUE(console.IsRecording());
    b.Stop();
    EXPECT_FALSE(console.IsPlayerRunning());
    EXPECT_FALSE(console.GetSecondPlayer().IsRunning());
    EXPECT_FALSE(console.IsRecording());
    EXPECT_EQ(controller.stops, 2);
    // The header is true: the reader sees every byte of data.
    struct stat info;
    ASSERT_EQ(stat((home / "set one.wav").c_str(), &info), 0);
    LSoundSource file = LWaveFile::OpenSource((home / "set one.wav").c_str());
    EXPECT_EQ(file->GetError(), kErrNone);
    EXPECT_EQ(int64_t(file->GetEndSample()) * 4 + 46, info.st_size);
    // Everything that reached the device is in the file, from the first frame on.
    EXPECT_GT(file->GetEndSample(), 44100);
    EXPECT_NEAR(file->GetEndSample(), capture.Read().size() / 2, 8192);
}

TEST_F(Console, ASecondDeckStartsAtOnceAndBothPositionsStayTrue)
{
    DJConsole console;
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    console.SetCrossFade(50);
    ASSERT_TRUE(a.Load(Track("a.wav", MakeTone(20, 220, 8000, true, false)).c_str(), 22050, 0));
    ASSERT_TRUE(b.Load(Track("b.wav", MakeTone(20, 330, 8000, false, true)).c_str(), 22050, 0));
    a.Play();
    ASSERT_TRUE(RunUntil([&] { return a.GetPosition().GetMilliseconds() >= 3000; }));
    const int heardAtStart = a.GetPosition().GetMilliseconds();
    b.Play();
    ASSERT_TRUE(RunUntil([&] { return b.GetPosition().GetMilliseconds() >= 2000; }));
    // A is ahead of B by what A had played when B started (plus the updates in between).
    const int gap = a.GetPosition().GetMilliseconds() - b.GetPosition().GetMilliseconds();
    EXPECT_GE(gap, heardAtStart - 50);
    EXPECT_LE(gap, heardAtStart + 1000);
    EXPECT_EQ(a.GetState(), kDeckPlaying);
    console.Stop();
    // B's first sound in the output follows A's audio without a pause in A.
    const std::vector<int> out = capture.Read();
    size_t firstRight = 0;
    while (firstRight < out.size() / 2 && out[firstRight * 2 + 1] == 0)
        ++firstRight;
    ASSERT_LT(firstRight, out.size() / 2);
    EXPECT_NEAR(double(firstRight) / 44100 * 1000, heardAtStart, 1000);
    // Up to A's last sound: the stop cuts the tone wherever it is, which is no start's doing.
    size_t lastLeft = out.size() / 2;
    while (lastLeft > 0 && out[(lastLeft - 1) * 2] == 0)
        --lastLeft;
    const std::vector<int> played(out.begin(), out.begin() + std::ptrdiff_t(lastLeft * 2));
    EXPECT_LE(LargestStep(played, 0, 2000), LargestStep(MakeTone(1, 220, 8000, true, false), 0) + 64)
        << "at frame " << LargestStepAt(played, 0, 2000) << " of " << lastLeft << " (" << out.size() / 2 << " captured)";
}

TEST_F(Console, ABadTrackLeavesItsDeckEmptyAndTheOtherPlaying)
{
    DJConsole console;
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    ASSERT_TRUE(a.Load(Track("a.wav", MakeTone(20, 220, 8000, true, true)).c_str(), 22050, 0));
    a.Play();
    EXPECT_FALSE(b.Load((home / "missing.wav").c_str(), 0, 0));
    EXPECT_EQ(b.GetPositionSource()->GetError(), kErrMissing);
    b.Play();
    b.Sync();
    b.SetLoop(4);
    b.Seek(1000);
    b.SetEq(LdBValue(6), LdBValue(0), LdBValue(0));
    b.SetHeadphoneMode(true);
    b.SetPitch(1.1);
    b.Stop();
    EXPECT_EQ(b.GetState(), kDeckStopped);
    EXPECT_TRUE(console.IsPlayerRunning());
    EXPECT_EQ(a.GetState(), kDeckPlaying);
    ASSERT_TRUE(RunUntil([&] { return a.GetPosition().GetMilliseconds() >= 1000; }));
}

// Largest step between neighbouring frames of one channel, leaving out frames next to a run
// of silence: a paced device on a loaded machine may underrun and play silence, which is no
// resync's doing. Answers the step and where it is.
std::pair<int, size_t> LargestStepOutsideSilence(const std::vector<int>& out, int channel)
{
    std::vector<bool> silent(out.size() / 2, false);
    for (size_t f = 0, run = 0; f < out.size() / 2; ++f) {
        run = (out[f * 2] == 0 && out[f * 2 + 1] == 0) ? run + 1 : 0;
        if (run == kUnderrunFrames)
            for (size_t back = f + 1 - run; back <= f; ++back)
                silent[back] = true;
        else if (run > kUnderrunFrames)
            silent[f] = true;
    }
    int largest = 0;
    size_t at = 0;
    for (size_t f = 4096; f < silent.size(); ++f) {
        const int step = std::abs(out[f * 2 + channel] - out[(f - 1) * 2 + channel]);
        if (!silent[f] && !silent[f - 1] && step > largest) {
            largest = step;
            at = f;
        }
    }
    return {largest, at};
}

// No step in either channel beyond the tone's own largest, with a quarter to spare; a hard
// switch between the two equaliser levels would step by three quarters of the amplitude.
void ExpectNoClick(const std::vector<int>& out, const std::vector<int>& tone)
{
    const int ownStep = LargestStep(tone, 0);
    for (int channel = 0; channel < 2; ++channel) {
        const auto [largest, at] = LargestStepOutsideSilence(out, channel);
        std::string around;
        for (size_t f = at - 3; at > 3 && f < at + 3; ++f)
            around += std::to_string(out[f * 2 + channel]) + " ";
        EXPECT_LE(largest, ownStep + ownStep / 4) << channel << " at " << at << ": " << around;
    }
}

// Two decks whose chains change while they play; deck A alone is heard.
struct TwoTones {
    static std::vector<int> ToneA() { return MakeTone(20, 110, 12000, true, true); }
    static std::vector<int> ToneB() { return MakeTone(20, 150, 12000, true, true); }
    TwoTones(const std::string& pathA, const std::string& pathB)
    {
        a.Load(pathA.c_str(), 22050, 0);
        b.Load(pathB.c_str(), 22050, 0);
        console.SetCrossFade(0);  // B still plays through the mixer
    }
    // A 12 dB jump of A's fundamental, one way or the other.
    void ChangeEffect(int i) { a.SetEq(LdBValue(i % 2 ? -12 : 0), LdBValue(0), LdBValue(0)); }

    DJConsole console;
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
};

// Turns the queue until `done`, looking at it again at least every 10 ms: a device standing at
// its limit posts nothing that would wake a plain wait. Gives up after a minute.
bool WaitFor(const std::function<bool()>& done)
{
    LEventQueue& queue = *LEventQueue::ForCurrentThread();
    for (int turn = 0; turn < 6000 && !done(); ++turn) {
        queue.WaitForEvent(10);
        queue.DispatchPending(64);
    }
    return done();
}

// On the paced capture device: the ring then holds audio ahead of the ear, which a resync
// throws away and fades across.
TEST_F(Console, AnEffectChangeWhilePlayingMakesNoClick)
{
    Capture paced(home / "paced.wav", false);
    TwoTones decks(Track("a.wav", TwoTones::ToneA()), Track("b.wav", TwoTones::ToneB()));
    ASSERT_TRUE(decks.a.IsLoaded() && decks.b.IsLoaded());
    decks.a.Play();
    decks.b.Play();
    for (int i = 1; i <= 6; ++i) {
        // A change fades across the audio thrown away; wait until the ring holds a second of
        // it, as it does on a machine that keeps up.
        ASSERT_TRUE(RunUntil([&] { return decks.a.GetPosition().GetMilliseconds() >= i * 400 && decks.console.GetLag() >= 44100; }));
        decks.ChangeEffect(i);
    }
    const int resyncs = decks.console.GetResyncCount();
    decks.console.Stop();
    EXPECT_GE(resyncs, 6);
    const std::vector<int> out = paced.Read();
    ASSERT_GT(out.size(), size_t(44100 * 2 * 3 / 2));
    ExpectNoClick(out, TwoTones::ToneA());
}

// The same on the fast capture device, held by a render limit so that the player has read
// ahead when each change comes: the resync then has a ring of audio to throw away and fade
// across, as on a real device, while the capture runs faster than real time.
TEST_F(Console, AnEffectChangeOnTheFastDeviceMakesNoClick)
{
    constexpr int kAheadFrames = 24576;  // read ahead of the limit: over half a second
    constexpr int kStepFrames = 17640;   // 0.4 s at 44,100 Hz between changes
    LRenderLimit limit(kAheadFrames);    // before the console, so that it outlives the device
    Capture fast(home / "fast.wav", true);
    TwoTones decks(Track("a.wav", TwoTones::ToneA()), Track("b.wav", TwoTones::ToneB()));
    ASSERT_TRUE(decks.a.IsLoaded() && decks.b.IsLoaded());
    LSoundPlayer& player = decks.console.GetMainPlayer();
    // Standing at the limit with the ring filled to its bound.
    const auto standing = [&] {
        return limit.IsReached() && player.output.GetWriteRoom() < LSoundPlayer::kFillFrames;
    };
    decks.a.Play();
    decks.b.Play();
    for (int i = 1; i <= 7; ++i) {
        limit.Raise(int64_t(i) * kStepFrames);
        ASSERT_TRUE(WaitFor(standing)) << "step " << i;
        if (i < 7)
            decks.ChangeEffect(i);
    }
    const int resyncs = decks.console.GetResyncCount();
    limit.Raise(LRenderLimit::kUnlimited);
    decks.console.Stop();
    EXPECT_GE(resyncs, 6);
    const std::vector<int> out = fast.Read();
    ASSERT_GE(out.size(), size_t(7 * kStepFrames * 2));
    ExpectNoClick(out, TwoTones::ToneA());
}

// A slider dragged with every effect on: each pointer move resyncs, which leaves the ring with
// only what the device is about to take plus what the resync writes. At the device's own pace
// that must always be enough: no run of silence in a tone that never stops.
TEST_F(Console, DraggingAnEffectWithAllSixOnNeverLetsThePacedDeviceRunDry)
{
    Capture paced(home / "paced.wav", false);
    DJConsole console;
    DJDeck& a = console.AddDeck(kDeckLeft);
    ASSERT_TRUE(a.Load(Track("a.wav", MakeTone(20, 440, 12000, true, true)).c_str(), 22050, 0));
    a.SetHighPass(120, true);
    a.SetReverb(30, LSoundTime(2000), 40, true);
    a.SetDistortion(0.4, LdBValue(3), true);
    a.SetPhaser(3, 60, true);
    a.SetDelay(40, 375, true);
    a.SetFlanger(5, 0.5, 40, 50, true);
    a.Play();
    ASSERT_TRUE(RunUntil([&] { return a.GetPosition().GetMilliseconds() >= 300; }));
    const int resyncsBefore = console.GetResyncCount();
    constexpr int kMoves = 120, kMoveMs = 16;  // a pointer move per frame of a 60 Hz screen
    for (int move = 0; move < kMoves; ++move) {
        const int next = a.GetPosition().GetMilliseconds() + kMoveMs;
        a.SetFlanger(5, 0.5, move % 100, 50, true);
        ASSERT_TRUE(RunUntil([&] { return a.GetPosition().GetMilliseconds() >= next; }));
    }
    const int resyncs = console.GetResyncCount() - resyncsBefore;
    console.Stop();
    EXPECT_GE(resyncs, kMoves);

    const std::vector<int> out = paced.Read();
    size_t first = 0, last = out.size() / 2;
    while (first < last && out[first * 2] == 0 && out[first * 2 + 1] == 0)
        ++first;
    while (last > first && out[(last - 1) * 2] == 0 && out[(last - 1) * 2 + 1] == 0)
        --last;
    ASSERT_GT(last - first, size_t(44100 * kMoves * kMoveMs / 1000));
    int gaps = 0;
    for (size_t f = first, run = 0; f < last; ++f) {
        run = (out[f * 2] == 0 && out[f * 2 + 1] == 0) ? run + 1 : 0;
        gaps += run == kUnderrunFrames;
    }
    EXPECT_EQ(gaps, 0) << "the device ran dry after a resync";
}

// Onsets of a click train on one channel: a sample far above silence after at least 0.2 s of
// quiet on that channel.
std::vector<size_t> Onsets(const std::vector<int>& stereo, int channel)
{
    constexpr int kLoud = 16 * 2000;
    constexpr size_t kQuietFrames = 8820;
    std::vector<size_t> at;
    size_t quiet = 0;
    for (size_t f = 0; f < stereo.size() / 2; ++f) {
        const bool loud = std::abs(stereo[f * 2 + channel]) > kLoud;
        if (loud && quiet > kQuietFrames)
            at.push_back(f);
        quiet = loud ? 0 : quiet + 1;
    }
    return at;
}

// Least-squares slope of `y` over its index.
double Slope(const std::vector<double>& y)
{
    const double n = static_cast<double>(y.size());
    double sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (size_t i = 0; i < y.size(); ++i) {
        sx += double(i);
        sy += y[i];
        sxx += double(i) * double(i);
        sxy += double(i) * y[i];
    }
    return (n * sxy - sx * sy) / (n * sxx - sx * sx);
}

TEST_F(Console, SyncLandsA128BpmTrackOnTheBeatsOfA125BpmOne)
{
    DJConsole console;
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    console.SetCrossFade(50);
    ClickTrain slow{.bpm = 125, .seconds = 40, .firstClickFrame = 3000};
    ClickTrain fast{.bpm = 128, .seconds = 40, .firstClickFrame = 9000};
    std::vector<int> left = MakeClickTrain(slow), right = MakeClickTrain(fast);
    for (size_t f = 0; f < left.size() / 2; ++f)
        left[f * 2 + 1] = right[f * 2] = 0;  // A on the left channel, B on the right
    ASSERT_TRUE(a.Load(Track("a.wav", left).c_str(), 21168, 3000));  // 125 BPM
    ASSERT_TRUE(b.Load(Track("b.wav", right).c_str(), 20672, 9000));  // 128 BPM
    a.Play();
    ASSERT_TRUE(RunUntil([&] { return a.GetPosition().GetMilliseconds() >= 2000; }));
    b.Play();
    ASSERT_TRUE(RunUntil([&] { return b.GetPosition().GetMilliseconds() >= 1000; }));
    b.Sync();
    EXPECT_NEAR(b.GetPitch(), 20672.0 / 21168.0, 1e-9);
    ASSERT_TRUE(RunUntil([&] { return b.GetPosition().GetMilliseconds() >= 20000; }));
    console.Stop();
    const std::vector<int> out = capture.Read();
    const std::vector<size_t> beatsA = Onsets(out, 0), beatsB = Onsets(out, 1);

    // B's clicks from the sync on: the run at the synced spacing that lasts to the end.
    const double beatA = 60.0 * slow.rate / slow.bpm, beatB = 60.0 * fast.rate / fast.bpm;
    size_t first = beatsB.empty() ? 0 : beatsB.size() - 1;
    while (first >= 1 && std::abs(double(beatsB[first] - beatsB[first - 1]) - beatA) < beatA * 0.01)
        --first;
    const std::vector<size_t> synced(beatsB.begin() + first, beatsB.end());
    ASSERT_GE(synced.size(), 33u) << "B ran too briefly after the sync";
    // Each synced click of B against the nearest click of A, in frames (B late is positive).
    std::vector<double> error;
    for (size_t click : synced) {
        double nearest = 1e9;
        for (size_t x : beatsA)
            if (std::abs(double(click) - double(x)) < std::abs(nearest))
                nearest = double(click) - double(x);
        error.push_back(nearest);
    }
    // The pitch stage plays at its converter's real speed M/L, the closest fraction its search
    // finds to the pitch asked (within 0.001): B's beats drift from A's by what that leaves.
    const LConvertRateBase converter(fast.rate, static_cast<int>(fast.rate / b.GetPitch()), 63, false, true);
    const double modelDrift = beatB * converter.GetPhases() / converter.GetStep() - beatA;  // frames a beat
    const double drift = Slope(error);
    RecordProperty("landing_frames", std::to_string(error[0]));
    RecordProperty("drift_frames_over_32_beats", std::to_string(drift * 32));
    EXPECT_NEAR(drift, modelDrift, 0.5);
    // No beat lost or repeated: every click stands where the steady drift puts it.
    for (size_t k = 0; k < error.size(); ++k)
        EXPECT_NEAR(error[k], error[0] + drift * double(k), 4.0) << "click " << k;
    // Where the first synced beat lands: the grid offset stays in the track's own frames while
    // the position is in pitched ones, and the phase is taken modulo A's period, so B lands
    // late by its offset's and its beats' share of the converter's stretch.
    const double stretch = double(converter.GetPhases()) / converter.GetStep() - 1;
    EXPECT_GT(error[0], 0);
    EXPECT_LT(error[0], fast.firstClickFrame * stretch + (synced[0] / beatA + 1) * std::abs(modelDrift) + 16);
}

TEST_F(Console, ALoopAtTheVeryEndPlaysThroughTheLimiterWithoutAGap)
{
    DJConsole console;
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    console.SetCrossFade(50);
    // Two loud decks: the mix passes full scale, so the player's chain has the limiter.
    std::vector<int> loud(size_t(44100 * 4) * 2, 30000 * 16);
    ASSERT_TRUE(a.Load(Track("a.wav", loud).c_str(), 22050, 0));
    ASSERT_TRUE(b.Load(Track("b.wav", loud).c_str(), 22050, 0));
    a.SetCueMark(44100 * 4 - 22050);
    a.SetLoop(1);  // the last beat of the track
    EXPECT_EQ(a.GetLoopEndSample(), 44100 * 4);
    // Both loops are set before either deck plays: the fast capture runs far ahead of this
    // thread, and a deck let loose without its loop would reach its end and fall silent.
    b.SetLoop(-1);
    a.Play();
    b.Play();
    // Both decks loop, so no position passes the track's length; the output's length tells.
    ASSERT_TRUE(RunUntil([&] {
        struct stat info;
        return stat(capture.path.c_str(), &info) == 0 && info.st_size > 44100 * 8 * 7;
    }));
    console.Stop();
    const std::vector<int> out = capture.Read();
    ASSERT_GT(out.size(), size_t(44100 * 2 * 6));
    size_t zeros = 0;
    for (size_t i = 44100 * 2; i < out.size(); ++i)
        zeros += out[i] == 0;
    EXPECT_EQ(zeros, 0u);
    for (size_t i = 0; i < out.size(); ++i)
        ASSERT_LE(std::abs(out[i]), kPeakLimit) << i;
}

}  // namespace

namespace {

TEST_F(Console, ASecondDeviceTakesTheHeadphoneChannelsThroughTheSplitter)
{
    settings.Set("UseSecondDevice", "1");
    settings.Set("SoundOutDeviceHeadphone", kNullDeviceName);
    settings.Set("MainOutputLeft", "0");
    settings.Set("MainOutputRight", "1");
    settings.Set("HeadphoneOutputLeft", "2");
    settings.Set("HeadphoneOutputRight", "3");
    DJConsole console;
    EXPECT_EQ(console.GetMixer().GetOutputChannels(), 4);
    DJDeck& a = console.AddDeck(kDeckLeft);
    DJDeck& b = console.AddDeck(kDeckRight);
    ASSERT_TRUE(a.Load(Track("a.wav", MakeTone(20, 220, 8000, true, true)).c_str(), 22050, 0));
    ASSERT_TRUE(b.Load(Track("b.wav", MakeTone(20, 330, 8000, true, true)).c_str(), 22050, 0));
    a.SetHeadphoneMode(true);
    a.Play();
    EXPECT_TRUE(console.IsPlayerRunning());
    EXPECT_TRUE(console.GetSecondPlayer().IsRunning());
    ASSERT_TRUE(RunUntil([&] { return a.GetPosition().GetMilliseconds() >= 1000; }));
    b.Play();  // a resync of both players, in the lock order
    a.SetEq(LdBValue(-6), LdBValue(0), LdBValue(0));
    a.SetHeadphoneMode(false);
    ASSERT_TRUE(RunUntil([&] { return b.GetPosition().GetMilliseconds() >= 1000; }));
    const int resyncs = console.GetResyncCount();
    EXPECT_GE(resyncs, 3);
    a.Stop();
    b.Stop();
    EXPECT_FALSE(console.IsPlayerRunning());
    EXPECT_FALSE(console.GetSecondPlayer().IsRunning());
    const std::vector<int> out = capture.Read();
    ASSERT_GT(out.size(), size_t(44100 * 2));
    EXPECT_GT(LargestStep(out, 0), 0);  // the main pair carries the mix
}

}  // namespace
