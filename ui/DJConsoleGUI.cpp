#include "ui/DJConsoleGUI.h"

#include "engine/DJConsole.h"
#include "engine/DJSettingsAccess.h"
#include "ui/DJFaderMessages.h"
#include "ui/DJMainWindowLink.h"
#include "ui/DJPanelBackground.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>

namespace {

constexpr char kCrossFadeTimeKey[] = "CrossFadeTime";
constexpr int kBackgroundImageWidth = 180;  // pixels; image 355 is 180 by 276

// Fixed places of the controls; a negative x or width counts from the panel's width.
struct Place {
    int id, x, y, width, height;
};
constexpr Place kPlaces[] = {
    {kConsoleAutoPlayLight, 35, 300, 125, 12},
    {kConsoleRecordingLight, 35, 317, 125, 12},
    {kConsoleFadeLeft, 15, 332, 11, 26},
    {kConsoleCrossFader, 29, 330, -58, 30},
    {kConsoleFadeRight, -26, 332, 11, 26},
    {kConsoleMeter, 15, 365, -30, 14},
    {kConsoleVolume, 15, 380, -30, 10},
};

int _FromWidth(int value, int width)
{
    return value < 0 ? std::max(width + value, 0) : value;
}

}  // namespace

DJConsoleGUI::DJConsoleGUI(DJConsole& console) : _console(console) {}

DJConsoleGUI::~DJConsoleGUI()
{
    TimerDestroy();
}

void DJConsoleGUI::Init(LWindow& parent, DJMainWindowLink& main, int x, int y, int width,
                        int height)
{
    _main = &main;
    CreateEmbedded(&parent, x, y, width, height);
}

void DJConsoleGUI::InitDialog()
{
    CoolButtonContainerInit(this);
    _AddControls();
    _AddTips();
    HandleInterWinMessage(this, static_cast<int>(DJCrossFaderMessage::kPositionChanged));
    HandleInterWinMessage(this, static_cast<int>(DJFaderMessage::kLevelChanged));
    EnableControls();
}

void DJConsoleGUI::_AddControls()
{
    // The background goes first so that every other control lies above it.
    _background = std::make_unique<DJPanelBackground>(*this);
    AddPaintControl(kConsoleBackground, 0, 0, GetClientWidth(), GetClientHeight(), {});
    _background->Init(this, kConsoleBackground);
    for (int id : {kConsoleAutoPlayLight, kConsoleRecordingLight, kConsoleFadeLeft,
                   kConsoleFadeRight}) {
        AddCoolButtonTextOnly(id, "");
    }
    CoolButtonInitUpDownCustomDraw(kConsoleFadeLeft, kConsoleFadeLeftUp, kConsoleFadeLeftDown);
    CoolButtonInitUpDownCustomDraw(kConsoleFadeRight, kConsoleFadeRightUp,
                                   kConsoleFadeRightDown);
    // The lights act at the press; their release only restores their value by the flags.
    CoolButtonInitUpDownCustomDraw(kConsoleAutoPlayLight, kConsoleLightReleased,
                                   kConsoleAutoPlayLight);
    CoolButtonInitUpDownCustomDraw(kConsoleRecordingLight, kConsoleLightReleased,
                                   kConsoleRecordingLight);
    const std::pair<LPaintControl*, int> paintControls[] = {
        {&_crossFader, kConsoleCrossFader}, {&_meter, kConsoleMeter}, {&_volume, kConsoleVolume}};
    for (const auto& [control, id] : paintControls) {
        AddPaintControl(id, 0, 0, 1, 1, {});
        control->Init(this, id);
    }
    _meter.SetShowScale(false);
}

void DJConsoleGUI::_AddTips()
{
    static const LToolTip kTips[] = {
        {kConsoleAutoPlayLight, "Auto Play Mode"},
        {kConsoleRecordingLight, "Record Mode"},
        {kConsoleFadeLeft, "Auto Fade to Left"},
        {kConsoleCrossFader, "Move to Crossfade Between Tracks"},
        {kConsoleFadeRight, "Auto Fade to Right"},
        {kConsoleVolume, "Main Output Volume"},
    };
    AddTools(this, kTips, static_cast<int>(std::size(kTips)));
}

