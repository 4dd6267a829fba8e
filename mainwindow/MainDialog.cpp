#include "mainwindow/MainDialog.h"

#include "OrvaneVersion.h"
#include "app/LSettings.h"
#include "base/LFile.h"
#include "engine/CmdCounts.h"
#include "files/LFilesSettings.h"
#include "mainwindow/MainMenus.h"
#include "mainwindow/MainCloseRequests.h"
#include "mainwindow/MainQuitSignals.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJDeckGUI.h"
#include "ui/LGuiApplication.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QResizeEvent>
#include <QScreen>
#include <QStatusBar>
#include <QTimer>

#include <unistd.h>

namespace {

constexpr char kWindowTitle[] = "Orvane";
constexpr int kPanelRowHeight = 394;     // pixels: deck and console panels
constexpr int kBottomPanelHeight = 25;   // pixels
constexpr int kListTop = 404;            // pixels below the content's top
constexpr int kListBottomMargin = 36;    // pixels from the list's bottom to the content's
constexpr int kPanelMargin = 5;          // pixels
constexpr int kBackgroundGrey = 0xBE;    // 8-bit level of each component of the window's grey

constexpr char kProgramSettingsSection[] = "Settings";
constexpr int kQuitRetryMs = 20;  // while a modal window goes

// The window that shows the files layer's alerts (the cache is full); one main window a process.
MainDialog* gAlertWindow = nullptr;

// The files layer raises its alerts on the interface thread (while a load is started).
void _FilesAlert(OpaqueWindowPtr* /*owner*/, const char* title, const char* text)
{
    if (gAlertWindow) {
        gAlertWindow->GetUserPrompts().Alert(title ? title : "", text ? text : "");
    }
}

std::string _Setting(const char* key, const char* section = MainDialog::kSettingsSection)
{
    char value[kLTextBytes];
    _LUserSettingGetString(section, key, "", value);
    return value;
}

}  // namespace

// Takes the window's close request (to quit in order) and its resizes (to lay out).
class MainDialog::_EventFilter : public QObject {
public:
    explicit _EventFilter(MainDialog& owner) : _owner(owner) {}

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched != _owner.GetWidget()) {
            return false;
        }
        if (event->type() == QEvent::Close) {
            event->ignore();
            _owner.RequestQuit();
            return true;
        }
        if (event->type() == QEvent::Resize && _owner._initialised) {
            _owner.LayoutControls(_owner.GetContentWidth(), _owner.GetContentHeight());
        }
        return false;
    }

private:
    MainDialog& _owner;
};

MainDialog::MainDialog(MainDialogFiles files)
    : _files(std::move(files)),
      _consolePanel(std::make_unique<DJConsoleGUI>(_console)),
      _bottomPanel(std::make_unique<DJBottomPanel>())
{
    if (_files.countsPath.empty()) {
        _files.countsPath = CmdCountsDefaultPath();
    }
    for (auto& panel : _deckPanel) {
        panel = std::make_unique<DJDeckGUI>();
    }
    CmdCountsRead(_files.countsPath.c_str());
}

MainDialog::~MainDialog()
{
    // A window that never ran its loop still goes down in order.
    if (_initialised && !_destroyed) {
        MainWindowDestroyCommon();
    }
}

int MainDialog::RunMainWindow()
{
    if (!MainWindowInitCommon()) {
        return 0;
    }
    // The application object belongs to main; its loop is the one loop of the process. A quit
    // can come while the window is still coming up (events are handled during start-up too);
    // then the loop is not entered at all.
    const int result = _quitting ? 0 : QApplication::exec();
    MainWindowDestroyCommon();
    return result;
}

bool MainDialog::MainWindowInitCommon()
{
    CreateTopLevel(kWindowTitle, kMainWindowDefaultWidth, kMainWindowDefaultHeight);
    QWidget* window = GetWidget();
    if (!window) {
        return false;
    }
    _windowCreated = true;
    _quitSignals = std::make_unique<MainQuitSignals>([this] { RequestQuit(); });
    _closeRequests = std::make_unique<MainCloseRequests>(*window, [this] { RequestQuit(); });
    _filter = std::make_unique<_EventFilter>(*this);
    window->installEventFilter(_filter.get());
    window->setWindowTitle(kWindowTitle);
    _BuildStatusBar();
    InitDialog();
    _initialised = true;
    window->setMinimumSize(kMainWindowMinWidth, kMainWindowMinHeight + _ChromeHeight());
    _Place();
    LUserSettingSetString(kProgramSettingsSection, "FirstRun", "1");
    window->show();
    window->raise();
    window->activateWindow();
    EnableControls();
    LayoutControls(GetContentWidth(), GetContentHeight());
    return true;
}

