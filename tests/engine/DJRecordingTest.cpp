#include "engine/DJConsole.h"

#include "ConsoleTestSupport.h"
#include "sound/LPeakLimit.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <csignal>
#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kRampFrames = 44100 * 5;
constexpr int kRampLow16 = -30000, kRampSpan16 = 60000;

// Both channels rise evenly over the whole track, so each value tells the frame it came from.
std::vector<int> MakeRamp()
{
    std::vector<int> samples(size_t(kRampFrames) * 2);
    for (int f = 0; f < kRampFrames; ++f)
        samples[size_t(f) * 2] = samples[size_t(f) * 2 + 1] =
            static_cast<int>(kRampLow16 + int64_t(f) * kRampSpan16 / kRampFrames) * 16;
    return samples;
}

double RampFrameOf(int value)
{
    return (value / 16.0 - kRampLow16) * kRampFrames / kRampSpan16;
}

int64_t FileSize(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? info.st_size : -1;
}

int CountEntries(const std::string& folder)
{
    int count = 0;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* e = readdir(dir))
            count += e->d_name[0] != '.';
        closedir(dir);
    }
    return count;
}

class Recording : public ::testing::Test {
protected:
    void SetUp() override
    {
        mkdir(folder.c_str(), 0755);
        settings.Set("DefaultRecordFolder", folder);
        settings.Set("RecordingFileName", "mix");
        ASSERT_TRUE(WriteStereoWave(track, MakeTone(30, 220, 8000, true, true)));
    }
    TestHome home;
    const std::string folder = home / "rec";
    const std::string track = home / "tone.wav";
    const std::string recording = home / "rec/mix.wav";
    MemorySettings settings;
    ControllerRecord controller;
};

TEST_F(Recording, WithThePlayerStoppedNothingHappens)
{
    Capture capture(home / "capture.wav");
    DJConsole console;
    console.SetNotify(&controller);
    console.StartRecording();
    EXPECT_FALSE(console.IsRecording());
    console.StopRecording();
    EXPECT_EQ(CountEntries(folder), 0);
    EXPECT_TRUE(controller.messages.empty());
}

TEST_F(Recording, AFolderThatCannotBeWrittenShowsTheMessageAndPlaybackGoesOn)
{
    Capture capture(home / "capture.wav");
    ASSERT_TRUE(WriteStereoWave(home / "plain.wav", {}));
    const std::string longName(300, 'x');
    struct Case {
        std::string folder, name;
    } cases[] = {{home / "plain.wav/sub", "mix"}, {home / "absent/deeper", "mix"}, {folder, longName}};
    for (const Case& c : cases) {
        settings.Set("DefaultRecordFolder", c.folder);
        settings.Set("RecordingFileName", c.name);
        controller = ControllerRecord();
        controller.recording = true;
        DJConsole console;
        console.SetNotify(&controller);
        DJDeck& deck = console.AddDeck(kDeckLeft);
        ASSERT_TRUE(deck.Load(track.c_str(), 22050, 0));
        deck.Play();
        ASSERT_EQ(controller.messages.size(), 1u) << c.folder;
        // A path too long for the message is cut, not refused.
        const std::string full = "Recording File|Can not create recording file: " + c.folder + "/" + c.name + ".wav";
        EXPECT_EQ(full.rfind(controller.messages[0], 0), 0u) << controller.messages[0];
        EXPECT_GT(controller.messages[0].size(), 60u);
        EXPECT_FALSE(controller.recording);
        EXPECT_FALSE(console.IsRecording());
        EXPECT_TRUE(console.IsPlayerRunning());
        // Asked again while playing: the same message, the chain left alone.
        console.StartRecording();
        EXPECT_EQ(controller.messages.size(), 2u);
        EXPECT_TRUE(console.IsPlayerRunning());
    }
    EXPECT_EQ(CountEntries(folder), 0);
}

