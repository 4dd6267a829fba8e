#include "files/FileConversion.h"
#include "files/LCmdLineDecodeStream.h"
#include "files/LFilesSettings.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "base/LEventQueue.h"
#include "MediaFixtures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace fs = std::filesystem;

// A conversion that reads an outside decoder's output while the decoder writes it.

namespace {

constexpr int kRate = 44100;
constexpr double kSeconds = 5.0;                 // three rounds of the copying loop
constexpr int kFirstPieceBytes = 44 + 400000;    // header and more than one round of frames

class NoSettings : public LFilesSettings {
public:
    bool GetString(const char*, const char*, const char* def, char* dest) override
    {
        std::snprintf(dest, 260, "%s", def);
        return false;
    }
    bool SetString(const char*, const char*, const char*) override { return true; }
};

class Recorder : public FileConverterNotify {
public:
    std::vector<int> progress;
    std::vector<bool> completions;
    void fcntfProgress(int percent, int) override { progress.push_back(percent); }
    void fcntfComplete(bool success, const char*, int, int, int, LSoundTime, int, int) override
    {
        completions.push_back(success);
    }
};

// What the stand-in "oggdec" does after writing the first piece of its WAVE output.
enum class Then { kWriteTheRest, kExitShort };

class FollowDecoder : public testing::Test {
protected:
    void SetUp() override
    {
        if (!HaveProgram("ffmpeg"))
            GTEST_SKIP() << "ffmpeg is not installed";
        LSetFilesSettings(&settings);
        ASSERT_TRUE(MakeSourceWave(wave, kRate, kSeconds));
        std::ofstream(input) << "ogg";
        char folder[LFile::kPathBytes];
        ASSERT_TRUE(FileConversion::GetCacheFolder(folder));
        cache = folder;
    }
    void TearDown() override
    {
        std::ofstream(gate).close();
        LSetFilesSettings(nullptr);
    }

    // The decoder writes the header and the first piece, waits for the gate (or gives up
    // once the test's home is gone), then goes on as told.
    void InstallDecoder(Then then)
    {
        char folder[LFile::kPathBytes];
        ASSERT_TRUE(LFile::GetUserDataFolderAppSubFolder(LFile::kComponentsFolder, folder));
        const std::string script = std::string(folder) + "/oggdec";
        std::ofstream out(script);
        out << "#!/bin/sh\nhead -c " << kFirstPieceBytes << " '" << wave << "' > \"$2\"\n"
            << "while [ ! -e '" << gate << "' ] && [ -d '" << home.Path() << "' ]; do sleep 0.01; done\n";
        if (then == Then::kWriteTheRest)
            out << "tail -c +" << kFirstPieceBytes + 1 << " '" << wave << "' >> \"$2\"\n";
        else
            out << "exit 1\n";
        out.close();
        fs::permissions(script, fs::perms::owner_all);
    }

    void ExpectCacheEmpty() const
    {
        for (const auto& e : fs::directory_iterator(cache))
            ADD_FAILURE() << "left behind: " << e.path();
    }

    TestHome home;
    NoSettings settings;
    std::string wave = home / "decoded.wav";
    std::string input = home / "in put's \"track\".ogg";
    std::string gate = home / "go";
    std::string cache;
};

TEST_F(FollowDecoder, TheCopyRunsWhileTheDecoderWritesAndNeverReadsPastIt)
{
    InstallDecoder(Then::kWriteTheRest);
    auto queue = LEventQueue::ForCurrentThread();
    Recorder recorder;
    FileConverterNotifyHandler handler(recorder);
    FileConverter converter;
    ASSERT_EQ(converter.ConvertFileForDeck(input.c_str(), nullptr, handler, 0, 0, 0, LSoundTime(), 0, 0), 1);
    // The first round is copied while the decoder still holds back the rest.
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.progress.empty() && recorder.progress.back() > 0; }, 20000));
    EXPECT_TRUE(recorder.completions.empty());
    std::ofstream(gate).close();
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.completions.empty(); }, 20000));
    ASSERT_TRUE(recorder.completions[0]);

    LSoundSource original = LWaveFile::OpenSource(wave.c_str());
    LSoundSource cached = LWaveFile::OpenSource((cache + "/" + fs::path(input).filename().string() + ".wav").c_str());
    ASSERT_EQ(cached->GetEndSample(), original->GetEndSample());
    EXPECT_TRUE(ReadAll(cached) == ReadAll(original)) << "frames written late must not read as silence";
}

