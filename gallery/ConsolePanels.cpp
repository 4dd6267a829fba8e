// The console and bottom panels in a window of their own, for developers: the crossfader,
// fades, lights, volume and every bottom button work; the track list is pretended.
#include "gallery/ConsolePanels.h"

#include "engine/DJConsole.h"
#include "gallery/GalleryLayout.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJConsoleGUI.h"
#include "ui/DJMainWindowLink.h"
#include "ui/LWindow.h"

#include <QWidget>

#include <algorithm>

namespace {

constexpr int kConsoleWidth = 200;   // pixels, as between the decks
constexpr int kConsoleHeight = 400;  // pixels
constexpr int kBottomWidth = 700;    // pixels
constexpr int kBottomHeight = 25;    // pixels
constexpr int kGap = 10;             // pixels between the panels
constexpr int kWindowWidth = kBottomWidth;
constexpr int kWindowHeight = kConsoleHeight + kGap + kBottomHeight;
constexpr int kStartRows = 3;
constexpr int kWindowGap = 40;  // pixels below the main gallery window, for its frame

}  // namespace

// The main window's part: auto play and recording go back to both panels, and the bottom
// buttons change a count of pretend rows, so the enabled states can be tried.
class GalleryConsolePanels : public LWindow, public DJMainWindowLink {
public:
    GalleryConsolePanels()
    {
        CreateTopLevel("Orvane gallery: console panels", kWindowWidth, kWindowHeight);
        _console.AddDeck(kDeckLeft);
        _console.AddDeck(kDeckRight);
        _consolePanel.Init(*this, *this, (kWindowWidth - kConsoleWidth) / 2, 0, kConsoleWidth,
                           kConsoleHeight);
        _bottomPanel.Init(*this, *this, 0, kConsoleHeight + kGap, kBottomWidth, kBottomHeight);
        _bottomPanel.EnableControls();
    }
    ~GalleryConsolePanels() override { _console.Stop(); }

    void CmAutoPlay() override
    {
        _autoPlay = !_autoPlay;
        _consolePanel.SetAutoPlayMode(_autoPlay);
        _bottomPanel.SetAutoPlayMode(_autoPlay);
    }
    void SetRecording(bool on) override
    {
        _bottomPanel.SetRecordingMode(on);
        _consolePanel.ToggleRecordingMode();
    }
    void CmBrowseLoadFiles() override { _SetRows(_rows + 1); }
    void CmRemoveFile() override { _SetRows(std::max(_rows - 1, 0)); }
    void CmClearFiles() override { _SetRows(0); }
    void CmExportFiles() override {}
    int GetListRowCount() const override { return _rows; }
    bool HasListSelection() const override { return _rows > 0; }

private:
    void _SetRows(int rows)
    {
        _rows = rows;
        _bottomPanel.EnableControls();
    }

    DJConsole _console;
    DJConsoleGUI _consolePanel{_console};
    DJBottomPanel _bottomPanel;
    int _rows = kStartRows;
    bool _autoPlay = false;
};

std::shared_ptr<GalleryConsolePanels> GalleryShowConsolePanels()
{
    auto window = std::make_shared<GalleryConsolePanels>();
    // Below the main gallery window, never over it, and without taking the focus from it:
    // the real-window tests photograph and click that one.
    QWidget* widget = window->GetWidget();
    widget->move(0, GalleryLayout::kWindowHeight + kWindowGap);
    widget->setAttribute(Qt::WA_ShowWithoutActivating);
    window->Show();
    return window;
}
