// The deck panel's commands and the mapping of its controls to engine values.
#include "ui/DJDeckGUI.h"

#include "ui/DJMainWindowLink.h"
#include "ui/DJPitchSlider.h"
#include "ui/DJVerticalSlider.h"
#include "ui/DJWaveDetailed.h"
#include "ui/DJWavePreview.h"

#include <algorithm>
#include <cmath>

// ---- slider positions to engine values

namespace DJDeckMap {

namespace {
constexpr int kEqRangeDb = 12;
constexpr int kDistortionMaxDb = 12;
constexpr int kDistortionMinDb = -100;
constexpr int kReverbMsPerStep = 40;
constexpr int kDelayMsPerStep = 10;
constexpr double kLoopBeats[kDeckLoopLengthCount] = {0.125, 0.25, 0.5, 1,  2,  3, 4,
                                                      6,     8,    12,  16, 32, -1};
}  // namespace

int Value(int position)
{
    return 100 - std::clamp(position, 0, 100);
}

int EqDb(int position, bool killed)
{
    if (killed)
        return -kEqRangeDb;
    const double db = 2.0 * kEqRangeDb * Value(position) / 101.0 - kEqRangeDb;
    return std::clamp(static_cast<int>(std::round(db)), -127, 127);
}

double DistortionAmount(int position)
{
    const double amount = Value(position) * 0.01;
    return amount >= 1.0 ? 0.999 : amount;
}

int DistortionLevelDb(int position)
{
    const int v = Value(position);
    if (v > 50)
        return std::min((v - 50) / 4, kDistortionMaxDb);
    if (v < 50)
        return std::max(2 * v - 100, kDistortionMinDb);
    return 0;
}

int HighPassHz(int position)
{
    const int k = Value(position);
    return 2 * (k + 1) * (k + 1);
}

int ReverbMix(int position) { return std::clamp(Value(position), 1, 99); }
int ReverbTimeMs(int position) { return Value(position) * kReverbMsPerStep; }
int ReverbDamp(int position) { return std::clamp(Value(position), 1, 100); }
int PhaserDelay(int position) { return Value(position) / 10; }
int FlangerDelay(int position) { return Value(position) / 10; }
double FlangerRate(int position) { return static_cast<double>(Value(position) / 2); }
int DelayMix(int position) { return std::clamp(Value(position), 1, 99); }
int DelayTimeMs(int position) { return Value(position) * kDelayMsPerStep; }

double PitchRatio(int pitchPosition)
{
    const double p = std::clamp(pitchPosition, 0, 1000) * 0.1;
    return 1.0 + (p - 50.0) * 0.01;
}

int PitchPosition(double ratio)
{
    const double position = (ratio - 0.5) * 1000.0;
    if (!(position > 0.0))
        return 0;
    return static_cast<int>(std::min(position, 1000.0));
}

double LoopBeats(int index)
{
    return index >= 0 && index < kDeckLoopLengthCount ? kLoopBeats[index] : 4.0;
}

}  // namespace DJDeckMap

// ---- the effects table

struct DJDeckGUI::FxSpec {
    const char* onTitle;    // shown when the effect is switched on
    const char* editTitle;  // shown when its sliders are chosen for editing
    void (DJDeckGUI::*command)();
    int sliderCount;
    int sliders[4];  // ids, left to right
};

const DJDeckGUI::FxSpec& DJDeckGUI::_Fx(int index)
{
    static const FxSpec kFx[kDeckFxCount] = {
        {"Distortion", "Distortion", &DJDeckGUI::CmDistortion, 2,
         {kDeckDistortionTone, kDeckDistortionLevel}},
        {"High Pass Filter", "High Pass", &DJDeckGUI::CmHighPass, 1, {kDeckHighPassFreq}},
        {"Reverb", "Reverb", &DJDeckGUI::CmReverb, 3,
         {kDeckReverbMix, kDeckReverbTime, kDeckReverbDamp}},
        {"Phaser", "Phaser", &DJDeckGUI::CmPhaser, 2, {kDeckPhaserMix, kDeckPhaserDelay}},
        {"Flanger", "Flanger", &DJDeckGUI::CmFlanger, 4,
         {kDeckFlangerMix, kDeckFlangerDelay, kDeckFlangerDepth, kDeckFlangerRate}},
        {"Delay", "Delay", &DJDeckGUI::CmDelay, 2, {kDeckDelayMix, kDeckDelayTime}},
    };
    return kFx[std::clamp(index, 0, kDeckFxCount - 1)];
}

