#include "files/LGenSource.h"
#include "files/LQTDecode.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "base/RecordingProcess.h"
#include "MediaFixtures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

namespace fs = std::filesystem;

namespace {

bool HasError(const RecordingProcess& process, const std::string& part)
{
    for (const std::string& call : process.calls)
        if (call.rfind("error ", 0) == 0 && call.find(part) != std::string::npos)
            return true;
    return false;
}

int CountTemporaries(const std::string& folder)
{
    int count = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        count += name.rfind("Temp", 0) == 0 ? 1 : 0;
    }
    return count;
}

// Sets PATH for the object's life.
class ScopedPath {
public:
    explicit ScopedPath(const std::string& value) : _old(std::getenv("PATH") ? std::getenv("PATH") : "")
    {
        setenv("PATH", value.c_str(), 1);
    }
    ~ScopedPath() { setenv("PATH", _old.c_str(), 1); }

private:
    std::string _old;
};

TEST(GenSourceExtensions, TablesIgnoreCaseAndNeedTheDot)
{
    EXPECT_EQ(kGenSourceSupportedCount, 23);
    struct Case {
        const char* extension;
        bool supported, openable;
    } cases[] = {
        {".wav", true, true}, {".MP3", true, true},  {".mp3", true, true},  {".WmV", true, true},
        {".flac", true, true}, {".mp4", false, true}, {".spx", false, true}, {".snd", false, true},
        {"mp3", false, false}, {"", false, false},    {".txt", false, false}, {".opus", false, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LGenSourceIsSupported(c.extension), c.supported) << c.extension;
        EXPECT_EQ(LGenSourceCanOpen(c.extension), c.openable) << c.extension;
    }
}

TEST(GenSourceTempFile, ConcurrentOpeningsNeverShareAPath)
{
    TempFolder folder;
    const std::string preferred = folder / "x.wav";
    constexpr int kOpenings = 12;
    std::vector<std::unique_ptr<LGenSourceTempFile>> temps(kOpenings);
    std::vector<std::thread> threads;
    for (int i = 0; i < kOpenings; ++i)
        threads.emplace_back([&, i] {
            temps[i] = std::make_unique<LGenSourceTempFile>();
            temps[i]->Choose(preferred.c_str());
        });
    for (std::thread& t : threads)
        t.join();
    std::set<std::string> paths;
    for (const auto& temp : temps) {
        ASSERT_TRUE(temp->IsChosen());
        EXPECT_EQ(fs::path(temp->GetPath()).parent_path(), fs::path(folder.Path()));
        paths.insert(temp->GetPath());
    }
    EXPECT_EQ(paths.size(), size_t(kOpenings));
    temps.clear();
    EXPECT_EQ(CountTemporaries(folder.Path()), 0) << "lock files stay behind";
}

TEST(GenSourceTempFile, AnExistingFreeFileIsReusedAndAMissingFolderFallsBack)
{
    TempFolder folder;
    std::ofstream(folder / "Temp1.wav") << "old";
    LGenSourceTempFile temp;
    ASSERT_TRUE(temp.Choose((folder / "x.wav").c_str()));
    EXPECT_EQ(std::string(temp.GetPath()), folder / "Temp1.wav");
    EXPECT_FALSE(fs::exists(folder / "Temp1.wav"));
    LGenSourceTempFile fallback;
    ASSERT_TRUE(fallback.Choose((folder / "no/such/x.wav").c_str()));
    EXPECT_EQ(fs::path(fallback.GetPath()).parent_path(), fs::path("/var/tmp"));
}

class GenSourceOpen : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!HaveProgram("ffmpeg"))
            return;
        folder = std::make_unique<TempFolder>();
        ASSERT_TRUE(MakeSourceWave(*folder / "source44100.wav", 44100));
        ASSERT_TRUE(MakeSourceWave(*folder / "source48000.wav", 48000));
        for (const MediaFixture& f : MediaFixtures())
            ASSERT_TRUE(EncodeFixture(*folder / ("source" + std::to_string(f.rate) + ".wav"), f,
                                      *folder / (std::string("track") + f.extension)));
        const std::string in = *folder / "source44100.wav", out = *folder / "alaw.wav";
        const char* const alaw[] = {"ffmpeg", "-v", "error", "-y", "-i", in.c_str(), "-c:a", "pcm_alaw", out.c_str(), nullptr};
        ASSERT_EQ(LRunProgram(alaw), 0);
    }
    static void TearDownTestSuite() { folder.reset(); }
    void SetUp() override
    {
        if (!folder)
            GTEST_SKIP() << "ffmpeg is not installed";
    }
    static std::string Track(const char* extension) { return *folder / (std::string("track") + extension); }
    static std::string Copy(const std::string& from, const std::string& name)
    {
        fs::copy_file(from, *folder / name, fs::copy_options::overwrite_existing);
        return *folder / name;
    }

    LProcessResult Open(LSoundSource& out, const std::string& path, bool quiet = false)
    {
        LGenSourceOpenInterfaceProcess open(process);
        return ProcessGenSourceOpenSource(out, path.c_str(), open, quiet, (temps / "x.wav").c_str());
    }

    static std::unique_ptr<TempFolder> folder;
    TestHome home;
    TempFolder temps;
    RecordingProcess process;
};
std::unique_ptr<TempFolder> GenSourceOpen::folder;