// On the paced capture device the ring holds seconds of audio ahead of the ear, so every
// resync throws audio away that the file must lose too. After the pitch change the ramp is
// resampled: each recorded frame then moves the ramp on by the deck's speed, not by one.
TEST_F(Recording, ResyncsLeaveNoRepeatedOrMissingStretchAndTheHeaderIsTrue)
{
    const std::string rampPath = home / "ramp.wav";
    ASSERT_TRUE(WriteStereoWave(rampPath, MakeRamp()));
    Capture capture(home / "capture.wav", false);
    controller.recording = true;
    constexpr double kPitch = 1.25;  // the converter's fraction is exact here: 5/4
    constexpr int kSeekTo = 44100 * 3;  // in frames of the ramp
    {
        DJConsole console;
        console.SetNotify(&controller);
        DJDeck& deck = console.AddDeck(kDeckLeft);
        console.AddDeck(kDeckRight);
        console.SetCrossFade(0);
        ASSERT_TRUE(deck.Load(rampPath.c_str(), 22050, 0));
        deck.Play();
        ASSERT_TRUE(console.IsRecording());
        auto at = [&](int ms) { ASSERT_TRUE(RunUntil([&] { return deck.GetPosition().GetMilliseconds() >= ms; })); };
        at(500);
        console.SetCrossFade(1);  // still 0 dB
        at(800);
        deck.SetEq(LdBValue(0), LdBValue(0), LdBValue(6));  // no effect on a ramp this slow
        at(1100);
        console.SetCrossFade(0);
        at(1400);
        ASSERT_GE(console.GetLag(), 44100);  // there is audio ahead to throw away
        deck.SetPitch(kPitch);  // positions are in pitched frames from here on
        at(1500);
        ASSERT_GE(console.GetLag(), 44100);
        deck.Seek(static_cast<int>(kSeekTo / kPitch));
        ASSERT_TRUE(RunUntil([&] { return deck.GetState() == kDeckStopped; }));
        EXPECT_FALSE(console.IsRecording());
    }
    LSoundSource file = LWaveFile::OpenSource(recording.c_str());
    ASSERT_EQ(file->GetError(), kErrNone);
    EXPECT_EQ(int64_t(file->GetEndSample()) * 4 + 46, FileSize(recording));
    std::vector<int> out(size_t(file->GetEndSample()) * 2);
    file->Read(out.data(), file->GetEndSample());
    // The ramp frame under every 1000th recorded frame from 9000 on (the equaliser's filters
    // settle on the ramp at the start). A step of them moves the ramp on by 1000 at speed 1 and
    // by 1000 * kPitch after the pitch change; a resync's fade bends a few steps.
    constexpr int kEvery = 1000, kFirst = 9000;
    constexpr double kSteady = 30;  // ramp frames: the ramp's 16-bit steps and the filters
    std::vector<double> ramp;
    for (size_t f = kFirst; f < out.size() / 2; f += kEvery)
        ramp.push_back(RampFrameOf(out[f * 2]));
    ASSERT_GT(ramp.size(), 60u);
    std::string trace;
    for (size_t i = 1; i < ramp.size(); ++i)
        trace += std::to_string(int(ramp[i] - ramp[i - 1])) + " ";
    auto steady = [&](size_t i, double speed) { return std::abs(ramp[i + 1] - ramp[i] - kEvery * speed) < kSteady; };
    // The new speed for good from `fast` on; the last steady step at speed 1 before it ends at `slow`.
    size_t fast = ramp.size() - 1;
    while (fast > 0 && (steady(fast - 1, kPitch) || ramp[fast] - ramp[fast - 1] > kEvery * kPitch))
        --fast;
    size_t slow = fast;
    while (slow > 1 && !(steady(slow - 1, 1) && steady(slow - 2, 1)))
        --slow;
    ASSERT_GT(slow, 10u) << trace;
    ASSERT_LT(fast, ramp.size() - 20) << trace;

    // Up to the pitch change: from the start, every frame once; the fades of the other resyncs
    // bend the ramp but never turn it back.
    EXPECT_NEAR(ramp[0], kFirst, 2000) << trace;
    EXPECT_NEAR(ramp[slow] - ramp[0], double(slow) * kEvery, kSteady) << trace;
    for (size_t i = 0; i < slow; ++i)
        EXPECT_GT(ramp[i + 1], ramp[i]) << "step " << i << ": " << trace;
    // Across the pitch change the new chain starts a little before the old one stopped: the
    // frames of the old chain ahead of the ear (the first resync's fill and the limiter's
    // read-ahead) are rewound in the new chain's frames. Nothing more repeats, nothing goes.
    const double span = double(fast - slow) * kEvery;
    const double repeated = span * kPitch - (ramp[fast] - ramp[slow]);
    RecordProperty("repeated_at_pitch_change", std::to_string(repeated));
    EXPECT_GT(repeated, -kEvery * (kPitch - 1)) << trace;
    EXPECT_LT(repeated, (kPitch - 1) * (DJConsole::kResyncFillFrames + LSRCPeakLimit::kMaxBlockFrames) + kEvery * (kPitch - 1))
        << trace;
    // After it: at the new speed, never back, and forward once, at the seek (a run of steps
    // beyond what a fade's bend adds).
    constexpr double kBend = 300;
    auto jumping = [&](size_t i) { return ramp[i + 1] - ramp[i] > kEvery * kPitch + kBend; };
    int jumps = 0;
    for (size_t i = fast; i + 1 < ramp.size(); ++i) {
        EXPECT_GT(ramp[i + 1] - ramp[i], kEvery * kPitch - kSteady) << "step " << i << ": " << trace;
        jumps += jumping(i) && (i == fast || !jumping(i - 1));
    }
    EXPECT_EQ(jumps, 1) << trace;
    // Every frame up to the end of the track is in the file once: the frames recorded after the
    // change, at the new speed, cover the ramp from there to its end but for the seek's jump.
    const double tail = double(out.size() / 2 - (kFirst + fast * kEvery));
    const double jump = ramp.back() - ramp[fast] - double(ramp.size() - 1 - fast) * kEvery * kPitch;
    EXPECT_NEAR(RampFrameOf(out[out.size() - 2]), kRampFrames, 2000) << trace;
    EXPECT_NEAR(tail * kPitch + jump, kRampFrames - ramp[fast], 2000) << trace;
    EXPECT_GT(jump, 44100 * 0.5);  // forward, from about 1.9 s of the ramp to 3 s
    EXPECT_LT(jump, kSeekTo);
}

