#include "files/LCmdLineDecode.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "base/RecordingProcess.h"
#include "MediaFixtures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <thread>

namespace fs = std::filesystem;

// RCA VOC files through the stand-in "devoc" component, which (like the real one) takes
// "-w FILE" and writes FILE's WAVE form beside it.

namespace {

class RcaVoc : public testing::Test {
protected:
    void SetUp() override
    {
        char folder[LFile::kPathBytes];
        ASSERT_TRUE(LFile::GetUserDataFolderAppSubFolder(LFile::kComponentsFolder, folder));
        devoc = std::string(folder) + "/devoc";
        WriteWholeFile(input, "RCA voice data");
    }

    // The stand-in records the path and content it was given, then runs `then`.
    void InstallDevoc(const std::string& then)
    {
        std::ofstream(devoc) << "#!/bin/sh\n[ \"$1\" = -w ] || exit 2\nprintf '%s' \"$2\" > '" << seenPath
                             << "'\ncp -- \"$2\" '" << seenCopy << "'\n"
                             << then << "\n";
        chmod(devoc.c_str(), 0755);
    }

    TestHome home;
    std::string devoc;
    std::string input = home / "-odd \"name\" $x 'rca'.voc";
    std::string seenPath = home / "path seen";
    std::string seenCopy = home / "copy seen";
};

TEST_F(RcaVoc, TheCopyBesideTheOutputIsAlwaysDeleted)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    const std::string wave = home / "decoded.wav";
    ASSERT_TRUE(MakeSourceWave(wave, 8000));
    struct Case {
        const char* what;
        std::string then;
        LProcessResult result;
        bool opens;
    } cases[] = {
        {"writes its WAVE", "cp '" + wave + "' \"$2.wav\"", kProcessFinished, true},
        {"fails and writes nothing", "exit 1", kProcessFinished, false},
        {"writes no WAVE", "printf junk > \"$2.wav\"", kProcessFinished, false},
    };
    for (const Case& c : cases) {
        InstallDevoc(c.then);
        RecordingProcess process;
        char output[LFile::kPathBytes];
        EXPECT_EQ(LRCAVOCDecodeData(process, input.c_str(), output), c.result) << c.what;
        ASSERT_GE(process.calls.size(), 2u);
        EXPECT_EQ(process.calls[0], "status0 Decoding RCA VOC file");

        // The component got a copy of the input in /var/tmp, and the copy is gone.
        const std::string copy = ReadWholeFile(seenPath);
        EXPECT_EQ(copy.rfind("/var/tmp/0", 0), 0u) << copy;
        EXPECT_EQ(ReadWholeFile(seenCopy), "RCA voice data");
        EXPECT_FALSE(fs::exists(copy)) << c.what;
        EXPECT_EQ(std::string(output), copy + ".wav");

        // A result of 0 hands the output to the WAVE reader, which tells whether it is usable.
        LSoundSource decoded = LWaveFile::OpenSource(output);
        EXPECT_EQ(decoded->GetError() == kErrNone, c.opens) << c.what;
        if (c.opens) {
            EXPECT_EQ(decoded->GetEndSample(), 12000);
        }
        unlink(output);
    }
    EXPECT_EQ(ReadWholeFile(input), "RCA voice data") << "the user's file is left alone";
}

TEST_F(RcaVoc, AMissingComponentIsNamedAndNothingIsCopied)
{
    RecordingProcess process;
    char output[LFile::kPathBytes];
    EXPECT_EQ(LRCAVOCDecodeData(process, input.c_str(), output), kProcessFailed);
    EXPECT_STREQ(output, "");
    ASSERT_FALSE(process.calls.empty());
    EXPECT_NE(process.calls.back().find("error "), std::string::npos);
    EXPECT_NE(process.calls.back().find("\"devoc\""), std::string::npos);
    EXPECT_FALSE(fs::exists(seenPath));
}

// A stop asked while the component runs.
class StoppedProcess : public RecordingProcess {
public:
    LProcessResult ProcessWaitSignal(LSignalObjectRef, unsigned int) override { return kProcessStopped; }
};

TEST_F(RcaVoc, AStopLeavesNothingOnceTheComponentEnds)
{
    const std::string gate = home / "go", done = home / "done";
    InstallDevoc("while [ ! -e '" + gate + "' ] && [ -d '" + home.Path() + "' ]; do sleep 0.01; done\n: > \"$2.wav\"\n: > '" +
                 done + "'");
    StoppedProcess process;
    char output[LFile::kPathBytes];
    EXPECT_EQ(LRCAVOCDecodeData(process, input.c_str(), output), kProcessStopped);
    // The component is not killed; what it writes goes when it ends.
    std::ofstream(gate).close();
    const auto start = std::chrono::steady_clock::now();
    while (!fs::exists(done) && MsSince(start) < 20000)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    while (fs::exists(output) && MsSince(start) < 20000)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(fs::exists(done));
    EXPECT_FALSE(fs::exists(output));
    EXPECT_FALSE(fs::exists(ReadWholeFile(seenPath)));
}

}  // namespace