void MainDialog::InitDialog()
{
    // CreateTopLevel calls this as soon as the widget exists; the main window runs it later,
    // once its title and status bar are there.
    if (!_windowCreated || _initialised) {
        return;
    }
    if (!_prompts) {
        _prompts = MakeMainUserPromptsQt(GetWidget());
    }
    gAlertWindow = this;
    LSetFilesAlert(&_FilesAlert);
    // The grey between and around the panels.
    QPalette palette = GetWidget()->palette();
    palette.setColor(QPalette::Window, QColor(kBackgroundGrey, kBackgroundGrey, kBackgroundGrey));
    GetWidget()->setPalette(palette);
    GetWidget()->setAutoFillBackground(true);
    _BuildMenuBar();
    _statusBar->showMessage(QStringLiteral(ORVANE_PRODUCT " v " ORVANE_VERSION));
    _BuildLibraryList();
    _InitPanels();
    _console.SetNotify(this);
    // The decks exist from here on, each handed to its panel.
    _deckPanel[0]->SetDeck(&_console.AddDeck(kDeckLeft));
    _deckPanel[1]->SetDeck(&_console.AddDeck(kDeckRight));
    _library.Load();
    RefreshLibraryList();
    for (int message : {1, 2, 3}) {
        HandleInterWinMessage(this, message);
    }
    // From here the output device is open and the player threads run.
    _console.UpdateDevice();
    TimerSet(kTimerOutputChannelCheck, 0);
    _list->SetFocus();
    if (_Setting("DefaultRecordFolder", kProgramSettingsSection).empty()) {
        char folder[LFile::kPathBytes];
        if (LFile::GetUserDataFolderAppSubFolder(LFile::kRecordingFolder, folder)) {
            LUserSettingSetString(kProgramSettingsSection, "DefaultRecordFolder", folder);
        }
    }
}

void MainDialog::_InitPanels()
{
    const int width = kMainWindowDefaultWidth;
    const int deckWidth = (width - kConsolePanelWidth) / 2;
    _deckPanel[0]->Init(*this, kDeckPanelA, kPanelMargin, kPanelMargin, deckWidth - 2 * kPanelMargin,
                        kPanelRowHeight);
    _deckPanel[1]->Init(*this, kDeckPanelB, deckWidth - 2 * kPanelMargin + kConsolePanelWidth + 15,
                        kPanelMargin, deckWidth - 2 * kPanelMargin, kPanelRowHeight);
    _consolePanel->Init(*this, *this, deckWidth, kPanelMargin, kConsolePanelWidth, kPanelRowHeight);
    _bottomPanel->Init(*this, *this, kPanelMargin, kMainWindowDefaultHeight - 31,
                       width - 2 * kPanelMargin, kBottomPanelHeight);
}

void MainDialog::MainWindowDestroyCommon()
{
    if (_destroyed) {
        return;
    }
    _destroyed = true;
    if (QWidget* window = GetWidget()) {
        _SavePlacement();
        window->hide();
        window->removeEventFilter(_filter.get());
    }
    _quitSignals.reset();
    _closeRequests.reset();
    // A counts file that cannot be written costs only the statistics.
    CmdCountsWrite(_files.countsPath.c_str());
    DestroyDialog();
}

void MainDialog::DestroyDialog()
{
    if (!_initialised) {
        return;
    }
    _initialised = false;
    _StopConversions();
    LSetFilesAlert(nullptr);
    gAlertWindow = nullptr;
    _console.Stop();
    _library.Save();
    DeleteTmpWavFiles();
    TimerDestroy();
    _bottomPanel.reset();
    _deckPanel[0].reset();
    _deckPanel[1].reset();
    _consolePanel.reset();
}

void MainDialog::DeleteTmpWavFiles()
{
    char folder[LFile::kPathBytes];
    if (!LFile::GetUserDataFolderAppSubFolder(LFile::kTempFolder, folder)) {
        return;
    }
    LFile::FolderIterator it(folder, "*.wav");
    while (it.Next()) {
        char path[LFile::kPathBytes];
        if (it.GetPath(path)) {
            unlink(path);
        }
    }
}

void MainDialog::SetUserPrompts(std::unique_ptr<MainUserPrompts> prompts)
{
    _prompts = std::move(prompts);
}

void MainDialog::EvTimer(int timerId)
{
    if (timerId == kTimerOutputChannelCheck) {
        CheckOutputChannels();
    }
}

