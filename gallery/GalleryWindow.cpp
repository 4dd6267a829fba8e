#include "gallery/GalleryWindow.h"

#include "ui/DJFaderMessages.h"
#include "ui/DJPitchSlider.h"
#include "ui/DJTheme.h"
#include "ui/DJVerticalSlider.h"
#include "ui/LDBDisplay2.h"
#include "ui/LDBEditCustom.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <string>

using namespace GalleryLayout;

namespace {

const DJTheme& _Theme()
{
    return DJThemeUser::GetTheme();
}

constexpr LGuiColorRef kBlack = LGuiColorRef::FromRGB(0, 0, 0);
constexpr int kVerticalStarts[kVerticalSliderCount] = {50, 20, 80, 0};  // positions

// The image pairs of the deck's buttons: up, down.
constexpr std::array<std::array<DJImage, 2>, 10> kPlayPairs{{
    {DJImage::kPlayUp, DJImage::kPlayDown},
    {DJImage::kCuePauseUp, DJImage::kCuePauseDown},
    {DJImage::kCuePlayUp, DJImage::kCuePlayDown},
    {DJImage::kSetCueUp, DJImage::kSetCueDown},
    {DJImage::kLoopUp, DJImage::kLoopDown},
    {DJImage::kLoopMenuUp, DJImage::kLoopMenuDown},
    {DJImage::kHeadphonesUp, DJImage::kHeadphonesDown},
    {DJImage::kKillUp, DJImage::kKillDown},
    {DJImage::kBendDownUp, DJImage::kBendDownDown},
    {DJImage::kBendUpUp, DJImage::kBendUpDown},
}};

// Every numbered image of the theme, in the order of its table.
constexpr std::array<DJImage, 41> kAllImages{
    DJImage::kPlayUp, DJImage::kPlayDown, DJImage::kCuePauseUp, DJImage::kCuePauseDown,
    DJImage::kCuePlayUp, DJImage::kCuePlayDown, DJImage::kSetCueUp, DJImage::kSetCueDown,
    DJImage::kLoopUp, DJImage::kLoopDown, DJImage::kLoopMenuUp, DJImage::kLoopMenuDown,
    DJImage::kHeadphonesUp, DJImage::kHeadphonesDown, DJImage::kKillUp, DJImage::kKillDown,
    DJImage::kBendDownUp, DJImage::kBendDownDown, DJImage::kBendUpUp, DJImage::kBendUpDown,
    DJImage::kDeckCornerTopRight, DJImage::kDeckCornerTopLeft,
    DJImage::kDeckCornerBottomRight, DJImage::kDeckCornerBottomLeft,
    DJImage::kGroupCornerTopLeft, DJImage::kGroupCornerTopRight,
    DJImage::kGroupCornerBottomRight, DJImage::kGroupCornerBottomLeft,
    DJImage::kSmallCornerBottomLeft, DJImage::kSmallCornerBottomRight,
    DJImage::kSmallCornerTopRight, DJImage::kSmallCornerTopLeft,
    DJImage::kConsoleCorner1, DJImage::kConsoleCorner2, DJImage::kConsoleCorner3,
    DJImage::kConsoleCorner4, DJImage::kTopStripEnd, DJImage::kBarMark, DJImage::kLightOn,
    DJImage::kLightOff, DJImage::kConsoleBackground};

// A text sample: what it shows and how.
struct TextSample {
    const char* text;
    LHAlignment hAlign;
    LVAlignment vAlign;
    LWrapping wrapping;
    bool fillBackground;
};

const std::string& _HugeText()
{
    static const std::string text = "Huge: " + std::string(100000, 'W');
    return text;
}

constexpr int kSampleCount = 11;

std::array<TextSample, kSampleCount> _TextSamples()
{
    return {{
        {"Left, top", LHAlignment::kLeft, LVAlignment::kTop, LWrapping::kNone, false},
        {"Centre, centre", LHAlignment::kCentre, LVAlignment::kCentre, LWrapping::kNone, false},
        {"Right, centre", LHAlignment::kRight, LVAlignment::kCentre, LWrapping::kNone, false},
        {"Two lines\nby a newline", LHAlignment::kLeft, LVAlignment::kTop, LWrapping::kNone,
         false},
        {"Word wrap keeps whole words on each line of the box", LHAlignment::kLeft,
         LVAlignment::kTop, LWrapping::kWord, false},
        {"Wrapping 2 cuts a line too long for its box", LHAlignment::kLeft, LVAlignment::kTop,
         LWrapping::kEllipsis, false},
        {"Wrapping 3 cuts a line too long for its box", LHAlignment::kCentre,
         LVAlignment::kCentre, LWrapping::kEllipsisEnd, false},
        {"Bad bytes: \xff\xfe\xc3( end", LHAlignment::kLeft, LVAlignment::kTop, LWrapping::kWord,
         false},
        {"D\xc3\xa9j\xc3\xa0 vu \xe2\x80\x93 \xe2\x99\xaa", LHAlignment::kCentre,
         LVAlignment::kCentre, LWrapping::kNone, false},
        {_HugeText().c_str(), LHAlignment::kLeft, LVAlignment::kCentre, LWrapping::kEllipsis,
         false},
        {"Filled background", LHAlignment::kCentre, LVAlignment::kCentre, LWrapping::kNone, true},
    }};
}

void _PaintTextSample(PaintData& data, const TextSample& sample)
{
    const DJTheme& theme = _Theme();
    LPaintSurface::FillRect(data, theme.waveBackground, 0, 0, data.width, data.height);
    LPaintSurface::StrokeRect(data, theme.autoPlayBoxFrame, 1, 0, 0, data.width, data.height);
    data.font.SetFont(theme.smallLabelFont);
    data.font.SetColor(theme.infoText);
    data.fillTextBackground = sample.fillBackground;
    data.textBackground = theme.fxLit;
    LPaintSurface::DrawText(data, sample.text, 3, 2, data.width - 6, data.height - 4,
                            sample.hAlign, sample.vAlign, sample.wrapping);
    data.fillTextBackground = false;
}

// An empty text draws nothing; a measured text gets a frame of the size it reported.
void _PaintMeasuredText(PaintData& data)
{
    const DJTheme& theme = _Theme();
    LPaintSurface::FillRect(data, theme.waveBackground, 0, 0, data.width, data.height);
    data.font.SetFont(theme.infoFont);
    data.font.SetColor(theme.infoText);
    LPaintSurface::DrawText(data, "", 0, 0, data.width, data.height);
    const char* text = "Measured";
    float width = 0, height = 0;
    LPaintSurface::_MeasureText(data, text, 0, &width, &height);
    const float x = (data.width - width) / 2, y = (data.height - height) / 2;
    LPaintSurface::StrokeRect(data, theme.cueFlag, 1, x - 1, y - 1, width + 2, height + 2);
    LPaintSurface::DrawText(data, text, x, y, width, height);
}

// The image fitted into the tile above its number.
void _PaintImageTile(PaintData& data, DJImage number)
{
    const DJTheme& theme = _Theme();
    constexpr float kLabelHeight = 12;  // pixels
    LPaintSurface::FillRect(data, theme.labelGrey, 0, 0, data.width, data.height);
    const LGuiImage& image = theme.GetImage(number);
    const float areaWidth = data.width - 4, areaHeight = data.height - kLabelHeight - 4;
    float width = static_cast<float>(image.GetWidth());
    float height = static_cast<float>(image.GetHeight());
    if (width > areaWidth || height > areaHeight) {
        const float scale = std::min(areaWidth / width, areaHeight / height);
        width = std::floor(width * scale);
        height = std::floor(height * scale);
    }
    LPaintSurface::DrawImage(data, image, std::floor((data.width - width) / 2),
                             std::floor(2 + (areaHeight - height) / 2), width, height);
    char label[16];
    std::snprintf(label, sizeof label, "%d", static_cast<int>(number));
    data.font.SetFont(theme.smallLabelFont);
    data.font.SetColor(theme.bottomFace);
    LPaintSurface::DrawText(data, label, 0, data.height - kLabelHeight, data.width, kLabelHeight,
                            LHAlignment::kCentre);
}

}  // namespace

