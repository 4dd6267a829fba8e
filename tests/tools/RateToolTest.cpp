#include "sound/LSRCConvChannels.h"

#include "ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>
#include <utility>

namespace {

// One second of 44,100 Hz stereo: a 1 kHz tone on the left, 5 kHz on the right.
std::string WriteTone(const TempFolder& folder)
{
    const std::string path = folder / "tone.wav";
    std::vector<int> frames(2 * 44100);
    for (size_t i = 0; i < frames.size(); ++i)
        frames[i] = int(std::lround(0x40000 * std::sin(2 * std::numbers::pi * (i % 2 ? 5000 : 1000) * double(i / 2) / 44100))) & ~15;
    LWaveFile::OpenSinkPCM(path.c_str(), 44100, 2, 16, 0)->Write(frames.data(), 44100);
    return path;
}

}  // namespace

TEST(ToolConvertRate, WritesWhatTheProgramsConvertersMake)
{
    TempFolder folder;
    const std::string in = WriteTone(folder);
    for (auto [options, rate, channels] : {std::tuple{"--rate 48000", 48000, 2}, {"--channels 1", 44100, 1},
                                           {"--rate 22050 --channels 1", 22050, 1}, {"--rate 11025 --channels 3", 11025, 3}}) {
        const std::string out = folder / "out.wav";
        const ToolRun run = RunTool(folder, "convert " + in + " " + out + " " + options);
        ASSERT_EQ(run.exitCode, 0) << options << ": " << run.err;

        LSoundSource expected = LWaveFile::OpenSource(in.c_str());
        LSPConvertSourceRateChannels(rate, static_cast<unsigned char>(channels), expected);
        LSoundSource written = LWaveFile::OpenSource(out.c_str());
        EXPECT_EQ(written->GetRate(), rate) << options;
        EXPECT_EQ(written->GetChannels(), channels) << options;
        ASSERT_EQ(written->GetEndSample(), expected->GetEndSample()) << options;
        const std::vector<int> want = ReadAllOf(expected), got = ReadAllOf(written);
        for (size_t i = 0; i < want.size(); ++i)
            ASSERT_NEAR(got[i], want[i], 16) << options << " value " << i;  // one 16-bit step
    }
}

TEST(ToolPitch, ChangesLengthKeepsTheRateLabel)
{
    TempFolder folder;
    const std::string in = WriteTone(folder);
    // 1.05: L 20, M 21; 0.1 is ten times as long; 1 is the file unchanged.
    for (auto [speed, frames] : {std::pair{"1.05", 44100 / 21 * 20}, {"0.1", 441000}, {"1", 44100}}) {
        const std::string out = folder / "p.wav";
        const ToolRun run = RunTool(folder, "pitch " + in + " " + out + " --speed " + speed);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        LSoundSource written = LWaveFile::OpenSource(out.c_str());
        EXPECT_EQ(written->GetRate(), 44100) << speed;
        EXPECT_EQ(written->GetEndSample(), frames) << speed;
    }
    EXPECT_EQ(ReadAllOf(LWaveFile::OpenSource((folder / "p.wav").c_str())), ReadAllOf(LWaveFile::OpenSource(in.c_str())));

    // Speeds the deck would silently play at another speed are refused, naming the range.
    for (const char* usage : {"", " --speed 0", " --speed 0.05", " --speed 10.5", " --speed 1e9", " --speed inf",
                              " --speed nan", " --speed -0", " --speed -1"}) {
        const ToolRun run = RunTool(folder, "pitch " + in + " " + folder / "q.wav" + usage);
        EXPECT_EQ(run.exitCode, 2) << usage;
        if (*usage) {
            EXPECT_NE(run.err.find("0.1 to 10"), std::string::npos) << usage << ": " << run.err;
        }
    }
    EXPECT_EQ(RunTool(folder, "pitch " + folder / "absent.wav " + folder / "q.wav --speed 2").exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "q.wav"));
}

// Loud noise through the converter swings past full scale; those values are held at the file's
// ends, never wrapped into jumps across the whole range (33,314 such jumps before).
TEST(ToolPitch, LoudNoiseHasNoWrapJumps)
{
    TempFolder folder;
    const std::string in = folder / "noise.wav";
    constexpr int kFrames = 44100;
    std::vector<int> values(2 * kFrames);
    uint32_t seed = 12345;
    double pink = 0;
    for (int& v : values) {
        seed = seed * 1664525u + 1013904223u;
        pink = 0.9 * pink + 0.6 * (int(seed >> 16) - 32768);  // leaning to the lows, and clipped
        v = std::clamp(int(pink), -32768, 32767) * 16;
    }
    LWaveFile::OpenSinkPCM(in.c_str(), 44100, 2, 16, 0)->Write(values.data(), kFrames);
    const std::string out = folder / "p.wav";
    ASSERT_EQ(RunTool(folder, "pitch " + in + " " + out + " --speed 1.02").exitCode, 0);
    const std::vector<int> got = ReadWave(out);
    int jumps = 0;
    for (size_t i = 2; i < got.size(); ++i)
        jumps += std::abs(got[i] - got[i - 2]) > 50000 * 16;
    EXPECT_EQ(jumps, 0);
}
