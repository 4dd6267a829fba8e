#include "files/LCmdLineDecode.h"
#include "files/LComponentInstall.h"
#include "files/LGenSource.h"
#include "sound/LWaveFile.h"
#include "support/TestHome.h"
#include "MediaFixtures.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using R = LComponentInstallResult;

std::string ComponentFolder()
{
    char folder[LFile::kPathBytes];
    EXPECT_TRUE(LGetComponentFolder(folder));
    return folder;
}

std::set<std::string> Entries(const std::string& folder)
{
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(folder))
        names.insert(e.path().filename().string());
    return names;
}

// Zips the files of `folder` (their names as they are there) into `zip`.
bool Zip(const std::string& folder, const std::string& zip)
{
    const std::string command = "cd \"$1\" && zip -q -r \"$2\" .";
    const char* const argv[] = {"sh", "-c", command.c_str(), "sh", folder.c_str(), zip.c_str(), nullptr};
    return LRunProgram(argv) == 0;
}

class Install : public testing::Test {
protected:
    void SetUp() override
    {
        if (!HaveProgram("zip") || !HaveProgram("unzip"))
            GTEST_SKIP() << "zip and unzip are not installed";
    }

    // A zip holding the stand-in decoder `program` (a script that copies its input, a WAVE
    // file under another name, to its output, and leaves a mark that it ran) and a read-me.
    std::string MakeDecoderZip(const std::string& zipName, const std::string& program)
    {
        const std::string content = home / ("content of " + zipName);
        fs::create_directories(content + "/doc");
        std::ofstream(content + "/" + program)
            << "#!/bin/sh\ntouch '" << mark << "'\ncp -- \"$3\" \"$2\"\n";  // oggdec -o OUT IN
        std::ofstream(content + "/doc/read me.txt") << "text";
        const std::string zip = home / zipName;
        EXPECT_TRUE(Zip(content, zip));
        return zip;
    }

    TestHome home;
    std::string mark = home / "decoder ran";
};