// Copies the part of the window's background image that a paint asks for; the pointer passing
// over it repaints nothing.
class GalleryWindow::Background : public LPaintControl {
public:
    explicit Background(GalleryWindow& window) : _owner(window) {}
    void Paint(PaintData& data) override { _owner.PaintSubBackground(data); }

private:
    GalleryWindow& _owner;
};

GalleryWindow::GalleryWindow(GalleryMeters meters) : _meterMode(meters) {}

GalleryWindow::~GalleryWindow() = default;

void GalleryWindow::InitDialog()
{
    CoolButtonContainerInit(this);
    // The background goes first so that every other control lies above it.
    _background = std::make_unique<Background>(*this);
    AddPaintControl(kGalleryBackground, 0, 0, kWindowWidth, kWindowHeight, {});
    _Place(*_background, kGalleryBackground, {0, 0, kWindowWidth, kWindowHeight});
    _AddCoolButtons();
    _AddPlayButtons();
    _AddFaders();
    _AddMeters();
    _AddHelpers();
    _AddImages();
    _AddTexts();
    _AddGradientsAndRules();
    _AddTips();
    if (_meterMode == GalleryMeters::kHeld) {
        _ShowStillLevel();
    }
    EnableControls();
}

void GalleryWindow::_AddTips()
{
    static const LToolTip kTips[] = {
        {kGalleryPlainButton, "One command at the press"},
        {kGalleryUpDownButton, "One command at the press, one at the release"},
        {kGalleryCustomButton, "Drawn by the window; the hot frame shows under the pointer"},
        {kGallerySignalButton, "Starts or stops the meters' test signal"},
        {kGalleryPitchSlider, "Drag the thumb for 0.1 % a pixel; double-click resets"},
        {kGalleryDBFader, "Drag or wheel: one dB a notch. Right button: menu"},
    };
    AddTools(this, kTips, static_cast<int>(std::size(kTips)));
}