const char* DJDeckGUI::_FxOnTitle(int index)
{
    return _Fx(index).onTitle;
}

int DJDeckGUI::_Pos(int sliderId) const
{
    const DJVerticalSlider* slider = GetSlider(sliderId);
    return slider ? slider->GetPosition() : 0;
}

// ---- engine calls: every value of an effect from all its controls at each change

void DJDeckGUI::CmEq()
{
    if (!_deck)
        return;
    using namespace DJDeckMap;
    _deck->SetEq(LdBValue(EqDb(_Pos(kDeckEqBass), _flags.killBass)),
                 LdBValue(EqDb(_Pos(kDeckEqMid), _flags.killMid)),
                 LdBValue(EqDb(_Pos(kDeckEqHigh), _flags.killHigh)));
}

void DJDeckGUI::CmDistortion()
{
    if (!_deck)
        return;
    using namespace DJDeckMap;
    _deck->SetDistortion(DistortionAmount(_Pos(kDeckDistortionTone)),
                         LdBValue(DistortionLevelDb(_Pos(kDeckDistortionLevel))),
                         _flags.fxOn[static_cast<int>(DJDeckFx::kDistortion)]);
}

void DJDeckGUI::CmHighPass()
{
    if (!_deck)
        return;
    _deck->SetHighPass(DJDeckMap::HighPassHz(_Pos(kDeckHighPassFreq)),
                       _flags.fxOn[static_cast<int>(DJDeckFx::kHighPass)]);
}

void DJDeckGUI::CmReverb()
{
    if (!_deck)
        return;
    using namespace DJDeckMap;
    _deck->SetReverb(ReverbMix(_Pos(kDeckReverbMix)), LSoundTime(ReverbTimeMs(_Pos(kDeckReverbTime))),
                     static_cast<unsigned char>(ReverbDamp(_Pos(kDeckReverbDamp))),
                     _flags.fxOn[static_cast<int>(DJDeckFx::kReverb)]);
}

void DJDeckGUI::CmPhaser()
{
    if (!_deck)
        return;
    _deck->SetPhaser(DJDeckMap::PhaserDelay(_Pos(kDeckPhaserDelay)),
                     DJDeckMap::Value(_Pos(kDeckPhaserMix)),
                     _flags.fxOn[static_cast<int>(DJDeckFx::kPhaser)]);
}

void DJDeckGUI::CmFlanger()
{
    if (!_deck)
        return;
    using namespace DJDeckMap;
    _deck->SetFlanger(FlangerDelay(_Pos(kDeckFlangerDelay)), FlangerRate(_Pos(kDeckFlangerRate)),
                      Value(_Pos(kDeckFlangerDepth)), Value(_Pos(kDeckFlangerMix)),
                      _flags.fxOn[static_cast<int>(DJDeckFx::kFlanger)]);
}

void DJDeckGUI::CmDelay()
{
    if (!_deck)
        return;
    _deck->SetDelay(DJDeckMap::DelayMix(_Pos(kDeckDelayMix)),
                    DJDeckMap::DelayTimeMs(_Pos(kDeckDelayTime)),
                    _flags.fxOn[static_cast<int>(DJDeckFx::kDelay)]);
}

void DJDeckGUI::_SliderMoved(int id)
{
    if (id >= kDeckEqBass && id <= kDeckEqHigh) {
        CmEq();
        return;
    }
    for (int k = 0; k < kDeckFxCount; ++k) {
        const FxSpec& fx = _Fx(k);
        if (std::find(fx.sliders, fx.sliders + fx.sliderCount, id) != fx.sliders + fx.sliderCount) {
            (this->*fx.command)();
            return;
        }
    }
}

