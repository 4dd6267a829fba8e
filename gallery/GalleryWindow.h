#pragma once

#include "gallery/GalleryLayout.h"
#include "gallery/GalleryTile.h"
#include "ui/LCoolButtonContainer.h"
#include "ui/LPaintBackground.h"
#include "ui/LWindow.h"

#include <memory>
#include <vector>

class DJPitchSlider;
class DJVerticalSlider;
class LDBEditCustom;
class LDBDisplay2;

// Control ids and commands of the gallery.
enum GalleryId : int {
    kGalleryBackground = 10,
    kGalleryPlainButton = 100,
    kGalleryUpDownButton = 101,
    kGalleryCustomButton = 102,
    kGallerySignalButton = 103,
    kGalleryStatus = 104,
    kGalleryUpDownPressed = 201,
    kGalleryUpDownReleased = 202,
    kGalleryCustomPressed = 203,
    kGalleryCustomReleased = 204,
    kGalleryResetFaders = 400,
    kGalleryMenuDisabledItem = 401,
    kGalleryPitchSlider = 300,
    kGalleryFirstVerticalSlider = 310,
    kGalleryDBFader = 320,
    kGalleryMeterWithScale = 330,
    kGalleryMeterPlain = 331,
    kGalleryMeterNarrow = 332,
    kGalleryFirstTile = 1000,  // every other tile counts up from here
};

// What the level meters show: a moving test signal (while the window shows), silence, or one
// held level. A held level keeps a meter repainting (its peak is caught again at each paint),
// so it suits a single picture, not an idle window.
enum class GalleryMeters { kMoving, kSilent, kHeld };

// One window that shows every control, button look and theme image of the toolkit, and works
// by mouse and wheel.
class GalleryWindow : public LWindow, public LCoolButtonContainer, public LPaintBackgroundCustom {
public:
    explicit GalleryWindow(GalleryMeters meters);
    ~GalleryWindow() override;

    void InitDialog() override;
    void DestroyDialog() override;
    void Command(int id) override;
    void EnableControls() override;
    void EvShow() override;
    void EvHide() override;
    void EvTimer(int timerId) override;
    long EvInterWinMessage(int message, long data1, long data2) override;
    void CoolButtonCustomDraw(PaintData& data, int id) override;
    void PaintBackground(PaintData& data) override;

    GalleryMeters GetMeterMode() const { return _meterMode; }
    bool IsSignalRunning() const { return IsTimerSet(kMeterTimer); }
    LDBDisplay2& GetMeter(int index) { return *_meters.at(index); }
    DJPitchSlider& GetPitchSlider() { return *_pitch; }
    DJVerticalSlider& GetVerticalSlider(int index) { return *_verticals.at(index); }

protected:
    int _BackgroundWidth() const override { return GetClientWidth(); }
    int _BackgroundHeight() const override { return GetClientHeight(); }

private:
    enum Timer : int { kMeterTimer = 1 };
    static constexpr unsigned int kMeterTickMs = 40;

    void _Place(LPaintControl& control, int id, const GalleryLayout::Box& box);
    GalleryTile& _AddTile(const GalleryLayout::Box& box, GalleryTile::Painter painter,
                          bool toggles, bool lit = false);
    void _AddCoolButtons();
    void _AddPlayButtons();
    void _AddFaders();
    void _AddMeters();
    void _AddHelpers();
    void _AddHelperRow(int row, const char* name, int width, int height,
                       const std::function<void(PaintData&, bool)>& draw);
    void _AddImages();
    void _AddTexts();
    void _AddGradientsAndRules();
    void _PaintGroup(PaintData& data, const GalleryLayout::Box& box, LGuiColorRef surface,
                     const char* title) const;
    void _PaintHelperLabels(PaintData& data) const;
    void _StartSignal();
    void _FeedMeters();
    void _ShowStillLevel();
    void _SetStatus(const char* text);
    void _AddTips();
    void _ShowFaderMenu();
    void _ResetFaders();

    GalleryMeters _meterMode;
    unsigned int _signalTick = 0;
    int _nextTileId = kGalleryFirstTile;
    class Background;
    std::unique_ptr<Background> _background;
    std::vector<std::unique_ptr<LPaintControl>> _tiles;
    std::unique_ptr<DJPitchSlider> _pitch;
    std::vector<std::unique_ptr<DJVerticalSlider>> _verticals;
    std::unique_ptr<LDBEditCustom> _fader;
    std::vector<std::unique_ptr<LDBDisplay2>> _meters;
    std::vector<const char*> _helperNames;
};