void GalleryWindow::DestroyDialog()
{
    TimerDestroy();
}

void GalleryWindow::_Place(LPaintControl& control, int id, const Box& box)
{
    control.Init(this, id);
    MoveControlPixels(id, box.x, box.y, box.width, box.height);
}

GalleryTile& GalleryWindow::_AddTile(const Box& box, GalleryTile::Painter painter, bool toggles,
                                     bool lit)
{
    const int id = _nextTileId++;
    auto tile = std::make_unique<GalleryTile>(std::move(painter), toggles, lit);
    AddPaintControl(id, box.x, box.y, box.width, box.height, {});
    _Place(*tile, id, box);
    GalleryTile& added = *tile;
    _tiles.push_back(std::move(tile));
    return added;
}

void GalleryWindow::_AddCoolButtons()
{
    const struct {
        int id;
        const char* text;
        Box box;
    } buttons[] = {
        {kGalleryPlainButton, "Plain", kPlainButton},
        {kGalleryUpDownButton, "Up/down", kUpDownButton},
        {kGalleryCustomButton, "", kCustomButton},
        {kGallerySignalButton, "Signal", kSignalButton},
    };
    for (const auto& button : buttons) {
        AddCoolButtonTextOnly(button.id, button.text);
        MoveControlPixels(button.id, button.box.x, button.box.y, button.box.width,
                          button.box.height);
    }
    CoolButtonInit(kGalleryPlainButton);
    CoolButtonInitUpDown(kGalleryUpDownButton, kGalleryUpDownReleased, kGalleryUpDownPressed);
    CoolButtonInitUpDownCustomDraw(kGalleryCustomButton, kGalleryCustomReleased,
                                   kGalleryCustomPressed);
    CoolButtonInit(kGallerySignalButton);
    AddStatic(kGalleryStatus, "Press, drag and wheel the controls.", kStatusText.x,
              kStatusText.y, kStatusText.width, kStatusText.height);
}

void GalleryWindow::_AddPlayButtons()
{
    for (size_t i = 0; i < kPlayPairs.size(); ++i) {
        const auto pair = kPlayPairs[i];
        Box box = kFirstPlayTile;
        box.x += static_cast<int>(i) * (kPlayTileWidth + kPlayTileGap);
        auto draw = [pair](PaintData& data, const GalleryTile& tile) {
            _Theme().DrawPlayControlButton(data, tile.IsLit(), pair[0], pair[1]);
        };
        _AddTile(box, draw, true, false);
        box.y += kPlayTileHeight + kPlayTileGap;
        _AddTile(box, draw, true, true);
    }
}

