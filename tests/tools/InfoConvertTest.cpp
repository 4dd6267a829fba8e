#include "sound/LSampleFormat.h"
#include "sound/WaveBytes.h"

#include "ToolRun.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

std::vector<int> Ramp(int count)
{
    std::vector<int> values(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i)
        values[static_cast<size_t>(i)] = ((i * 7919) % 65536 - 32768) * 16;
    return values;
}

}  // namespace

TEST(ToolInfo, DescribesWaveFilesAndTheirErrors)
{
    TempFolder folder;
    const std::string path = folder / "a.wav";
    LWaveFile::OpenSinkPCM(path.c_str(), 48000, 2, 16, 0)->Write(Ramp(2 * 24000).data(), 24000);
    ToolRun run = RunTool(folder, "info " + path);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "rate: 48000\nchannels: 2\nframes: 24000\nseconds: 0.500\npeak: 524272\n"
                       "error: 0 (none)\ncodec: Microsoft PCM Format\n");

    WaveSpec mulaw;
    mulaw.tag = kWaveTagMuLaw;
    mulaw.bits = 8;
    WriteWholeFile(path, MakeWave(mulaw));
    run = RunTool(folder, "info " + path);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.out.find("error: 7 ("), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("codec: Microsoft MULAW (CCITT u-Law)\n"), std::string::npos) << run.out;
    EXPECT_NE(run.err.find("orvane-tool: "), std::string::npos);

    run = RunTool(folder, "info " + folder / "absent.wav");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.out.find("error: 4 ("), std::string::npos);
    EXPECT_EQ(run.out.find("codec:"), std::string::npos);

    EXPECT_EQ(RunTool(folder, "info").exitCode, 2);
}

TEST(ToolConvert, WritesEveryDepthAndReadsBackTheSameValues)
{
    TempFolder folder;
    const std::string in = folder / "in.wav";
    const std::vector<int> values = Ramp(2 * 20000);
    LWaveFile::OpenSinkPCM(in.c_str(), 44100, 2, 16, 0)->Write(values.data(), 20000);

    // The default depth is 16 bits; 8 bits cannot hold the values, so only its header is checked.
    for (auto [option, bits] : {std::pair{" --bits 24", 24}, {"", 16}, {" --bits 8", 8}}) {
        const std::string out = folder / "out.wav";
        const ToolRun run = RunTool(folder, "convert " + in + " " + out + option);
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(ReadWholeFile(out).substr(34, 2), Le16(bits)) << option;
        if (bits > 8) {
            EXPECT_EQ(ReadWave(out), values) << option;
        }
    }

    // Float output stores value / 2^19.
    const std::string outFloat = folder / "float.wav";
    ASSERT_EQ(RunTool(folder, "convert " + in + " " + outFloat + " --bits float").exitCode, 0);
    const std::string bytes = ReadWholeFile(outFloat);
    ASSERT_EQ(bytes.size(), 46u + values.size() * 4);
    std::vector<int> back(values.size());
    ConvertSamplesIn(back.data(), reinterpret_cast<const LSFF32*>(bytes.data() + 46), int(values.size()));
    EXPECT_EQ(back, values);
}

TEST(ToolConvert, RefusesWithoutLeavingAFileAndPeakLimitsLoudFloatInput)
{
    TempFolder folder;
    const std::string in = folder / "in.wav";
    const std::string out = folder / "out.wav";
    LWaveFile::OpenSinkPCM(in.c_str(), 44100, 1, 16, 0)->Write(Ramp(100).data(), 100);

    for (std::string usage : {" " + out + " --bits 12", std::string(), " " + out + " --rate -5", " " + out + " --rate 800000",
                              " " + out + " --channels 300"})
        EXPECT_EQ(RunTool(folder, "convert " + in + usage).exitCode, 2) << usage;

    WriteWholeFile(folder / "bad.wav", "RIFF....WAVEjunk");
    ToolRun run = RunTool(folder, "convert " + folder / "bad.wav" + " " + out);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("bad or corrupt"), std::string::npos);
    EXPECT_EQ(RunTool(folder, "convert " + in + " " + folder / "no/such/dir/out.wav").exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(out));

    // An existing target is replaced only when the conversion succeeds.
    WriteWholeFile(out, "keep me");
    EXPECT_EQ(RunTool(folder, "convert " + folder / "bad.wav" + " " + out).exitCode, 1);
    EXPECT_EQ(ReadWholeFile(out), "keep me");
    // Loud float input goes through the limiter: one gain for the block, the peak at the limit.
    WaveSpec wave;
    wave.tag = kWaveTagFloat;
    wave.bits = 32;
    wave.channels = 1;
    const std::vector<int> values{0x100000, -0x100000, 0x40000};  // +2.0, -2.0, +0.5
    wave.data.resize(values.size() * 4);
    ConvertSamplesOut(reinterpret_cast<LSFF32*>(wave.data.data()), values.data(), 3);
    WriteWholeFile(in, MakeWave(wave));
    ASSERT_EQ(RunTool(folder, "convert " + in + " " + out).exitCode, 0);
    const std::vector<int> got = ReadWave(out);
    ASSERT_EQ(got.size(), 3u);
    EXPECT_LE(got[0], kPeakLimit);
    EXPECT_GE(got[0], kPeakLimit - 0x100);
    EXPECT_EQ(got[1], -got[0]);
    EXPECT_NEAR(got[2] * 4, got[0], 64) << "not a clip";
}
