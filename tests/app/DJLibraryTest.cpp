#include "app/DJLibrary.h"

#include "app/AppTestFiles.h"
#include "app/LSettings.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Records what a task reports; asks to stop once `stopAfter` stop questions were answered.
class RecordingProcess : public LProcessInterfaceVoid {
public:
    bool IsToStop() override { return stopAfter >= 0 && ++questions > stopAfter; }
    void SetError(const char* message) override { errors.push_back(message); }
    void SetProgress(double fraction) override { progress.push_back(fraction); }

    int stopAfter = -1;
    int questions = 0;
    std::vector<std::string> errors;
    std::vector<double> progress;
};

std::vector<std::string> Paths(const DJLibrary& library)
{
    std::vector<std::string> out;
    for (const auto& item : library.GetList().GetItems())
        out.push_back(item->GetPath());
    return out;
}

class DJLibraryTest : public ::testing::Test {
protected:
    std::string Track(const std::string& relative, int frames = 4410)
    {
        const std::string path = home / relative;
        LFile::CreateFolderTree(path.substr(0, path.rfind('/')).c_str());
        WriteFile(path, WaveFile(frames));
        return path;
    }

    TestHome home;
    RecordingProcess process;
};

TEST_F(DJLibraryTest, AnEntryHoldsItsFieldsInTheStoredOrder)
{
    DJLibrary library;
    ASSERT_TRUE(library.LoadSingleFile(Track("m/My Song.wav", 88200).c_str(), process));
    const std::string file = home / "lib/library.xml";
    ASSERT_TRUE(library.SaveTo(file));
    EXPECT_EQ(ReadText(file), "<playlist>\n\n\t<playitem>\n\t\t<path>" + home / "m/My Song.wav" +
                                  "</path>\n\t\t<cuemarkpos>0</cuemarkpos>\n\t\t<beatoffset>0</beatoffset>\n"
                                  "\t\t<beatfreq>0</beatfreq>\n\t\t<samplerate>44100</samplerate>\n"
                                  "\t\t<length>88200</length>\n\t\t<version>1</version>\n\t\t<bpm>0</bpm>\n"
                                  "\t\t<artist>Unknown</artist>\n\t\t<album>Unknown</album>\n"
                                  "\t\t<title>My Song</title>\n\t</playitem>\n\n</playlist>\n");
    DJLibrary back;
    EXPECT_TRUE(back.LoadFrom(file));
    ASSERT_TRUE(back.SaveTo(home / "again.xml"));
    EXPECT_EQ(ReadText(home / "again.xml"), ReadText(file));
}

TEST_F(DJLibraryTest, TheLibraryLivesAtLibraryPath)
{
    ASSERT_TRUE(LUserSettingSetString("Settings", "LibraryPath", (home / "Lib").c_str()));
    EXPECT_EQ(DJLibrary::GetLibraryFilePath(), home / "Lib/library.xml");
    ASSERT_TRUE(LUserSettingSetString("Settings", "LibraryPath", "relative/folder"));
    EXPECT_EQ(DJLibrary::GetLibraryFilePath(), home / ".local/share/Orvane/library.xml");
    ASSERT_TRUE(LUserSettingSetString("Settings", "LibraryPath", (home / "Lib").c_str()));
    DJLibrary library;
    EXPECT_TRUE(library.Load());  // no file: an empty library
    EXPECT_TRUE(library.GetList().IsEmpty());
    DJAddFile add{library, Track("a.wav")};
    EXPECT_EQ(RunLibraryTask(process, add), kProcessFinished);
    ASSERT_TRUE(library.SetBeatData(0, 22050, 100));  // saved at once
    DJLibrary back;
    ASSERT_TRUE(back.Load());
    ASSERT_EQ(back.GetList().Count(), 1u);
    EXPECT_STREQ(back.GetList().GetItem(0)->Parms().GetParm("bpm", ""), "120.00");
    EXPECT_FALSE(library.SetCueMark(5, 1));
}

