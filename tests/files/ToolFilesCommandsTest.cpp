// The files subcommands of orvane-tool, run as a user runs them.
#include "files/LQTDecode.h"
#include "support/TestHome.h"
#include "../tools/ToolRun.h"
#include "MediaFixtures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {

class ToolFiles : public testing::Test {
protected:
    void SetUp() override
    {
        if (!HaveProgram("ffmpeg"))
            GTEST_SKIP() << "ffmpeg is not installed";
        ASSERT_TRUE(MakeSourceWave(home / "src.wav", 44100));
        ASSERT_TRUE(EncodeFixture(home / "src.wav", MediaFixtures()[0], home / "my song.mp3"));
    }
    TestHome home;
};

TEST_F(ToolFiles, CachePrintsTheCachedPathAndReusesIt)
{
    const ToolRun first = RunTool(home, "cache '" + (home / "my song.mp3") + "'");
    ASSERT_EQ(first.exitCode, 0) << first.err;
    const std::string cached = home / ".local/share/Orvane/Cache/my song.mp3.wav";
    EXPECT_EQ(first.out, cached + "\n");
    EXPECT_EQ(LWaveFile::OpenSource(cached.c_str())->GetEndSample(), 66150);
    const auto written = fs::last_write_time(cached);
    const ToolRun second = RunTool(home, "cache '" + (home / "my song.mp3") + "'");
    EXPECT_EQ(second.out, first.out);
    EXPECT_EQ(fs::last_write_time(cached), written);
}

TEST_F(ToolFiles, FailuresExitWithOneAndLeaveNoCachedFile)
{
    std::ofstream(home / "junk.mp3") << std::string(4000, 'j');
    for (const std::string name : {"junk.mp3", "missing.flac", "nothing"}) {
        const ToolRun run = RunTool(home, "cache '" + (home / name) + "'");
        EXPECT_EQ(run.exitCode, 1) << name;
        EXPECT_NE(run.err.find("Can not convert file"), std::string::npos) << run.err;
        EXPECT_FALSE(fs::exists(home / (".local/share/Orvane/Cache/" + name + ".wav")));
    }
    EXPECT_EQ(RunTool(home, "cache").exitCode, 2);
    EXPECT_EQ(RunTool(home, "decode only-one").exitCode, 2);
}

TEST_F(ToolFiles, DecodeWritesWhatTheDecoderGivesAt32Bits)
{
    const ToolRun run = RunTool(home, "decode '" + (home / "my song.mp3") + "' '" + (home / "out.wav") + "'");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    LSoundSource direct = LQTDecode::OpenSource((home / "my song.mp3").c_str());
    std::vector<int> want = ReadAll(direct);
    for (int& v : want)  // the writer holds values within what a 32-bit file keeps
        v = std::clamp(v, -0x80000, 0x7ffff);
    std::unique_ptr<WAVEFORMATEX> format;
    ASSERT_TRUE(LWaveFormatEx::_Load((home / "out.wav").c_str(), format));
    EXPECT_EQ(format->wBitsPerSample, 32);
    EXPECT_EQ(ReadWave(home / "out.wav"), want);
}

TEST_F(ToolFiles, FormatsListsTheExtensionsAndTheDecoders)
{
    const ToolRun run = RunTool(home, "formats");
    ASSERT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out.rfind(".wav\n.mp3\n.aif\n", 0), 0u) << run.out;
    EXPECT_NE(run.out.find("\n.wmv\n"), std::string::npos);
    EXPECT_NE(run.out.find("\n.spx\t"), std::string::npos);
    EXPECT_NE(run.out.find("decoder wmadec: "), std::string::npos);
    EXPECT_EQ(run.out.find("decoder aacdec2", run.out.find("decoder aacdec2") + 1), std::string::npos)
        << "a component shared by several extensions is listed once";
}

TEST_F(ToolFiles, InfoAndConvertTakeAnySupportedFile)
{
    const ToolRun info = RunTool(home, "info '" + (home / "my song.mp3") + "'");
    ASSERT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find("frames: 66150\n"), std::string::npos) << info.out;
    const ToolRun convert =
        RunTool(home, "convert '" + (home / "my song.mp3") + "' '" + (home / "c.wav") + "' --rate 22050");
    ASSERT_EQ(convert.exitCode, 0) << convert.err;
    EXPECT_NEAR(LWaveFile::OpenSource((home / "c.wav").c_str())->GetEndSample(), 33075, 1);
}

}  // namespace
