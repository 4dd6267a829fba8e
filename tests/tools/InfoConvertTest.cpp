#include "sound/LSampleFormat.h"
#include "sound/WaveBytes.h"
#include "sound/LSNKPCMFile.h"

#include "ToolRun.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <tuple>
#include <unistd.h>

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

}

TEST(ToolConvert, RefusesWithoutLeavingAFileAndPeakLimitsLoudFloatInput)
{
    TempFolder folder;
    const std::string in = folder / "in.wav";
    const std::string out = folder / "out.wav";
    LWaveFile::OpenSinkPCM(in.c_str(), 44100, 1, 16, 0)->Write(Ramp(100).data(), 100);

    // Float is refused: the sink writes it under tag 1, and other programs read that as noise.
    // Rates and channels are the reader's own limits.
    for (std::string usage : {" --bits 12", " --bits float", "", " --rate -5", " --rate 196001", " --rate 0",
                              " --rate nan", " --rate 1e3", " --channels 256", " --channels -1"}) {
        const ToolRun run = RunTool(folder, "convert " + in + (usage.empty() ? "" : " " + out + usage));
        EXPECT_EQ(run.exitCode, 2) << usage;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << "one line: " << run.err;
    }
    EXPECT_NE(RunTool(folder, "convert " + in + " " + out + " --rate 196001").err.find("1 to 196000"), std::string::npos);

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

// Each WAVE format the README names, as info reports it: read (error 0), refused (7), not
// a readable shape (3) or a codec not handled (5).
TEST(ToolInfo, EveryWaveFormatTheReadmeNames)
{
    TempFolder folder;
    const std::string path = folder / "f.wav";
    auto extensible = [](uint8_t subFormat) {
        std::string guid("\x01\x00\x00\x00\x00\x00\x10\x00\x80\x00\x00\xaa\x00\x38\x9b\x71", 16);
        guid[0] = char(subFormat);
        return Le16(22) + Le16(16) + Le32(3) + guid;
    };
    // Tag, bits, format bytes beyond the standard ones, error, codec line.
    const std::tuple<uint16_t, uint16_t, std::string, int, const char*> formats[] = {
        {kWaveTagPCM, 8, "", kErrNone, "Microsoft PCM Format"},
        {kWaveTagPCM, 16, "", kErrNone, "Microsoft PCM Format"},
        {kWaveTagPCM, 24, "", kErrNone, "Microsoft PCM Format"},
        {kWaveTagPCM, 32, "", kErrNone, "Microsoft PCM Format"},
        {kWaveTagFloat, 32, "", kErrNone, "IEEE Float"},
        {kWaveTagExtensible, 16, extensible(1), kErrNone, "Extensible wave format"},
        {kWaveTagFloat, 64, "", kErrBadFormat, "IEEE Float"},
        {kWaveTagExtensible, 32, extensible(3), kErrCodec, "Extensible wave format"},
        {kWaveTagALaw, 8, "", kErrRefusedCodec, "Microsoft ALAW (CCITT A-Law)"},
        {kWaveTagMuLaw, 8, "", kErrRefusedCodec, "Microsoft MULAW (CCITT u-Law)"},
        {kWaveTagTrueSpeech, 1, "", kErrRefusedCodec, "DSP Group True Speech"},
        {kWaveTagIMA, 4, "", kErrCodec, "Intel DVI ADPCM (IMA ADPCM)"},
        {kWaveTagGSM, 0, "", kErrCodec, "Microsoft GSM 6.10"},
        {kWaveTagMP3, 0, "", kErrCodec, "MPEG-1 Layer 3 (MP3)"},
    };
    for (const auto& [tag, bits, extra, error, codec] : formats) {
        WaveSpec wave;
        std::tie(wave.tag, wave.bits, wave.formatExtra) = std::tuple(tag, bits, extra);
        wave.data = std::string(size_t(wave.channels) * ((bits + 7) / 8) * 5, '\0');
        WriteWholeFile(path, MakeWave(wave));
        const ToolRun run = RunTool(folder, "info " + path);
        const std::string what = std::to_string(tag) + "/" + std::to_string(bits);
        EXPECT_EQ(run.exitCode, error == kErrNone ? 0 : 1) << what;
        EXPECT_NE(run.out.find("error: " + std::to_string(error) + " ("), std::string::npos) << what << run.out;
        EXPECT_NE(run.out.find(std::string("codec: ") + codec + "\n"), std::string::npos) << what << run.out;
        if (error == kErrNone) {
            EXPECT_NE(run.out.find("frames: 5\n"), std::string::npos) << what << run.out;
        }
    }
}

// Every file the tool writes opens again, also at the ends of every range it accepts (the tool
// runs under the sanitizers here, so undefined behaviour on the way fails the run).
TEST(ToolRoundTrip, EveryWrittenFileReadsBackWithInfo)
{
    TempFolder folder;
    const std::string in = folder / "in.wav";
    LWaveFile::OpenSinkPCM(in.c_str(), 44100, 2, 16, 0)->Write(Ramp(2 * 11025).data(), 11025);
    const std::string out = folder / "out.wav";
    const std::string commands[] = {
        "convert " + in + " " + out + " --rate 1 --channels 1",
        "convert " + in + " " + out + " --rate 196000 --channels 255 --bits 8",
        "convert " + in + " " + out + " --rate 7 --bits 32",
        "convert " + in + " " + out + " --bits 24",
        "pitch " + in + " " + out + " --speed 10",
        "pitch " + in + " " + out + " --speed 0.1",
        "deck " + in + " " + out + " --eq 12,12,12 --highpass 20402 --reverb 99,4000,100 --distortion 1,12"
            " --phaser 10,100 --flanger 10,50,100,100 --delay 99,1000 --pitch 1.5 --loop 7350,7350 --start 7350"
            " --frames 20000",
        "deck " + in + " " + out + " --eq=-12,-12,-12 --highpass 2 --reverb 1,0,1 --distortion 0,-100"
            " --phaser 0,0 --flanger 0,0,0,0 --delay 1,0 --pitch 0.5 --loop 0,1 --start 0 --frames 0",
        "deck " + in + " " + out + " --loop 11025,11025",
    };
    for (const std::string& command : commands) {
        std::filesystem::remove(out);
        const ToolRun write = RunTool(folder, command);
        ASSERT_EQ(write.exitCode, 0) << command << ": " << write.err;
        const ToolRun info = RunTool(folder, "info " + out);
        EXPECT_EQ(info.exitCode, 0) << command << ": " << info.out;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 4) << "no temporary left";
    }
}