void DJDeckGUI::CmLoop()
{
    if (!_deck)
        return;
    double beats = 0.0;
    if (_flags.loopOn) {
        beats = 4.0;
        for (int i = 0; i < kDeckLoopLengthCount; ++i)
            if (_flags.loopLength[static_cast<size_t>(i)])
                beats = DJDeckMap::LoopBeats(i);
    }
    _deck->SetLoop(beats);
    _waveDetailed->ThrottledUpdate();
}

void DJDeckGUI::CmPitch()
{
    if (!_deck)
        return;
    if (_deck->GetBeatDetector().IsRunning()) {
        _flags.pitchPending = true;
        return;
    }
    _ApplyPitch();
}

void DJDeckGUI::_ApplyPitch()
{
    _deck->SetPitch(DJDeckMap::PitchRatio(_pitch->GetPitch()));
    _PitchChangedOnWaves();
}

void DJDeckGUI::_PitchChangedOnWaves()
{
    _waveDetailed->EvPitchChange();
    _wavePreview->EvPitchChange();
}

void DJDeckGUI::CmSync()
{
    if (!_deck)
        return;
    _flags.syncOn = !_flags.syncOn;
    if (_flags.syncOn)
        _deck->Sync();
    else
        _deck->Unsync();
    _pitch->SetPitch(DJDeckMap::PitchPosition(_deck->GetPitch()));
    _PitchChangedOnWaves();
}

void DJDeckGUI::CmHeadphones()
{
    if (_deck)
        _deck->SetHeadphoneMode(_flags.headphonesOn);
}

// ---- transport

void DJDeckGUI::_PressPlay(bool sendVolume)
{
    if (!_deck)
        return;
    if (_deck->GetState() == kDeckStopped) {
        if (_deck->GetCursor() < _deck->GetEndSample() || !_deck->IsLoaded())
            _deck->Play();
    } else {
        _deck->Stop();
    }
    if (sendVolume)
        _SendVolume();
}

void DJDeckGUI::CmPlay()
{
    if (!_deck || _deck->IsActive())
        return;
    if (_deck->IsLoaded() && _deck->GetCursor() >= _deck->GetEndSample())
        return;
    _deck->Play();
}

void DJDeckGUI::CmPlayToggle()
{
    _PressPlay(false);
}

void DJDeckGUI::CmCuePlay()
{
    if (_deck)
        _deck->CuePlay();
}

void DJDeckGUI::CmCuePause()
{
    if (!_deck)
        return;
    _deck->CuePause();
    const int rate = _deck->GetSampleRate();
    _SetDeckTime(rate > 0 ? LSoundTime::FromFrames(_deck->GetCueMark(), rate) : LSoundTime(0));
    _SetWavesFrame(_deck->GetCueMark());
}

void DJDeckGUI::CmCueMark()
{
    if (!_deck)
        return;
    _deck->SetCueMark(-1);
    _waveDetailed->UpdateCueMark();
    _wavePreview->UpdateCueMark();
    if (_flags.loopOn)
        CmLoop();
}

void DJDeckGUI::_SetCueMark()
{
    CmCueMark();
    _ParentMessage(static_cast<int>(DJDeckParentMessage::kCueMarkChanged), _CueMessage());
}

void DJDeckGUI::_PitchBend(bool up, bool press)
{
    if (press) {
        _flags.savedPitch = _pitch->GetPitch();
        const int position = _flags.savedPitch;
        _SetPitchPosition(up ? position + (DJPitchSlider::kPitchMax - position) / 2 : position / 2);
        CmPitch();
        (up ? _flags.speedUpDown : _flags.slowDownDown) = true;
        return;
    }
    (up ? _flags.speedUpDown : _flags.slowDownDown) = false;
    _SetPitchPosition(_flags.savedPitch);
    CmPitch();
}

void DJDeckGUI::_SetPitchPosition(int position)
{
    _pitch->SetPitch(position);
}

// ---- effects on/off and edit

void DJDeckGUI::_FlipFx(int index, const char* title)
{
    const size_t k = static_cast<size_t>(index);
    _flags.fxOn[k] = !_flags.fxOn[k];
    const bool wasEdited = _flags.fxEdit[k];
    _flags.fxEdit.fill(false);
    if (_flags.fxOn[k]) {
        _flags.fxEdit[k] = true;
        SetFXTitle(title);
    } else {
        _flags.fxEdit[k] = wasEdited;
    }
    _CallFx(index);
}

