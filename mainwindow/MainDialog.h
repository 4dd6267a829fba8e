#pragma once

#include "app/DJLibrary.h"
#include "app/LSettingsAdapters.h"
#include "engine/DJConsole.h"
#include "mainwindow/MainWindowPlacement.h"
#include "files/FileConversion.h"
#include "mainwindow/MainUserPrompts.h"
#include "ui/DJMainWindowLink.h"
#include "ui/LListView.h"
#include "ui/LWindow.h"

#include <map>
#include <memory>
#include <string>

class DJBottomPanel;
class DJConsoleGUI;
class DJDeckGUI;
class MainCloseRequests;
class MainQuitSignals;
class QAction;
class QMenuBar;
class QObject;
class QStatusBar;
struct MainMenuState;

// Where the main window keeps its files; tests point them into a temporary folder.
struct MainDialogFiles {
    std::string countsPath;  // the command counts file
};

// The library list's columns, in their order on screen.
enum MainListColumn : int {
    kColumnTitle = 0,
    kColumnArtist,
    kColumnAlbum,
    kColumnTime,
    kColumnBPM,
    kColumnDeck,
    kColumnCount,
};

// The main window's own timers.
enum MainTimer : int {
    kTimerOutputChannelCheck = 1,
    kTimerAutoPlay = 333,
};