void DJConsoleGUI::DestroyDialog()
{
    TimerDestroy();
}

void DJConsoleGUI::LayoutControls(int /*x*/, int /*y*/, int width, int height)
{
    MoveControlPixels(kConsoleBackground, 0, 0, width, height);
    for (const Place& place : kPlaces) {
        MoveControlPixels(place.id, _FromWidth(place.x, width), place.y,
                          _FromWidth(place.width, width), place.height);
    }
}

// ---- operations the main window calls

void DJConsoleGUI::SetAutoPlayMode(bool on)
{
    _autoPlayMode = on;
    if (on) {
        TimerSet(kConsoleAutoPlayBlink, kFirstBlinkMs);
    }
}

void DJConsoleGUI::ToggleRecordingMode()
{
    _recording = !_recording;
    if (_recording) {
        _console.StartRecording();
    } else {
        _console.StopRecording();
    }
    TimerSet(kConsoleRecordingBlink, kFirstBlinkMs);
}

void DJConsoleGUI::StopRecording()
{
    _recording = false;
    _console.StopRecording();
    EnableControls();
}

void DJConsoleGUI::AutoCrossFadeToLeft()
{
    if (_fadingLeft) {
        return;
    }
    _fadingLeft = true;
    _fadingRight = false;
    _StartFadeTimer();
    EnableControls();
}

void DJConsoleGUI::AutoCrossFadeToRight()
{
    if (_fadingRight) {
        return;
    }
    _fadingRight = true;
    _fadingLeft = false;
    _StartFadeTimer();
    EnableControls();
}

// A running fade timer then finds nothing to do and stops by itself.
void DJConsoleGUI::AutoCrossFadeCancel()
{
    _fadingLeft = false;
    _fadingRight = false;
    EnableControls();
}

// ---- the auto fade

unsigned int DJConsoleGUI::FadeStepDelayMs()
{
    const std::string text = DJSettingString(kCrossFadeTimeKey);
    char* end = nullptr;
    // Out of range saturates; text that is no number reads as no setting.
    const long long seconds = std::strtoll(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        return kEmptySettingFadeMs;
    }
    const long long delay = (std::clamp<long long>(seconds, 1, INT_MAX) - 1) * kFadeMsPerSecond;
    return static_cast<unsigned int>(std::min<long long>(delay, INT_MAX));
}

void DJConsoleGUI::_StartFadeTimer()
{
    _lastFadeDelayMs = FadeStepDelayMs();
    TimerSet(kConsoleFadeTimer, _lastFadeDelayMs);
}

void DJConsoleGUI::_FadeStep()
{
    if (_fadingLeft) {
        const int position = _crossFader.GetPosition() - 1;
        if (position >= DJCrossFader::kMinPosition) {
            _StartFadeTimer();
            _crossFader.SetPosition(position);
        } else {
            _fadingLeft = false;
        }
    }
    if (_fadingRight) {
        const int position = _crossFader.GetPosition() + 1;
        if (position <= DJCrossFader::kMaxPosition) {
            _StartFadeTimer();
            _crossFader.SetPosition(position);
        } else {
            _fadingRight = false;
        }
    }
    EnableControls();
}

// A press starts that direction and stops the other, or stops that direction if it runs; the
// timer starts either way.
void DJConsoleGUI::_PressFade(bool& thisWay, bool& otherWay)
{
    if (!thisWay) {
        thisWay = true;
        otherWay = false;
    } else {
        thisWay = false;
    }
    _StartFadeTimer();
}

// ---- lights

void DJConsoleGUI::_BlinkAutoPlay()
{
    if (_autoPlayMode) {
        _autoPlayLight = !_autoPlayLight;
        TimerSet(kConsoleAutoPlayBlink, kBlinkMs);
    } else {
        _autoPlayLight = false;
    }
    for (int id : {kConsoleAutoPlayLight, kConsoleRecordingLight, kConsoleFadeLeft,
                   kConsoleFadeRight}) {
        _UpdateButton(id);
    }
    EnableControls();
}