void DJDeckGUI::_CallFx(int index)
{
    (this->*_Fx(index).command)();
}

void DJDeckGUI::_EditFx(int index)
{
    const size_t k = static_cast<size_t>(index);
    if (_flags.fxEdit[k]) {
        _flags.fxEdit[k] = false;
        SetFXTitle("None");
        return;
    }
    _flags.fxEdit.fill(false);
    _flags.fxEdit[k] = true;
    SetFXTitle(_Fx(index).editTitle);
}

void DJDeckGUI::ClearFX()
{
    _flags.fxEdit.fill(false);
}

void DJDeckGUI::SetFXTitle(const char* name)
{
    _fxTitle = std::string("EDIT > ") + (name ? name : "");
    SetControlText(kDeckFxTitle, _fxTitle.c_str());
}

// ---- command dispatch

void DJDeckGUI::Command(int id)
{
    if (_ButtonCommand(id) || _FxCommand(id) || _MenuCommand(id))
        EnableControls();
}

bool DJDeckGUI::_ButtonCommand(int id)
{
    switch (id) {
    case kCmdPlay: _PressPlay(true); break;
    case kCmdCuePauseDown: _flags.cuePauseDown = true; CmCuePause(); break;
    case kCmdCuePauseUp: _flags.cuePauseDown = false; break;
    case kCmdSetCueDown: _flags.cueMarkDown = true; _SetCueMark(); break;
    case kCmdSetCueUp: _flags.cueMarkDown = false; break;
    case kCmdCuePlayDown: _flags.cuePlayDown = true; CmCuePlay(); break;
    case kCmdCuePlayUp: _flags.cuePlayDown = false; break;
    case kCmdBendDownDown: _PitchBend(false, true); break;
    case kCmdBendDownUp: _PitchBend(false, false); break;
    case kCmdBendUpDown: _PitchBend(true, true); break;
    case kCmdBendUpUp: _PitchBend(true, false); break;
    case kCmdLoopDown: _flags.loopOn = !_flags.loopOn; CmLoop(); break;
    case kCmdLoopLengthDown: _ShowLoopMenu(); break;
    case kCmdHeadphonesDown: _flags.headphonesOn = !_flags.headphonesOn; CmHeadphones(); break;
    case kCmdSyncDown: CmSync(); break;
    case kCmdMenuDown: _flags.menuDown = true; _ContextMenu(); _flags.menuDown = false; break;
    case kCmdMenuUp: _flags.menuDown = false; break;
    case kCmdKillBassDown: _flags.killBass = !_flags.killBass; CmEq(); break;
    case kCmdKillMidDown: _flags.killMid = !_flags.killMid; CmEq(); break;
    case kCmdKillHighDown: _flags.killHigh = !_flags.killHigh; CmEq(); break;
    case kCmdLoopUp: case kCmdLoopLengthUp: case kCmdHeadphonesUp: case kCmdSyncUp:
    case kCmdKillBassUp: case kCmdKillMidUp: case kCmdKillHighUp: break;
    default: return false;
    }
    return true;
}

bool DJDeckGUI::_FxCommand(int id)
{
    for (int k = 0; k < kDeckFxCount; ++k) {
        const int name = kDeckFxNameFirst + 3 * k, onOff = kDeckFxOnOffFirst + 3 * k;
        const int edit = kDeckFxEditFirst + 3 * k;
        if (id == name + 2 || id == onOff + 2) {
            _FlipFx(k, _Fx(k).onTitle);
            return true;
        }
        if (id == edit + 2) {
            _EditFx(k);
            return true;
        }
        if (id == name + 1 || id == onOff + 1 || id == edit + 1)
            return true;
    }
    return false;
}