TEST_F(Install, AZippedDecoderIsFoundAndUsedByTheDecodePath)
{
    if (!HaveProgram("ffmpeg"))
        GTEST_SKIP() << "ffmpeg is not installed";
    // Odd names for both the user's data folder and the archive.
    const std::string data = home / "data 'of' \"the\" user $HOME";
    fs::create_directories(data);
    setenv("XDG_DATA_HOME", data.c_str(), 1);
    const std::string zip = MakeDecoderZip("odd 'name' \"quoted\" [1] *.zip", "oggdec");
    ASSERT_EQ(LInstallZipComponentOptionallyDeleteZipFile("oggdec", zip.c_str(), true), R::kInstalled);
    EXPECT_FALSE(fs::exists(zip)) << "asked to delete the archive";

    char path[LFile::kPathBytes];
    ASSERT_TRUE(LIsComponentInstalled("oggdec", path));
    EXPECT_EQ(std::string(path), data + "/Orvane/Components/oggdec");
    struct stat info {};
    ASSERT_EQ(stat(path, &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0755u);
    ASSERT_EQ(stat((ComponentFolder() + "/doc").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0755u);
    ASSERT_EQ(stat((ComponentFolder() + "/doc/read me.txt").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644u);
    EXPECT_EQ(Entries(ComponentFolder()), (std::set<std::string>{"oggdec", "doc"})) << "no staging left";

    // A WAVE file behind an ".ogg" name reaches the deck through the installed decoder.
    const std::string track = home / "track one.ogg";
    ASSERT_TRUE(MakeSourceWave(track + ".wav", 44100));
    fs::rename(track + ".wav", track);
    LSoundSource source;
    LProcessInterfaceVoid quietly;
    LGenSourceOpenInterfaceProcess open(quietly);
    ASSERT_EQ(ProcessGenSourceOpenSource(source, track.c_str(), open, true, ""), kProcessFinished);
    EXPECT_TRUE(fs::exists(mark));
    EXPECT_EQ(source->GetEndSample(), 66150);
}

TEST_F(Install, ABadArchiveFailsAndInstallsNothing)
{
    const std::string good = MakeDecoderZip("good.zip", "oggdec");
    const std::string bytes = ReadWholeFile(good);
    struct Case {
        const char* name;
        std::string content;
        R expected;
    } cases[] = {
        {"empty.zip", "", R::kBadArchive},
        {"text.zip", "this is no archive", R::kBadArchive},
        {"truncated.zip", bytes.substr(0, bytes.size() / 2), R::kBadArchive},
        {"bitten.zip", bytes.substr(0, 40) + std::string(60, '\xff') + bytes.substr(100), R::kBadArchive},
    };
    const std::set<std::string> before = Entries(ComponentFolder());
    for (const Case& c : cases) {
        const std::string zip = home / c.name;
        WriteWholeFile(zip, c.content);
        EXPECT_EQ(LInstallZipComponentOptionallyDeleteZipFile("oggdec", zip.c_str(), true), c.expected) << c.name;
        EXPECT_TRUE(fs::exists(zip)) << "a failed install keeps its archive: " << c.name;
        EXPECT_EQ(Entries(ComponentFolder()), before) << c.name;
    }
    EXPECT_EQ(LInstallZipComponentOptionallyDeleteZipFile("oggdec", (home / "none.zip").c_str(), true),
              R::kMissingFile);
    // An archive without the component named is refused whole.
    const std::string other = MakeDecoderZip("other.zip", "mpcdec2i");
    EXPECT_EQ(LInstallZipComponentOptionallyDeleteZipFile("oggdec", other.c_str(), false), R::kNotInArchive);
    EXPECT_EQ(Entries(ComponentFolder()), before);
}

TEST_F(Install, NothingOfAnArchiveReachesOutsideTheComponentFolder)
{
    // A link to a file of the system, and an entry named "../escaped.txt".
    const std::string content = home / "hostile/inner";
    fs::create_directories(content);
    std::ofstream(content + "/oggdec") << "#!/bin/sh\n";
    std::ofstream(home / "hostile/escaped.txt") << "out";
    fs::create_symlink("/etc/passwd", content + "/passwd");
    const std::string zip = home / "hostile.zip";
    const char* const argv[] = {"sh", "-c", "cd \"$1\" && zip -q --symlinks \"$2\" oggdec passwd ../escaped.txt", "sh",
                                content.c_str(), zip.c_str(), nullptr};
    ASSERT_EQ(LRunProgram(argv), 0);
    fs::remove(home / "hostile/escaped.txt");

    ASSERT_EQ(LInstallZipComponentOptionallyDeleteZipFile("oggdec", zip.c_str(), false), R::kInstalled);
    EXPECT_FALSE(fs::exists(fs::path(ComponentFolder()).parent_path() / "escaped.txt"));
    EXPECT_FALSE(fs::exists(home / "hostile/escaped.txt"));
    EXPECT_FALSE(fs::is_symlink(ComponentFolder() + "/passwd")) << "links are not installed";
    char path[LFile::kPathBytes];
    EXPECT_TRUE(LIsComponentInstalled("oggdec", path));
}

TEST_F(Install, WithoutUnzipTheResultSaysSo)
{
    const std::string zip = MakeDecoderZip("good.zip", "oggdec");
    const std::string oldPath = std::getenv("PATH");
    setenv("PATH", (home / "no programs here").c_str(), 1);
    const R result = LInstallZipComponentOptionallyDeleteZipFile("oggdec", zip.c_str(), true);
    setenv("PATH", oldPath.c_str(), 1);
    EXPECT_EQ(result, R::kNoArchiveProgram);
    EXPECT_NE(std::string(LComponentInstallResultText(result)).find("unzip"), std::string::npos);
    EXPECT_TRUE(fs::exists(zip));
    EXPECT_TRUE(Entries(ComponentFolder()).empty());
}

TEST_F(Install, AProgramFileReplacesTheOldOneAndRuns)
{
    const std::string program = home / "-flac codec";
    std::ofstream(program) << "#!/bin/sh\necho new\n";
    const std::string old = ComponentFolder() + "/flaccodeci";
    std::ofstream(old) << "old";
    chmod(old.c_str(), 0600);
    ASSERT_EQ(LInstallNormalComponent("flaccodec", program.c_str()), R::kInstalled);
    EXPECT_EQ(ReadWholeFile(old), "#!/bin/sh\necho new\n");
    struct stat info {};
    ASSERT_EQ(stat(old.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0755u);
    EXPECT_TRUE(fs::exists(program)) << "a program file is copied, not moved";
    EXPECT_EQ(LInstallNormalComponent("flaccodec", (home / "missing").c_str()), R::kMissingFile);

    // A ".ZIP" goes through the archive and is deleted after.
    const std::string zip = MakeDecoderZip("DECODER.ZIP", "oggdec");
    EXPECT_EQ(LInstallNormalComponent("oggdec", zip.c_str()), R::kInstalled);
    EXPECT_FALSE(fs::exists(zip));
}

TEST_F(Install, BundledArchivesAreAllInstalledAndKept)
{
    const std::string bundled = home / "share/Orvane/components";
    fs::create_directories(bundled);
    fs::rename(MakeDecoderZip("one.zip", "oggdec"), bundled + "/oggdec.zip");
    fs::rename(MakeDecoderZip("two.zip", "mpcdec2i"), bundled + "/mpcdec2.ZIP");
    WriteWholeFile(bundled + "/broken.zip", "no archive");
    WriteWholeFile(bundled + "/notes.txt", "not an archive");
    EXPECT_EQ(LInstallBundledComponentsFromFolder(bundled.c_str()), 2);
    char path[LFile::kPathBytes];
    EXPECT_TRUE(LIsComponentInstalled("oggdec", path));
    EXPECT_TRUE(LIsComponentInstalled("mpcdec2", path));
    EXPECT_TRUE(fs::exists(bundled + "/oggdec.zip"));
    EXPECT_TRUE(fs::exists(bundled + "/mpcdec2.ZIP"));
}

}  // namespace
