#include "sound/LSRCConvChannels.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

namespace {

struct ToolResult {
    int exitCode;
    std::string err;
};

ToolResult Tool(const TempFolder& folder, const std::string& arguments)
{
    const std::string err = folder / "stderr.txt";
    const int status = std::system((std::string(ORVANE_TOOL_PATH) + " " + arguments + " >/dev/null 2>" + err).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadWholeFile(err)};
}

// One second of 44,100 Hz stereo: a 1 kHz tone on the left, 5 kHz on the right.
std::string WriteTone(const TempFolder& folder)
{
    const std::string path = folder / "tone.wav";
    std::vector<int> frames(2 * 44100);
    for (int i = 0; i < 44100; ++i) {
        frames[2 * size_t(i)] = int(std::lround(0x40000 * std::sin(2 * std::numbers::pi * 1000 * i / 44100))) & ~15;
        frames[2 * size_t(i) + 1] = int(std::lround(0x40000 * std::sin(2 * std::numbers::pi * 5000 * i / 44100))) & ~15;
    }
    LWaveFile::OpenSinkPCM(path.c_str(), 44100, 2, 16, 0)->Write(frames.data(), 44100);
    return path;
}

std::vector<int> ReadAllOf(LSoundSource source)
{
    std::vector<int> values(size_t(source->GetEndSample()) * source->GetChannels());
    source->Read(values.data(), source->GetEndSample());
    return values;
}

bool Exists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

}  // namespace

TEST(ToolConvertRate, WritesWhatTheProgramsConvertersMake)
{
    TempFolder folder;
    const std::string in = WriteTone(folder);
    struct Case {
        const char* options;
        int rate, channels;
    };
    for (const Case& c : {Case{"--rate 48000", 48000, 2}, Case{"--channels 1", 44100, 1},
                          Case{"--rate 22050 --channels 1", 22050, 1}, Case{"--rate 11025 --channels 3", 11025, 3}}) {
        const std::string out = folder / "out.wav";
        const ToolResult run = Tool(folder, "convert " + in + " " + out + " " + c.options);
        ASSERT_EQ(run.exitCode, 0) << c.options << ": " << run.err;

        LSoundSource expected = LWaveFile::OpenSource(in.c_str());
        LSPConvertSourceRateChannels(c.rate, static_cast<unsigned char>(c.channels), expected);
        LSoundSource written = LWaveFile::OpenSource(out.c_str());
        EXPECT_EQ(written->GetRate(), c.rate) << c.options;
        EXPECT_EQ(written->GetChannels(), c.channels) << c.options;
        ASSERT_EQ(written->GetEndSample(), expected->GetEndSample()) << c.options;
        const std::vector<int> want = ReadAllOf(expected), got = ReadAllOf(written);
        for (size_t i = 0; i < want.size(); ++i)
            ASSERT_NEAR(got[i], want[i], 16) << c.options << " value " << i;  // one 16-bit step
    }
}

TEST(ToolConvertRate, BadRatesAndChannelsAreUsageErrors)
{
    TempFolder folder;
    const std::string in = WriteTone(folder);
    EXPECT_EQ(Tool(folder, "convert " + in + " " + folder / "a.wav --rate -5").exitCode, 2);
    EXPECT_EQ(Tool(folder, "convert " + in + " " + folder / "b.wav --channels 300").exitCode, 2);
    EXPECT_FALSE(Exists(folder / "a.wav"));
    EXPECT_FALSE(Exists(folder / "b.wav"));
}

TEST(ToolPitch, ChangesLengthKeepsTheRateLabel)
{
    TempFolder folder;
    const std::string in = WriteTone(folder);
    struct Case {
        const char* speed;
        int frames;
    };
    // 1.05: L 20, M 21; below 0.1 plays at 0.1; 1 is the file unchanged.
    for (const Case& c : {Case{"1.05", 44100 / 21 * 20}, Case{"0.05", 441000}, Case{"1", 44100}}) {
        const std::string out = folder / "p.wav";
        const ToolResult run = Tool(folder, "pitch " + in + " " + out + " --speed " + c.speed);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        LSoundSource written = LWaveFile::OpenSource(out.c_str());
        EXPECT_EQ(written->GetRate(), 44100) << c.speed;
        EXPECT_EQ(written->GetChannels(), 2) << c.speed;
        EXPECT_EQ(written->GetEndSample(), c.frames) << c.speed;
    }
    EXPECT_EQ(ReadAllOf(LWaveFile::OpenSource((folder / "p.wav").c_str())), ReadAllOf(LWaveFile::OpenSource(in.c_str())));

    EXPECT_EQ(Tool(folder, "pitch " + in + " " + folder / "q.wav").exitCode, 2);
    EXPECT_EQ(Tool(folder, "pitch " + in + " " + folder / "q.wav --speed 0").exitCode, 2);
    EXPECT_EQ(Tool(folder, "pitch " + folder / "absent.wav " + folder / "q.wav --speed 2").exitCode, 1);
    EXPECT_FALSE(Exists(folder / "q.wav"));
}
