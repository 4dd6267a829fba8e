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
    for (const char* bad : {"--eq 1,2", "--flanger 1,2,3", "--start x", "--loop 1"})
        EXPECT_EQ(RunTool(folder, "deck " + in + " " + fresh + " " + bad).exitCode, 2) << bad;
    ToolRun missing = RunTool(folder, "deck " + folder / "gone.wav" + " " + fresh);
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_NE(missing.err.find("gone.wav"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(fresh));
}

// Every number outside the range of the deck panel's control (or of the track, for positions)
// is a usage error that names the range; nothing is written.
TEST(ToolDeck, RefusesEveryValueOutsideItsRange)
{
    TempFolder folder;
    const std::string in = WriteLoudTrack(folder);
    const std::string out = folder / "never.wav";
    // Option and value, and the range the message must name.
    const std::pair<const char*, const char*> refusals[] = {
        {"--eq=-13,0,0", "-12 to 12"},          {"--eq 0,0,12.5", "Could not convert"},
        {"--highpass 0", "2 to 20402"},          {"--highpass 20403", "2 to 20402"},
        {"--reverb 150,100,10", "1 to 99"},      {"--reverb 0,100,10", "1 to 99"},
        {"--reverb 50,4001,10", "0 to 4000"},    {"--reverb 50,100,0", "1 to 100"},
        {"--reverb 50,100,256", "1 to 100"},     {"--distortion nan,3", "0 to 1"},
        {"--distortion 1.5,3", "0 to 1"},        {"--distortion 0.5,nan", "-100 to 12"},
        {"--distortion 0.5,13", "-100 to 12"},   {"--distortion 0.5,2.5", "whole number"},
        {"--distortion 0.5,-1e308", "-100 to 12"}, {"--phaser 11,50", "0 to 10"},
        {"--phaser 5,101", "0 to 100"},          {"--flanger -1,1,50,50", "0 to 10"},
        {"--flanger 5,inf,50,50", "0 to 50"},    {"--flanger 5,1,101,50", "0 to 100"},
        {"--flanger 5,1,50,-0.5", "0 to 100"},   {"--flanger 5,1,40.5,50", "whole number"},
        {"--delay 0,100", "1 to 99"},            {"--delay 100,100", "1 to 99"},
        {"--delay 50,1001", "0 to 1000"},        {"--pitch 0.49", "0.5 to 1.5"},
        {"--pitch 1e9", "0.5 to 1.5"},           {"--pitch inf", "0.5 to 1.5"},
        {"--pitch nan", "0.5 to 1.5"},           {"--pitch -0", "0.5 to 1.5"},
        {"--start -5", "0 to 22050"},            {"--start 22051", "0 to 22050"},
        {"--loop 2147483000,1000", "0 to 22050"}, {"--loop -1,1000", "0 to 22050"},
        {"--loop 100,0", "1 to 22050"},          {"--loop 100,2147483647", "1 to 22050"},
        {"--frames -5", "0 to "},                {"--frames 2147483647", "0 to "},
        {"--frames 3000000000", "Could not convert"}, {"--start 0x10", "decimal"},
    };
    for (const auto& [option, range] : refusals) {
        const ToolRun run = RunTool(folder, "deck " + in + " " + out + " " + option);
        EXPECT_EQ(run.exitCode, 2) << option;
        EXPECT_NE(run.err.find(range), std::string::npos) << option << ": " << run.err;
        EXPECT_FALSE(std::filesystem::exists(out)) << option;
    }
    // Positions are in frames of the pitched track: at 0.5 it is twice as long.
    EXPECT_EQ(RunTool(folder, "deck " + in + " " + out + " --pitch 0.5 --start 44100").exitCode, 0);
    // A leading zero is decimal, not octal: 010 is frame 10.
    const std::string zero = folder / "zero.wav";
    ASSERT_EQ(RunTool(folder, "deck " + in + " " + out + " --start 10 --frames 64").exitCode, 0);
    ASSERT_EQ(RunTool(folder, "deck " + in + " " + zero + " --start 010 --frames 0064").exitCode, 0);
    EXPECT_EQ(ReadWave(zero), ReadWave(out));
}