void GalleryWindow::_AddFaders()
{
    _pitch = std::make_unique<DJPitchSlider>();
    _pitch->SetTextFont(_Theme().smallLabelFont);
    AddPaintControl(kGalleryPitchSlider, kPitchSlider.x, kPitchSlider.y, kPitchSlider.width,
                    kPitchSlider.height, {});
    _Place(*_pitch, kGalleryPitchSlider, kPitchSlider);

    const char* labels[kVerticalSliderCount] = {"Lo", "Mid", "Hi", nullptr};
    for (int i = 0; i < kVerticalSliderCount; ++i) {
        const LGuiColor surface = _Theme().deckSurface;
        const int start = kVerticalStarts[i];
        auto slider = labels[i] ? std::make_unique<DJVerticalSlider>(surface, start, labels[i])
                                : std::make_unique<DJVerticalSlider>(surface, start);
        slider->SetLabelFont(_Theme().smallLabelFont);
        Box box = kFirstVerticalSlider;
        box.x += i * (kVerticalSliderWidth + kVerticalSliderGap);
        AddPaintControl(kGalleryFirstVerticalSlider + i, box.x, box.y, box.width, box.height, {});
        _Place(*slider, kGalleryFirstVerticalSlider + i, box);
        _verticals.push_back(std::move(slider));
    }

    _fader = std::make_unique<LDBEditCustom>();
    AddPaintControl(kGalleryDBFader, kDBFader.x, kDBFader.y, kDBFader.width, kDBFader.height, {});
    _Place(*_fader, kGalleryDBFader, kDBFader);
}

void GalleryWindow::_AddMeters()
{
    const struct {
        int id;
        Box box;
        bool showScale;
    } meters[] = {
        {kGalleryMeterWithScale, kMeterWithScale, true},
        {kGalleryMeterPlain, kMeterPlain, false},
        {kGalleryMeterNarrow, kMeterNarrow, true},
    };
    for (const auto& meter : meters) {
        auto display = std::make_unique<LDBDisplay2>();
        display->SetShowScale(meter.showScale);
        AddDBDisplay(meter.id, meter.box.x, meter.box.y, meter.box.width, meter.box.height);
        _Place(*display, meter.id, meter.box);
        _meters.push_back(std::move(display));
    }
}

void GalleryWindow::_AddHelperRow(int row, const char* name, int width, int height,
                                  const std::function<void(PaintData&, bool)>& draw)
{
    _helperNames.push_back(name);
    const int y = kHelperRowY + row * kHelperRowHeight;
    for (const bool lit : {false, true}) {
        const int x = (lit ? kHelperLitColumnX : kHelperColumnX) + kHelperTileOffset;
        _AddTile({x, y, width, height},
                 [draw](PaintData& data, const GalleryTile& tile) { draw(data, tile.IsLit()); },
                 true, lit);
    }
}

