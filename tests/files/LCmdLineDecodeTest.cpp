#include "files/LCmdLineDecode.h"
#include "support/TestHome.h"
#include "base/RecordingProcess.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

std::string ComponentFolder()
{
    char folder[LFile::kPathBytes];
    EXPECT_TRUE(LGetComponentFolder(folder));
    return folder;
}

void WriteExecutable(const std::string& path, const std::string& text)
{
    std::ofstream(path) << text;
    chmod(path.c_str(), 0755);
}

TEST(Components, FileNamesOfTheEndianSeparatedOnesEndInI)
{
    struct Case {
        const char* name;
        const char* file;
    } cases[] = {{"flaccodec", "flaccodeci"}, {"wmadec", "wmadeci"}, {"oggdec", "oggdec"}, {"devoc", "devoc"},
                 {"mpcdec2", "mpcdec2i"},     {"ffmpeg11", "ffmpeg11i"}};
    for (const Case& c : cases) {
        char file[LFile::kPathBytes];
        ASSERT_TRUE(LGetComponentFileName(c.name, file));
        EXPECT_STREQ(file, c.file);
    }
}

TEST(Components, TheFolderComesFirstThenTheLinuxProgramOnPath)
{
    TestHome home;
    const std::string bin = home / "bin";
    fs::create_directory(bin);
    WriteExecutable(bin + "/flac", "#!/bin/sh\n");
    const std::string oldPath = std::getenv("PATH");
    setenv("PATH", ("relative:" + bin).c_str(), 1);
    char path[LFile::kPathBytes];
    EXPECT_TRUE(LIsComponentInstalled("flaccodec", path));
    EXPECT_EQ(std::string(path), bin + "/flac");
    EXPECT_FALSE(LIsComponentInstalled("oggdec", path));
    EXPECT_STREQ(path, "");
    EXPECT_FALSE(LIsComponentInstalled("devoc", path)) << "no Linux program stands for it";

    // A component of another machine's kind does not count; one of this machine's does.
    const std::string own = ComponentFolder() + "/flaccodeci";
    std::ofstream(own) << "\xce\xfa\xed\xfe rest";
    EXPECT_TRUE(LIsComponentInstalled("flaccodec", path));
    EXPECT_EQ(std::string(path), bin + "/flac");
    WriteExecutable(own, "#!/bin/sh\n");
    EXPECT_TRUE(LIsComponentInstalled("flaccodec", path));
    EXPECT_EQ(std::string(path), own);
    setenv("PATH", oldPath.c_str(), 1);
}

TEST(Components, MissingComponentMessagesNameIt)
{
    char message[1024];
    LGetMissingComponentMessage(message, sizeof message, ".ogg", "oggdec");
    EXPECT_STREQ(message,
                 "Orvane DJ Software could not locate a plugin for the file with extension \".ogg\". Please install "
                 "the plug-in \"oggdec\" (on Linux, the program oggdec): see \"Supported formats\" in the README.");
    LGetMissingComponentMessage(message, sizeof message, ".shn", "");
    EXPECT_STREQ(message,
                 "Orvane DJ Software could not locate a plugin for the file with extension \".shn\". No plugin "
                 "appears to be available, therefore this format may be unsupported. See \"Supported formats\" in "
                 "the README.");

    TestHome home;
    RecordingProcess process;
    LCmdLineConvertToWav job;
    std::snprintf(job.input, sizeof job.input, "%s", (home / "a.shn").c_str());
    std::snprintf(job.output, sizeof job.output, "%s", (home / "out.wav").c_str());
    EXPECT_EQ(Process(process, job), kProcessFailed);
    ASSERT_FALSE(process.calls.empty());
    EXPECT_EQ(process.calls[0], "status0 Decoding .shn file");
    EXPECT_EQ(process.calls.back(), std::string("error ") + message);
}

// The decoder's command is an argument list: a name with blanks, quotes, $ or a leading "-"
// arrives as one argument, unchanged, and nothing of it runs.
TEST(Components, OddFileNamesReachTheDecoderAsOneArgument)
{
    TestHome home;
    const std::string log = home / "arguments.txt";
    WriteExecutable(ComponentFolder() + "/oggdec",
                    "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done > '" + log + "'\n: > \"$2\"\n");
    const std::string names[] = {
        "a b  c.ogg", "quote\"d 'single'.ogg", "$HOME `touch pwned` $(touch pwned).ogg", "semi;colon|pipe&.ogg",
    };
    for (const std::string& name : names) {
        RecordingProcess process;
        LCmdLineConvertToWav job;
        std::snprintf(job.input, sizeof job.input, "%s", (home / name).c_str());
        std::snprintf(job.output, sizeof job.output, "%s", (home / "Temp1.wav").c_str());
        ASSERT_EQ(Process(process, job), kProcessFinished) << name;
        std::ifstream in(log);
        std::stringstream got;
        got << in.rdbuf();
        EXPECT_EQ(got.str(), "-o\n" + std::string(job.output) + "\n" + job.input + "\n");
        EXPECT_TRUE(fs::exists(job.output));
    }
    EXPECT_FALSE(fs::exists(home / "pwned"));
    EXPECT_FALSE(fs::exists("pwned"));

    RecordingProcess process;
    char line[600], component[LFile::kPathBytes];
    std::vector<std::string> argv;
    ASSERT_EQ(LGetCommandLineDecoderLine(process, line, "-dash.ogg", "out.wav", component, &argv), 1);
    ASSERT_EQ(argv.size(), 4u);
    EXPECT_EQ(argv[3], "./-dash.ogg");
    EXPECT_STREQ(component, "oggdec");
    // The shell form, for messages, keeps the quoting of the format.
    EXPECT_EQ(std::string(line), "\"" + ComponentFolder() + "/oggdec\" -o \"out.wav\" \"-dash.ogg\"");
}

TEST(Components, TheOrderOfThePathsFollowsTheFlag)
{
    TestHome home;
    WriteExecutable(ComponentFolder() + "/wmadeci", "#!/bin/sh\n");
    WriteExecutable(ComponentFolder() + "/mpcdec2i", "#!/bin/sh\n");
    RecordingProcess process;
    char line[600], component[LFile::kPathBytes];
    std::vector<std::string> argv;
    ASSERT_EQ(LGetCommandLineDecoderLine(process, line, "/in.WMA", "/out.wav", component, &argv), 1);
    EXPECT_EQ(argv, (std::vector<std::string>{ComponentFolder() + "/wmadeci", "-i", "/in.WMA", "-vn", "-f", "wav",
                                              "/out.wav"}));
    ASSERT_EQ(LGetCommandLineDecoderLine(process, line, "/in.mpc", "/out.wav", component, &argv), 1);
    EXPECT_EQ(argv, (std::vector<std::string>{ComponentFolder() + "/mpcdec2i", "/in.mpc", "/out.wav"}));
    EXPECT_EQ(LGetCommandLineDecoderLine(process, line, "/in.ape", "/out.wav", component, &argv), 0);
    EXPECT_STREQ(component, "");
}

}  // namespace
