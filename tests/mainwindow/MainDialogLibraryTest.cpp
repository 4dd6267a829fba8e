#include "mainwindow/MainDialog.h"

#include "app/LSettings.h"
#include "app/LTrackOpener.h"
#include "base/LFile.h"
#include "engine/ConsoleTestSupport.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/DJDeckGUI.h"
#include "ui/LProgressViewQt.h"

#include <QApplication>
#include <QFileDialog>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <sys/stat.h>

namespace {

using Strings = std::vector<std::string>;

// Answers the window's questions from a script and keeps what it was asked.
struct PromptScript {
    std::deque<Strings> files;        // ChooseFiles
    std::deque<std::string> paths;    // ChooseFile, ChooseFolder, ChooseSaveFile
    std::deque<bool> answers;         // AskYesNo
    Strings asked;                    // "kind|title|filter or button|extension|start folder"
    Strings alerts;                   // "title|text"
};

class ScriptedPrompts : public MainUserPrompts {
public:
    explicit ScriptedPrompts(PromptScript& script) : _s(script) {}
    void Alert(const std::string& title, const std::string& text) override { _s.alerts.push_back(title + "|" + text); }
    bool AskYesNo(const std::string& title, const std::string& text) override
    {
        _s.asked.push_back("yesno|" + title + "|" + text);
        return _Next(_s.answers, false);
    }
    Strings ChooseFiles(const std::string& title, const std::string& filter, const std::string& start) override
    {
        _s.asked.push_back("files|" + title + "|" + filter + "||" + start);
        return _Next(_s.files, Strings{});
    }
    std::string ChooseFile(const std::string& title, const std::string& filter, const std::string& start) override
    {
        _s.asked.push_back("file|" + title + "|" + filter + "||" + start);
        return _Next(_s.paths, std::string());
    }
    std::string ChooseFolder(const std::string& title, const std::string& button, const std::string& start) override
    {
        _s.asked.push_back("folder|" + title + "|" + button + "||" + start);
        return _Next(_s.paths, std::string());
    }
    std::string ChooseSaveFile(const std::string& title, const std::string& filters, const std::string& extension,
                               const std::string& start) override
    {
        _s.asked.push_back("save|" + title + "|" + filters + "|" + extension + "|" + start);
        return _Next(_s.paths, std::string());
    }
    int ChooseItem(const std::string&, const std::string&, const Strings&) override { return -1; }

private:
    template <class T>
    static T _Next(std::deque<T>& queue, T fallback)
    {
        if (queue.empty())
            return fallback;
        T value = queue.front();
        queue.pop_front();
        return value;
    }
    PromptScript& _s;
};

// The progress windows the tasks opened, with what each showed.
struct ViewLog {
    int opened = 0;
    Strings titles;
    std::vector<int> percents;
    Strings errors;
};
ViewLog gViews;

class FakeView : public LProgressView {
public:
    bool Open(LProgressDialog&, const char* title) override
    {
        ++gViews.opened;
        gViews.titles.push_back(title);
        return true;
    }
    void Close() override {}
    void SetStatusText(int, const char*) override {}
    void SetProgressPercent(int percent) override { gViews.percents.push_back(percent); }
    void SetIndeterminate(bool) override {}
    void SetCancelEnabled(bool) override {}
    void ShowError(const char* title, const char* message) override
    {
        gViews.errors.push_back(std::string(title) + "|" + message);
    }
};

// The program's own opener, made to take at least `waitMs` per file by turning the task's
// events meanwhile, so a test can rely on a long add on any machine.
class PacedOpener : public LTrackOpener {
public:
    PacedOpener() { LSetTrackOpener(this); }
    ~PacedOpener() override { LSetTrackOpener(nullptr); }
    bool Open(const char* path, LTrackFacts& facts, LProcessInterface& process) const override
    {
        if (waitMs > 0)
            process.ProcessWait(static_cast<unsigned int>(waitMs));
        return LTrackOpener::Open(path, facts, process);
    }
    int waitMs = 0;
};

Strings Paths(const LPlayList& list)
{
    Strings out;
    for (const auto& item : list.GetItems())
        out.push_back(item->GetPath());
    return out;
}

class MainDialogLibraryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QtTestApp();
        gViews = {};
        dialog.SetUserPrompts(std::make_unique<ScriptedPrompts>(script));
        ASSERT_TRUE(dialog.MainWindowInitCommon());
        // After the window's start, which installs the real progress window.
        LSetProgressViewFactory([](OpaqueWindowPtr*) -> std::unique_ptr<LProgressView> {
            return std::make_unique<FakeView>();
        });
    }
    void TearDown() override
    {
        dialog.MainWindowDestroyCommon();
        LSetProgressViewFactory(nullptr);
    }

    std::string Track(const std::string& relative, double seconds = 0.2)
    {
        const std::string path = home / relative;
        LFile::CreateFolderTree(path.substr(0, path.rfind('/')).c_str());
        EXPECT_TRUE(WriteStereoWave(path, MakeTone(seconds, 440, 1000, true, true)));
        return path;
    }
    // An entry as the library keeps it, without a file behind it.
    void AddEntry(const std::string& title, const std::string& bpm = "0", const std::string& length = "44100",
                  const std::string& rate = "44100")
    {
        LPlayItem item(("/music/" + title + ".wav").c_str());
        item.Parms().SetString("title", title.c_str());
        item.Parms().SetString("bpm", bpm.c_str());
        item.Parms().SetString("length", length.c_str());
        item.Parms().SetString("samplerate", rate.c_str());
        dialog.GetLibrary().GetList().AddItem(item);
    }
    LListView& List() { return *dialog.GetList(); }
    Strings Column(int column)
    {
        Strings out;
        for (int row = 0; row < List().GetRowCount(); ++row)
            out.push_back(List().GetCell(row, column));
        return out;
    }
    // Puts the track of `row` on a deck the way a finished conversion does: the deck plays a
    // copy named after the whole source name with ".wav" added.
    void LoadOnDeck(DJDeckPosition deck, int row)
    {
        const std::string source = dialog.GetLibrary().GetList().GetItem(static_cast<size_t>(row))->GetPath();
        const std::string copy = Track("cache/" + source.substr(source.rfind('/') + 1) + ".wav");
        dialog.fcntfComplete(true, copy.c_str(), deck, 0, 0, LSoundTime(200), row, 0);
        ASSERT_EQ(dialog.GetRowOnDeck(deck), row);
    }
    void ExpectEveryRowShowsItsOwnIndex()
    {
        for (int row = 0; row < List().GetRowCount(); ++row)
            EXPECT_EQ(List().GetRowIndex(row), row);
        int index = 0;
        for (const auto& item : dialog.GetLibrary().GetList().GetItems())
            EXPECT_EQ(item->GetIndex(), index++);
    }

    TestHome home;
    Capture capture{home / "capture.wav"};
    PromptScript script;
    PacedOpener opener;  // before the window, whose library takes the opener in use
    MainDialog dialog{{home / "counts.txt"}};
};