void GalleryWindow::_AddHelpers()
{
    const DJTheme& t = _Theme();
    int row = 0;
    _AddHelperRow(row++, "Menu button", 60, 14,
                  [&t](PaintData& d, bool lit) { t.DrawMenuButton(d, lit, "Loop"); });
    _AddHelperRow(row++, "Effect item", 100, 18,
                  [&t](PaintData& d, bool lit) { t.DrawFxItem(d, lit, "Flanger"); });
    _AddHelperRow(row++, "Effect edit", 18, 18,
                  [&t](PaintData& d, bool lit) { t.DrawFxEditButton(d, lit); });
    _AddHelperRow(row++, "Effect on/off", 18, 18,
                  [&t](PaintData& d, bool lit) { t.DrawFxOnOffButton(d, lit); });
    _AddHelperRow(row++, "Kill", 22, 20,
                  [&t](PaintData& d, bool lit) { t.DrawKillButton(d, lit); });
    _AddHelperRow(row++, "Bottom button", 90, 20,
                  [&t](PaintData& d, bool lit) { t.DrawBottomButton(d, "Library", lit); });
    _AddHelperRow(row++, "Auto play light", 90, 14,
                  [&t](PaintData& d, bool lit) { t.DrawAutoPlayLightButton(d, lit); });
    _AddHelperRow(row++, "Recording light", 90, 14,
                  [&t](PaintData& d, bool lit) { t.DrawRecordingLightButton(d, lit); });
    _AddHelperRow(row++, "Border, hot", 40, 20, [&t](PaintData& d, bool lit) {
        LPaintSurface::FillRect(d, t.buttonFaceBrush, 0, 0, d.width, d.height);
        lit ? t.DrawButtonBorderHot(d) : t.DrawButtonBorder(d);
    });
    _AddHelperRow(row++, "Deck corners", 60, 20, [&t](PaintData& d, bool lit) {
        LPaintSurface::FillRect(d, lit ? t.waveBackground : t.deckSurface, 0, 0, d.width, d.height);
        t.DrawDeckCorners(d);
    });
    _AddHelperRow(row++, "Small corners", 60, 20, [&t](PaintData& d, bool lit) {
        LPaintSurface::FillRect(d, lit ? t.waveBackground : t.consoleSurface, 0, 0, d.width,
                                d.height);
        t.DrawCornersSmall(d);
    });
}

void GalleryWindow::_AddImages()
{
    for (size_t i = 0; i < kAllImages.size(); ++i) {
        const int column = static_cast<int>(i) % kImageColumns;
        const int row = static_cast<int>(i) / kImageColumns;
        const Box box{kFirstImageTile.x + column * kImageTileWidth,
                      kFirstImageTile.y + row * kImageTileHeight, kImageTileWidth - 2,
                      kImageTileHeight - 2};
        const DJImage number = kAllImages[i];
        _AddTile(box, [number](PaintData& data, const GalleryTile&) {
            _PaintImageTile(data, number);
        }, false);
    }
}

void GalleryWindow::_AddTexts()
{
    const auto samples = _TextSamples();
    for (int i = 0; i <= kSampleCount; ++i) {
        const Box box{kFirstImageTile.x + (i % kTextColumns) * (kTextTileWidth + kTileGap),
                      kTextRowY + (i / kTextColumns) * (kTextTileHeight + kTileGap),
                      kTextTileWidth, kTextTileHeight};
        if (i == kSampleCount) {
            _AddTile(box, [](PaintData& data, const GalleryTile&) { _PaintMeasuredText(data); },
                     false);
            break;
        }
        const TextSample sample = samples[i];
        _AddTile(box, [sample](PaintData& data, const GalleryTile&) {
            _PaintTextSample(data, sample);
        }, false);
    }
}

void GalleryWindow::_AddGradientsAndRules()
{
    const DJTheme& t = _Theme();
    const int step = kGradientTileWidth + kTileGap;
    Box box{kFirstImageTile.x, kGradientRowY, kGradientTileWidth, kGradientTileHeight};
    _AddTile(box, [&t](PaintData& d, const GalleryTile&) {
        LPaintSurface::_FillRectGradient(d, t.deckSurface, t.waveBackground, true, 0, 0, d.width,
                                         d.height);
    }, false);
    box.x += step;
    _AddTile(box, [&t](PaintData& d, const GalleryTile&) {
        LPaintSurface::_FillRectGradient(d, t.scanningBox, t.autoPlayBox, false, 0, 0, d.width,
                                         d.height);
    }, false);
    // A disabled control that asks for it paints at half alpha.
    box.x += step;
    auto faded = [&t](PaintData& d, const GalleryTile&) {
        LPaintSurface::FillRect(d, t.fxLit, 0, 0, d.width, d.height);
        d.font.SetFont(t.infoFont);
        d.font.SetColor(kBlack);
        LPaintSurface::DrawText(d, "Disabled, half alpha", 0, 0, d.width, d.height,
                                LHAlignment::kCentre, LVAlignment::kCentre);
    };
    GalleryTile& disabled = _AddTile(box, faded, false);
    disabled.SetDimWhenDisabled(true);
    EnableControl(disabled.GetId(), false);
    box.x += step;
    GalleryTile& rounded = _AddTile(box, [&t](PaintData& d, const GalleryTile& tile) {
        LPaintSurface::FillRect(d, tile.IsHot() ? t.buttonFrameHotPen.GetColor() : t.autoPlayBox,
                                0, 0, d.width, d.height);
    }, false);
    SetControlRoundedCorners(rounded.GetId(), 8);
    box.x += step;
    _AddTile(box, [&t](PaintData& d, const GalleryTile&) {
        LPaintSurface::FillRect(d, t.waveBackground, 0, 0, d.width, d.height);
        for (int x = 2; x < static_cast<int>(d.width) - 2; x += 3) {
            LPaintSurface::MoveTo(d, static_cast<float>(x), d.height / 2 - (x % 17));
            LPaintSurface::LineTo(d, static_cast<float>(x), d.height / 2 + (x % 17));
        }
        LPaintSurface::StrokePath(d, t.wavePen.GetColor(), t.wavePen.GetWidth());
    }, false);
}

