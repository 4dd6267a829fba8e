// The deck panel's layout, background, button faces and the reflection of its state.
#include "ui/DJDeckGUI.h"

#include "ui/DJVerticalSlider.h"

#include <algorithm>

namespace {

constexpr int kFxRowTop = 258;       // pixels; one row every kFxRowStep
constexpr int kFxRowStep = 22;
constexpr int kFxSliderTop = 278;
constexpr int kFxSliderHeight = 105;
constexpr int kWideSlidersAbove = 394;  // panel width above which effect sliders are wide
constexpr int kGroupTop = 252;
constexpr int kGroupHeight = 138;

// Column of the on/off buttons.
int _FxColumn(int width)
{
    if (width < 270)
        return 121;
    return width <= 350 ? width - 149 : 201;
}

int _FxTitleWidth(int width)
{
    if (width <= 269)
        return width - 131;
    return width <= 350 ? 139 : width - 211;
}

// Width of the effect names' group.
int _NamesGroupWidth(int width)
{
    return std::clamp(width - 200, 70, 150);
}

// The fixed table: ids whose place depends on the width only through these forms.
DJDeckRect _FixedRect(int id, int w)
{
    switch (id) {
    case kDeckInfoControl: return {6, 6, w - 12, 40};
    case kDeckMenu: return {6, 49, 47, 14};
    case kDeckWaveDetailed: return {6, 66, w - 12, 100};
    case kDeckWavePreview: return {6, 167, w - 12, 30};
    case kDeckBendDown: return {5, 202, 19, 22};
    case kDeckBendUp: return {26, 202, 19, 22};
    case kDeckPlay: return {5, 226, 40, 22};
    case kDeckCuePause: return {47, 202, 40, 22};
    case kDeckSetCue: return {89, 202, 40, 22};
    case kDeckCuePlay: return {47, 226, 40, 22};
    case kDeckLoop: return {89, 226, 26, 22};
    case kDeckLoopLength: return {117, 226, 12, 22};
    case kDeckPitchSlider: return {134, 202, w - 138, 22};
    case kDeckLevelMeter: return {135, 226, w - 198, 11};
    case kDeckVolume: return {135, 240, w - 246, 8};
    case kDeckVolumeLabel: return {w - 108, 239, 45, 11};
    case kDeckHeadphones: return {w - 31, 226, 26, 22};
    case kDeckSync: return {w - 61, 226, 28, 22};
    case kDeckEqBass: case kDeckEqMid: case kDeckEqHigh:
        return {8 + 25 * (id - kDeckEqBass), 257, 22, 90};
    case kDeckBassLabel: case kDeckMidLabel: case kDeckHighLabel:
        return {10 + 25 * (id - kDeckBassLabel), 353, 20, 12};
    case kDeckKillBass: case kDeckKillMid: case kDeckKillHigh:
        return {10 + 25 * ((id - kDeckKillBass) / 3), 367, 20, 20};
    case kDeckFxTitle: return {_FxColumn(w) + 52, 260, _FxTitleWidth(w), 15};
    default: return {};
    }
}

// The effect rows: name, on/off and edit buttons.
DJDeckRect _FxButtonRect(int id, int w)
{
    const int names = std::clamp(w - 250, 20, 100);
    for (int row = 0; row < kDeckFxCount; ++row) {
        const int y = kFxRowTop + kFxRowStep * row;
        if (id == kDeckFxNameFirst + 3 * row)
            return {96, y, names, 16};
        if (id == kDeckFxOnOffFirst + 3 * row)
            return {_FxColumn(w), y, 16, 17};
        if (id == kDeckFxEditFirst + 3 * row)
            return {_FxColumn(w) + 21, y, 16, 17};
    }
    return {};
}

// Each effect's sliders left to right; one column each from the title's x.
constexpr int kFxSliderColumns[][4] = {
    {kDeckDistortionTone, kDeckDistortionLevel, 0, 0},
    {kDeckHighPassFreq, 0, 0, 0},
    {kDeckReverbMix, kDeckReverbTime, kDeckReverbDamp, 0},
    {kDeckPhaserMix, kDeckPhaserDelay, 0, 0},
    {kDeckFlangerMix, kDeckFlangerDelay, kDeckFlangerDepth, kDeckFlangerRate},
    {kDeckDelayMix, kDeckDelayTime, 0, 0},
};

DJDeckRect _FxSliderRect(int id, int w)
{
    const bool wide = w > kWideSlidersAbove;
    const int sliderWidth = wide ? 30 : 19, step = wide ? 35 : 24;
    for (const auto& columns : kFxSliderColumns)
        for (int c = 0; c < 4; ++c)
            if (columns[c] == id && id != 0)
                return {_FxColumn(w) + 52 + step * c, kFxSliderTop, sliderWidth, kFxSliderHeight};
    return {};
}

}  // namespace

