#include "ToolRun.h"

#include "analysis/ClickTrain.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include <csignal>
#include <cstdio>
#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int CountEntries(const std::string& folder)
{
    int count = 0;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* e = readdir(dir))
            count += e->d_name[0] != '.' || (e->d_name[1] != '\0' && e->d_name[1] != '.');
        closedir(dir);
    }
    return count;
}

TEST(ToolBpm, OneLineAFileAndBadFilesReportedWhileTheOthersGoOn)
{
    TempFolder folder;
    const std::string slow = folder / "slow.wav", fast = folder / "fast.wav", bad = folder / "bad.wav";
    ASSERT_TRUE(WriteStereoWave(slow, MakeClickTrain({.bpm = 100, .seconds = 20, .firstClickFrame = 4410})));
    ASSERT_TRUE(WriteStereoWave(fast, MakeClickTrain({.bpm = 240, .seconds = 20})));
    FILE* f = std::fopen(bad.c_str(), "w");
    std::fputs("not audio at all", f);
    std::fclose(f);
    const ToolRun r = RunTool(folder, "bpm " + slow + " " + bad + " " + folder / "gone.wav" + " " + fast);
    EXPECT_EQ(r.exitCode, 1);
    char path1[300], path2[300];
    double bpm1 = 0, bpm2 = 0;
    int period1 = 0, offset1 = 0, period2 = 0, offset2 = 0;
    ASSERT_EQ(std::sscanf(r.out.c_str(), "%299[^\t]\t%lf\t%d\t%d\n%299[^\t]\t%lf\t%d\t%d", path1, &bpm1, &period1, &offset1,
                          path2, &bpm2, &period2, &offset2), 8) << r.out;
    EXPECT_EQ(path1, slow);
    EXPECT_NEAR(bpm1, 100.0, 0.5);
    EXPECT_NEAR(offset1, 4410, 32);
    EXPECT_EQ(path2, fast);
    EXPECT_NEAR(bpm2, 120.0, 0.6);  // 240 is doubled to 120 by the deck's rule
    EXPECT_EQ(period2 % 2, 0);
    // One line for each bad file, naming it.
    EXPECT_NE(r.err.find(bad), std::string::npos);
    EXPECT_NE(r.err.find("gone.wav"), std::string::npos);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 2);

    // Any other type goes through the cache as a deck load does, and finds the same tempo.
    const std::string flac = folder / "slow.flac";
    ASSERT_EQ(RunTool(folder, "convert " + slow + " " + folder / "slow48.wav --rate 48000").exitCode, 0);
    ASSERT_EQ(std::system(("sox '" + folder / "slow48.wav" + "' '" + flac + "' 2>/dev/null").c_str()), 0);
    const ToolRun other = RunTool(folder, "bpm " + flac);
    ASSERT_EQ(other.exitCode, 0) << other.err;
    double bpm = 0;
    ASSERT_EQ(std::sscanf(other.out.c_str(), "%*[^\t]\t%lf", &bpm), 1) << other.out;
    EXPECT_NEAR(bpm, 100.0, 0.5);
}

TEST(ToolMix, RecordsBothTracksAcrossTheFadeAndLeavesNothingElse)
{
    TempFolder folder;
    const std::string a = folder / "a.wav", b = folder / "b.wav", out = folder / "out.wav";
    // A on the left only, B on the right only, so each one's part of the mix shows.
    std::vector<int> left = MakeClickTrain({.bpm = 125, .seconds = 12}), right = MakeClickTrain({.bpm = 128, .seconds = 12});
    for (size_t i = 0; i < left.size(); i += 2) {
        left[i + 1] = 0;
        right[i] = 0;
    }
    ASSERT_TRUE(WriteStereoWave(a, left));
    ASSERT_TRUE(WriteStereoWave(b, right));
    const ToolRun r = RunTool(folder, "mix " + a + " " + b + " -o " + out + " --at 6 --fade 2 --sync");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::vector<int> mix = ReadWave(out);
    const size_t frames = mix.size() / 2;
    // A alone, then both, then B to its end: 6 seconds, and B's 12 at 40/41 of its speed
    // when synced (the converter's fraction for 125/128), less than a beat moved by the sync.
    EXPECT_GE(frames / 44100.0, 18.25);
    EXPECT_LE(frames / 44100.0, 18.3 + 60.0 / 125);
    auto loudest = [&](int channel, double from, double to) {
        int peak = 0;
        for (size_t f = size_t(from * 44100); f < std::min(frames, size_t(to * 44100)); ++f)
            peak = std::max(peak, std::abs(mix[f * 2 + channel]));
        return peak;
    };
    EXPECT_GT(loudest(0, 0, 5.5), 100000);
    // The equaliser keeps one history for both channels, so a trace of one leaks to the other.
    EXPECT_LT(loudest(1, 0, 5.5), 1000);
    // The crossfader is right at 8 s; its last move fades out the few percent left of A over
    // the resync's 8192 frames after the slice the device holds, so by 8.2 s A is gone, to
    // the equaliser's trace.
    const int click = loudest(0, 0, 5.5);
    EXPECT_LT(loudest(0, 8.0, 18.5), click / 20);
    EXPECT_LT(loudest(0, 8.2, 18.5), 200);
    EXPECT_GT(loudest(1, 8.0, 18.2), 100000);
    EXPECT_EQ(CountEntries(folder.Path()), 5);  // a, b, out, and the two captured outputs of RunTool

    const ToolRun cut = RunTool(folder, "mix " + a + " " + b + " -o " + out + " --length 3");
    ASSERT_EQ(cut.exitCode, 0) << cut.err;
    EXPECT_EQ(ReadWave(out).size(), size_t(3 * 44100 * 2));
}