void MainDialog::RequestQuit()
{
    if (!_initialised) {
        return;
    }
    if (QWidget* modal = QApplication::activeModalWidget(); modal && modal != GetWidget()) {
        if (auto* dialog = qobject_cast<QDialog*>(modal)) {
            dialog->reject();
        } else {
            modal->close();
        }
        // Asked again once the modal window has had time to go. A Qt timer, not the program's
        // queue: a long task drains that queue until it is empty, and a quit that re-posts
        // itself there would keep it from ever being empty. Further quits meanwhile are absorbed.
        if (!_quitRetryPending) {
            _quitRetryPending = true;
            QTimer::singleShot(kQuitRetryMs, GetWidget(), [this] {
                _quitRetryPending = false;
                RequestQuit();
            });
        }
        return;
    }
    if (CmCancel()) {
        _quitting = true;
        // Queued, so a request that comes before the loop runs (from the window system while
        // the window is being shown) still ends it.
        QMetaObject::invokeMethod(QCoreApplication::instance(), [] { QCoreApplication::exit(0); },
                                  Qt::QueuedConnection);
    }
}

// ---- window parts

void MainDialog::_BuildStatusBar()
{
    _statusBar = new QStatusBar(GetWidget());
    _statusBar->setSizeGripEnabled(true);
}

int MainDialog::_ChromeHeight() const
{
    return (_menuBar ? _menuBar->sizeHint().height() : 0) + (_statusBar ? _statusBar->sizeHint().height() : 0);
}

int MainDialog::GetContentWidth() const
{
    return GetClientWidth();
}

int MainDialog::GetContentHeight() const
{
    return std::max(GetClientHeight() - _ChromeHeight(), 0);
}

void MainDialog::_SetPanelGeometry(LWindow* panel, int x, int y, int width, int height)
{
    if (panel) {
        panel->SetWindowPixels(x, y, width, height);
    }
}

void MainDialog::LayoutControls(int width, int height)
{
    const int top = _menuBar ? _menuBar->sizeHint().height() : 0;
    const int deckWidth = (width - kConsolePanelWidth) / 2;
    if (_menuBar) {
        _menuBar->setGeometry(0, 0, width, top);
    }
    _SetPanelGeometry(_deckPanel[0].get(), kPanelMargin, top + kPanelMargin, deckWidth - 2 * kPanelMargin,
                      kPanelRowHeight);
    _SetPanelGeometry(_consolePanel.get(), deckWidth, top + kPanelMargin, kConsolePanelWidth, kPanelRowHeight);
    _SetPanelGeometry(_deckPanel[1].get(), deckWidth - 2 * kPanelMargin + kConsolePanelWidth + 15,
                      top + kPanelMargin, deckWidth - 2 * kPanelMargin, kPanelRowHeight);
    if (_list) {
        _list->SetGeometry(kPanelMargin, top + kListTop, std::max(width - 2 * kPanelMargin, 0),
                           std::max(height - kListTop - kListBottomMargin, 0));
        _list->AdjustColumns(std::max(width - 2 * kPanelMargin, 0));
    }
    _SetPanelGeometry(_bottomPanel.get(), kPanelMargin, top + height - 31, width - 2 * kPanelMargin,
                      kBottomPanelHeight);
    if (_statusBar) {
        const int barHeight = _statusBar->sizeHint().height();
        _statusBar->setGeometry(0, top + height, width, barHeight);
    }
}

// ---- placement

void MainDialog::_Place()
{
    QWidget* window = GetWidget();
    const QScreen* screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect(0, 0, 1920, 1080);
    const MainWindowSaved saved{_Setting("X"), _Setting("Y"), _Setting("Width"), _Setting("Height"),
                                _Setting("Maximized")};
    const MainWindowPlacement place =
        PlaceMainWindow(saved, {area.x(), area.y(), area.width(), area.height()}, _ChromeHeight());
    window->resize(place.width, place.height + _ChromeHeight());
    window->move(place.x, place.y);
    if (place.maximized) {
        window->setWindowState(window->windowState() | Qt::WindowMaximized);
    }
}

void MainDialog::_SavePlacement()
{
    QWidget* window = GetWidget();
    const bool maximized = window->isMaximized();
    // A maximized window keeps the place it goes back to.
    const QRect normal = maximized ? window->normalGeometry() : window->geometry();
    const QRect frame = window->frameGeometry();
    const int x = maximized ? normal.x() : frame.x();
    const int y = maximized ? normal.y() : frame.y();
    const int height = std::max(normal.height() - _ChromeHeight(), 0);
    LUserSettingSetString(kSettingsSection, "Maximized", maximized ? "1" : "0");
    LUserSettingSetInt(kSettingsSection, "X", x);
    LUserSettingSetInt(kSettingsSection, "Y", y);
    LUserSettingSetInt(kSettingsSection, "Width", normal.width());
    LUserSettingSetInt(kSettingsSection, "Height", height);
}

