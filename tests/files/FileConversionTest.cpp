#include "files/FileConversion.h"
#include "files/LFilesSettings.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "base/LEventQueue.h"
#include "MediaFixtures.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <thread>

namespace fs = std::filesystem;

namespace {

class MapSettings : public LFilesSettings {
public:
    std::map<std::string, std::string> values;  // "section/key"
    bool GetString(const char* section, const char* key, const char* def, char* dest) override
    {
        auto found = values.find(std::string(section) + "/" + key);
        std::snprintf(dest, 260, "%s", found == values.end() ? def : found->second.c_str());
        return found != values.end();
    }
    bool SetString(const char* section, const char* key, const char* value) override
    {
        values[std::string(section) + "/" + key] = value;
        return true;
    }
};

std::atomic<int> gAlerts{0};

class Cache : public testing::Test {
protected:
    void SetUp() override
    {
        LSetFilesSettings(&settings);
        gAlerts = 0;
        LSetFilesAlert([](OpaqueWindowPtr*, const char* title, const char*) {
            gAlerts += std::string(title) == "Cache Full" ? 1 : 0;
        });
        char folder[LFile::kPathBytes];
        ASSERT_TRUE(FileConversion::GetCacheFolder(folder));
        cache = folder;
    }
    void TearDown() override
    {
        LSetFilesSettings(nullptr);
        LSetFilesAlert(nullptr);
    }
    // File times tick with the kernel's coarse clock: the first files get times of their own.
    void FillCache(int files, int distinctTimes = 0)
    {
        for (int i = 0; i < files; ++i) {
            std::ofstream(cache + "/old" + std::to_string(1000 + i) + ".mp3.wav") << "x";
            if (i < distinctTimes)
                std::this_thread::sleep_for(std::chrono::milliseconds(15));
        }
    }
    int CountCache() const
    {
        int n = 0;
        for (const auto& e : fs::directory_iterator(cache))
            n += e.path().extension() == ".wav" ? 1 : 0;
        return n;
    }
    std::string MakeWave(const std::string& name, int rate, double seconds = kFixtureSeconds)
    {
        const std::string path = home / name;
        EXPECT_TRUE(MakeSourceWave(path, rate, seconds));
        return path;
    }

    TestHome home;
    MapSettings settings;
    std::string cache;
};

TEST_F(Cache, CachedNamesKeepTheWholeFileName)
{
    struct Case {
        const char* cacheYesNo;
        const char* cachePath;
        const char* source;
        std::string expected;
    } cases[] = {
        {"", "", "/music/a/song.mp3", cache + "/song.mp3.wav"},
        {"1", "", "/music/b/song.wav", cache + "/song.wav.wav"},
        {"", "/elsewhere", "x/Track 1.FLAC", "/elsewhere/Track 1.FLAC.wav"},
        {"0", "/elsewhere", "/m/song.ogg", home / ".local/share/Orvane/Temp/song.ogg.wav"},
    };
    for (const Case& c : cases) {
        settings.values["Settings/CacheYesNo"] = c.cacheYesNo;
        settings.values["Settings/CachePath"] = c.cachePath;
        char out[LFile::kPathBytes];
        ASSERT_TRUE(FileConversion::MakeCachedPath(out, c.source));
        EXPECT_EQ(std::string(out), c.expected);
    }
    settings.values.clear();
    char out[LFile::kPathBytes];
    EXPECT_FALSE(FileConversion::MakeCachedPath(out, ("/m/" + std::string(250, 'n') + ".mp3").c_str()));
    EXPECT_FALSE(FileConversion::MakeCachedPath(out, "/m/"));
}

TEST_F(Cache, ACachedWaveIsStillCopiedSampleForSample)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string wave = MakeWave("song.wav", 44100);
    FileConversion job(wave.c_str());
    ASSERT_EQ(job.CheckCache(nullptr), 0);
    EXPECT_EQ(job.Convert(), 1);
    ASSERT_TRUE(job.GetSuccess());
    EXPECT_EQ(std::string(job.GetCachedPath()), cache + "/song.wav.wav");
    LSoundSource original = LWaveFile::OpenSource(wave.c_str());
    LSoundSource cached = LWaveFile::OpenSource(job.GetCachedPath());
    ASSERT_EQ(cached->GetError(), kErrNone);
    EXPECT_EQ(cached->GetRate(), 44100);
    EXPECT_EQ(cached->GetChannels(), 2);
    EXPECT_EQ(ReadAll(cached), ReadAll(original));
    FileConversion again(wave.c_str());
    EXPECT_EQ(again.CheckCache(nullptr), 1);
    EXPECT_TRUE(again.GetSuccess());
}