TEST_F(DJLibraryTest, ASecondFileOfTheSameNameIsRefused)
{
    DJLibrary library;
    const std::string first = Track("one/song.wav"), second = Track("two/song.wav");
    DJAddMultiFiles task{library, {first, second, Track("two/other.wav")}};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_EQ(Paths(library), (std::vector<std::string>{first, home / "two/other.wav"}));
    ASSERT_EQ(process.errors.size(), 1u);
    EXPECT_EQ(process.errors[0], "A file with name song.wav already exists: " + first + ".");
    library.RemoveItem(0);  // its name is free again
    EXPECT_TRUE(library.LoadSingleFile(second.c_str(), process));

    // A library read from its file knows its names too.
    const std::string file = home / "names.xml";
    ASSERT_TRUE(library.SaveTo(file));
    DJLibrary loaded;
    ASSERT_TRUE(loaded.LoadFrom(file));
    EXPECT_FALSE(loaded.LoadSingleFile(first.c_str(), process));
    EXPECT_EQ(process.errors.back(), "A file with name song.wav already exists: " + second + ".");
    EXPECT_EQ(loaded.GetList().Count(), 2u);
}

TEST_F(DJLibraryTest, PathsTheFileCannotHoldAreRefused)
{
    DJLibrary library;
    for (const char* name : {"line\nbreak.wav", "a<b>.wav", "cr\r.wav"})
        EXPECT_FALSE(library.LoadSingleFile(Track(name).c_str(), process)) << name;
    EXPECT_FALSE(library.LoadSingleFile((home / "absent.wav").c_str(), process));
    WriteWholeFile(home / "notes.txt", "not sound at all");  // no reader takes it
    EXPECT_FALSE(library.LoadSingleFile((home / "notes.txt").c_str(), process));
    EXPECT_TRUE(library.GetList().IsEmpty());
    EXPECT_EQ(library.GetRefusedCount(), 5);
    EXPECT_EQ(process.errors.size(), 5u);
}

TEST_F(DJLibraryTest, FolderAddSkipsHiddenAndAddsPlaylistEntries)
{
    DJLibrary library;
    Track("music/a.wav");
    Track("music/.hidden.wav");
    Track("music/.secret/b.wav");
    Track("music/sub/c.wav");
    Track("elsewhere/d.wav");
    WriteText(home / "music/list.m3u", "../elsewhere/d.wav\n");
    WriteText(home / "music/notes.txt", "x");
    symlink((home / "music").c_str(), (home / "music/sub/loop").c_str());
    DJAddFolder task{library, home / "music"};
    task.CountFiles();
    EXPECT_EQ(task.total, 3);  // a.wav, c.wav and the list
    task.counted = false;
    EXPECT_EQ(Process(process, task), kProcessFinished);
    std::vector<std::string> names;
    for (const std::string& path : Paths(library))
        names.push_back(path.substr(path.rfind('/') + 1));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"a.wav", "c.wav", "d.wav"}));
    EXPECT_EQ(process.progress.front(), 0.0);
}

TEST_F(DJLibraryTest, PlaylistsThatNameThemselvesEnd)
{
    DJLibrary library;
    const std::string track = Track("lists/t.wav");
    WriteText(home / "lists/a.m3u", "a.m3u\nb.m3u\na.m3u\nt.wav\n");
    WriteText(home / "lists/b.m3u", "a.m3u\nb.m3u\n");
    DJAddFile task{library, home / "lists/a.m3u"};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_EQ(Paths(library), std::vector<std::string>{track});
}

