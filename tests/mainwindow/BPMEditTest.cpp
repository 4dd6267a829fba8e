#include "mainwindow/BPMEditDlg.h"

#include "analysis/ClickTrain.h"
#include "app/LSettings.h"
#include "base/LEventQueue.h"
#include "base/LFile.h"
#include "engine/ConsoleTestSupport.h"
#include "mainwindow/MainDialog.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

// A view that keeps what the dialog showed and said.
struct ScriptedView : BPMEditView {
    std::string GetInputText() const override { return input; }
    void SetInputText(const std::string& text) override
    {
        input = text;
        inputs.push_back(text);
    }
    void SetScanText(const std::string& text) override
    {
        scan = text;
        scans.push_back(text);
        if (onScanText) {
            onScanText(text);
        }
    }
    void Alert(const char* title, const char* text) override { alerts.push_back(std::string(title) + "|" + text); }
    bool RunModal() override { return closed > 0; }
    void Close(bool confirmed) override { closed = confirmed ? 1 : 0; }

    std::string input, scan;
    std::vector<std::string> inputs, scans, alerts;
    int closed = -1;  // -1 open, 0 cancelled, 1 confirmed
    std::function<void(const std::string&)> onScanText;
};

// A dialog over a scripted view, begun for `path` with the caller's value `bpm`.
struct ScriptedDialog {
    ScriptedDialog(double value, const std::string& path) : bpm(value)
    {
        auto owned = std::make_unique<ScriptedView>();
        view = owned.get();
        dialog.SetView(std::move(owned));
        dialog.Begin(nullptr, &bpm, "Track", path.c_str());
    }
    double bpm;
    BPMEditDlg dialog;
    ScriptedView* view = nullptr;
};

std::string CachedPath(const std::string& track)
{
    char path[LFile::kPathBytes];
    EXPECT_TRUE(FileConversion::MakeCachedPath(path, track.c_str()));
    return path;
}

// Turns the queue until nothing waits: every report posted so far has been delivered.
void DrainQueue()
{
    EXPECT_TRUE(QtTestWaitFor([] { return LEventQueue::ForCurrentThread()->GetPendingCount() == 0; }));
}

class BPMEditTest : public testing::Test {
protected:
    void SetUp() override { QtTestApp(); }
    TestHome home;
};

}  // namespace

TEST(BPMTapTempo, RunsRestartAndAverage)
{
    struct Step {
        int64_t atMs;
        BPMTapTempo::Kind kind;
        double bpm;
    };
    using K = BPMTapTempo::Kind;
    const Step steps[] = {
        {0, K::kRestarted, 0},  // the first tap restarts, even at the clock's zero
        {0, K::kIgnored, 0},    // the same millisecond tells nothing
        {500, K::kTempo, 120.0},
        {1100, K::kTempo, 2 * 60000.0 / 1100},
        {1500, K::kTempo, 120.0},  // the average over the whole run, not the last gap
        {5500, K::kTempo, 4 * 60000.0 / 5500},  // exactly 4000 ms after the last tap still counts
        {9501, K::kRestarted, 0},               // 4001 ms: a new run
        {14501, K::kRestarted, 0},  // the pause counts from the new run's first tap, not the old run's
        {15001, K::kTempo, 120.0},
        {19001, K::kTempo, 2 * 60000.0 / 4500},
    };
    BPMTapTempo tap;
    int count = 0;
    for (const Step& step : steps) {
        SCOPED_TRACE(step.atMs);
        const BPMTapTempo::Result result = tap.Tap(step.atMs);
        EXPECT_EQ(result.kind, step.kind);
        EXPECT_DOUBLE_EQ(result.bpm, step.bpm);
        count = step.kind == K::kRestarted ? 1 : step.kind == K::kTempo ? count + 1 : count;
        EXPECT_EQ(tap.GetCount(), count);
    }
}