TEST_F(GenSourceOpen, EveryFormatOpensWithTheLengthOfTheOriginal)
{
    for (const MediaFixture& f : MediaFixtures()) {
        SCOPED_TRACE(f.extension);
        LSoundSource source;
        ASSERT_EQ(Open(source, Track(f.extension)), kProcessFinished);
        const int expected = int(kFixtureSeconds * f.rate);
        EXPECT_EQ(source->GetRate(), f.rate);
        // faad keeps an MP4 file's end padding; where the container stores the length, FFmpeg
        // and the other decoders give it exactly.
        const bool viaFaad = std::string(f.extension) == ".m4a" && HaveProgram("faad");
        if (f.exactLength && !viaFaad) {
            EXPECT_EQ(source->GetEndSample(), expected);
        } else {
            EXPECT_NEAR(source->GetEndSample(), expected, 2048);
        }
        source.Close();
        EXPECT_EQ(CountTemporaries(temps.Path()), 0) << "the decoded file outlives its source";
    }
}

TEST_F(GenSourceOpen, UpperCaseAndEmptyExtensionsOpenAlike)
{
    LSoundSource lower, upper, bare;
    ASSERT_EQ(Open(lower, Track(".mp3")), kProcessFinished);
    ASSERT_EQ(Open(upper, Copy(Track(".mp3"), "UPPER.MP3")), kProcessFinished);
    ASSERT_EQ(Open(bare, Copy(Track(".flac"), "noextension")), kProcessFinished);
    EXPECT_EQ(upper->GetEndSample(), lower->GetEndSample());
    EXPECT_EQ(bare->GetEndSample(), 66150);
}

TEST_F(GenSourceOpen, Mp3BehindAWaveNameIsRefusedUntilAnMp3ReaderIsThere)
{
    const std::string disguised = Copy(Track(".mp3"), "disguised.wav");
    LSoundSource source;
    EXPECT_EQ(Open(source, disguised), kProcessFailed);
    EXPECT_NE(source->GetError(), kErrNone);
    EXPECT_EQ(CountTemporaries(temps.Path()), 0);

    // The own MP3 reader's row is where the retry goes; a stand-in shows which files reach it.
    static int calls;
    calls = 0;
    LGenSourceSetInPlaceOpener(".mp3", [](const char* path) {
        ++calls;
        return LQTDecode::OpenSource(path);
    });
    EXPECT_EQ(Open(source, disguised), kProcessFinished);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(Open(source, *folder / "alaw.wav", true), kProcessFailed);
    EXPECT_EQ(source->GetError(), kErrRefusedCodec);
    EXPECT_EQ(calls, 1) << "a WAVE file of tag 6 was tried as MP3";
    LGenSourceSetInPlaceOpener(".mp3", nullptr);
}

TEST_F(GenSourceOpen, AMissingOutsideProgramIsNamedAndTheMediaDecoderTakesOver)
{
    std::string empty = temps / "bin";
    fs::create_directory(empty);
    ScopedPath path(empty);
    LSoundSource source;
    EXPECT_EQ(Open(source, Track(".ogg")), kProcessFinished);
    EXPECT_TRUE(HasError(process, "plugin for the file with extension \".ogg\""));
    EXPECT_TRUE(HasError(process, "\"oggdec\""));
    EXPECT_EQ(source->GetEndSample(), 66150);
}

TEST_F(GenSourceOpen, BadFilesGiveTheTableMessage)
{
    const std::string bytes(20000, '\x55');
    std::ofstream(temps / "empty.mp3").close();
    std::ofstream(temps / "junk.m4a") << bytes;
    std::ofstream(temps / "junk.xyz") << bytes;
    {
        std::ifstream in(Track(".flac"), std::ios::binary);
        std::string head(3000, '\0');
        in.read(head.data(), 3000);
        std::ofstream(temps / "cut.flac", std::ios::binary) << head;
    }
    struct Case {
        std::string path;
        std::string message;
    } cases[] = {
        {temps / "missing.wav", "Check it exists and you have read access."},
        {temps / "empty.mp3", "It is possibly either corrupt or not a true layer-3 MPEG file."},
        {temps / "junk.m4a", "FFmpeg was unable to decode the file"},
        {temps / "junk.xyz", "\" because it is corrupt."},
        {temps / "cut.flac", "The decoder process failed when decompressing the file"},
    };
    for (const Case& c : cases) {
        process.calls.clear();
        LSoundSource source;
        const LProcessResult result = Open(source, c.path);
        if (c.path.find("cut.flac") != std::string::npos && result == kProcessFinished)
            continue;  // a decoder that recovers what it can is not a failure
        EXPECT_EQ(result, kProcessFailed) << c.path;
        EXPECT_TRUE(HasError(process, c.message)) << c.path << ": " << (process.calls.empty() ? "" : process.calls.back());
        EXPECT_EQ(CountTemporaries(temps.Path()), 0) << c.path;
    }
}