bool DJDeckGUI::_MenuCommand(int id)
{
    if ((id >= kDeckLoopFirst && id < kDeckLoopFirst + kDeckLoopLengthCount - 1) ||
        id == kDeckLoopWhole) {
        const int index = id == kDeckLoopWhole ? kDeckLoopLengthCount - 1 : id - kDeckLoopFirst;
        _flags.loopLength.fill(false);
        _flags.loopLength[static_cast<size_t>(index)] = true;
        if (_flags.loopOn)
            CmLoop();
        return true;
    }
    switch (id) {
    case kDeckMenuReset: ClearDeck(); break;
    case kDeckMenuEditBpm:
        _ParentMessage(static_cast<int>(DJDeckParentMessage::kEditBPM), _EditBpmMessage());
        break;
    case kDeckMenuJumpToStart: JumpToStart(); break;
    case kDeckMenuSnap:
        if (_deck)
            _deck->SetCueSnap(!_deck->IsCueSnap());
        break;
    case kDeckMenuSetCue: _SetCueMark(); break;
    default: return false;
    }
    return true;
}

// ---- menus

LPopupMenu DJDeckGUI::BuildLoopMenu() const
{
    static const char* const kTexts[kDeckLoopLengthCount] = {
        "1/8", "1/4", "1/2", "1", "2", "3", "4", "6", "8", "12", "16", "32", "Whole track"};
    LPopupMenu menu;
    for (int i = 0; i < kDeckLoopLengthCount; ++i) {
        const int id = i == kDeckLoopLengthCount - 1 ? kDeckLoopWhole : kDeckLoopFirst + i;
        menu.AddItem(id, kTexts[i], true, _flags.loopLength[static_cast<size_t>(i)]);
    }
    return menu;
}

void DJDeckGUI::_ShowLoopMenu()
{
    _flags.loopMenuOpen = true;
    EnableControls();
    DisplayPopupMenu(_loopMenu);
    _flags.loopMenuOpen = false;
}

void DJDeckGUI::SetKeyTextSource(std::function<std::string(int keyCommand)> source)
{
    if (source)
        _keyText = std::move(source);
}

// The default keys of the deck's key commands, as their descriptions read.
std::string DJDeckGUI::_KeyText(int keyCommand) const
{
    static const struct {
        int command;
        const char* key;
    } kDefaults[] = {
        {kKeyResetDeckA, "R"},     {kKeyResetDeckB, "Option-R"},
        {kKeyEditBpmA, "E"},       {kKeyEditBpmB, "Option-E"},
        {kKeyJumpToStartA, "B"},   {kKeyJumpToStartB, "Option-B"},
        {kKeySnapA, "Shift-S"},    {kKeySnapB, "Shift-Option-S"},
        {kKeySetCueA, "M"},        {kKeySetCueB, "Option-M"},
    };
    for (const auto& entry : kDefaults)
        if (entry.command == keyCommand)
            return entry.key;
    return {};
}

LPopupMenu DJDeckGUI::BuildContextMenu() const
{
    static const struct {
        int menuCommand, keyA, keyB;
        const char* text;
    } kItems[] = {
        {kDeckMenuReset, kKeyResetDeckA, kKeyResetDeckB, "Reset Deck"},
        {kDeckMenuEditBpm, kKeyEditBpmA, kKeyEditBpmB, "Edit BPM"},
        {kDeckMenuJumpToStart, kKeyJumpToStartA, kKeyJumpToStartB, "Jump to Start"},
        {kDeckMenuSnap, kKeySnapA, kKeySnapB, "Snap Cue Mark to Beat On/Off"},
        {kDeckMenuSetCue, kKeySetCueA, kKeySetCueB, "Set Cue Mark"},
    };
    const bool deckB = _deck && _deck->GetDeckPosition() == kDeckRight;
    const bool loaded = _deck && _deck->IsLoaded();
    LPopupMenu menu;
    for (const auto& item : kItems) {
        std::string text = std::string(item.text) + (deckB ? " (B)" : " (A)");
        const std::string key = _keyText(deckB ? item.keyB : item.keyA);
        if (!key.empty())
            text += " (" + key + ")";
        const bool needsTrack = item.menuCommand != kDeckMenuSnap && item.menuCommand != kDeckMenuSetCue;
        const bool checked = item.menuCommand == kDeckMenuSnap && _deck && _deck->IsCueSnap();
        menu.AddItem(item.menuCommand, text.c_str(), !needsTrack || loaded, checked);
    }
    return menu;
}

void DJDeckGUI::_ContextMenu()
{
    DisplayPopupMenu(BuildContextMenu());
}
