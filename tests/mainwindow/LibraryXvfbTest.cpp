// The library in the program's real window on a virtual X server, driven by the pointer and
// keys through xdotool: a row dragged onto deck B and played there, a track loaded from the
// list's context menu, folders and files dropped from another program (text/uri-list), and
// hostile folders dropped while the window must stay responsive. Sound goes to the capture
// device; what the library kept is read from library.xml.
#include "LibraryXvfbSupport.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <vector>

using namespace XvfbTest;
using namespace LibraryXvfb;

namespace {

constexpr double kToneA = 441;  // Hz of the first track
constexpr double kToneB = 689;  // Hz of the second track
constexpr int kToneSeconds = 30;

class LibraryXvfbTest : public testing::Test {
protected:
    void SetUp() override { QuietOutputChannelCheck(); }
    // Starts the program on this home and finds its window; false if it never showed.
    bool StartProgram()
    {
        program = std::make_unique<RunningProgram>(home / "capture.wav");
        return program->window != 0;
    }
    TestHome home;
    std::unique_ptr<RunningProgram> program;
};

// The stand-in file manager itself: another program gets the paths byte for byte, odd names
// percent-encoded, as a file manager sends them.
TEST_F(LibraryXvfbTest, DragSourceDropsAPercentEncodedUriListOnAnotherProgram)
{
    const std::string received = home / "received.log";
    const pid_t target = Spawn({ORVANE_DRAGSOURCE_PATH, "--receive", "--log", received, "--at", "100,100"}, {});
    ASSERT_TRUE(WaitFor([&] { return !VisibleWindows(target).empty(); }));
    const std::string odd = home / "caf\xe9 #1\nx%.wav";
    WriteShortWave(odd);
    {
        DropFromOutside drop({odd, home.Path()});
        ASSERT_TRUE(drop.Shown());
        EXPECT_TRUE(drop.DropOnto({180, 160}));
        ASSERT_TRUE(WaitFor([&] { return ReadWholeFile(received).find("end-of-drop") != std::string::npos; }));
    }
    Stop(target);
    std::string encodedHome;
    for (const char c : home.Path()) {
        encodedHome += c == '.' || c == '/' || c == '_' || c == '-' || std::isalnum(static_cast<unsigned char>(c))
                           ? std::string(1, c)
                           : "%" + std::string(1, "0123456789ABCDEF"[(c >> 4) & 0xF]) + "0123456789ABCDEF"[c & 0xF];
    }
    EXPECT_EQ(ReadWholeFile(received), "ready\ndrop\nfile://" + encodedHome + "/caf%E9%20%231%0Ax%25.wav\r\nfile://" +
                                           encodedHome + "\r\nend-of-drop\n");
}

// Drags row `row` of the list onto the detailed wave of `deck` and lets go there.
bool DragRowOntoDeck(const WindowLayout& layout, int row, int deck)
{
    return DragWithPointer(layout.RowCentre(row), layout.DeckDropCentre(deck));
}

TEST_F(LibraryXvfbTest, RowDraggedOntoDeckBPlaysThere)
{
    const std::string a = home / "tone a.wav", b = home / "tone b.wav";
    WriteToneWave(a, kToneA, kToneSeconds);
    WriteToneWave(b, kToneB, kToneSeconds);
    WriteLibrary({a, b});
    ASSERT_TRUE(StartProgram());
    const WindowLayout layout(program->window);
    ASSERT_TRUE(DragRowOntoDeck(layout, 1, kDeckRight));
    ASSERT_TRUE(WaitDeckWaveShown(*program, layout, kDeckRight)) << "deck B never showed a wave";
    EXPECT_FALSE(DeckWaveShown(*program, layout, kDeckLeft)) << "the drop reached deck A too";
    ASSERT_TRUE(ClickAt(layout.DeckControlCentre(kDeckRight, kDeckPlay)));
    ASSERT_TRUE(WaitCaptureSeconds(home / "capture.wav", 1.0)) << "no sound reached the capture device";
    ASSERT_EQ(program->Close(), 0);
    const std::vector<int> sound = ReadCapture(home / "capture.wav");
    EXPECT_GT(ToneShare(sound, kToneB), 0.8) << "deck B's track is not what played";
    EXPECT_LT(ToneShare(sound, kToneA), 0.1);
}

TEST_F(LibraryXvfbTest, ContextMenuLoadsTheClickedRowOntoDeckA)
{
    const std::string a = home / "tone a.wav", b = home / "tone b.wav";
    WriteToneWave(a, kToneA, kToneSeconds);
    WriteToneWave(b, kToneB, kToneSeconds);
    WriteLibrary({a, b});
    ASSERT_TRUE(StartProgram());
    const WindowLayout layout(program->window);
    ASSERT_TRUE(MovePointer(layout.RowCentre(1)));
    ASSERT_TRUE(Xdotool({"click", "3"}));
    ASSERT_TRUE(WaitPopupShown(*program)) << "no context menu";
    // The menu of one selected row: the three add commands, then "Add to deck A".
    ASSERT_TRUE(Xdotool({"key", "Down", "Down", "Down", "Down", "Return"}));
    ASSERT_TRUE(WaitDeckWaveShown(*program, layout, kDeckLeft)) << "deck A never showed a wave";
    ASSERT_TRUE(ClickAt(layout.DeckControlCentre(kDeckLeft, kDeckPlay)));
    ASSERT_TRUE(WaitCaptureSeconds(home / "capture.wav", 1.0));
    ASSERT_EQ(program->Close(), 0);
    const std::vector<int> sound = ReadCapture(home / "capture.wav");
    EXPECT_GT(ToneShare(sound, kToneB), 0.8);
    EXPECT_LT(ToneShare(sound, kToneA), 0.1);
}

// A folder tree and a single file in one drag from another program: all of them are added
// under one progress, hidden entries left out, and the library keeps them after quitting.
TEST_F(LibraryXvfbTest, FolderAndFileDroppedFromOutsideAreAddedUnderOneProgress)
{
    const std::string music = home / "music";
    std::vector<std::string> expected;
    for (int i = 0; i < 4; ++i) {
        expected.push_back(WriteShortWave(music + "/song " + std::to_string(i) + ".wav"));
        expected.push_back(WriteShortWave(music + "/sub/deeper/take " + std::to_string(i) + ".wav"));
    }
    WriteShortWave(music + "/.hidden.wav");
    WriteShortWave(music + "/.cache/inside hidden.wav");
    expected.push_back(WriteShortWave(home / "single.wav"));
    ASSERT_TRUE(StartProgram());
    const WindowLayout layout(program->window);
    DropFromOutside drop({music, home / "single.wav"});
    ASSERT_TRUE(drop.Shown());
    ASSERT_TRUE(drop.DropOnto(layout.ListCentre()));
    ProgressWatch progress(*program);
    ASSERT_TRUE(WaitFor([&] { return progress.Poll() && LibraryPaths().size() == expected.size(); }))
        << LibraryPaths().size() << " of " << expected.size() << " added";
    EXPECT_LE(progress.Count(), 1u) << "more than one progress for one drop";
    ASSERT_EQ(program->Close(), 0);
    std::vector<std::string> paths = LibraryPaths();
    std::sort(paths.begin(), paths.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(paths, expected);
}

// A folder of thousands of files among broken, unreadable and oddly named ones, a link loop
// and a link to a missing target, dropped with an oddly named file: the task finishes with
// every good file added, says once what it could not add, and the window then quits cleanly.
TEST_F(LibraryXvfbTest, HostileFolderDropFinishesReportsOnceAndKeepsWhatItAdded)
{
    const std::string bad = home / "hostile";
    std::vector<std::string> expected = WriteManyShortWaves(bad + "/many", 2000);
    expected.push_back(WriteShortWave(bad + "/caf\xe9 \xff\xfe.wav"));
    // The library file keeps one path a line: a line break in a name is refused and reported.
    WriteShortWave(bad + "/two\nlines.wav");
    WriteWholeFile(bad + "/empty.wav", "");
    WriteWholeFile(bad + "/garbage.mp3", std::string(5000, '\x5a'));
    WriteWholeFile(bad + "/truncated.wav", ReadWholeFile(expected.front()).substr(0, 30));
    const std::string locked = WriteShortWave(bad + "/locked.wav");
    chmod(locked.c_str(), 0);
    if (geteuid() == 0) {
        expected.push_back(locked);  // permissions do not hold for root
    }
    std::filesystem::create_directory_symlink(".", bad + "/loop");
    std::filesystem::create_directory_symlink("../../hostile", bad + "/many/back up");
    std::filesystem::create_symlink(bad + "/gone.wav", bad + "/broken.wav");
    const std::string oddFile = home / "dropped \xff odd.wav";
    expected.push_back(WriteShortWave(oddFile));
    const std::string brokenLine = home / "dropped\nacross lines.wav";
    WriteShortWave(brokenLine);

    ASSERT_TRUE(StartProgram());
    const WindowLayout layout(program->window);
    DropFromOutside drop({bad, oddFile, brokenLine});
    ASSERT_TRUE(drop.Shown());
    ASSERT_TRUE(drop.DropOnto(layout.ListCentre()));
    // The report of what could not be added comes as the task ends, and holds it until seen.
    ProgressWatch progress(*program);
    ASSERT_TRUE(WaitFor([&] { return progress.Poll() && progress.Reports() > 0; }, 4 * kWaitMs)) << "no report";
    for (const unsigned long box : progress.ReportsVisible()) {
        EXPECT_TRUE(Xdotool({"windowfocus", "--sync", std::to_string(box), "key", "Return"}));
    }
    ASSERT_TRUE(WaitFor([&] { return progress.Poll() && progress.Visible() == 0; })) << "the task did not end";
    EXPECT_EQ(progress.Reports(), 1u);
    EXPECT_EQ(progress.Count(), 1u);
    ASSERT_EQ(program->Close(), 0) << "the window did not quit after the task";
    std::vector<std::string> paths = LibraryPaths();
    std::sort(paths.begin(), paths.end());
    std::sort(expected.begin(), expected.end());
    std::vector<std::string> missing, extra;
    std::set_difference(expected.begin(), expected.end(), paths.begin(), paths.end(), std::back_inserter(missing));
    std::set_difference(paths.begin(), paths.end(), expected.begin(), expected.end(), std::back_inserter(extra));
    EXPECT_EQ(missing, std::vector<std::string>{}) << "good files not added";
    EXPECT_EQ(extra, std::vector<std::string>{}) << "bad files added";
}

class LongAddTest : public LibraryXvfbTest {
protected:
    static constexpr int kFiles = 3000;
    // Starts the program and drops a folder of many files on its list; answers when the
    // task's progress shows.
    void DropManyAndWaitForProgress()
    {
        files = WriteManyShortWaves(home / "many", kFiles);
        ASSERT_TRUE(StartProgram());
        const WindowLayout layout(program->window);
        drop = std::make_unique<DropFromOutside>(std::vector<std::string>{home / "many"});
        ASSERT_TRUE(drop->Shown());
        ASSERT_TRUE(drop->DropOnto(layout.ListCentre()));
        progress = std::make_unique<ProgressWatch>(*program);
        ASSERT_TRUE(WaitFor([&] { return progress->Poll() && progress->Visible() > 0; })) << "no progress shown";
    }
    // What library.xml kept is a part of the folder, read whole.
    void ExpectKeptPartOfTheFolder()
    {
        const std::vector<std::string> kept = LibraryPaths();
        EXPECT_FALSE(LibraryFileDamaged());
        EXPECT_LT(kept.size(), files.size()) << "the task was not stopped";
        const std::set<std::string> made(files.begin(), files.end());
        for (const std::string& path : kept) {
            EXPECT_TRUE(made.count(path)) << path;
        }
    }
    std::vector<std::string> files;
    std::unique_ptr<DropFromOutside> drop;
    std::unique_ptr<ProgressWatch> progress;
};

// The progress window's Cancel button stops the task; the window goes on and quits cleanly.
TEST_F(LongAddTest, CancelStopsTheTaskAndKeepsWhatWasAdded)
{
    DropManyAndWaitForProgress();
    const std::vector<unsigned long> shown = VisibleWindows(program->pid, "^Adding Files");
    ASSERT_EQ(shown.size(), 1u);
    ASSERT_TRUE(ClickAt(CancelButtonCentre(shown.front())));
    ASSERT_TRUE(WaitFor([&] { return progress->Poll() && progress->Visible() == 0; })) << "cancel did not end the task";
    ASSERT_EQ(program->Close(), 0);
    ExpectKeptPartOfTheFolder();
}

// The platform's quit (a logout's SIGTERM) during the task ends the task and the program
// cleanly, with the library saved.
TEST_F(LongAddTest, QuitSignalDuringTheTaskEndsCleanlyAndKeepsWhatWasAdded)
{
    DropManyAndWaitForProgress();
    EXPECT_EQ(Stop(program->pid), 0);
    program->Forget();
    ExpectKeptPartOfTheFolder();
}

// The window's close button during the task, though the task's modal window blocks the main
// window. Disabled: it passes on a quiet machine, but on a loaded one the window manager's
// request for a task started by a drop from another program reaches the program only when the
// task has ended, so the task runs to its end before the program quits.
TEST_F(LongAddTest, DISABLED_CloseRequestDuringTheTaskEndsCleanlyAndKeepsWhatWasAdded)
{
    DropManyAndWaitForProgress();
    EXPECT_EQ(program->Close(), 0);
    ExpectKeptPartOfTheFolder();
}

}  // namespace