DJDeckRect DJDeckControlRect(int id, int width)
{
    for (const DJDeckRect rect : {_FixedRect(id, width), _FxButtonRect(id, width), _FxSliderRect(id, width)})
        if (rect.width != 0 || rect.height != 0)
            return rect;
    return {};
}

// ---- layout

void DJDeckGUI::LayoutControls(int /*x*/, int /*y*/, int width, int height)
{
    _width = std::max(width, 0);
    MoveControlPixels(kDeckBackground, 0, 0, _width, std::max(height, 0));
    _PlaceControls(_width);
}

void DJDeckGUI::_PlaceControls(int width)
{
    static constexpr int kFirstId = 101, kLastId = 420;
    for (int id = kFirstId; id <= kLastId; ++id) {
        if (!IsControlValid(id))
            continue;
        const DJDeckRect r = DJDeckControlRect(id, width);
        if (r.width != 0 || r.height != 0)
            MoveControlPixels(id, r.x, r.y, r.width, r.height);
    }
    for (const auto& columns : kFxSliderColumns)
        for (int id : columns)
            if (id != 0)
                SetControlRoundedCorners(id, 5);
}

int DJDeckGUI::_BackgroundWidth() const
{
    return GetClientWidth();
}

int DJDeckGUI::_BackgroundHeight() const
{
    return GetClientHeight();
}

// ---- background

void DJDeckGUI::PaintBackground(PaintData& data)
{
    const DJTheme& theme = GetTheme();
    const float w = static_cast<float>(_BackgroundWidth());
    LPaintSurface::FillRect(data, theme.deckSurfaceBrush, 0, 0, w, data.height);
    theme.DrawDeckCorners(data);
    // The strip from the menu button to the right edge, closed by its end image.
    LPaintSurface::FillRect(data, theme.labelGreyBrush, 51, 52, w - 57, 8);
    const LGuiImage& stripEnd = theme.GetImage(DJImage::kTopStripEnd);
    LPaintSurface::DrawImage(data, stripEnd, w - 10, 52);
    // Between the transport buttons and the pitch slider.
    LPaintSurface::FillRect(data, theme.buttonFace, 131, 201, 2, 46);
    const float names = static_cast<float>(_NamesGroupWidth(static_cast<int>(w)));
    const struct {
        float x, width;
    } groups[] = {{4, 81}, {91, names}, {names + 96, w - names - 101}};
    for (const auto& group : groups) {
        LPaintSurface::FillRect(data, theme.labelGreyBrush, group.x, kGroupTop, group.width, kGroupHeight);
        theme.DrawCorners(data, group.x, kGroupTop, group.width, kGroupHeight,
                          DJImage::kGroupCornerTopLeft, DJImage::kGroupCornerTopRight,
                          DJImage::kGroupCornerBottomRight, DJImage::kGroupCornerBottomLeft);
    }
    LPaintSurface::FillRect(data, theme.fxTitleBar, names + 101, 257, w - names - 111, 15);
}

// ---- buttons

void DJDeckGUI::_DrawImageButton(PaintData& data, int id) const
{
    const struct {
        int id;
        DJImage up, down;
    } kImages[] = {
        {kDeckPlay, DJImage::kPlayUp, DJImage::kPlayDown},
        {kDeckCuePause, DJImage::kCuePauseUp, DJImage::kCuePauseDown},
        {kDeckSetCue, DJImage::kSetCueUp, DJImage::kSetCueDown},
        {kDeckHeadphones, DJImage::kHeadphonesUp, DJImage::kHeadphonesDown},
        {kDeckLoop, DJImage::kLoopUp, DJImage::kLoopDown},
        {kDeckLoopLength, DJImage::kLoopMenuUp, DJImage::kLoopMenuDown},
        {kDeckCuePlay, DJImage::kCuePlayUp, DJImage::kCuePlayDown},
        {kDeckBendDown, DJImage::kBendDownUp, DJImage::kBendDownDown},
        {kDeckBendUp, DJImage::kBendUpUp, DJImage::kBendUpDown},
    };
    const bool lit = id == kDeckPlay ? (_deck && _deck->GetState() == kDeckPlaying)
                                     : IsCoolButtonDown(id);
    for (const auto& entry : kImages)
        if (entry.id == id)
            GetTheme().DrawPlayControlButton(data, lit, entry.up, entry.down);
}

