#include "ui/DJBottomPanel.h"

#include "ui/DJMainWindowLink.h"
#include "ui/DJPanelBackground.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr int kButtonTop = 5;      // pixels
constexpr int kButtonHeight = 15;  // pixels

// One button: text, tip, place (a negative x counts from the panel's width), the commands at
// its release and press.
struct BottomButton {
    int id;
    const char* text;
    const char* tip;
    int x, width;
    int release, press;
};
constexpr BottomButton kButtons[] = {
    {kBottomAdd, "+ Add", "Add Tracks", 10, 55, kBottomAddUp, kBottomAddDown},
    {kBottomRemove, "- Remove", "Remove Tracks", 70, 55, kBottomRemoveUp, kBottomRemoveDown},
    {kBottomClear, "Clear", "Clear All Tracks", 130, 55, kBottomClearUp, kBottomClearDown},
    {kBottomAutoPlay, "Auto Play", "Toggle Auto Play Mode", 190, 55, kBottomToggleReleased,
     kBottomAutoPlay},
    {kBottomRecording, "Recording", "Toggle Recording", 250, 55, kBottomToggleReleased,
     kBottomRecording},
    {kBottomExport, "Export Playlist >>", "Export List as Playlist File", -120, 110,
     kBottomExportUp, kBottomExportDown},
};

const BottomButton* _FindButton(int id)
{
    const auto it = std::find_if(std::begin(kButtons), std::end(kButtons),
                                 [id](const BottomButton& b) { return b.id == id; });
    return it == std::end(kButtons) ? nullptr : &*it;
}

}  // namespace

DJBottomPanel::DJBottomPanel() = default;

DJBottomPanel::~DJBottomPanel() = default;

void DJBottomPanel::Init(LWindow& parent, DJMainWindowLink& main, int x, int y, int width,
                         int height)
{
    _main = &main;
    CreateEmbedded(&parent, x, y, width, height);
}

void DJBottomPanel::InitDialog()
{
    CoolButtonContainerInit(this);
    // The background goes first so that every other control lies above it.
    _background = std::make_unique<DJPanelBackground>(*this);
    AddPaintControl(kBottomBackground, 0, 0, GetClientWidth(), GetClientHeight(), {});
    _background->Init(this, kBottomBackground);
    for (const BottomButton& button : kButtons) {
        AddCoolButtonTextOnly(button.id, button.text);
        CoolButtonInitUpDownCustomDraw(button.id, button.release, button.press);
    }
    LToolTip tips[std::size(kButtons)];
    for (size_t i = 0; i < std::size(kButtons); ++i) {
        tips[i] = {kButtons[i].id, kButtons[i].tip};
    }
    AddTools(this, tips, static_cast<int>(std::size(tips)));
    EnableControls();
}

void DJBottomPanel::LayoutControls(int /*x*/, int /*y*/, int width, int height)
{
    MoveControlPixels(kBottomBackground, 0, 0, width, height);
    for (const BottomButton& button : kButtons) {
        const int x = button.x < 0 ? width + button.x : button.x;
        MoveControlPixels(button.id, x, kButtonTop, button.width, kButtonHeight);
    }
}

void DJBottomPanel::SetRecordingMode(bool on)
{
    _recordingOn = on;
    SetCoolButtonDown(kBottomRecording, on);
    _UpdateButtons();
}

void DJBottomPanel::SetAutoPlayMode(bool on)
{
    _autoPlayOn = on;
    SetCoolButtonDown(kBottomAutoPlay, on);
    _UpdateButtons();
}

bool DJBottomPanel::_ListHasRows() const
{
    return _main && _main->GetListRowCount() > 0;
}

bool DJBottomPanel::_ListHasSelection() const
{
    return _main && _main->HasListSelection();
}

void DJBottomPanel::Command(int id)
{
    switch (id) {
    case kBottomAddDown:
        _addDown = true;
        break;
    case kBottomAddUp:
        _addDown = false;
        if (_main) {
            _main->CmBrowseLoadFiles();
        }
        break;
    case kBottomRemoveDown:
        _removeDown = true;
        break;
    case kBottomRemoveUp:
        _removeDown = false;
        if (_main) {
            _main->CmRemoveFile();
        }
        break;
    case kBottomClearDown:
        _clearDown = true;
        break;
    case kBottomClearUp:
        _clearDown = false;
        if (_main) {
            _main->CmClearFiles();
        }
        break;
    case kBottomExportDown:
        _exportDown = true;
        break;
    case kBottomExportUp:
        _exportDown = false;
        if (_main) {
            _main->CmExportFiles();
        }
        break;
    case kBottomAutoPlay:
        if (_main) {
            _main->CmAutoPlay();
        }
        break;
    case kBottomRecording:
        if (_main) {
            _main->SetRecording(!_recordingOn);
        }
        break;
    case kBottomListSelectionChanged:
        EnableControls();
        break;
    default:
        break;
    }
    _UpdateButtons();
}

void DJBottomPanel::EnableControls()
{
    const bool rows = _ListHasRows();
    EnableControl(kBottomRemove, _ListHasSelection());
    // Recording needs no track in the list: it records whatever the decks play.
    for (int id : {kBottomClear, kBottomExport, kBottomAutoPlay}) {
        EnableControl(id, rows);
    }
    // A press-only button's value returns to 0 at its release; the flags hold its state.
    SetCoolButtonDown(kBottomAutoPlay, _autoPlayOn);
    SetCoolButtonDown(kBottomRecording, _recordingOn);
    _UpdateButtons();
}

// A cool button repaints whenever its text is set.
void DJBottomPanel::_UpdateButtons()
{
    for (const BottomButton& button : kButtons) {
        SetControlText(button.id, button.text);
    }
}

bool DJBottomPanel::IsButtonLit(int id) const
{
    switch (id) {
    case kBottomAdd:
        return _addDown;
    case kBottomRemove:
        return _removeDown || !_ListHasSelection();
    case kBottomClear:
        return _clearDown || !_ListHasRows();
    case kBottomAutoPlay:
        return _autoPlayOn || !_ListHasRows();
    case kBottomRecording:
        return _recordingOn || !_ListHasRows();
    case kBottomExport:
        return _exportDown || !_ListHasRows();
    default:
        return false;
    }
}

void DJBottomPanel::CoolButtonCustomDraw(PaintData& data, int id)
{
    const BottomButton* button = _FindButton(id);
    if (!button) {
        return;
    }
    const DJTheme& theme = GetTheme();
    theme.DrawBottomButton(data, button->text, IsButtonLit(id));
    if (IsCoolButtonHot(id)) {
        theme.DrawButtonBorderHot(data);
    }
}

void DJBottomPanel::PaintBackground(PaintData& data)
{
    const DJTheme& theme = GetTheme();
    LPaintSurface::FillRect(data, theme.consoleSurfaceBrush, data.x, data.y, data.width,
                            data.height);
    theme.DrawCornersSmall(data);
}
