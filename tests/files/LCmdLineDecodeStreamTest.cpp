#include "files/FileConversion.h"
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