void GalleryWindow::PaintBackground(PaintData& data)
{
    const DJTheme& theme = _Theme();
    LPaintSurface::FillRect(data, kBlack, 0, 0, data.width, data.height);
    _PaintGroup(data, kDeckGroup, theme.deckSurface, "Cool buttons, deck buttons and faders");
    _PaintGroup(data, kConsoleGroup, theme.consoleSurface, "Theme buttons, unlit and lit");
    _PaintGroup(data, kLowerGroup, theme.labelGrey, "Images, text and gradients");
    _PaintHelperLabels(data);
}

void GalleryWindow::_PaintGroup(PaintData& data, const Box& box, LGuiColorRef surface,
                                const char* title) const
{
    const DJTheme& theme = _Theme();
    LPaintSurface::FillRect(data, surface, static_cast<float>(box.x), static_cast<float>(box.y),
                            static_cast<float>(box.width), static_cast<float>(box.height));
    LPaintSurface::StrokeRect(data, theme.fxFrameLightPen, static_cast<float>(box.x),
                              static_cast<float>(box.y), static_cast<float>(box.width),
                              static_cast<float>(box.height));
    data.font.SetFont(theme.boldFont);
    data.font.SetColor(theme.deckLetter);
    LPaintSurface::DrawText(data, title, static_cast<float>(box.x + 6),
                            static_cast<float>(box.y + 2), static_cast<float>(box.width - 12),
                            kGroupTitleHeight, LHAlignment::kLeft, LVAlignment::kTop,
                            LWrapping::kEllipsis);
}

void GalleryWindow::_PaintHelperLabels(PaintData& data) const
{
    const DJTheme& theme = _Theme();
    data.font.SetFont(theme.smallLabelFont);
    data.font.SetColor(theme.bottomFace);
    for (size_t row = 0; row < _helperNames.size(); ++row) {
        const float y = static_cast<float>(kHelperRowY + static_cast<int>(row) * kHelperRowHeight);
        for (const int x : {kHelperColumnX, kHelperLitColumnX}) {
            LPaintSurface::DrawText(data, _helperNames[row], static_cast<float>(x), y + 2,
                                    kHelperTileOffset - 4, 16, LHAlignment::kLeft,
                                    LVAlignment::kTop, LWrapping::kEllipsis);
        }
    }
}

void GalleryWindow::CoolButtonCustomDraw(PaintData& data, int id)
{
    const DJTheme& theme = _Theme();
    theme.DrawBottomButton(data, "Custom", IsCoolButtonDown(id));
    if (IsCoolButtonHot(id)) {
        theme.DrawButtonBorderHot(data);
    }
}

void GalleryWindow::Command(int id)
{
    char text[96];
    switch (id) {
    case kGalleryResetFaders:
        _ResetFaders();
        std::snprintf(text, sizeof text, "Faders reset");
        break;
    case kGallerySignalButton:
        _meterMode = _meterMode == GalleryMeters::kMoving ? GalleryMeters::kSilent
                                                          : GalleryMeters::kMoving;
        _StartSignal();
        EnableControls();
        std::snprintf(text, sizeof text, "Test signal %s",
                      _meterMode == GalleryMeters::kMoving ? "on" : "off");
        break;
    default:
        std::snprintf(text, sizeof text, "Command %d", id);
        break;
    }
    _SetStatus(text);
}

