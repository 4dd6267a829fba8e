#include "app/LSettings.h"
#include "output/OutputTestSupport.h"
#include "sound/MemorySource.h"

#include "ToolRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A 16-bit WAVE file of noise; answers the values at graph scale.
std::vector<int> WriteNoiseWave(const std::string& path, int channels, int frames)
{
    std::vector<int> values = MakeNoise(channels, frames, 32767);
    for (int& v : values)
        v *= 16;
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), 44100, static_cast<unsigned char>(channels), 16, 0);
    sink->Write(values.data(), frames);
    return values;
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    for (size_t start = 0, end; start < text.size(); start = end + 1) {
        end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

TEST(PlaybackCommands, DevicesListsTheDefaultFirstAndOurOwnDevices)
{
    TempFolder folder;
    ToolRun plain = RunTool(folder, "devices");
    EXPECT_EQ(plain.exitCode, 0);
    const std::vector<std::string> lines = Lines(plain.out);
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines.front(), "0\t[Default Sound Out]\tLeft, Right");
    EXPECT_NE(plain.out.find("\t[Null Output]\tLeft, Right\n"), std::string::npos);
    EXPECT_EQ(plain.out.find("[Capture Output]"), std::string::npos);

    CaptureDevice capture(folder / "c.wav");
    const std::string expected = std::to_string(capture.Index()) + "\t[Capture Output]\tLeft, Right";
    EXPECT_EQ(Lines(RunTool(folder, "devices").out).back(), expected);
}

TEST(PlaybackCommands, PlayOnTheCaptureDeviceGivesTheFileBackExactly)
{
    TempFolder folder;
    CaptureDevice capture(folder / "c.wav");
    for (int channels : {2, 1}) {
        const int frames = 44100 * 2 + 5;
        const std::vector<int> values = WriteNoiseWave(folder / "in.wav", channels, frames);
        ToolRun run = RunTool(folder, "play " + folder / "in.wav");
        ASSERT_EQ(run.exitCode, 0) << run.err;
        EXPECT_EQ(run.err, "");
        const std::vector<std::string> lines = Lines(run.out);
        EXPECT_EQ(lines[0], "device: [Default Sound Out] ([Capture Output])");
        EXPECT_EQ(lines[1].rfind("latency: ", 0), 0u);
        EXPECT_EQ(lines.back(), "0:00:02.0") << "the last position is the end";

        LSoundSource captured = LWaveFile::OpenSource(capture.Path().c_str());
        ASSERT_EQ(captured->GetEndSample(), frames);
        ASSERT_EQ(captured->GetChannels(), 2);
        const std::vector<int> got = ReadAll(captured, frames);
        for (int f = 0; f < frames; ++f) {
            const int left = values[static_cast<size_t>(f) * channels];
            const int right = values[static_cast<size_t>(f) * channels + channels - 1];
            ASSERT_EQ(got[2 * static_cast<size_t>(f)], left) << channels << " channels, frame " << f;
            ASSERT_EQ(got[2 * static_cast<size_t>(f) + 1], right) << channels << " channels, frame " << f;
        }
    }
}

TEST(PlaybackCommands, PlayStopsAtTheSecondsAskedAndTakesTheLatencySetting)
{
    TestHome home;
    WriteNoiseWave(home / "in.wav", 2, 44100 * 20);  // far more than a fast device takes before the stop
    CaptureDevice capture(home / "c.wav");
    ASSERT_TRUE(LUserSettingSetString("Settings", "OutputLatency", "50"));
    ToolRun run = RunTool(home, "play " + home / "in.wav" + " --seconds 1");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(Lines(run.out)[1], "latency: 50.0 ms");
    const int captured = LWaveFile::OpenSource(capture.Path().c_str())->GetEndSample();
    EXPECT_GE(captured, 44100);
    EXPECT_LT(captured, 44100 * 20);
}