// A length the WAVE format cannot keep is refused before anything is written.
TEST(ToolConvert, RefusesAnOutputLongerThanAWaveFileHolds)
{
    TempFolder folder;
    const std::string in = folder / "long.wav";
    WaveSpec wave;
    std::tie(wave.channels, wave.rate, wave.bits) = std::tuple(1, 196000, 8);
    const int64_t frames = LSNKPCMFileBase::kMaxDataBytes / (255 * 4) + 1;  // as 255 channels of 32 bits
    wave.data = std::string();
    std::string header = MakeWave(wave);
    header.replace(header.size() - 4, 4, Le32(uint32_t(frames)));
    WriteWholeFile(in, header);
    ASSERT_EQ(truncate(in.c_str(), off_t(header.size() + frames)), 0);  // sparse

    const ToolRun run = RunTool(folder, "convert " + in + " " + folder / "out.wav --channels 255 --bits 32");
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("more than a WAVE file"), std::string::npos) << run.err;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 3) << "in, stdout, stderr only";
}

// SIGINT (Ctrl-C) and SIGTERM stop a conversion cleanly: exit 1, neither OUT nor a temporary.
TEST(ToolConvert, AnInterruptedConversionLeavesNoFile)
{
    TempFolder folder;
    const std::string in = folder / "long.wav";
    WaveSpec wave;
    std::string header = MakeWave(wave);
    const uint32_t dataBytes = 400u << 20;  // 40 minutes of silence, sparse
    header.replace(header.size() - 4, 4, Le32(dataBytes));
    WriteWholeFile(in, header);
    ASSERT_EQ(truncate(in.c_str(), off_t(header.size()) + dataBytes), 0);
    for (int signal : {SIGINT, SIGTERM}) {
        const std::string out = folder / "out.wav";
        const pid_t child = fork();
        if (child == 0) {
            freopen("/dev/null", "w", stderr);
            execl(ORVANE_TOOL_PATH, "orvane-tool", "convert", in.c_str(), out.c_str(), "--rate", "48000", nullptr);
            _exit(127);
        }
        ASSERT_GT(child, 0);
        // The temporary appears once the handlers are in place; until then the tool is starting.
        auto temporary = [&] {
            for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
                if (entry.path().filename().string().rfind(".out.wav.", 0) == 0)
                    return true;
            return false;
        };
        int status = 0;
        while (!temporary() && waitpid(child, &status, WNOHANG) == 0)
            usleep(2000);
        ASSERT_TRUE(temporary()) << "the conversion ended before it could be interrupted";
        kill(child, signal);
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << signal;
        EXPECT_EQ(WEXITSTATUS(status), 1) << signal;
        EXPECT_FALSE(temporary()) << signal;
        EXPECT_FALSE(std::filesystem::exists(out)) << signal;
    }
}
