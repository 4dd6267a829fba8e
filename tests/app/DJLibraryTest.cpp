#include "app/DJLibrary.h"

#include "app/AppTestFiles.h"
#include "app/LSettings.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Records what a task reports; asks to stop once `stopAfter` stop questions were answered.
class RecordingProcess : public LProcessInterfaceVoid {
public:
    bool IsToStop() override { return stopAfter >= 0 && ++questions > stopAfter; }
    void SetError(const char* message) override { errors.push_back(message); }
    void SetProgress(double fraction) override
    {
        progress.push_back(fraction);
        if (onProgress)
            onProgress();
    }

    std::function<void()> onProgress;
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

TEST_F(DJLibraryTest, RemovingSeveralEntriesKeepsTheRestInOrderAndFreesTheirNames)
{
    DJLibrary library;
    std::vector<std::string> tracks;
    for (int i = 0; i < 6; ++i) {
        tracks.push_back(Track("r/t" + std::to_string(i) + ".wav"));
        ASSERT_TRUE(library.LoadSingleFile(tracks.back().c_str(), process));
    }
    library.RemoveItems({4, 1, 1, 9, -1});
    EXPECT_EQ(Paths(library), (std::vector<std::string>{tracks[0], tracks[2], tracks[3], tracks[5]}));
    int index = 0;
    for (const auto& item : library.GetList().GetItems())
        EXPECT_EQ(item->GetIndex(), index++);
    EXPECT_TRUE(library.LoadSingleFile(tracks[4].c_str(), process));  // its name is free again
    library.RemoveItems({0});
    EXPECT_EQ(Paths(library), (std::vector<std::string>{tracks[2], tracks[3], tracks[5], tracks[4]}));
    library.RemoveItems({});
    EXPECT_EQ(library.GetList().Count(), 4u);
    EXPECT_TRUE(process.errors.empty());
}

// ---- bad input for the add tasks

std::string NameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

std::vector<std::string> SortedNames(const DJLibrary& library)
{
    std::vector<std::string> names;
    for (const std::string& path : Paths(library))
        names.push_back(NameOf(path));
    std::sort(names.begin(), names.end());
    return names;
}

TEST_F(DJLibraryTest, EntriesThatAreNoTracksAreReportedOnceAtTheEnd)
{
    DJLibrary library;
    Track("bad/good.wav");
    symlink((home / "bad/nowhere").c_str(), (home / "bad/broken.wav").c_str());
    ASSERT_EQ(mkfifo((home / "bad/pipe.wav").c_str(), 0666), 0);  // opening it would wait forever
    WriteText(home / "bad/words.mp3", "not sound at all");
    Track("bad/line\nbreak.wav");
    Track("bad/empty.wav/inside.wav");  // a folder named like a track is walked
    symlink((home / "bad").c_str(), (home / "bad/loop").c_str());
    DJAddFolder task{library, home / "bad"};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_EQ(SortedNames(library), (std::vector<std::string>{"good.wav", "inside.wav"}));
    ASSERT_EQ(process.errors.size(), 1u);
    const std::string& report = process.errors[0];
    EXPECT_EQ(report.rfind("4 files could not be added:\n", 0), 0u) << report;
    for (const char* line : {"\nbroken.wav (missing, or a broken link)", "\npipe.wav (not a plain file)",
                             "\nwords.mp3 (not sound the program can read)", "\nline?break.wav (a line break"})
        EXPECT_NE(report.find(line), std::string::npos) << line << " in " << report;
    EXPECT_EQ(library.GetRefusedCount(), 4);
}

TEST_F(DJLibraryTest, TheReportNamesTheFirstFewAndCountsTheRest)
{
    DJLibrary library;
    LFile::CreateFolderTree((home / "links").c_str());
    const int broken = DJLibrary::kReportedNames + 3;
    for (int i = 0; i < broken; ++i)
        symlink("/nonexistent/x", (home / ("links/l" + std::to_string(i) + ".wav")).c_str());
    DJAddDroppedFileData task{library, {home / "links", home / "absent.ogg"}};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    ASSERT_EQ(process.errors.size(), 1u);
    const std::string& report = process.errors[0];
    EXPECT_EQ(report.rfind(std::to_string(broken + 1) + " files could not be added:", 0), 0u) << report;
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 2 + DJLibrary::kReportedNames) << report;
    EXPECT_NE(report.find("... and 4 more."), std::string::npos) << report;

    // A second task starts its own report.
    DJAddFile one{library, home / "absent.wav"};
    EXPECT_EQ(Process(process, one), kProcessFailed);
    ASSERT_EQ(process.errors.size(), 2u);
    EXPECT_EQ(process.errors[1], "absent.wav: missing, or a broken link.");
}

TEST_F(DJLibraryTest, ASingleFileThatIsNoSoundGetsTheReadersOwnWords)
{
    DJLibrary library;
    WriteText(home / "fake.wav", "RIFF but nothing after");
    DJAddMultiFiles task{library, {home / "fake.wav"}};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    ASSERT_EQ(process.errors.size(), 1u);
    EXPECT_NE(process.errors[0].find("Cannot open the file \"" + home / "fake.wav" + "\""), std::string::npos)
        << process.errors[0];
}