TEST_F(MainDialogLibraryTest, EachRowShowsItsEntrysCells)
{
    struct Case {
        const char* title;
        const char* bpm;
        const char* length;
        const char* rate;
        const char* time;
        const char* bpmCell;
    } cases[] = {
        {"plain", "0", "88200", "44100", "0:00:02.0", "-"},
        {"beats", "128.00", "13230000", "44100", "0:05:00.0", "128.00"},
        {"no rate", "0.00", "1000", "0", "0:00:00.0", "-"},
        {"long", "", "99999999999999", "1", "596:31:23.0", "-"},
        {"garbage", "x", "abc", "-5", "0:00:00.0", "x"},
    };
    for (const Case& c : cases)
        AddEntry(c.title, c.bpm, c.length, c.rate);
    LPlayItem bare("/music/bare.wav");  // no fields at all
    dialog.GetLibrary().GetList().AddItem(bare);
    dialog.RefreshLibraryList();
    ASSERT_EQ(List().GetRowCount(), 6);
    for (int row = 0; row < 5; ++row) {
        const Case& c = cases[row];
        EXPECT_EQ(List().GetCell(row, kColumnTitle), c.title);
        EXPECT_EQ(List().GetCell(row, kColumnArtist), "Unknown");
        EXPECT_EQ(List().GetCell(row, kColumnAlbum), "Unknown");
        EXPECT_EQ(List().GetCell(row, kColumnTime), c.time) << c.title;
        EXPECT_EQ(List().GetCell(row, kColumnBPM), c.bpmCell) << c.title;
    }
    EXPECT_EQ(List().GetCell(5, kColumnTitle), "Unknown");
    EXPECT_EQ(List().GetCell(5, kColumnBPM), "-");
    ExpectEveryRowShowsItsOwnIndex();
    EXPECT_EQ(dialog.GetListRowCount(), 6);
    EXPECT_FALSE(dialog.HasListSelection());
}