void GalleryWindow::EnableControls()
{
    SetCoolButtonDown(kGallerySignalButton, _meterMode == GalleryMeters::kMoving);
}

long GalleryWindow::EvInterWinMessage(int message, long data1, long data2)
{
    char text[DJPitchSlider::kTextCapacity + 64];
    switch (static_cast<DJFaderMessage>(message)) {
    case DJFaderMessage::kPitchChanged:
        std::snprintf(text, sizeof text, "Pitch %s (%d)", _pitch->GetText(), _pitch->GetPitch());
        break;
    case DJFaderMessage::kSliderChanged:
        std::snprintf(text, sizeof text, "Slider %ld at %d", data1 - kGalleryFirstVerticalSlider,
                      _verticals.at(data1 - kGalleryFirstVerticalSlider)->GetPosition());
        break;
    case DJFaderMessage::kLevelChanged:
        std::snprintf(text, sizeof text, "Fader at %d dB", _fader->GetLevel().GetDB());
        break;
    case DJFaderMessage::kContextMenu:
        _ShowFaderMenu();
        return 0;
    default:
        std::snprintf(text, sizeof text, "Message %d from control %ld (%ld)", message, data1,
                      data2);
        break;
    }
    _SetStatus(text);
    return 0;
}

// The chosen item arrives through Command.
void GalleryWindow::_ShowFaderMenu()
{
    LPopupMenu menu;
    menu.AddItem(kGalleryResetFaders, "Reset the faders");
    menu.AddItem(kGallerySignalButton, "Test signal", true, _meterMode == GalleryMeters::kMoving);
    menu.AddSeparator();
    menu.AddItem(kGalleryMenuDisabledItem, "Disabled item", false);
    DisplayPopupMenu(menu);
}

void GalleryWindow::_ResetFaders()
{
    _pitch->SetPitch(DJPitchSlider::kPitchCentre);
    for (size_t i = 0; i < _verticals.size(); ++i) {
        _verticals[i]->SetPosition(kVerticalStarts[i]);
    }
    _fader->SetLevel(LdBValue(0));
}

void GalleryWindow::_SetStatus(const char* text)
{
    SetControlText(kGalleryStatus, text);
}

void GalleryWindow::EvShow()
{
    _StartSignal();
}

void GalleryWindow::EvHide()
{
    TimerKill(kMeterTimer);
}

void GalleryWindow::_StartSignal()
{
    if (_meterMode == GalleryMeters::kMoving && IsShown()) {
        TimerSet(kMeterTimer, kMeterTickMs);
        return;
    }
    TimerKill(kMeterTimer);
    if (_meterMode == GalleryMeters::kSilent) {
        for (auto& meter : _meters) {
            meter->Clear();
        }
    }
}

// One level for a picture: the left channel into the red, the right one in the green.
void GalleryWindow::_ShowStillLevel()
{
    constexpr int kLeftDb = 10, kRightDb = -18;
    LDBMC level;
    level.channels = 2;
    level.level[0] = LdBValue(kLeftDb);
    level.level[1] = LdBValue(kRightDb);
    for (auto& meter : _meters) {
        meter->SetLevel(level);
    }
}

void GalleryWindow::EvTimer(int timerId)
{
    if (timerId != kMeterTimer || _meterMode != GalleryMeters::kMoving) {
        return;
    }
    _FeedMeters();
    TimerSet(kMeterTimer, kMeterTickMs);
}

// Two channels of a slow beat: each rises and falls over -40..+15 dB, the right one later, so
// the meters pass through green, yellow and red and the peaks hold and fall.
void GalleryWindow::_FeedMeters()
{
    constexpr double kTicksPerBeat = 12;
    constexpr double kFloorDb = -40, kSpanDb = 55;
    const double phase = ++_signalTick / kTicksPerBeat;
    LDBMC level;
    level.channels = 2;
    for (int channel = 0; channel < 2; ++channel) {
        const double swing = std::fabs(std::sin(phase + channel * 0.7));
        level.level[channel] = LdBValue(static_cast<int>(std::lround(kFloorDb + kSpanDb * swing)));
    }
    for (auto& meter : _meters) {
        meter->SetLevel(level);
    }
}
