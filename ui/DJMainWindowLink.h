#pragma once

// What the panels ask of the main window. The main window implements it and hands itself to
// each panel's Init, so ui/ never depends on the main window's own code. Everything here runs
// on the interface thread.
class DJMainWindowLink {
public:
    virtual ~DJMainWindowLink() = default;

    // Switches auto play on or off; the window then tells every panel by SetAutoPlayMode.
    virtual void CmAutoPlay() = 0;
    // Asks for recording on or off; the window then calls DJBottomPanel::SetRecordingMode and
    // DJConsoleGUI::ToggleRecordingMode (or nothing, when the user cancels the set-up).
    virtual void SetRecording(bool on) = 0;

    // The bottom panel's buttons, acting at the release.
    virtual void CmBrowseLoadFiles() = 0;
    virtual void CmRemoveFile() = 0;
    virtual void CmClearFiles() = 0;
    virtual void CmExportFiles() = 0;

    // The track list (control 239) as the bottom panel's enabled states need it.
    virtual int GetListRowCount() const = 0;
    virtual bool HasListSelection() const = 0;
};

// Inter-window messages a deck panel sends to the main window; data1 as noted.
enum class DJDeckParentMessage : int {
    kDeckCleared = 1,     // data1 the panel's message id: 236 deck A, 237 deck B
    kCueMarkChanged = 2,  // data1 329 deck A, 330 deck B
    kEditBPM = 3,         // data1 315 deck A, 316 deck B
};

// Panel ids and message numbers the main window and its panels share.
enum DJPanelId : int {
    kDeckPanelA = 236,
    kDeckPanelB = 237,
    kLibraryList = 239,  // also the command the bottom panel gets when the selection changes
};