TEST(BPMEditText, OkAcceptsDigitsAndPointUpTo5000)
{
    struct Case {
        std::string text;
        BPMTextCheck check;
        double value;
    };
    const Case cases[] = {
        {"0", BPMTextCheck::kValid, 0},
        {"128.5", BPMTextCheck::kValid, 128.5},
        {"", BPMTextCheck::kValid, 0},
        {"5000", BPMTextCheck::kValid, 5000},
        {"005000.00", BPMTextCheck::kValid, 5000},
        {".5", BPMTextCheck::kValid, 0.5},
        {".", BPMTextCheck::kValid, 0},
        {"12a", BPMTextCheck::kInvalid, -1},
        {"-3", BPMTextCheck::kInvalid, -1},
        {"1e3", BPMTextCheck::kInvalid, -1},
        {" 128", BPMTextCheck::kInvalid, -1},
        {"12,5", BPMTextCheck::kInvalid, -1},
        {std::string("12\0" "5", 4), BPMTextCheck::kInvalid, -1},
        {"5000.01", BPMTextCheck::kOverLimit, -1},
        {std::string(400, '9'), BPMTextCheck::kOverLimit, -1},
        {"0." + std::string(400, '0') + "1", BPMTextCheck::kValid, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        double value = -1;
        EXPECT_EQ(BPMEditCheckText(c.text, value), c.check);
        EXPECT_DOUBLE_EQ(value, c.value) << "a refused text leaves the value";
    }
}

TEST(BPMEditText, NumbersUseAPointInEveryLocale)
{
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    if (!std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) {
        GTEST_SKIP() << "no locale with a decimal comma installed";
    }
    EXPECT_EQ(BPMEditFormat(128.5), "128.50");
    EXPECT_DOUBLE_EQ(BPMEditParse("128.50"), 128.5);
    std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(BPMEditText, ScanResultsBeatFrequenciesAndText)
{
    // Detected periods, frames at 44,100 Hz: over 200 BPM counts double.
    const std::pair<int, const char*> scans[] = {
        {13230, "100.00"}, {13231, "199.98"}, {22050, "120.00"}, {6615, "200.00"}, {1, "1323000.00"},
        {0, "0.00"},       {-5, "0.00"},
    };
    for (const auto& [period, text] : scans) {
        SCOPED_TRACE(period);
        EXPECT_EQ(BPMEditFormat(BPMEditScanBPM(period)), text);
    }
    const std::pair<double, int> frequencies[] = {
        {128, 20672}, {120, 22050}, {5000, 529}, {0, 0}, {-1, 0}, {0.0001, INT_MAX},
    };
    for (const auto& [bpm, beatfreq] : frequencies) {
        SCOPED_TRACE(bpm);
        EXPECT_EQ(BPMEditBeatFrequency(bpm), beatfreq);
    }
    EXPECT_DOUBLE_EQ(BPMEditParse("99.50"), 99.5);
    EXPECT_DOUBLE_EQ(BPMEditParse("nan"), 0);
    EXPECT_DOUBLE_EQ(BPMEditParse("junk"), 0);
    EXPECT_DOUBLE_EQ(BPMEditParse(nullptr), 0);
}

TEST_F(BPMEditTest, OkKeepsTheDialogOpenUntilTheValueIsValid)
{
    struct Case {
        const char* text;
        const char* alert;  // "" for none
        double stored;
    };
    const Case cases[] = {
        {"12a", "Invalid BPM|Please enter a valid number.", 77},
        {"5000.01", "BPM over the limit|Please enter a (much) smaller number.", 77},
        {"128.5", "", 128.5},
        {"", "", 0},
        {"5000", "", 5000},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        ScriptedDialog d(77, home / "track.wav");
        EXPECT_EQ(d.view->input, "77.00");
        EXPECT_EQ(d.view->scan, "Scan for BPM");
        d.view->input = c.text;
        const bool valid = *c.alert == 0;
        EXPECT_EQ(d.dialog.CmOk(), valid);
        EXPECT_EQ(d.view->closed, valid ? 1 : -1);
        EXPECT_EQ(d.view->alerts, valid ? std::vector<std::string>{} : std::vector<std::string>{c.alert});
        EXPECT_DOUBLE_EQ(d.bpm, c.stored);
    }
}

TEST_F(BPMEditTest, CancelAndTapsLeaveTheCallersValue)
{
    ScriptedDialog d(99.5, home / "track.wav");
    EXPECT_FALSE(d.dialog.EvKeyDown('a'));
    EXPECT_TRUE(d.dialog.EvKeyDown(' '));
    EXPECT_EQ(d.view->input, "0.00") << "the first tap starts a run";
    d.dialog.Command(kBPMEditTap);
    EXPECT_NE(d.view->input, "99.50");
    EXPECT_TRUE(d.dialog.CmCancel());
    EXPECT_EQ(d.view->closed, 0);
    EXPECT_DOUBLE_EQ(d.bpm, 99.5);
}

TEST_F(BPMEditTest, ScanOfAClickTrainShowsItsTempo)
{
    const std::string track = home / "clicks.wav";
    ASSERT_TRUE(WriteStereoWave(track, MakeClickTrain({.bpm = 100, .seconds = 20, .firstClickFrame = 700})));
    ScriptedDialog d(0, track);
    d.dialog.Command(kBPMEditScan);
    ASSERT_TRUE(QtTestWaitFor([&] { return d.view->scan == "Rescan"; }));
    EXPECT_NEAR(BPMEditParse(d.view->input.c_str()), 100.0, 0.5);
    EXPECT_NEAR(d.bpm, 100.0, 0.5) << "the scan goes to the caller's value as well";
    EXPECT_EQ(d.view->input, BPMEditFormat(d.bpm));
    ASSERT_GE(d.view->scans.size(), 3u);
    EXPECT_EQ(d.view->scans[1].rfind("Converting ", 0), 0u) << d.view->scans[1];
    EXPECT_EQ(d.view->scans[d.view->scans.size() - 2], "Scanning..");
    EXPECT_FALSE(d.dialog.IsScanning());

    // A second scan finds the cached copy and scans again.
    const size_t shown = d.view->scans.size();
    d.dialog.Command(kBPMEditScan);
    ASSERT_TRUE(QtTestWaitFor([&] { return d.view->scans.size() > shown + 1 && d.view->scans.back() == "Rescan"; }));
    EXPECT_EQ(d.view->scans[shown + 1], "Scanning..");
    EXPECT_NEAR(BPMEditParse(d.view->input.c_str()), 100.0, 0.5);
    EXPECT_TRUE(d.dialog.CmOk());
    EXPECT_NEAR(d.bpm, 100.0, 0.5);
}

TEST_F(BPMEditTest, FailedConversionGivesTheValueBackAndNoMessage)
{
    for (const std::string& path : {home / "missing.mp3", std::string(), home / "not-audio.wav"}) {
        SCOPED_TRACE(path);
        WriteWholeFile(home / "not-audio.wav", "this is not a wave file");
        ScriptedDialog d(87.25, path);
        d.dialog.Command(kBPMEditScan);
        ASSERT_TRUE(QtTestWaitFor([&] { return d.view->inputs.size() >= 3 && d.view->input == "87.25"; }));
        EXPECT_FALSE(d.dialog.IsScanning());
        EXPECT_TRUE(d.view->alerts.empty());
        EXPECT_NE(d.view->scan, "Rescan");
        EXPECT_DOUBLE_EQ(d.bpm, 87.25);
    }
}

TEST_F(BPMEditTest, NothingArrivesAfterACancelOrTheDialogsEnd)
{
    const std::string track = home / "long.wav";
    ASSERT_TRUE(WriteStereoWave(track, MakeClickTrain({.bpm = 128, .seconds = 120})));
    {
        // Cancelled as soon as the detector has started.
        ScriptedDialog d(64, track);
        d.view->onScanText = [&](const std::string& text) {
            if (text == "Scanning..") {
                EXPECT_TRUE(d.dialog.IsScanning());
                EXPECT_TRUE(d.dialog.CmCancel());
            }
        };
        d.dialog.Command(kBPMEditScan);
        ASSERT_TRUE(QtTestWaitFor([&] { return d.view->closed == 0; }));
        DrainQueue();
        EXPECT_NE(d.view->scan, "Rescan");
        EXPECT_DOUBLE_EQ(d.bpm, 64);
    }
    // Ended while converting (no cached copy, so a conversion runs): the job's report still
    // comes after the dialog, to a mailbox that then goes.
    const int before = BPMEditDlg::GetConversionMailboxCount();
    for (int round = 0; round < 3; ++round) {
        std::remove(CachedPath(track).c_str());
        auto d = std::make_unique<ScriptedDialog>(64, track);
        d->dialog.Command(kBPMEditScan);
        d->dialog.Command(kBPMEditScan);  // refused while the first runs
        EXPECT_TRUE(d->dialog.IsConverting());
        d.reset();
        EXPECT_EQ(BPMEditDlg::GetConversionMailboxCount(), before + 1);
        DrainQueue();
        EXPECT_EQ(BPMEditDlg::GetConversionMailboxCount(), before);
    }
    std::make_unique<ScriptedDialog>(64, track).reset();
    EXPECT_EQ(BPMEditDlg::GetConversionMailboxCount(), before);
}

TEST_F(BPMEditTest, WindowHasTheControlsAndTapsOnTheSpaceKey)
{
    double bpm = 128;
    BPMEditDlg dialog;
    dialog.Begin(nullptr, &bpm, "Track", (home / "track.wav").c_str());
    QWidget* window = dialog.GetView()->GetWidget();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->windowTitle(), "Edit BPM");
    EXPECT_EQ(window->accessibleDescription(), "Track");
    EXPECT_EQ(window->size(), QSize(kBPMEditWidth, kBPMEditHeight));
    const std::pair<int, const char*> texts[] = {
        {kBPMEditLabel, "BPM:"},
        {kBPMEditScan, "Scan for BPM"},
        {kBPMEditTap, "Tap..."},
        {kBPMEditTapHint, "(Tap the space bar in time with the beat)"},
    };
    for (const auto& [id, text] : texts) {
        QWidget* control = window->findChild<QWidget*>(QString::number(id));
        ASSERT_NE(control, nullptr) << id;
        const QString shown = qobject_cast<QLabel*>(control) ? qobject_cast<QLabel*>(control)->text()
                                                             : qobject_cast<QPushButton*>(control)->text();
        EXPECT_EQ(shown.toStdString(), text) << id;
        EXPECT_TRUE(window->rect().contains(control->geometry())) << id;
    }
    auto* input = window->findChild<QLineEdit*>(QString::number(kBPMEditInput));
    ASSERT_NE(input, nullptr);
    EXPECT_EQ(input->text(), "128.00");
    for (const char* name : {"help", "cancel", "ok"}) {
        ASSERT_NE(window->findChild<QPushButton*>(name), nullptr) << name;
    }

    // The space key on any control is a tap: it neither presses the button nor types a blank.
    window->show();
    auto* ok = window->findChild<QPushButton*>("ok");
    for (QWidget* target : {static_cast<QWidget*>(ok), static_cast<QWidget*>(input)}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
        QKeyEvent release(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier, QStringLiteral(" "));
        QApplication::sendEvent(target, &press);
        QApplication::sendEvent(target, &release);
        EXPECT_TRUE(window->isVisible());
    }
    EXPECT_FALSE(input->text().contains(' '));
    EXPECT_NE(input->text(), "128.00");
    EXPECT_DOUBLE_EQ(bpm, 128);

    input->setText(QStringLiteral("140"));
    ok->click();
    EXPECT_FALSE(window->isVisible());
    EXPECT_DOUBLE_EQ(bpm, 140);
}

// ---- the main window's BPM edit

namespace {

// Prompts that keep alerts and answer nothing.
class QuietPrompts : public MainUserPrompts {
public:
    explicit QuietPrompts(std::vector<std::string>& alerts) : _alerts(alerts) {}
    void Alert(const std::string& title, const std::string& text) override { _alerts.push_back(title + "|" + text); }
    bool AskYesNo(const std::string&, const std::string&) override { return false; }
    std::vector<std::string> ChooseFiles(const std::string&, const std::string&, const std::string&) override
    {
        return {};
    }
    std::string ChooseFile(const std::string&, const std::string&, const std::string&) override { return ""; }
    std::string ChooseFolder(const std::string&, const std::string&, const std::string&) override { return ""; }
    std::string ChooseSaveFile(const std::string&, const std::string&, const std::string&,
                               const std::string&) override
    {
        return "";
    }
    int ChooseItem(const std::string&, const std::string&, const std::vector<std::string>&) override { return -1; }

private:
    std::vector<std::string>& _alerts;
};

// A main window whose BPM dialog is answered by a script: the text typed before OK, or a
// cancel. The answer goes through the dialog's own OK check.
class AnsweredWindow : public MainDialog {
public:
    using MainDialog::MainDialog;

    bool cancel = false;
    std::string typed;
    int opened = 0;
    std::string seenTitle, seenPath;
    double seenBpm = -1;

private:
    bool _RunBPMEditDlg(double& bpm, const char* title, const char* path) override
    {
        ++opened;
        seenTitle = title;
        seenPath = path;
        seenBpm = bpm;
        if (cancel) {
            return false;
        }
        auto view = std::make_unique<ScriptedView>();
        ScriptedView& shown = *view;
        BPMEditDlg dialog;
        dialog.SetView(std::move(view));
        dialog.Begin(nullptr, &bpm, title, path);
        shown.input = typed;
        return dialog.CmOk() && shown.closed == 1;
    }
};

class EditBPMTest : public testing::Test {
protected:
    void SetUp() override { QtTestApp(); }
    void TearDown() override
    {
        if (window) {
            window->MainWindowDestroyCommon();
        }
    }

    // The window with a library of `count` tracks "Song 0".. with BPM fields, or none for the
    // track of `bare`.
    void Open(int count, int bare = -1)
    {
        window = std::make_unique<AnsweredWindow>(MainDialogFiles{home / "counts.txt"});
        window->SetUserPrompts(std::make_unique<QuietPrompts>(alerts));
        ASSERT_TRUE(window->MainWindowInitCommon());
        for (int i = 0; i < count; ++i) {
            const std::string path = home / ("song" + std::to_string(i) + ".wav");
            ASSERT_TRUE(WriteStereoWave(path, MakeTone(2, 440, 8000, true, true)));
            auto item = std::make_unique<LPlayItem>(path.c_str());
            if (i != bare) {
                LHashTable& fields = item->Parms();
                fields.SetString("title", ("Song " + std::to_string(i)).c_str());
                fields.SetString("bpm", "99.50");
                fields.SetInt("beatfreq", 26593);
                fields.SetInt("beatoffset", 1234);
                fields.SetInt("samplerate", 44100);
            }
            window->GetLibrary().GetList().AddItem(std::move(item));
        }
        window->RefreshLibraryList();
    }
    LHashTable& Fields(int index) { return window->GetLibrary().GetList().GetItem(size_t(index))->Parms(); }
    std::string Cell(int row) { return window->GetList()->GetCell(row, kColumnBPM); }
    std::string LibraryFile() { return ReadWholeFile(DJLibrary::GetLibraryFilePath()); }

    TestHome home;
    Capture capture{home / "capture.wav"};
    std::vector<std::string> alerts;
    std::unique_ptr<AnsweredWindow> window;
};

}  // namespace

TEST_F(EditBPMTest, TheAnswerGoesToTheEntryTheListAndTheLibraryFile)
{
    struct Case {
        const char* typed;
        bool cancel;
        const char* bpm;
        int beatfreq, beatoffset;
        const char* refreshed;  // the BPM cell after the list is built again
    };
    const Case cases[] = {
        {"128", false, "128.00", 20672, 1234, "128.00"},
        {"0", false, "0.00", 0, 0, "-"},
        {"", false, "0.00", 0, 0, "-"},
        {"5000", false, "5000.00", 529, 1234, "5000.00"},
        {"140", true, "99.50", 26593, 1234, "99.50"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.typed + std::string(c.cancel ? " cancelled" : ""));
        TestHome caseHome;  // a library file of its own
        Open(3);
        window->typed = c.typed;
        window->cancel = c.cancel;
        window->EditBPM(1);
        EXPECT_EQ(window->opened, 1);
        EXPECT_EQ(window->seenTitle, "Song 1");
        EXPECT_EQ(window->seenPath, home / "song1.wav");
        EXPECT_DOUBLE_EQ(window->seenBpm, 99.5);
        EXPECT_STREQ(Fields(1).GetParm("bpm", ""), c.bpm);
        EXPECT_EQ(Fields(1).GetInt("beatfreq", -1), c.beatfreq);
        EXPECT_EQ(Fields(1).GetInt("beatoffset", -1), c.beatoffset);
        EXPECT_EQ(Cell(1), c.cancel ? "99.50" : c.bpm);
        if (c.cancel) {
            EXPECT_FALSE(LFile::Exists(DJLibrary::GetLibraryFilePath().c_str())) << "a cancel writes nothing";
        } else {
            const std::string file = LibraryFile();
            EXPECT_THAT(file, testing::HasSubstr("<bpm>" + std::string(c.bpm) + "</bpm>"));
            EXPECT_THAT(file, testing::HasSubstr("<beatfreq>" + std::to_string(c.beatfreq) + "</beatfreq>"));
        }
        // The other entries keep theirs.
        for (int other : {0, 2}) {
            EXPECT_STREQ(Fields(other).GetParm("bpm", ""), "99.50");
            EXPECT_EQ(Fields(other).GetInt("beatfreq", -1), 26593);
        }
        window->RefreshLibraryList();
        EXPECT_EQ(Cell(1), c.refreshed);
        window->MainWindowDestroyCommon();
        window.reset();
    }
}

TEST_F(EditBPMTest, TheRowAloneIsSelectedAndRowsOutsideTheListOpenNothing)
{
    Open(3, 2);
    window->GetList()->SelectRows({0, 2});
    window->typed = "120";
    window->EditBPM(2);
    EXPECT_EQ(window->GetList()->GetSelectedRows(), std::vector<int>{2});
    EXPECT_EQ(window->seenTitle, "Unknown") << "an entry without fields";
    EXPECT_DOUBLE_EQ(window->seenBpm, 0);
    EXPECT_EQ(Fields(2).GetInt("beatfreq", -1), 22050);
    for (int row : {-1, 3, 1 << 30, INT_MIN}) {
        window->EditBPM(row);
    }
    EXPECT_EQ(window->opened, 1);
    EXPECT_EQ(window->GetList()->GetSelectedRows(), std::vector<int>{2});
}

TEST_F(EditBPMTest, ADeckHoldingTheTrackTakesTheNewBeats)
{
    Open(2);
    // The decks' own scans are over before the edit, so that theirs cannot come after it.
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        window->AddFileToDeck(position, position);
        DJDeck& deck = *window->GetConsole().GetDeck(position);
        ASSERT_TRUE(QtTestWaitFor([&] { return window->GetRowOnDeck(position) == position && deck.IsLoaded(); }));
    }
    DJDeck& a = *window->GetConsole().GetDeck(kDeckLeft);
    DJDeck& b = *window->GetConsole().GetDeck(kDeckRight);
    ASSERT_EQ(b.GetTrackBeatFrequency(), 26593);

    // Deck B's "Edit BPM" edits the row on B.
    window->typed = "128";
    window->EvInterWinMessage(3, 316, 0);
    ASSERT_EQ(window->opened, 1);
    EXPECT_EQ(window->seenPath, home / "song1.wav");
    ASSERT_TRUE(QtTestWaitFor([&] { return b.IsLoaded() && b.GetTrackBeatFrequency() == 20672; }));
    EXPECT_EQ(window->GetRowOnDeck(kDeckRight), 1);
    EXPECT_EQ(b.GetTrackBeatOffset(), 1234);
    EXPECT_EQ(a.GetTrackBeatFrequency(), 26593) << "deck A holds another track";
    for (const std::string& alert : alerts) {
        // The output channel check at start is the only one expected.
        EXPECT_EQ(alert.rfind("Please adjust your audio settings|", 0), 0u) << alert;
    }
}