TEST_F(Cache, EveryCachedFileIs44100Hz16BitStereo)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    const MediaFixture opus = MediaFixtures()[4];
    ASSERT_STREQ(opus.extension, ".opus");
    const std::string track = home / "voice.opus";
    ASSERT_TRUE(EncodeFixture(MakeWave("voice48k.wav", 48000), opus, track));
    FileConversion job(track.c_str());
    job.Convert();
    ASSERT_TRUE(job.GetSuccess());
    std::unique_ptr<WAVEFORMATEX> format;
    ASSERT_TRUE(LWaveFormatEx::_Load(job.GetCachedPath(), format));
    EXPECT_EQ(format->wFormatTag, 1);
    EXPECT_EQ(format->nChannels, 2);
    EXPECT_EQ(format->nSamplesPerSec, 44100u);
    EXPECT_EQ(format->nAvgBytesPerSec, 176400u);
    EXPECT_EQ(format->nBlockAlign, 4);
    EXPECT_EQ(format->wBitsPerSample, 16);
    EXPECT_NEAR(LWaveFile::OpenSource(job.GetCachedPath())->GetEndSample(), 66150, 2);
}

TEST_F(Cache, MaxCacheWarnsFromTheLimitOn)
{
    settings.values["Settings/DoNothingButWarn"] = "1";
    FillCache(99);
    FileConversion job("/m/new.mp3");
    EXPECT_EQ(job.CheckCache(nullptr), 0);
    EXPECT_EQ(gAlerts, 0);
    FillCache(100);
    EXPECT_EQ(job.CheckCache(nullptr), 0);
    EXPECT_EQ(gAlerts, 1);
    EXPECT_EQ(CountCache(), 100) << "a warning deletes nothing";
    settings.values["Settings/CacheYesNo"] = "0";
    EXPECT_EQ(job.CheckCache(nullptr), 0);
    EXPECT_EQ(gAlerts, 1) << "no warning without the cache";
}

TEST_F(Cache, DeleteOldestRemovesOneFilePerConversion)
{
    settings.values["Settings/DeleteOldest"] = "yes";
    FillCache(150, 4);
    for (int round = 1; round <= 3; ++round) {
        FileConversion job("/m/new.mp3");
        EXPECT_EQ(job.CheckCache(nullptr), 0);
        EXPECT_EQ(CountCache(), 150 - round);
        EXPECT_FALSE(fs::exists(cache + "/old" + std::to_string(1000 + round - 1) + ".mp3.wav"));
        EXPECT_TRUE(fs::exists(cache + "/old" + std::to_string(1000 + round) + ".mp3.wav"));
    }
    settings.values["Settings/MaxCache"] = "1000";
    FileConversion job("/m/new.mp3");
    job.CheckCache(nullptr);
    EXPECT_EQ(CountCache(), 147) << "below the limit nothing goes";
}

// A conversion killed outright leaves only its hidden temporary: it is neither a cached file
// nor counted against the limit, and the next conversion of the track removes it.
TEST_F(Cache, WhatAKilledConversionLeavesIsNeverACachedFile)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string wave = MakeWave("killed.wav", 44100);
    const std::string stale = cache + "/.killed.wav.wav.2147483646-0.tmp";  // no such process
    std::ofstream(stale) << "RIFF half a file";
    settings.values["Settings/MaxCache"] = "1";
    settings.values["Settings/DoNothingButWarn"] = "1";
    FileConversion job(wave.c_str());
    EXPECT_EQ(job.CheckCache(nullptr), 0);
    EXPECT_EQ(gAlerts, 0);
    job.Convert();
    ASSERT_TRUE(job.GetSuccess());
    EXPECT_FALSE(fs::exists(stale));
    EXPECT_EQ(LWaveFile::OpenSource(job.GetCachedPath())->GetEndSample(), 66150);
}