TEST_F(FollowDecoder, ADecoderThatStopsShortFailsTheConversionAndLeavesNothing)
{
    InstallDecoder(Then::kExitShort);
    // Gone before the conversion has read anything, or while it follows the decoder.
    std::ofstream(gate).close();
    FileConversion job(input.c_str());
    EXPECT_EQ(job.Convert(), 1);
    EXPECT_FALSE(job.GetSuccess());
    ExpectCacheEmpty();

    fs::remove(gate);
    auto queue = LEventQueue::ForCurrentThread();
    Recorder recorder;
    FileConverterNotifyHandler handler(recorder);
    FileConverter converter;
    ASSERT_EQ(converter.ConvertFileForDeck(input.c_str(), nullptr, handler, 0, 0, 0, LSoundTime(), 0, 0), 1);
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.progress.empty() && recorder.progress.back() > 0; }, 20000));
    std::ofstream(gate).close();
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.completions.empty(); }, 20000));
    EXPECT_FALSE(recorder.completions[0]);
    ExpectCacheEmpty();
}

TEST_F(FollowDecoder, AStopEndsTheWaitForASilentDecoder)
{
    InstallDecoder(Then::kWriteTheRest);
    auto queue = LEventQueue::ForCurrentThread();
    Recorder recorder;
    FileConverterNotifyHandler handler(recorder);
    FileConverter converter;
    ASSERT_EQ(converter.ConvertFileForDeck(input.c_str(), nullptr, handler, 1, 0, 0, LSoundTime(), 0, 0), 1);
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.progress.empty() && recorder.progress.back() > 0; }, 20000));
    // The decoder is waiting for its gate, which opens only after the stop has been seen.
    converter.StopThreadSoon();
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.completions.empty(); }, 20000));
    EXPECT_FALSE(recorder.completions[0]);
    converter.WaitForThreadEnd();
    ExpectCacheEmpty();
}

}  // namespace

namespace {

std::string Chunk(const char* id, const std::string& body, uint32_t size)
{
    std::string out(id, 4);
    for (int i = 0; i < 4; ++i)
        out += char(size >> (8 * i) & 0xff);
    return out + body;
}

std::string Format(uint16_t tag, uint16_t channels, uint16_t bits)
{
    std::string fmt(16, '\0');
    fmt[0] = char(tag & 0xff), fmt[1] = char(tag >> 8);
    fmt[2] = char(channels);
    fmt[4] = char(0x44), fmt[5] = char(0xac);  // 44,100 Hz
    fmt[12] = char(channels * bits / 8);
    fmt[14] = char(bits);
    return Chunk("fmt ", fmt, 16);
}

std::string Header(const std::string& chunks)
{
    return Chunk("RIFF", "WAVE" + chunks, uint32_t(4 + chunks.size()));
}

// Only a whole header of uncoded samples that states its length is followed; anything else is
// waited for until the decoder has finished.
TEST(DecoderOutput, OnlyAWholeHeaderWithALengthIsFollowed)
{
    const std::string pcm = Format(1, 2, 16);
    struct Case {
        const char* what;
        std::string bytes;
        bool followed;
    } cases[] = {
        {"PCM with its length", Header(pcm + Chunk("data", "", 400)), true},
        {"float with its length", Header(Format(3, 2, 32) + Chunk("data", "", 800)), true},
        {"a chunk before the data", Header(pcm + Chunk("LIST", std::string(5, 'x') + '\0', 5) + Chunk("data", "", 4)),
         true},
        {"placeholder length", Header(pcm + Chunk("data", "", 0xffffffff)), false},
        {"length 0 while writing", Header(pcm + Chunk("data", "", 0)), false},
        {"MP3 inside", Header(Format(85, 2, 0) + Chunk("data", "", 400)), false},
        {"no channels", Header(Format(1, 0, 16) + Chunk("data", "", 400)), false},
        {"data before its format", Header(Chunk("data", "", 400) + pcm), false},
        {"cut in the data header", Header(pcm + Chunk("data", "", 400)).substr(0, 40), false},
        {"cut in the format", Header(pcm).substr(0, 24), false},
        {"not RIFF", "RIFX" + Header(pcm + Chunk("data", "", 400)).substr(4), false},
        {"empty", "", false},
    };
    TempFolder folder;
    for (const Case& c : cases) {
        const std::string path = folder / "out.wav";
        WriteWholeFile(path, c.bytes);
        EXPECT_EQ(LDecoderOutputAnnouncesLength(path.c_str()), c.followed) << c.what;
    }
    EXPECT_FALSE(LDecoderOutputAnnouncesLength((folder / "missing.wav").c_str()));
}

}  // namespace