// Processes that keep every core busy until the object goes, so that the mix's threads wait
// for the processor at any point.
class CpuHog {
public:
    explicit CpuHog(int processes)
    {
        for (int i = 0; i < processes; ++i) {
            const pid_t pid = fork();
            if (pid == 0) {
                volatile unsigned spin = 0;
                for (;;)
                    spin = spin + 1;
            }
            if (pid > 0)
                _children.push_back(pid);
        }
    }
    ~CpuHog()
    {
        for (pid_t pid : _children) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
    }
    size_t GetCount() const { return _children.size(); }

private:
    std::vector<pid_t> _children;
};

// The mix depends on its inputs and options only: a run on a machine kept busy gives the very
// bytes of a run without it, through B's start, the sync, every crossfade step and A's end.
TEST(ToolMix, TheSameFileWhateverTheLoad)
{
    TempFolder folder;
    const std::string a = folder / "a.wav", b = folder / "b.wav";
    ASSERT_TRUE(WriteStereoWave(a, MakeClickTrain({.bpm = 125, .seconds = 6})));
    ASSERT_TRUE(WriteStereoWave(b, MakeClickTrain({.bpm = 128, .seconds = 4, .firstClickFrame = 3000})));
    const std::string options = " --at 3.5 --fade 1 --sync";
    const ToolRun quiet = RunTool(folder, "mix " + a + " " + b + " -o " + folder / "quiet.wav" + options);
    ASSERT_EQ(quiet.exitCode, 0) << quiet.err;
    {
        const CpuHog hog(2 * static_cast<int>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L)));
        ASSERT_GT(hog.GetCount(), 0u);
        const ToolRun busy = RunTool(folder, "mix " + a + " " + b + " -o " + folder / "busy.wav" + options);
        ASSERT_EQ(busy.exitCode, 0) << busy.err;
    }
    const std::string first = ReadWholeFile(folder / "quiet.wav");
    EXPECT_GT(first.size(), size_t(7 * 44100 * 4));  // 3.5 s of A, then B's 4 s
    EXPECT_TRUE(first == ReadWholeFile(folder / "busy.wav"));
}

TEST(ToolMix, BadFilesAndBadValuesLeaveNoFile)
{
    TempFolder folder;
    const std::string a = folder / "a.wav", out = folder / "out.wav";
    ASSERT_TRUE(WriteStereoWave(a, MakeClickTrain({.bpm = 125, .seconds = 2})));
    struct Case {
        std::string args;
        int exitCode;
        int errorLines;
    } cases[] = {
        {"mix " + folder / "x.wav" + " " + folder / "y.wav" + " -o " + out, 1, 2},
        {"mix " + a + " " + folder / "y.wav" + " -o " + out, 1, 1},
        {"mix " + a + " " + a + " -o " + folder / "no/such/out.wav", 1, 1},
        {"mix " + a + " " + a + " -o " + out + " --fade nan", 2, 1},
        {"mix " + a + " " + a + " -o " + out + " --length 0", 2, 1},
        {"mix " + a + " " + a, 2, 1},
    };
    for (const Case& c : cases) {
        const ToolRun r = RunTool(folder, c.args);
        EXPECT_EQ(r.exitCode, c.exitCode) << c.args << "\n" << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), c.errorLines) << c.args << "\n" << r.err;
        EXPECT_EQ(CountEntries(folder.Path()), 3) << c.args;  // a.wav and the two captured outputs
    }
}

}  // namespace