TEST_F(MainDialogLibraryTest, SortingWithNothingOnTheDecksLeavesBothRowsAtNone)
{
    for (const char* title : {"c", "a", "d", "b"})
        AddEntry(title);
    dialog.RefreshLibraryList();
    List().SortByColumn(kColumnTitle, true);
    EXPECT_EQ(Column(kColumnTitle), (Strings{"a", "b", "c", "d"}));
    EXPECT_EQ(Paths(dialog.GetLibrary().GetList()),
              (Strings{"/music/a.wav", "/music/b.wav", "/music/c.wav", "/music/d.wav"}));
    ExpectEveryRowShowsItsOwnIndex();
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckLeft), -1);
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckRight), -1);
}

TEST_F(MainDialogLibraryTest, ARowOnADeckStaysOnItsTrackThroughSortReorderAndRemove)
{
    Strings tracks;
    for (const char* name : {"d", "b", "e", "a", "c"}) {
        const std::string path = Track(std::string("m/") + name + ".wav");
        DJAddFile add{dialog.GetLibrary(), path};
        LProcessInterfaceVoid quiet;
        ASSERT_EQ(Process(quiet, add), kProcessFinished);
    }
    dialog.RefreshLibraryList();
    LoadOnDeck(kDeckLeft, 2);   // e
    LoadOnDeck(kDeckRight, 4);  // c
    auto pathOnDeck = [&](DJDeckPosition deck) {
        const LPlayItem* item =
            dialog.GetLibrary().GetList().GetItem(static_cast<size_t>(dialog.GetRowOnDeck(deck)));
        return item ? std::string(item->GetPath()) : std::string();
    };
    const std::string onA = pathOnDeck(kDeckLeft), onB = pathOnDeck(kDeckRight);

    List().SortByColumn(kColumnTitle, true);  // a b c d e
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckLeft), 4);
    EXPECT_EQ(pathOnDeck(kDeckLeft), onA);
    EXPECT_EQ(pathOnDeck(kDeckRight), onB);
    ExpectEveryRowShowsItsOwnIndex();

    List().SelectRow(4);
    dialog.EvLVDragFinish(4, 0);  // e to the top: e a b c d
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckLeft), 0);
    EXPECT_EQ(pathOnDeck(kDeckLeft), onA);
    EXPECT_EQ(pathOnDeck(kDeckRight), onB);
    List().SelectRow(1);
    dialog.EvLVDragFinish(1, 99);  // beyond the end: a goes last
    EXPECT_EQ(pathOnDeck(kDeckLeft), onA);
    EXPECT_EQ(pathOnDeck(kDeckRight), onB);
    ExpectEveryRowShowsItsOwnIndex();

    const int rowB = dialog.GetRowOnDeck(kDeckRight);
    List().SelectRow(rowB - 1);  // the row above deck B's
    dialog.CmRemoveFile();
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckRight), rowB - 1);
    EXPECT_EQ(pathOnDeck(kDeckRight), onB);
    EXPECT_EQ(pathOnDeck(kDeckLeft), onA);
    EXPECT_EQ(List().GetFirstSelected(), rowB - 1);  // the noted row, now the next track
    ExpectEveryRowShowsItsOwnIndex();

    List().SelectRow(dialog.GetRowOnDeck(kDeckLeft));  // the deck's own row goes: the deck is cleared
    dialog.CmRemoveFile();
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckLeft), -1);
    EXPECT_FALSE(dialog.GetDeckPanel(0)->GetDeck()->IsLoaded());
    EXPECT_EQ(pathOnDeck(kDeckRight), onB);
}