TEST(PlaybackCommands, BadInputFailsWithOneLine)
{
    TempFolder folder;
    WriteNoiseWave(folder / "in.wav", 2, 1000);
    const std::string in = folder / "in.wav";
    struct Case {
        std::string arguments;
        std::string capture;  // ORVANE_AUDIO_CAPTURE, empty: unset
        int exitCode;
        std::string message;
    };
    const std::vector<Case> cases = {
        {"play " + folder / "missing.wav", "", 1, "missing or unreadable"},
        {"play " + in, folder / "no folder/c.wav:fast", 1, "cannot write the capture file"},
        {"play " + in + " --seconds -1", "", 2, "--seconds"},
        {"play " + in + " --seconds 0", "", 2, "--seconds"},
        {"play " + in + " --seconds nan", "", 2, "--seconds"},
        {"play " + in + " --seconds inf", "", 2, "--seconds"},
        {"play", "", 2, "FILE"},
    };
    for (const Case& c : cases) {
        if (!c.capture.empty())
            setenv("ORVANE_AUDIO_CAPTURE", c.capture.c_str(), 1);
        ToolRun run = RunTool(folder, c.arguments);
        unsetenv("ORVANE_AUDIO_CAPTURE");
        EXPECT_EQ(run.exitCode, c.exitCode) << c.arguments;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.arguments << ": " << run.err;
        EXPECT_EQ(Lines(run.err).size(), 1u) << c.arguments << ": " << run.err;
    }

    CaptureDevice capture(folder / "c.wav");
    ToolRun unknown = RunTool(folder, "play " + in + " --device 'No Such Device'");
    EXPECT_EQ(unknown.exitCode, 0) << "an unknown device name plays on the default";
    EXPECT_NE(unknown.err.find("No Such Device"), std::string::npos);
    EXPECT_EQ(LWaveFile::OpenSource(capture.Path().c_str())->GetEndSample(), 1000);
}

// An ALSA device without hardware for the PortAudio path: it writes the raw stream to `raw`
// and takes it as fast as it comes.
void WriteAlsaFileDevice(const TestHome& home, const std::string& raw)
{
    WriteWholeFile(home / ".asoundrc", "pcm.orvanetest {\n type file\n slave.pcm \"null\"\n file \"" + raw +
                                           "\"\n format \"raw\"\n hint { show on description \"test\" }\n}\n");
}

TEST(PlaybackCommands, PlayThroughAPortAudioDeviceDeliversTheFile)
{
    TestHome home;
    const std::vector<int> values = WriteNoiseWave(home / "in.wav", 2, 44100);
    WriteAlsaFileDevice(home, home / "out.raw");
    ToolRun devices = RunTool(home, "devices");
    ASSERT_NE(devices.out.find("\tALSA: orvanetest\t"), std::string::npos) << devices.out;
    ToolRun run = RunTool(home, "play " + home / "in.wav" + " --device 'ALSA: orvanetest'");
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(Lines(run.out)[0], "device: ALSA: orvanetest");

    // This device outruns the player, so silence comes between the blocks as on a card that
    // underruns: apart from silence, the words are the file's in order.
    const std::string raw = ReadWholeFile(home / "out.raw");
    std::vector<int32_t> heard, sent;
    for (size_t at = 0; at + 4 <= raw.size(); at += 4) {
        int32_t word;
        std::memcpy(&word, raw.data() + at, 4);
        if (word != 0)
            heard.push_back(word);
    }
    for (int v : values)
        if (v != 0)
            sent.push_back(v * 4096);
    EXPECT_EQ(heard, sent);
}

TEST(PlaybackCommands, InterruptStopsPlayCleanly)
{
    TempFolder folder;
    WriteNoiseWave(folder / "in.wav", 2, 44100 * 30);
    int out[2];
    ASSERT_EQ(pipe(out), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        dup2(out[1], STDOUT_FILENO);
        close(out[0]);
        execl(ORVANE_TOOL_PATH, ORVANE_TOOL_PATH, "play", (folder / "in.wav").c_str(), "--device", "[Null Output]",
              static_cast<char*>(nullptr));
        _exit(127);
    }
    close(out[1]);
    FILE* lines = fdopen(out[0], "r");
    char line[256];
    bool playing = false;
    while (!playing && std::fgets(line, sizeof line, lines))
        playing = std::strcmp(line, "0:00:00.0\n") == 0;  // the first position: sound is flowing
    ASSERT_TRUE(playing);
    kill(child, SIGINT);
    std::string rest;
    while (std::fgets(line, sizeof line, lines))
        rest += line;
    fclose(lines);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << "ended by the signal instead of stopping";
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(rest.empty() || rest.back() == '\n') << "whole position lines only: " << rest;
}

}  // namespace