TEST_F(Recording, AKilledProcessLeavesAFileThatOpensUpToTheLastCommit)
{
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // No return into the test runner from here.
        Capture capture(home / "capture.wav");
        MemorySettings own;
        own.values = settings.values;
        ControllerRecord wants;
        wants.recording = true;
        DJConsole console;
        console.SetNotify(&wants);
        DJDeck& deck = console.AddDeck(kDeckLeft);
        if (!deck.Load(track.c_str(), 22050, 0))
            _exit(3);
        deck.Play();
        RunUntil([&] { return deck.GetPosition().GetMilliseconds() >= 25000; });
        kill(getpid(), SIGKILL);
        _exit(4);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status));
    LSoundSource file = LWaveFile::OpenSource(recording.c_str());
    ASSERT_EQ(file->GetError(), kErrNone);
    EXPECT_GE(file->GetEndSample(), 20 * 44100);
    EXPECT_LE(int64_t(file->GetEndSample()) * 4 + 46, FileSize(recording));
    // The audio is the track's: a 220 Hz tone at -6 dB, not noise.
    std::vector<int> head(44100 * 2);
    file->Seek(10 * 44100);
    file->Read(head.data(), 44100);
    EXPECT_LE(LargestStep(head, 0), LargestStep(MakeTone(1, 220, 4000, true, true), 0) + 64);
    EXPECT_GT(LargestStep(head, 0), 1000);
}

}  // namespace
