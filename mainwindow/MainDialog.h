#pragma once

#include "app/DJLibrary.h"
#include "app/LSettingsAdapters.h"
#include "engine/DJConsole.h"
#include "mainwindow/MainWindowPlacement.h"
#include "ui/DJMainWindowLink.h"
#include "ui/LWindow.h"

#include <map>
#include <memory>
#include <string>

class DJBottomPanel;
class DJConsoleGUI;
class DJDeckGUI;
class MainQuitSignals;
class QAction;
class QListWidget;
class QMenuBar;
class QObject;
class QStatusBar;

// Where the main window keeps its files; tests point them into a temporary folder.
struct MainDialogFiles {
    std::string countsPath;  // the command counts file
};

// The program's one main window. It owns the engine, the panels and the track library; it is
// built without a window, thread or device, comes up in RunMainWindow and goes down, in a fixed
// order, when RunMainWindow's loop ends. Everything runs on the interface thread.
class MainDialog : public LWindow, public DJConsoleNotify, public DJMainWindowLink {
public:
    static constexpr int kConsolePanelWidth = 200;  // pixels
    static constexpr const char* kSettingsSection = "MainWindow";

    explicit MainDialog(MainDialogFiles files = {});
    ~MainDialog() override;

    // Creates the window, runs the event loop until quit, then takes everything down. Answers
    // the program's exit code.
    int RunMainWindow();
    // The two halves around the event loop; RunMainWindow calls them, tests call them directly.
    bool MainWindowInitCommon();
    void MainWindowDestroyCommon();

    // A quit from the menu, the window's close button or the platform. While a modal dialog
    // is in front, that dialog is cancelled first and the quit comes again from the queue.
    void RequestQuit();

    void InitDialog() override;
    void DestroyDialog() override;
    void Command(int id) override;
    bool CmCancel() override { return true; }

    // DJMainWindowLink: the library commands come with the library list.
    void CmAutoPlay() override;
    void SetRecording(bool on) override;
    void CmBrowseLoadFiles() override {}
    void CmRemoveFile() override {}
    void CmClearFiles() override {}
    void CmExportFiles() override {}
    int GetListRowCount() const override;
    bool HasListSelection() const override;

    // DJConsoleNotify.
    void djcntfLevel(const LDBMC& level, long id) override;
    void djcntfStopRecording() override;
    bool djcntfIsRecording() override;
    void djcntfShowMessage(const char* text, const char* title) override;

    // Deletes every "*.wav" in the user data folder's "Temp": files of conversions that ended.
    static void DeleteTmpWavFiles();

    DJConsole& GetConsole() { return _console; }
    DJLibrary& GetLibrary() { return _library; }
    const DJConsoleGUI* GetConsolePanel() const { return _consolePanel.get(); }
    const DJBottomPanel* GetBottomPanel() const { return _bottomPanel.get(); }
    const DJDeckGUI* GetDeckPanel(int index) const { return _deckPanel[index].get(); }
    // Content size (without menu bar and status bar), pixels.
    int GetContentWidth() const;
    int GetContentHeight() const;

    // Lays the panels out in a content area of that size.
    void LayoutControls(int width, int height);

private:
    class _EventFilter;

    void _BuildStatusBar();
    void _BuildMenuBar();
    void _BuildLibraryList();
    void _InitPanels();
    void _Place();
    void _SavePlacement();
    int _ChromeHeight() const;
    static void _SetPanelGeometry(LWindow* panel, int x, int y, int width, int height);

    // Members in the order the window builds them.
    // Before anything that reads a setting: the engine and files layers read the user's store.
    struct ProgramSettings {
        ProgramSettings() { LInstallProgramSettings(); }
    } _settings;
    MainDialogFiles _files;
    DJLibrary _library;
    int _rowOnDeck[2] = {-1, -1};  // library row loaded on deck A, B; -1: none
    DJConsole _console;
    std::unique_ptr<DJConsoleGUI> _consolePanel;
    std::unique_ptr<DJDeckGUI> _deckPanel[2];  // deck A, deck B
    std::unique_ptr<DJBottomPanel> _bottomPanel;
    bool _autoPlay = false;

    bool _windowCreated = false;  // InitDialog waits for MainWindowInitCommon
    bool _initialised = false;
    bool _destroyed = false;
    bool _quitting = false;
    QMenuBar* _menuBar = nullptr;      // owned by the window's widget
    QStatusBar* _statusBar = nullptr;  // owned by the window's widget
    QListWidget* _list = nullptr;      // owned by the window's widget
    std::map<int, QAction*> _actions;
    std::unique_ptr<QObject> _filter;
    std::unique_ptr<MainQuitSignals> _quitSignals;
};