// The program's one main window. It owns the engine, the panels and the track library; it is
// built without a window, thread or device, comes up in RunMainWindow and goes down, in a fixed
// order, when RunMainWindow's loop ends. Everything runs on the interface thread.
//
// Its work is split by theme over several files: MainDialog.cpp (life cycle and layout),
// MainDialogDecks.cpp (tracks onto decks, what the decks report, the Deck column),
// MainDialogCommands.cpp (the command table, menus, enabled states) and MainDialogLibrary.cpp
// (the list, the add, remove and export commands, sorting and reordering) and
// MainDialogBPM.cpp (editing a track's BPM).
class MainDialog : public LWindow,
                   public DJConsoleNotify,
                   public DJMainWindowLink,
                   public LListViewHandler,
                   public LInterWinMessageHandler,
                   public FileConverterNotify {
public:
    static constexpr int kConsolePanelWidth = 200;  // pixels
    static constexpr const char* kSettingsSection = "MainWindow";
    static constexpr const char* kListSettingsSection = "LibraryList";

    explicit MainDialog(MainDialogFiles files = {});
    ~MainDialog() override;

    // ---- life cycle (MainDialog.cpp)

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
    bool CmCancel() override { return true; }
    void EvTimer(int timerId) override;

    // Deletes every "*.wav" in the user data folder's "Temp": files of conversions that ended.
    static void DeleteTmpWavFiles();

    // What the window asks the user; tests put in their own before MainWindowInitCommon.
    void SetUserPrompts(std::unique_ptr<MainUserPrompts> prompts);
    MainUserPrompts& GetUserPrompts() { return *_prompts; }

    DJConsole& GetConsole() { return _console; }
    DJLibrary& GetLibrary() { return _library; }
    LListView* GetList() { return _list.get(); }
    const DJConsoleGUI* GetConsolePanel() const { return _consolePanel.get(); }
    DJConsoleGUI* GetConsolePanel() { return _consolePanel.get(); }
    const DJBottomPanel* GetBottomPanel() const { return _bottomPanel.get(); }
    const DJDeckGUI* GetDeckPanel(int index) const { return _deckPanel[index].get(); }
    DJDeckGUI* GetDeckPanel(int index) { return _deckPanel[index].get(); }
    // Content size (without menu bar and status bar), pixels.
    int GetContentWidth() const;
    int GetContentHeight() const;

    // Lays the panels out in a content area of that size.
    void LayoutControls(int width, int height);

    // ---- commands and menus (MainDialogCommands.cpp)

    void Command(int id) override;
    void EnableControls() override;
    // Preferences; until the preferences dialog exists, an alert says where settings live.
    void CmSettings();
    void CmEditWithSonivex();
    void CmAddCD();
    // The list's context menu at the pointer.
    void EvContextMenu();
    // Rebuilds the menu bar.
    void RefreshMenu();
    // Whether a menu command can be used now (false also for unknown ids).
    bool IsMenuCommandEnabled(int id) const;

    // ---- BPM editing (MainDialogBPM.cpp)

    // The BPM dialog for the entry at list row `row`; nothing for -1. The result goes to the
    // entry, the list and any deck that holds the track.
    void EditBPM(int row);

    // ---- tracks onto decks (MainDialogDecks.cpp)

    // Loads the track of list row `row` onto a deck: converted on that deck's thread, loaded
    // when the conversion reports. Alerts when the file is gone.
    void AddFileToDeck(DJDeckPosition position, int row);
    // The first selected row, if any.
    void AddFileToDeck(DJDeckPosition position);
    DJDeckPosition FindFreestDeck() const;
    // True strictly inside the panel's drop area (its detailed wave), window coordinates.
    bool OverDeck(const DJDeckGUI& panel, int x, int y) const;
    void SaveCueMark(int row, DJDeck& deck);
    void UpdateDeckColumn();
    void ClearListViewDeck(DJDeckPosition position);
    void EvFileDoubleClick();
    // The list row on deck A or B; -1: none.
    int GetRowOnDeck(DJDeckPosition position) const { return _rowOnDeck[position]; }
    bool IsDeckConverting(DJDeckPosition position) const;

    long EvInterWinMessage(int message, long data1, long data2) override;
    // FileConverterNotify, from the queue.
    void fcntfProgress(int percent, int deck) override;
    void fcntfComplete(bool success, const char* path, int deck, int beatFrequency, int beatOffset,
                       LSoundTime length, int row, int cueMark) override;
    // DJConsoleNotify.
    void djcntfLevel(const LDBMC& level, long id) override;
    void djcntfBeats(DJDeck& deck) override;
    void djcntfStop(DJDeck& deck) override;
    void djcntfPlay(DJDeck& deck) override;
    void djcntfStopRecording() override;
    bool djcntfIsRecording() override;
    void djcntfShowMessage(const char* text, const char* title) override;
    // The check for main and headphone outputs on the same channels (timer 1).
    void CheckOutputChannels();

    // LListViewHandler: rows dragged onto the decks.
    void EvDragStarted(const LDroppedListViewElement& element) override;
    bool EvDragging(const LDroppedListViewElement& element) override;
    void EvDropListViewElement(LDroppedListViewElement& element) override;
    void EvDragStopped() override;
    void EvListDoubleClick(int row) override;

    // DJMainWindowLink.
    void CmAutoPlay() override;
    void SetRecording(bool on) override;

    // ---- the library list (MainDialogLibrary.cpp)

    void RefreshLibraryList();
    void CmBrowseLoadFiles() override;
    void CmBrowseLoadFolder();
    void CmBrowseLoadPlaylist();
    void CmRemoveFile() override;
    void CmClearFiles() override;
    void CmExportFiles() override;
    // Adds files and folders as one task under one progress.
    void AddPaths(const std::vector<std::string>& paths);
    int GetListRowCount() const override;
    bool HasListSelection() const override;

    // LListViewHandler.
    void EvListSelectionChanged() override;
    void EvListContextMenu(int row) override;
    void SortCompleted() override;
    void EvLVDragFinish(int from, int to) override;
    void EvDropFiles(LDroppedFileData& data) override;

private:
    class _EventFilter;

    // ---- MainDialog.cpp
    void _BuildStatusBar();
    void _InitPanels();
    void _Place();
    void _SavePlacement();
    int _ChromeHeight() const;
    static void _SetPanelGeometry(LWindow* panel, int x, int y, int width, int height);

    // ---- MainDialogCommands.cpp
    void _BuildMenuBar();
    // Each answers whether `id` was its command.
    bool _ListCommand(int id);
    bool _WindowCommand(int id);
    bool _DeckCommand(int id);
    bool _CrossfadeCommand(int id);
    void _EffectCommand(DJDeckGUI& panel, int effect);
    void _StepMasterVolume(int step);
    MainMenuState _MenuState() const;
    void _ShowAbout();
    void _OpenRecordingFolder();
    // Runs the wave editor on `cachedPath` under a progress dialog until it ends; false (after
    // an alert) when it could not be started or the wait was cancelled.
    bool _RunWaveEditor(const std::string& cachedPath);
    // After an edit: the cached copy's new length to the item and its Time cell, and the decks
    // that played it get it again.
    void _ReloadEditedTrack(int row, LPlayItem& item, const std::string& cachedPath);

    // ---- MainDialogDecks.cpp
    DJDeckGUI& _Panel(DJDeckPosition position) { return *_deckPanel[position]; }
    // The library item of list row `row`, or null.
    LPlayItem* _ItemOfRow(int row);
    // The library item whose index is `index`, or null.
    LPlayItem* _ItemOfIndex(int index);
    // The list row of the track whose cached copy is `cachedPath`: `row` when it still holds
    // it, else the row that does, else -1.
    int _RowOfCachedFile(int row, const std::string& cachedPath);
    // AddFileToDeck's work; true when the conversion was started.
    bool _StartLoad(DJDeckPosition position, int row);
    // Whether `deck` names deck A or B and its panel is still there.
    bool _HasPanel(int deck) const;
    // A message with data1 `on` to both deck panels.
    void _SendToPanels(int message, long on);
    // "" when recording may start now, else why not and where that is set.
    std::string _RecordingRefusal() const;
    // Stops both conversion threads (a stopped job leaves no file) and takes in what they
    // report, so that nothing is left addressed to this window. Before the panels go.
    void _StopConversions();
    int _conversionsPending[2] = {0, 0};  // started, completion not yet delivered; deck A, B
    bool _conversionsStopped = false;     // completions after the stop change nothing

    // ---- MainDialogBPM.cpp
    // Runs the BPM dialog for the track at `path`; true when confirmed, `bpm` then holds the
    // value. Tests override it to answer without a modal loop.
    virtual bool _RunBPMEditDlg(double& bpm, const char* title, const char* path);
    // Loads list row `row` again onto each deck that holds its track, so it takes new beats.
    void _ReloadDecksOfRow(int row);

    // ---- MainDialogLibrary.cpp
    void _BuildLibraryList();
    template <class T>
    LProcessResult _RunAddTask(T& task);

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
    std::unique_ptr<MainUserPrompts> _prompts;
    std::unique_ptr<LListView> _list;
    // The conversion threads, one a deck; after the panels, so they stop before the panels go.
    FileConverterNotifyHandler _converterHandler{*this};
    FileConverter _converter[2];

    bool _windowCreated = false;  // InitDialog waits for MainWindowInitCommon
    bool _initialised = false;
    bool _destroyed = false;
    bool _quitting = false;
    QMenuBar* _menuBar = nullptr;      // owned by the window's widget
    QStatusBar* _statusBar = nullptr;  // owned by the window's widget
    std::map<int, QAction*> _actions;
    std::unique_ptr<QObject> _filter;
    std::unique_ptr<MainQuitSignals> _quitSignals;
    std::unique_ptr<MainCloseRequests> _closeRequests;
    bool _quitRetryPending = false;  // a quit waits for a modal window to close
};
