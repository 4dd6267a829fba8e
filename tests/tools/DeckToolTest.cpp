#include "engine/DJDeck.h"
#include "sound/LPeakLimit.h"
#include "tools/ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <cmath>
#include <numbers>

namespace {

constexpr int kRate = 22050;
constexpr int kFrames = 22050;  // one second

std::string WriteLoudTrack(const TempFolder& folder)
{
    const std::string path = folder / "in.wav";
    std::vector<int> frames(2 * kFrames);
    for (int i = 0; i < kFrames; ++i)
        frames[2 * size_t(i)] = frames[2 * size_t(i) + 1] =
            int(std::lround(0x7f000 * std::sin(2 * std::numbers::pi * 150 * i / kRate)));
    LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0)->Write(frames.data(), kFrames);
    return path;
}

}  // namespace

TEST(ToolDeck, RendersTheDecksOwnChainThroughTheLimiterAndRefusesBadOptions)
{
    TempFolder folder;
    const std::string in = WriteLoudTrack(folder);
    const std::string out = folder / "out.wav";
    ToolRun run = RunTool(folder, "deck " + in + " " + out +
                                      " --eq=6,6,6 --reverb 40,1500,30 --distortion 0.3,4 --phaser 4,50"
                                      " --flanger 4,0.5,40,50 --delay 30,120 --highpass 50 --pitch 1.25 --start 100");
    ASSERT_EQ(run.exitCode, 0) << run.err;

    DJDeck deck;
    deck.SetTrack(in.c_str());
    deck.SetEq(LdBValue(6), LdBValue(6), LdBValue(6));
    deck.SetReverb(40, LSoundTime(1500), 30, true);
    deck.SetDistortion(0.3, LdBValue(4), true);
    deck.SetPhaser(4, 50, true);
    deck.SetFlanger(4, 0.5, 40, 50, true);
    deck.SetDelay(30, 120, true);
    deck.SetHighPass(50, true);
    deck.SetPitch(1.25);
    deck.SetRestartPosition(100);
    LSoundSource chain = deck.OpenSource();
    chain = LSPPeakLimit(kPeakLimit).OpenSource(chain);
    const int frames = chain->GetEndSample() - 100;
    std::vector<int> expected(2 * size_t(frames));
    chain->Read(expected.data(), frames);

    const std::vector<int> got = ReadWave(out);
    ASSERT_EQ(got.size(), expected.size()) << "pitch 1.25 shortens the track; the render starts at 100";
    int worst = 0;
    for (size_t i = 0; i < got.size(); ++i)
        worst = std::max(worst, std::abs(got[i] - expected[i]));
    EXPECT_LE(worst, 16) << "only the 16-bit rounding may differ";

    ASSERT_EQ(RunTool(folder, "deck " + in + " " + out + " --loop 22050,1000").exitCode, 0);
    EXPECT_EQ(ReadWave(out).size(), 2u * 30 * kRate) << "a loop renders 30 s";
    ASSERT_EQ(RunTool(folder, "deck " + in + " " + out + " --frames 777 --pitch 0.5").exitCode, 0);
    EXPECT_EQ(ReadWave(out).size(), 2u * 777);

    const std::string fresh = folder / "never.wav";
    for (const char* bad : {"--eq 1,2", "--pitch 0", "--eq=200,0,0", "--flanger 1,2,3", "--start -5"})
        EXPECT_EQ(RunTool(folder, "deck " + in + " " + fresh + " " + bad).exitCode, 2) << bad;
    ToolRun missing = RunTool(folder, "deck " + folder / "gone.wav" + " " + fresh);
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("gone.wav"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(fresh));
}