// A stop cuts the wait short, as a running long task's wait does.
class StoppedProcess : public RecordingProcess {
public:
    StoppedProcess() { stop = true; }
    LProcessResult ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return kProcessStopped; }
};

TEST_F(GenSourceOpen, AStopWhileTheMediaDecoderOpensGivesOne)
{
    StoppedProcess stopped;
    LGenSourceOpenInterfaceProcess open(stopped);
    LSoundSource source;
    EXPECT_EQ(ProcessGenSourceOpenSource(source, Copy(Track(".flac"), "stopped").c_str(), open, false, ""),
              kProcessStopped);
    EXPECT_NE(source->GetError(), kErrNone);
    EXPECT_FALSE(HasError(stopped, "Cannot"));
}

TEST_F(GenSourceOpen, AStopDuringAnOutsideDecoderGivesOne)
{
    StoppedProcess stopped;
    LGenSourceOpenInterfaceProcess open(stopped);
    LSoundSource source;
    EXPECT_EQ(ProcessGenSourceOpenSource(source, Track(".ogg").c_str(), open, false, (temps / "x").c_str()),
              kProcessStopped);
    // The abandoned decoder finishes on its own and its output is removed after it.
    for (int i = 0; i < 500 && CountTemporaries(temps.Path()) > 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(CountTemporaries(temps.Path()), 0);
}

TEST(GenSourceMessages, EveryRowOfTheTable)
{
    struct Case {
        unsigned char state;
        const char* path;
        const char* decoded;
        const char* message;
    } cases[] = {
        {kErrBadFormat, "/m/a.xyz", "", "Cannot open the file \"/m/a.xyz\" because it is corrupt."},
        {kErrMissing, "/m/a.xyz", "", "Cannot open the file \"/m/a.xyz\". Check it exists and you have read access."},
        {kErrClosed, "/m/a.xyz", "",
         "Cannot open the file \"/m/a.xyz\". It is possible the file format is not supported by this program. "
         "For the formats it opens, see \"Supported formats\" in the README."},
        {kErrBadFormat, "/m/a.MP3", "",
         "Cannot open the file \"/m/a.MP3\". It is possibly either corrupt or not a true layer-3 MPEG file."},
        {kErrBadFormat, "/m/a.mid", "", "MIDI decoding is not currently supported in our products on Linux."},
        {kErrEncrypted, "/m/a.dct", "", "Cannot open the file \"/m/a.dct\" because it is encrypted."},
        {kErrBadFormat, "/m/a.ogg", "/t/Temp3.wav",
         "The decoder process failed when decompressing the file \"/m/a.ogg\" to wave format. It is possible "
         "your logon account does not have write access to the folder \"/t\""},
        {kErrBadFormat, "/m/a.m4a", "/t/Temp1.wav",
         "FFmpeg was unable to decode the file \"/t/Temp1.wav\". Please load the file into a media player and "
         "verify it plays correctly."},
        {kErrBadFormat, "/m/a.ra", "", "Cannot open the file \"/m/a.ra\" because this format is not supported on Linux."},
        {kErrBadFormat, "/m/a.wma", "/t/Temp1.wav",
         "Cannot open file \"/m/a.wma\". It is possible that the file is protected with Digital Rights Management (DRM)."},
        {kErrNone, "/m/a.xyz", "",
         "Cannot open the file \"/m/a.xyz\" because it is using an unknown codec or is possibly not a real wave file."},
        {kErrCodec, "/m/a.ogg", "/nonexistent.wav",
         "Cannot open the file \"/m/a.ogg\" because the required codec (\"Microsoft Unknown Wave Format\") is not "
         "installed. To find out if this codec is supported in this product on Linux, see \"Supported formats\" in "
         "the README."},
    };
    for (const Case& c : cases) {
        char message[kGenSourceMessageBytes];
        LGenSourceGetErrorText(message, c.state, c.path, c.decoded);
        EXPECT_STREQ(message, c.message);
    }
}

}  // namespace