TEST_F(MainDialogLibraryTest, RemovingSeveralRowsKeepsTheRestAndSelectsTheNotedRow)
{
    for (const char* title : {"a", "b", "c", "d", "e"})
        AddEntry(title);
    dialog.RefreshLibraryList();
    List().SelectRows({3, 1});
    dialog.CmRemoveFile();
    EXPECT_EQ(Column(kColumnTitle), (Strings{"a", "c", "e"}));
    EXPECT_EQ(List().GetSelectedRows(), std::vector<int>{1});
    ExpectEveryRowShowsItsOwnIndex();
    List().SelectRows({1, 2});  // to the end: the last row is selected
    dialog.CmRemoveFile();
    EXPECT_EQ(List().GetSelectedRows(), std::vector<int>{0});
    DJLibrary saved;
    ASSERT_TRUE(saved.Load());
    EXPECT_EQ(Paths(saved.GetList()), Strings{"/music/a.wav"});
    List().SelectRow(-1);
    dialog.CmRemoveFile();  // nothing selected: nothing happens
    EXPECT_EQ(List().GetRowCount(), 1);
}

TEST_F(MainDialogLibraryTest, ClearAllAsksFirst)
{
    dialog.CmClearFiles();  // an empty list asks nothing
    EXPECT_TRUE(script.asked.empty());
    for (const char* title : {"a", "b"})
        AddEntry(title);
    dialog.RefreshLibraryList();
    script.answers = {false, true};
    dialog.CmClearFiles();
    EXPECT_EQ(List().GetRowCount(), 2);
    EXPECT_EQ(dialog.GetLibrary().GetList().Count(), 2u);
    dialog.CmClearFiles();
    EXPECT_EQ(List().GetRowCount(), 0);
    EXPECT_TRUE(dialog.GetLibrary().GetList().IsEmpty());
    EXPECT_EQ(script.asked, (Strings(2, "yesno|Confirm Remove|Are you sure you want to remove all the files?")));
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckLeft), -1);
    EXPECT_EQ(dialog.GetRowOnDeck(kDeckRight), -1);
}

TEST_F(MainDialogLibraryTest, ExportWritesAListThatReadsBackInEachFormat)
{
    dialog.CmExportFiles();  // an empty list asks nothing
    EXPECT_TRUE(script.asked.empty());
    const std::string a = Track("m/a.wav"), b = Track("m/b & c.wav");
    DJAddMultiFiles add{dialog.GetLibrary(), {a, b}};
    LProcessInterfaceVoid quiet;
    ASSERT_EQ(Process(quiet, add), kProcessFinished);
    dialog.RefreshLibraryList();
    LFile::CreateFolderTree((home / "out").c_str());
    for (const char* name : {"list.xml", "list.pls", "list.m3u"}) {
        script.paths = {home / (std::string("out/") + name)};
        dialog.CmExportFiles();
        LPlayList back;
        back.Load((home / (std::string("out/") + name)).c_str());
        EXPECT_EQ(Paths(back), (Strings{a, b})) << name;
    }
    EXPECT_EQ(script.asked.front(), "save|Export Playlist|Orvane XML (*.xml);;Playlist (*.pls);;M3U (*.m3u)|xml|" +
                                        home / "Music");
    char folder[LFile::kPathBytes];
    _LUserSettingGetString("Settings", "LoadFromFolder", "", folder);
    EXPECT_EQ(std::string(folder), home / "out");
    EXPECT_TRUE(script.alerts.empty());
}