namespace {

// Once the modal BPM window is up, runs `act` on it; waits on the event loop for the window,
// never on the clock.
void WhenBPMWindowOpens(const std::function<void(QWidget&)>& act)
{
    QTimer::singleShot(0, [act] {
        QWidget* modal = QApplication::activeModalWidget();
        if (modal && modal->windowTitle() == "Edit BPM") {
            act(*modal);
        } else {
            WhenBPMWindowOpens(act);
        }
    });
}

}  // namespace

TEST_F(EditBPMTest, TheProgramsWindowTakesEnterAndAQuit)
{
    QtTestApp();
    MainDialog main(MainDialogFiles{home / "counts.txt"});
    main.SetUserPrompts(std::make_unique<QuietPrompts>(alerts));
    ASSERT_TRUE(main.MainWindowInitCommon());
    const std::string path = home / "song.wav";
    ASSERT_TRUE(WriteStereoWave(path, MakeTone(1, 440, 8000, true, true)));
    auto item = std::make_unique<LPlayItem>(path.c_str());
    item->Parms().SetString("bpm", "99.50");
    main.GetLibrary().GetList().AddItem(std::move(item));
    main.RefreshLibraryList();
    LHashTable& fields = main.GetLibrary().GetList().GetItem(0)->Parms();

    // Typed and confirmed with Enter.
    WhenBPMWindowOpens([](QWidget& window) {
        auto* input = window.findChild<QLineEdit*>(QString::number(kBPMEditInput));
        EXPECT_EQ(input->text(), "99.50");
        input->setText(QStringLiteral("174"));
        QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(input, &enter);
    });
    main.EditBPM(0);
    EXPECT_STREQ(fields.GetParm("bpm", ""), "174.00");
    EXPECT_EQ(fields.GetInt("beatfreq", -1), 15207);

    // A quit while the dialog is open cancels it first; the quit itself comes again later.
    WhenBPMWindowOpens([&](QWidget& window) {
        window.findChild<QLineEdit*>(QString::number(kBPMEditInput))->setText(QStringLiteral("90"));
        main.RequestQuit();
    });
    main.EditBPM(0);
    EXPECT_STREQ(fields.GetParm("bpm", ""), "174.00");
    main.MainWindowDestroyCommon();
}