void DJConsoleGUI::_BlinkRecording()
{
    if (_recording) {
        _recordingLight = !_recordingLight;
        TimerSet(kConsoleRecordingBlink, kBlinkMs);
    } else {
        _recordingLight = false;
    }
    // The light's value need not change with it, so it is repainted here.
    _UpdateButton(kConsoleRecordingLight);
    EnableControls();
}

// A cool button repaints whenever its text is set.
void DJConsoleGUI::_UpdateButton(int id)
{
    SetControlText(id, "");
}

// ---- window events

void DJConsoleGUI::Command(int id)
{
    switch (id) {
    case kConsoleFadeLeftDown:
        _PressFade(_fadingLeft, _fadingRight);
        break;
    case kConsoleFadeRightDown:
        _PressFade(_fadingRight, _fadingLeft);
        break;
    case kConsoleAutoPlayLight:
        if (_main) {
            _main->CmAutoPlay();
        }
        break;
    case kConsoleRecordingLight:
        if (_main) {
            _main->SetRecording(!_recording);
        }
        break;
    default:
        break;
    }
}

void DJConsoleGUI::EnableControls()
{
    SetControlValue(kConsoleAutoPlayLight, _autoPlayMode ? 1 : 0);
    SetControlValue(kConsoleFadeLeft, _fadingLeft ? 1 : 0);
    SetControlValue(kConsoleFadeRight, _fadingRight ? 1 : 0);
    SetControlValue(kConsoleRecordingLight, _recording ? 1 : 0);
}

void DJConsoleGUI::EvTimer(int timerId)
{
    switch (timerId) {
    case kConsoleFadeTimer:
        _FadeStep();
        break;
    case kConsoleAutoPlayBlink:
        _BlinkAutoPlay();
        break;
    case kConsoleRecordingBlink:
        _BlinkRecording();
        break;
    default:
        break;
    }
}

long DJConsoleGUI::EvInterWinMessage(int message, long data1, long /*data2*/)
{
    if (message == static_cast<int>(DJCrossFaderMessage::kPositionChanged) &&
        data1 == kConsoleCrossFader) {
        _console.SetCrossFade(_crossFader.GetPosition());
        // A hand on the fader ends an auto fade; the fade's own steps come here too.
        if (_crossFader.IsDragging()) {
            AutoCrossFadeCancel();
        }
    } else if (message == static_cast<int>(DJFaderMessage::kLevelChanged) &&
               data1 == kConsoleVolume) {
        _console.SetVolume(_volume.GetLevel());
    }
    return 0;
}

// ---- painting

void DJConsoleGUI::CoolButtonCustomDraw(PaintData& data, int id)
{
    const DJTheme& theme = GetTheme();
    switch (id) {
    case kConsoleFadeLeft:
        theme.DrawPlayControlButton(data, _fadingLeft, DJImage::kBendDownUp,
                                    DJImage::kBendDownDown);
        break;
    case kConsoleFadeRight:
        theme.DrawPlayControlButton(data, _fadingRight, DJImage::kBendUpUp, DJImage::kBendUpDown);
        break;
    case kConsoleAutoPlayLight:
        theme.DrawAutoPlayLightButton(data, _autoPlayLight);
        break;
    case kConsoleRecordingLight:
        theme.DrawRecordingLightButton(data, _recordingLight);
        break;
    default:
        return;
    }
    if (IsCoolButtonHot(id)) {
        theme.DrawButtonBorderHot(data);
    }
}

void DJConsoleGUI::PaintBackground(PaintData& data)
{
    const DJTheme& theme = GetTheme();
    LPaintSurface::FillRect(data, theme.consoleSurfaceBrush, data.x, data.y, data.width,
                            data.height);
    const float left = data.x + (data.width - kBackgroundImageWidth) / 2;
    LPaintSurface::DrawImage(data, theme.GetImage(DJImage::kConsoleBackground), left,
                             data.y + kBackgroundTop);
    theme.DrawCorners(data, data.x, data.y, data.width, data.height, DJImage::kConsoleCorner1,
                      DJImage::kConsoleCorner2, DJImage::kConsoleCorner3,
                      DJImage::kConsoleCorner4);
}