TEST_F(MainDialogLibraryTest, ExportTouchesNothingWhenCancelledOrRefused)
{
    AddEntry("a");
    dialog.RefreshLibraryList();
    LFile::CreateFolderTree((home / "out").c_str());
    script.paths = {"", home / "out/notes.txt", home / "missing/folder/list.xml"};
    for (int i = 0; i < 3; ++i)
        dialog.CmExportFiles();
    EXPECT_EQ(script.asked.size(), 3u);
    LFile::FolderIteratorAllFiles files((home / "out").c_str());
    EXPECT_FALSE(files.Next()) << files.GetName();
    EXPECT_FALSE(LFile::Exists((home / "missing").c_str()));
    ASSERT_EQ(script.alerts.size(), 2u);
    EXPECT_EQ(script.alerts[0].rfind("Export Playlist|", 0), 0u);
    EXPECT_EQ(script.alerts[1], "Export Playlist|The playlist could not be written to " + home /
                                    "missing/folder/list.xml.");
}

TEST_F(MainDialogLibraryTest, TheAddCommandsAskAsTheyShouldAndRememberTheFolder)
{
    const std::string a = Track("in/a.wav"), b = Track("in/sub/b.wav");
    script.files = {{a}};
    script.paths = {home / "in/sub"};
    dialog.CmBrowseLoadFiles();
    dialog.CmBrowseLoadFolder();
    ASSERT_EQ(script.asked.size(), 2u);
    const std::string files = script.asked[0];
    EXPECT_EQ(files.rfind("files|Locate Audio File(s)|Audio Files (*.wav *.WAV *.mp3 *.MP3 ", 0), 0u) << files;
    EXPECT_NE(files.find(" *.wmv *.WMV)||" + home / "Music"), std::string::npos) << files;
    EXPECT_EQ(script.asked[1], "folder|Find Music Folder|Load||" + home / "in");
    EXPECT_EQ(Column(kColumnTitle), (Strings{"a", "b"}));
    EXPECT_EQ(gViews.titles, (Strings{"Adding Files..", "Adding Files.."}));
    DJLibrary saved;  // each add is kept at once
    ASSERT_TRUE(saved.Load());
    EXPECT_EQ(saved.GetList().Count(), 2u);

    script.paths = {""};
    dialog.CmBrowseLoadFolder();  // cancelled: no task
    EXPECT_EQ(gViews.opened, 2);
}

TEST_F(MainDialogLibraryTest, APlaylistIsAddedAndWithAutoPlayItsFirstRowSelected)
{
    Track("p/one.wav");
    Track("p/two.wav");
    WriteWholeFile(home / "p/set.m3u", "one.wav\ntwo.wav\nmissing.wav\n");
    dialog.CmAutoPlay();
    script.paths = {home / "p/set.m3u"};
    dialog.CmBrowseLoadPlaylist();
    EXPECT_EQ(script.asked.at(0),
              "file|Load Playlist File|Playlist Files (*.pls *.m3u *.asx *.xml)||" + home / "Music");
    EXPECT_EQ(Column(kColumnTitle), (Strings{"one", "two"}));
    EXPECT_EQ(List().GetSelectedRows(), std::vector<int>{0});
    ASSERT_EQ(gViews.errors.size(), 1u);
    EXPECT_EQ(gViews.errors[0], "Adding Files..|missing.wav: missing, or a broken link.");
}

TEST_F(MainDialogLibraryTest, ADroppedFolderAndFileGiveOneProgressOverBoth)
{
    for (int i = 0; i < 3; ++i)
        Track("drop/t" + std::to_string(i) + ".wav");
    LDroppedFileData data{{home / "drop", Track("single.wav")}, 10, 10};
    dialog.EvDropFiles(data);
    EXPECT_EQ(gViews.opened, 1);
    EXPECT_EQ(List().GetRowCount(), 4);
    ASSERT_FALSE(gViews.percents.empty());
    EXPECT_TRUE(std::is_sorted(gViews.percents.begin(), gViews.percents.end()));
    EXPECT_EQ(gViews.percents.back(), 100);
    EXPECT_NE(std::find(gViews.percents.begin(), gViews.percents.end(), 75), gViews.percents.end());
}