TEST_F(DJLibraryTest, UnreadableFilesAreReported)
{
    const std::string locked = Track("locked/secret.wav");
    const std::string open = Track("locked/open.wav");
    chmod(locked.c_str(), 0);
    // Root reads every file: then the add runs in a child as an unprivileged user.
    const bool asRoot = geteuid() == 0;
    if (asRoot) {
        for (const std::string& path : {home.Path(), home / "locked", open})
            chmod(path.c_str(), 0755);
    }
    const pid_t child = asRoot ? fork() : 0;
    ASSERT_GE(child, 0);
    if (child == 0) {
        const uid_t nobody = 65534;
        if (asRoot && (setgid(nobody) != 0 || setuid(nobody) != 0))
            _exit(3);
        DJLibrary library;
        DJAddFolder task{library, home / "locked"};
        const bool ok = Process(process, task) == kProcessFinished &&
                        Paths(library) == std::vector<std::string>{open} &&
                        process.errors == std::vector<std::string>{"secret.wav: can't be read."};
        if (asRoot)
            _exit(ok ? 0 : 1);
        EXPECT_TRUE(ok) << (process.errors.empty() ? "" : process.errors[0]);
        return;
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(DJLibraryTest, OddBytesInNamesComeBackExactlyFromTheLibraryFile)
{
    DJLibrary library;
    const std::vector<std::string> names = {"\xff\xfe latin1 caf\xe9.wav", "a & \"quoted\" 'one'.wav",
                                            "tab\there.wav", "\xe2\x82\xac euro.wav", "semi;colon#hash.wav"};
    std::vector<std::string> paths;
    for (const std::string& name : names)
        paths.push_back(Track("odd/" + name));
    DJAddFolder task{library, home / "odd"};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_TRUE(process.errors.empty()) << process.errors[0];
    const std::string file = home / "lib/library.xml";
    ASSERT_TRUE(library.SaveTo(file));
    DJLibrary back;
    ASSERT_TRUE(back.LoadFrom(file));
    std::vector<std::string> read = Paths(back);
    std::sort(read.begin(), read.end());
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(read, paths);
    for (const auto& item : back.GetList().GetItems()) {
        std::string title = NameOf(item->GetPath());
        title.resize(title.rfind('.'));
        std::replace(title.begin(), title.end(), '\t', ' ');  // a title is one line of text
        EXPECT_EQ(item->Parms().GetParm("title", ""), title);
    }
    // And what was read is written again byte for byte.
    ASSERT_TRUE(back.SaveTo(home / "again.xml"));
    EXPECT_EQ(ReadText(home / "again.xml"), ReadText(file));
}

TEST_F(DJLibraryTest, AFolderReachedTwiceIsWalkedOnce)
{
    DJLibrary library;
    Track("shared/s.wav");
    Track("top/own.wav");
    LFile::CreateFolderTree((home / "top/deeper").c_str());
    symlink((home / "shared").c_str(), (home / "top/x").c_str());
    symlink("../../shared", (home / "top/deeper/y").c_str());
    symlink((home / "top").c_str(), (home / "top/deeper/up").c_str());
    DJAddFolder task{library, home / "top"};
    task.CountFiles();
    EXPECT_EQ(task.total, 2);
    task.counted = false;
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_EQ(SortedNames(library), (std::vector<std::string>{"own.wav", "s.wav"}));
    EXPECT_TRUE(process.errors.empty());  // no second walk, so no duplicate-name alert
}

TEST_F(DJLibraryTest, AFolderThatVanishesMidTaskEndsTheTaskWithWhatWasAdded)
{
    DJLibrary library;
    for (int i = 0; i < 20; ++i)
        Track("going/t" + std::to_string(i) + ".wav");
    process.onProgress = [&] {
        if (library.GetList().Count() == 1)
            LFile::DeleteFolderTree((home / "going").c_str());
    };
    DJAddFolder task{library, home / "going"};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_EQ(library.GetList().Count(), 1u);
    EXPECT_FALSE(LFile::Exists((home / "going").c_str()));
    // Entries the folder listing still gave are reported as gone, all in one message.
    EXPECT_LE(process.errors.size(), 1u);
    if (!process.errors.empty()) {
        EXPECT_NE(process.errors[0].find("missing, or a broken link"), std::string::npos) << process.errors[0];
    }
}

TEST_F(DJLibraryTest, AFolderOfThousandsOfFilesIsAddedWhole)
{
    DJLibrary library;
    const int folders = 20, perFolder = 100;
    for (int f = 0; f < folders; ++f)
        for (int i = 0; i < perFolder; ++i)
            Track("big/f" + std::to_string(f) + "/t" + std::to_string(f * perFolder + i) + ".wav", 16);
    DJAddFolder task{library, home / "big"};
    EXPECT_EQ(Process(process, task), kProcessFinished);
    EXPECT_EQ(library.GetList().Count(), static_cast<size_t>(folders * perFolder));
    EXPECT_EQ(task.done, folders * perFolder);
    EXPECT_TRUE(process.errors.empty());
    EXPECT_TRUE(std::is_sorted(process.progress.begin(), process.progress.end()));
    EXPECT_DOUBLE_EQ(process.progress.back(), 1.0);

    // Counting so many answers Cancel before any file is added.
    DJLibrary other;
    RecordingProcess impatient;
    impatient.stopAfter = 0;
    DJAddFolder again{other, home / "big"};
    EXPECT_EQ(Process(impatient, again), kProcessStopped);
    EXPECT_EQ(impatient.questions, 1);
    EXPECT_TRUE(other.GetList().IsEmpty());
    EXPECT_FALSE(again.counted);
}

}  // namespace
