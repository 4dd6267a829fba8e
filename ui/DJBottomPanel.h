#pragma once

#include "ui/DJTheme.h"
#include "ui/LCoolButtonContainer.h"
#include "ui/LPaintBackground.h"
#include "ui/LWindow.h"

#include <memory>

class DJMainWindowLink;
class DJPanelBackground;

// Control ids and commands of the bottom panel.
enum DJBottomControl : int {
    kBottomBackground = 1,
    // Release of auto play or recording: nothing to do but EnableControls, which restores
    // the button's value by its flag.
    kBottomToggleReleased = 2,
    kBottomAdd = 258,
    kBottomRemove = 259,
    kBottomClear = 260,
    kBottomExport = 261,
    kBottomAutoPlay = 262,
    kBottomRecording = 363,
    kBottomAddDown = 268,
    kBottomAddUp = 269,
    kBottomRemoveDown = 270,
    kBottomRemoveUp = 271,
    kBottomClearDown = 272,
    kBottomClearUp = 273,
    kBottomExportUp = 274,
    kBottomExportDown = 275,
    kBottomListSelectionChanged = 239,
};

// The strip below the track list: add, remove, clear, auto play, recording and export. Add,
// remove, clear and export act when the button is released. Interface thread only.
class DJBottomPanel : public LEmbeddedWindow,
                      public LPaintBackgroundCustom,
                      public LCoolButtonContainer,
                      public DJThemeUser {
public:
    DJBottomPanel();
    ~DJBottomPanel() override;

    // Makes the panel inside `parent` at that place; `main` answers its buttons.
    void Init(LWindow& parent, DJMainWindowLink& main, int x, int y, int width, int height);

    void SetRecordingMode(bool on);
    void SetAutoPlayMode(bool on);

    bool IsAddDown() const { return _addDown; }
    bool IsRemoveDown() const { return _removeDown; }
    bool IsClearDown() const { return _clearDown; }
    bool IsExportDown() const { return _exportDown; }
    bool IsAutoPlayOn() const { return _autoPlayOn; }
    bool IsRecordingOn() const { return _recordingOn; }
    // Whether a button draws lit: by its flag, or when the list cannot use it.
    bool IsButtonLit(int id) const;

    // LWindow
    void InitDialog() override;
    void LayoutControls(int x, int y, int width, int height) override;
    void Command(int id) override;
    // Enables the buttons by the list: remove by a selection, the others but add by a row.
    void EnableControls() override;
    // LCoolButtonContainer
    void CoolButtonCustomDraw(PaintData& data, int id) override;
    // LPaintBackgroundCustom
    void PaintBackground(PaintData& data) override;

protected:
    int _BackgroundWidth() const override { return GetClientWidth(); }
    int _BackgroundHeight() const override { return GetClientHeight(); }

private:
    bool _ListHasRows() const;
    bool _ListHasSelection() const;
    void _UpdateButtons();

    DJMainWindowLink* _main = nullptr;
    std::unique_ptr<DJPanelBackground> _background;
    bool _addDown = false;
    bool _removeDown = false;
    bool _clearDown = false;
    bool _exportDown = false;
    bool _autoPlayOn = false;
    bool _recordingOn = false;
};