TEST_F(MainDialogLibraryTest, BadEntriesInADropAreReportedInOneAlertAndTheRestIsAdded)
{
    Track("bad/good.wav");
    symlink("/nonexistent", (home / "bad/broken.wav").c_str());
    WriteWholeFile(home / "bad/words.mp3", "no sound here");
    ASSERT_EQ(mkfifo((home / "bad/pipe.ogg").c_str(), 0666), 0);
    symlink((home / "bad").c_str(), (home / "bad/again").c_str());
    Track("bad/\xff odd.wav");
    dialog.AddPaths({home / "bad"});
    std::vector<std::string> titles = Column(kColumnTitle);
    std::sort(titles.begin(), titles.end());
    EXPECT_EQ(titles, (Strings{"good", "\xff odd"}));
    ASSERT_EQ(gViews.errors.size(), 1u);
    EXPECT_EQ(gViews.errors[0].rfind("Adding Files..|3 files could not be added:", 0), 0u) << gViews.errors[0];
}

TEST_F(MainDialogLibraryTest, TheProgressWindowMovesOnALongFolderAndCancelKeepsWhatWasAdded)
{
    LSetProgressViewFactory(LMakeProgressViewQt);  // the program's own window this time
    const int files = 1000;
    opener.waitMs = 5;  // the add takes 5 s at least: far beyond the window's delay
    for (int i = 0; i < files; ++i)
        Track("long/t" + std::to_string(i) + ".wav", 0.01);
    int percentSeen = 0;
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, [&] {
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (window->objectName() != kProgressWindowName || !window->isVisible())
                continue;
            auto* bar = window->findChild<QProgressBar*>(kProgressBarName);
            auto* cancel = window->findChild<QPushButton*>(kProgressCancelName);
            percentSeen = std::max(percentSeen, bar->value());
            if (percentSeen > 0 && cancel->isEnabled())
                cancel->click();
        }
    });
    user.start(10);
    dialog.AddPaths({home / "long"});
    user.stop();
    EXPECT_GT(percentSeen, 0);
    const int added = List().GetRowCount();
    EXPECT_GT(added, 0);
    EXPECT_LT(added, files);
    DJLibrary saved;  // what was added before Cancel is kept
    ASSERT_TRUE(saved.Load());
    EXPECT_EQ(saved.GetList().Count(), static_cast<size_t>(added));
}

// The program's own file dialogs: a save name without extension gets the chosen type's, and
// the folder dialog's button says what it does.
TEST_F(MainDialogLibraryTest, TheQtSaveDialogAddsTheExtensionAndTheFolderDialogSaysLoad)
{
    std::unique_ptr<MainUserPrompts> prompts = MakeMainUserPromptsQt(dialog.GetWidget());
    LFile::CreateFolderTree((home / "out").c_str());
    struct Case {
        const char* typed;
        const char* filter;
        std::string expected;
    } cases[] = {
        {"bare", "Playlist (*.pls)", home / "out/bare.pls"},
        {"plain", "Orvane XML (*.xml)", home / "out/plain.xml"},
        {"given.m3u", "Orvane XML (*.xml)", home / "out/given.m3u"},
    };
    for (const Case& c : cases) {
        QTimer answer;
        QObject::connect(&answer, &QTimer::timeout, [&] {
            if (auto* files = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
                files->selectNameFilter(QString::fromUtf8(c.filter));
                files->selectFile(QString::fromUtf8(c.typed));
                static_cast<QDialog*>(files)->accept();  // as the Save button does
            }
        });
        answer.start(10);
        EXPECT_EQ(prompts->ChooseSaveFile("Export Playlist", "Orvane XML (*.xml);;Playlist (*.pls);;M3U (*.m3u)",
                                          "xml", home / "out"),
                  c.expected);
    }
    QString button;
    QTimer answer;
    QObject::connect(&answer, &QTimer::timeout, [&] {
        if (auto* files = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            button = files->labelText(QFileDialog::Accept);
            files->reject();
        }
    });
    answer.start(10);
    EXPECT_EQ(prompts->ChooseFolder("Find Music Folder", "Load", home.Path()), "");
    EXPECT_EQ(button, QStringLiteral("Load"));
}

}  // namespace