void DJDeckGUI::CoolButtonCustomDraw(PaintData& data, int id)
{
    const DJTheme& theme = GetTheme();
    const bool down = IsCoolButtonDown(id);
    if (id >= kDeckFxNameFirst && id < kDeckFxNameFirst + 3 * kDeckFxCount) {
        const int k = (id - kDeckFxNameFirst) / 3;
        if ((id - kDeckFxNameFirst) % 3 == 0)
            theme.DrawFxItem(data, down, _FxOnTitle(k));
    } else if (id >= kDeckFxEditFirst && id < kDeckFxEditFirst + 3 * kDeckFxCount) {
        theme.DrawFxEditButton(data, down);
    } else if (id >= kDeckFxOnOffFirst && id < kDeckFxOnOffFirst + 3 * kDeckFxCount) {
        theme.DrawFxOnOffButton(data, down);
    } else if (id == kDeckKillBass || id == kDeckKillMid || id == kDeckKillHigh) {
        theme.DrawKillButton(data, down);
    } else if (id == kDeckMenu) {
        theme.DrawMenuButton(data, down, "Menu");
    } else if (id == kDeckSync) {
        _DrawSyncButton(data, down);
    } else {
        _DrawImageButton(data, id);
    }
    if (IsCoolButtonHot(id))
        theme.DrawButtonBorderHot(data);
}

// Face, the lit inner when lit, and "Sync" centred in bold, a size smaller until it fits.
void DJDeckGUI::_DrawSyncButton(PaintData& data, bool lit) const
{
    static constexpr int kMinFontPx = 6;
    const DJTheme& theme = GetTheme();
    LPaintSurface::FillRect(data, theme.buttonFaceBrush, data.x, data.y, data.width, data.height);
    if (lit)
        LPaintSurface::FillRect(data, theme.pressedInnerBrush, data.x + 2, data.y + 2,
                                data.width - 4, data.height - 4);
    data.savedFont.SetFont(data.font);
    data.font.SetFont(theme.boldFont);
    data.font.SetColor(lit ? theme.syncLitText : theme.syncPlainText);
    for (int px = data.font.GetPixelSize(); px > kMinFontPx; --px) {
        float width = 0, height = 0;
        LPaintSurface::_MeasureText(data, "Sync", 0, &width, &height);
        if (width <= data.width - 2)
            break;
        data.font.CreateFont(px - 1, true, false, false, data.font.GetColor());
    }
    LPaintSurface::DrawText(data, "Sync", data.x, data.y, data.width, data.height,
                            LHAlignment::kCentre, LVAlignment::kCentre);
    data.font.SetFont(data.savedFont);
    theme.DrawButtonBorder(data);
}

// ---- state to controls

void DJDeckGUI::EnableControls()
{
    const bool playing = _deck && _deck->IsActive();
    const struct {
        int id;
        bool down;
    } buttons[] = {
        {kDeckSync, _flags.syncOn},          {kDeckLoop, _flags.loopOn},
        {kDeckHeadphones, _flags.headphonesOn}, {kDeckPlay, playing},
        {kDeckCuePause, _flags.cuePauseDown}, {kDeckCuePlay, _flags.cuePlayDown},
        {kDeckBendDown, _flags.slowDownDown}, {kDeckBendUp, _flags.speedUpDown},
        {kDeckSetCue, _flags.cueMarkDown},    {kDeckMenu, _flags.menuDown},
        {kDeckLoopLength, _flags.loopMenuOpen}, {kDeckKillBass, _flags.killBass},
        {kDeckKillMid, _flags.killMid},       {kDeckKillHigh, _flags.killHigh},
    };
    for (const auto& button : buttons)
        SetCoolButtonDown(button.id, button.down);
    for (int k = 0; k < kDeckFxCount; ++k) {
        const size_t i = static_cast<size_t>(k);
        SetCoolButtonDown(kDeckFxEditFirst + 3 * k, _flags.fxEdit[i]);
        SetCoolButtonDown(kDeckFxNameFirst + 3 * k, _flags.fxOn[i]);
        SetCoolButtonDown(kDeckFxOnOffFirst + 3 * k, _flags.fxOn[i]);
        for (int id : kFxSliderColumns[k])
            if (id != 0)
                ShowControl(id, _flags.fxEdit[i]);
    }
    _loopMenu = BuildLoopMenu();
    for (const auto& button : buttons)
        _RepaintButton(button.id);
    for (int k = 0; k < kDeckFxCount; ++k)
        for (int first : {kDeckFxNameFirst, kDeckFxEditFirst, kDeckFxOnOffFirst})
            _RepaintButton(first + 3 * k);
}

void DJDeckGUI::_RepaintButton(int id)
{
    if (LPaintControl* control = GetPaintControl(id))
        control->Update();
}