TEST_F(DJLibraryTest, ADroppedFolderAndFileShareOneProgress)
{
    DJLibrary library;
    for (int i = 0; i < 4; ++i)
        Track("drop/f" + std::to_string(i) + ".wav");
    DJAddDroppedFileData task{library, {home / "drop", Track("single.wav")}};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_EQ(library.GetList().Count(), 5u);
    ASSERT_FALSE(process.progress.empty());
    for (size_t i = 1; i < process.progress.size(); ++i)
        EXPECT_LE(process.progress[i - 1], process.progress[i]);
    EXPECT_DOUBLE_EQ(process.progress.back(), 1.0);
    EXPECT_DOUBLE_EQ(process.progress[2], 0.4);  // the folder counts within all five files
}

TEST_F(DJLibraryTest, ACancelledFolderAddKeepsWhatWasAdded)
{
    ASSERT_TRUE(LUserSettingSetString("Settings", "LibraryPath", (home / "Lib").c_str()));
    for (int i = 0; i < 6; ++i)
        Track("many/t" + std::to_string(i) + ".wav");
    DJLibrary library;
    DJAddFolder task{library, home / "many"};
    process.stopAfter = 3;
    EXPECT_EQ(RunLibraryTask(process, task), kProcessStopped);
    EXPECT_EQ(library.GetList().Count(), 3u);
    DJLibrary back;
    ASSERT_TRUE(back.Load());
    EXPECT_EQ(back.GetList().Count(), 3u);
}

TEST_F(DJLibraryTest, ADamagedLibraryIsKeptAsideBeforeTheNextSave)
{
    struct Case {
        const char* what;
        std::string text;
        size_t entries;
    } cases[] = {
        {"truncated", "<playlist>\n\n\t<playitem>\n\t\t<path>/a.wav</path>\n\t</playitem>\n\n\t<playitem>\n\t\t<pa", 2},
        {"not a list", "\x01\x02garbage", 0},
        {"empty", "", 0},
    };
    for (const Case& c : cases) {
        const std::string file = home / (std::string(c.what) + "/library.xml");
        LFile::CreateFolderTree((home / c.what).c_str());
        WriteText(file, c.text);
        DJLibrary library;
        EXPECT_FALSE(library.LoadFrom(file)) << c.what;
        EXPECT_EQ(library.GetList().Count(), c.entries) << c.what;
        ASSERT_TRUE(library.SaveTo(file)) << c.what;
        EXPECT_EQ(ReadText(file + ".bad"), c.text) << c.what;
        EXPECT_TRUE(library.LoadFrom(file)) << c.what;  // what was saved reads back whole
        EXPECT_EQ(library.GetList().Count(), c.entries) << c.what;
    }
}

TEST_F(DJLibraryTest, AnUnreadableLibraryIsNeverReplacedBlindly)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "root reads every file";
    const std::string file = home / "library.xml";
    WriteText(file, "<playlist>\n</playlist>\n");
    chmod(file.c_str(), 0);
    DJLibrary library;
    EXPECT_FALSE(library.LoadFrom(file));
    ASSERT_TRUE(library.SaveTo(file));
    EXPECT_TRUE(LFile::Exists((file + ".bad").c_str()));
}

TEST_F(DJLibraryTest, AProcessKilledWhileSavingLeavesTheLibraryWhole)
{
    const std::string file = home / "library.xml";
    DJLibrary library;
    for (int i = 0; i < 3000; ++i) {
        LPlayItem item(("/music/track" + std::to_string(i) + ".wav").c_str());
        item.Parms().SetString("title", std::string(200, 'x').c_str());
        library.GetList().AddItem(item);
    }
    DJLibrary small;
    small.GetList().AddSingleTrack("/music/only.wav");
    ASSERT_TRUE(small.SaveTo(file));
    const std::string before = ReadText(file);
    const std::string after = library.GetList().FormatXml();
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (;;) {
            (void)!write(ready[1], "s", 1);
            library.SaveTo(file);
        }
    }
    char byte;
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    const std::string now = ReadText(file);
    EXPECT_TRUE(now == before || now == after) << now.size();
    DJLibrary back;
    EXPECT_TRUE(back.LoadFrom(file));
}

}  // namespace