TEST_F(Cache, AGrowingCachedFileIsWaitedFor)
{
    const std::string cached = cache + "/growing.mp3.wav";
    std::ofstream(cached) << "RIFF";
    std::atomic<bool> done{false};
    std::thread writer([&] {
        for (int i = 0; i < 30; ++i) {
            std::ofstream(cached, std::ios::app) << std::string(1000, 'x');
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        done = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    FileConversion job("/m/growing.mp3");
    EXPECT_EQ(job.CheckCache(nullptr), 1);
    EXPECT_TRUE(done) << "the wait ended while the file still grew";
    writer.join();
}

// Stops the copy after its first round.
class StoppingConversion : public FileConversion {
public:
    using FileConversion::FileConversion;
    LProcessResult ProcessSourceToSink(LPRSourceToSink& job) override
    {
        struct StopAfterFirstRound : LProcessInterfaceVoid {
            int rounds = 0;
            bool IsToStop() override { return rounds > 1; }  // the first is the initial 0
            void SetProgress(double) override { ++rounds; }
        } process;
        return Process(process, job);
    }
};

TEST_F(Cache, ACancelOrAFailureLeavesNoFile)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string wave = MakeWave("long.wav", 44100, 5.0);  // three rounds
    StoppingConversion stopped(wave.c_str());
    EXPECT_EQ(stopped.Convert(), 1);
    EXPECT_FALSE(stopped.GetSuccess());
    FileConversion missing((home / "missing.mp3").c_str());
    EXPECT_EQ(missing.Convert(), 0);
    EXPECT_FALSE(missing.GetSuccess());
    for (const auto& e : fs::directory_iterator(cache))
        ADD_FAILURE() << "left behind: " << e.path();
}

class Recorder : public FileConverterNotify {
public:
    std::vector<FileConversionRecord> completions;
    std::vector<FileConversionProgress> progress;

    void fcntfProgress(int percent, int deck) override { progress.push_back({percent, deck}); }
    void fcntfComplete(bool success, const char* path, int deck, int beatFrequency, int beatOffset, LSoundTime length,
                       int row, int cueMark) override
    {
        FileConversionRecord r;
        r.success = success;
        std::snprintf(r.path, sizeof r.path, "%s", path);
        r.deck = deck;
        r.beatFrequency = beatFrequency;
        r.beatOffset = beatOffset;
        r.length = length;
        r.row = row;
        r.cueMark = cueMark;
        completions.push_back(r);
    }
};

TEST_F(Cache, ADeckJobReportsProgressAndCompletionOnce)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string wave = MakeWave("deck.wav", 22050);
    auto queue = LEventQueue::ForCurrentThread();
    struct Case {
        std::string path;
        bool success;
    } cases[] = {{wave, true}, {wave, true} /* a cache hit */, {home / "missing.ogg", false}};
    for (const Case& c : cases) {
        Recorder recorder;
        FileConverterNotifyHandler handler(recorder);
        FileConverter converter;
        ASSERT_EQ(converter.ConvertFileForDeck(c.path.c_str(), nullptr, handler, 1, 441, 7, LSoundTime(1500), 3, 9), 1);
        ASSERT_TRUE(queue->RunUntil([&] { return !recorder.completions.empty(); }, 20000));
        queue->RunUntil([] { return false; }, 100);  // anything more would come now
        ASSERT_EQ(recorder.completions.size(), 1u) << c.path;
        const FileConversionRecord& r = recorder.completions[0];
        EXPECT_EQ(r.success, c.success);
        EXPECT_EQ(std::string(r.path), cache + "/" + fs::path(c.path).filename().string() + ".wav");
        EXPECT_EQ(r.deck, 1);
        EXPECT_EQ(r.beatFrequency, 441);
        EXPECT_EQ(r.beatOffset, 7);
        EXPECT_EQ(r.length.GetMilliseconds(), 1500);
        EXPECT_EQ(r.row, 3);
        EXPECT_EQ(r.cueMark, 9);
        ASSERT_FALSE(recorder.progress.empty());
        EXPECT_EQ(recorder.progress.front().percent, 0);
        for (const FileConversionProgress& p : recorder.progress) {
            EXPECT_EQ(p.deck, 1);
            EXPECT_GE(p.percent, 0);
            EXPECT_LE(p.percent, 100);
        }
        EXPECT_EQ(fs::exists(r.path), c.success);
    }
}

// An outside decoder that takes its time: it waits for a file to appear, then copies a
// prepared WAVE file to its output.
class SlowDecoder {
public:
    SlowDecoder(const TestHome& home, const std::string& wave) : _gate(home / "go")
    {
        char folder[LFile::kPathBytes];
        EXPECT_TRUE(LFile::GetUserDataFolderAppSubFolder(LFile::kComponentsFolder, folder));
        const std::string script = std::string(folder) + "/oggdec";
        // It also gives up once the test's home is gone, so a test that ends early leaves no
        // process waiting for ever.
        const std::string homeFolder = home / "";
        std::ofstream(script) << "#!/bin/sh\nwhile [ ! -e '" << _gate << "' ] && [ -d '" << homeFolder
                              << "' ]; do sleep 0.01; done\ncp '" << wave << "' \"$2\"\n";
        fs::permissions(script, fs::perms::owner_all);
    }
    ~SlowDecoder() { Release(); }
    SlowDecoder(const SlowDecoder&) = delete;
    SlowDecoder& operator=(const SlowDecoder&) = delete;
    void Release() const { std::ofstream(_gate).close(); }

private:
    std::string _gate;
};

TEST_F(Cache, ASecondLoadWhileAJobRunsIsRefused)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    SlowDecoder decoder(home, MakeWave("decoded.wav", 44100));
    std::ofstream(home / "first.ogg") << "ogg";
    auto queue = LEventQueue::ForCurrentThread();
    Recorder recorder;
    FileConverterNotifyHandler handler(recorder);
    FileConverter converter;
    ASSERT_EQ(converter.ConvertFileForDeck((home / "first.ogg").c_str(), nullptr, handler, 0, 0, 0, LSoundTime(), 0, 0), 1);
    EXPECT_EQ(converter.ConvertFileForDeck((home / "first.ogg").c_str(), nullptr, handler, 0, 0, 0, LSoundTime(), 0, 0), 0);
    decoder.Release();
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.completions.empty(); }, 20000));
    EXPECT_TRUE(recorder.completions[0].success);
    EXPECT_EQ(LWaveFile::OpenSource(recorder.completions[0].path)->GetEndSample(), 66150);
}

TEST_F(Cache, AStoppedDeckJobCompletesFalseAndLeavesNothing)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    SlowDecoder decoder(home, MakeWave("decoded.wav", 44100));
    std::ofstream(home / "stopped.ogg") << "ogg";
    auto queue = LEventQueue::ForCurrentThread();
    Recorder recorder;
    FileConverterNotifyHandler handler(recorder);
    FileConverter converter;
    ASSERT_EQ(converter.ConvertFileForDeck((home / "stopped.ogg").c_str(), nullptr, handler, 1, 0, 0, LSoundTime(), 0, 0), 1);
    converter.StopThreadSoon();
    ASSERT_TRUE(queue->RunUntil([&] { return !recorder.completions.empty(); }, 20000));
    queue->RunUntil([] { return false; }, 100);
    ASSERT_EQ(recorder.completions.size(), 1u);
    EXPECT_FALSE(recorder.completions[0].success);
    converter.WaitForThreadEnd();
    EXPECT_FALSE(converter.IsBusy());
    decoder.Release();  // the abandoned decoder ends now; what it writes goes with it
    for (const auto& e : fs::directory_iterator(cache))
        ADD_FAILURE() << "left behind: " << e.path();
}

}  // namespace
