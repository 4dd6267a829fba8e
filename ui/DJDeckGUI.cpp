#include "ui/DJDeckGUI.h"

#include "ui/DJDeckInfo.h"
#include "ui/DJMainWindowLink.h"
#include "ui/DJPitchSlider.h"
#include "ui/DJVerticalSlider.h"
#include "ui/DJWaveDetailed.h"
#include "ui/DJWavePreview.h"
#include "ui/LDBDisplay2.h"
#include "ui/LDBEditCustom.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kVolumeOffsetDb = 6;  // the deck gets the volume control's level less this
constexpr int kWaveSpanSeconds = 5;
constexpr int kCueMessageA = 329, kCueMessageB = 330;
constexpr int kEditBpmA = kKeyEditBpmA, kEditBpmB = kKeyEditBpmB;  // data1 of the edit BPM message
constexpr int kBandLabelFontPx = 9;
constexpr int kNoCommand = -1;  // a button edge that sends nothing

// Controls are made off the visible area, each 510 pixels on, and placed by LayoutControls.
struct OffscreenPlacer {
    int x = 0;
    DJDeckRect Next()
    {
        const DJDeckRect rect{x, -300, 500, 30};
        x += 510;
        return rect;
    }
};

// Paints the panel's background image under the controls.
class DeckBackground : public LPaintControl {
public:
    explicit DeckBackground(LPaintBackground& owner) : _owner(owner) { SetOpaquePaint(true); }
    void Paint(PaintData& data) override { _owner.PaintSubBackground(data); }

private:
    LPaintBackground& _owner;
};

struct SliderSpec {
    int id;
    const char* label;  // null: no label
    int start;          // position, 0 at the top
};

// Equaliser first, then each effect's sliders in id order.
constexpr SliderSpec kSliderSpecs[kDeckSliderCount] = {
    {kDeckEqBass, nullptr, 50},          {kDeckEqMid, nullptr, 50},
    {kDeckEqHigh, nullptr, 50},          {kDeckDistortionTone, "Tone", 0},
    {kDeckDistortionLevel, "Level", 0},  {kDeckHighPassFreq, "Freq", 50},
    {kDeckReverbMix, "Mix", 0},          {kDeckReverbTime, "Time", 50},
    {kDeckReverbDamp, "Damp", 50},
    {kDeckPhaserMix, "Mix", 0},          {kDeckPhaserDelay, "Delay", 50},
    {kDeckFlangerDepth, "Depth", 50},    {kDeckFlangerMix, "Mix", 0},
    {kDeckFlangerDelay, "Delay", 80},    {kDeckFlangerRate, "Rate", 99},
    {kDeckDelayMix, "Mix", 50},          {kDeckDelayTime, "Time", 50},
};

}  // namespace

DJDeckGUI::DJDeckGUI()
{
    _flags.loopLength[6] = true;  // the entry "4"
    _info = std::make_unique<DJDeckInfo>();
    _waveDetailed = std::make_unique<DJWaveDetailed>();
    _wavePreview = std::make_unique<DJWavePreview>();
    _pitch = std::make_unique<DJPitchSlider>();
    _meter = std::make_unique<LDBDisplay2>();
    _volume = std::make_unique<LDBEditCustom>();
    _background = std::make_unique<DeckBackground>(*this);
    const LGuiColor surface = GetTheme().deckSurface;
    for (size_t i = 0; i < std::size(kSliderSpecs); ++i) {
        const SliderSpec& entry = kSliderSpecs[i];
        _sliderIds[i] = entry.id;
        _sliders[i] = entry.label ? std::make_unique<DJVerticalSlider>(surface, entry.start, entry.label)
                                 : std::make_unique<DJVerticalSlider>(surface, entry.start);
    }
    _keyText = [this](int command) { return _KeyText(command); };
}

// The waves' reader threads are joined by their own destructors, before the deck goes.
DJDeckGUI::~DJDeckGUI() = default;

void DJDeckGUI::Init(LWindow& parent, int deckMessageId, int x, int y, int width, int height)
{
    _deckMessageId = deckMessageId;
    CreateEmbedded(&parent, x, y, width, height);
}

void DJDeckGUI::SetDeck(DJDeck* deck)
{
    if (!deck)
        return;
    _deck = deck;
    _SendVolume();
    _deck->AddNotify(this);
    _info->SetDeck(deck);
    _info->SetDeckLetter(deck->GetDeckPosition() == kDeckRight ? 'B' : 'A');
    _waveDetailed->SetDeck(deck);
    _wavePreview->SetDeck(deck);
}

// ---- construction of the controls

void DJDeckGUI::InitDialog()
{
    CoolButtonContainerInit(this);
    // The background goes first so that every other control lies above it.
    AddPaintControl(kDeckBackground, 0, 0, _width, kDeckPanelHeight, {});
    _Bind(*_background, kDeckBackground);
    _AddButtons();
    _AddSliders();
    _AddDisplays();
    _AddTips();
    for (DJDeckMessage message : {DJDeckMessage::kPitch, DJDeckMessage::kSlider, DJDeckMessage::kContextMenu,
                        DJDeckMessage::kCueDragEnd, DJDeckMessage::kOverDeck,
                        DJDeckMessage::kVolume, DJDeckMessage::kDragActive})
        HandleInterWinMessage(this, static_cast<int>(message));
    SetFXTitle("None");
    EnableControls();
}

void DJDeckGUI::_Bind(LPaintControl& control, int id)
{
    control.Init(this, id);
}

void DJDeckGUI::_AddButtons()
{
    struct Button {
        int id, release, press;
    };
    static constexpr Button kButtons[] = {
        {kDeckPlay, kNoCommand, kCmdPlay},
        {kDeckCuePause, kCmdCuePauseUp, kCmdCuePauseDown},
        {kDeckSetCue, kCmdSetCueUp, kCmdSetCueDown},
        {kDeckCuePlay, kCmdCuePlayUp, kCmdCuePlayDown},
        {kDeckBendDown, kCmdBendDownUp, kCmdBendDownDown},
        {kDeckBendUp, kCmdBendUpUp, kCmdBendUpDown},
        {kDeckLoop, kCmdLoopUp, kCmdLoopDown},
        {kDeckLoopLength, kCmdLoopLengthUp, kCmdLoopLengthDown},
        {kDeckHeadphones, kCmdHeadphonesUp, kCmdHeadphonesDown},
        {kDeckSync, kCmdSyncUp, kCmdSyncDown},
        {kDeckMenu, kCmdMenuUp, kCmdMenuDown},
        {kDeckKillBass, kCmdKillBassUp, kCmdKillBassDown},
        {kDeckKillMid, kCmdKillMidUp, kCmdKillMidDown},
        {kDeckKillHigh, kCmdKillHighUp, kCmdKillHighDown},
    };
    for (const Button& button : kButtons) {
        AddCoolButtonTextOnly(button.id, "");
        CoolButtonInitUpDownCustomDraw(button.id, button.release, button.press);
    }
    // Each effect: name, edit and on/off buttons; the release is one below the press.
    for (int k = 0; k < kDeckFxCount; ++k) {
        for (int first : {kDeckFxNameFirst, kDeckFxEditFirst, kDeckFxOnOffFirst}) {
            const int id = first + 3 * k;
            AddCoolButtonTextOnly(id, "");
            CoolButtonInitUpDownCustomDraw(id, id + 1, id + 2);
        }
    }
}

void DJDeckGUI::_AddSliders()
{
    OffscreenPlacer placer;
    const DJTheme& theme = GetTheme();
    for (size_t i = 0; i < _sliders.size(); ++i) {
        const DJDeckRect r = placer.Next();
        AddPaintControl(_sliderIds[i], r.x, r.y, r.width, r.height, {});
        _sliders[i]->SetLabelFont(_LabelFont());
        _Bind(*_sliders[i], _sliderIds[i]);
    }
    const DJDeckRect r = placer.Next();
    AddPaintControl(kDeckPitchSlider, r.x, r.y, r.width, r.height, {});
    _pitch->SetTextFont(theme.smallLabelFont);
    _Bind(*_pitch, kDeckPitchSlider);
    const DJDeckRect v = placer.Next();
    AddPaintControl(kDeckVolume, v.x, v.y, v.width, v.height, {});
    _Bind(*_volume, kDeckVolume);
}

void DJDeckGUI::_AddDisplays()
{
    OffscreenPlacer placer;
    placer.x = 510 * 20;
    const struct {
        int id;
        LPaintControl* control;
    } displays[] = {
        {kDeckInfoControl, _info.get()},
        {kDeckWaveDetailed, _waveDetailed.get()},
        {kDeckWavePreview, _wavePreview.get()},
    };
    for (const auto& display : displays) {
        const DJDeckRect r = placer.Next();
        AddPaintControl(display.id, r.x, r.y, r.width, r.height, {});
        _Bind(*display.control, display.id);
    }
    const DJDeckRect m = placer.Next();
    AddDBDisplay(kDeckLevelMeter, m.x, m.y, m.width, m.height);
    _Bind(*_meter, kDeckLevelMeter);

    // Labels in the theme's light text colour, readable on the dark surfaces; the equaliser's
    // names are smaller so that they fit their 20-pixel columns.
    const LGuiFont labelFont = _LabelFont();
    LGuiFont bandFont;
    bandFont.CreateFont(kBandLabelFontPx, false, false, false, GetTheme().syncLitText);
    const struct {
        int id;
        const char* text;
        const LGuiFont& font;
    } labels[] = {{kDeckVolumeLabel, "Volume", labelFont}, {kDeckBassLabel, "Bass", bandFont},
                  {kDeckMidLabel, "Mid", bandFont},        {kDeckHighLabel, "High", bandFont},
                  {kDeckFxTitle, "", labelFont}};
    for (const auto& label : labels) {
        const DJDeckRect r = placer.Next();
        AddStatic(label.id, label.text, r.x, r.y, r.width, r.height);
        SetControlFont(label.id, label.font);
    }
}

LGuiFont DJDeckGUI::_LabelFont()
{
    LGuiFont font = GetTheme().smallLabelFont;
    font.SetColor(GetTheme().syncLitText);
    return font;
}

void DJDeckGUI::_AddTips()
{
    static const LToolTip kTips[] = {
        {kDeckMenu, "Deck Options"},
        {kDeckBendDown, "Slow Down"},
        {kDeckBendUp, "Speed Up"},
        {kDeckPlay, "Play"},
        {kDeckCuePause, "Cue Pause"},
        {kDeckSetCue, "Set Cue Point"},
        {kDeckCuePlay, "Play from Cue Point"},
        {kDeckLoop, "Loop"},
        {kDeckLoopLength, "Set Loop Length"},
        {kDeckPitchSlider, "Drag to Change Pitch"},
        {kDeckVolume, "Volume Control"},
        {kDeckHeadphones, "Headphone Output"},
        {kDeckSync, "Sync Track"},
        {kDeckKillBass, "Toggle Cut Bass Frequencies"},
        {kDeckKillMid, "Toggle Cut Mid Range Frequencies"},
        {kDeckKillHigh, "Toggle Cut High Frequencies"},
        {kDeckFxOnOffFirst, "Turn on FX 1"},
        {kDeckFxOnOffFirst + 3, "Turn on FX 2"},
        {kDeckFxOnOffFirst + 6, "Turn on FX 3"},
        {kDeckFxOnOffFirst + 9, "Turn on FX 4"},
        {kDeckFxOnOffFirst + 12, "Turn on FX 5"},
        {kDeckFxOnOffFirst + 15, "Turn on FX 6"},
        {kDeckFxEditFirst, "Edit FX 1"},
        {kDeckFxEditFirst + 3, "Edit FX 2"},
        {kDeckFxEditFirst + 6, "Edit FX 3"},
        {kDeckFxEditFirst + 9, "Edit FX 4"},
        {kDeckFxEditFirst + 12, "Edit FX 5"},
        {kDeckFxEditFirst + 15, "Edit FX 6"},
    };
    AddTools(this, kTips, static_cast<int>(std::size(kTips)));
}

void DJDeckGUI::DestroyDialog()
{
    if (_deck)
        _deck->Stop();
}

DJVerticalSlider* DJDeckGUI::GetSlider(int id) const
{
    for (size_t i = 0; i < _sliderIds.size(); ++i)
        if (_sliderIds[i] == id)
            return _sliders[i].get();
    return nullptr;
}

// ---- track life cycle

bool DJDeckGUI::Load(const char* path, int beatFrequency, int beatOffset, int cueSample)
{
    if (!_deck)
        return false;
    _path = path ? path : "";
    _flags.loopOn = false;
    _deck->SetLoop(0);
    _waveDetailed->ThrottledUpdate();
    if (!_LoadDeck(_path.c_str(), beatFrequency, beatOffset)) {
        _ClearAfterFailedLoad();
        return false;
    }
    _pitch->SetPitch(DJPitchSlider::kPitchCentre);
    const int frameLength = _deck->GetSampleRate() * kWaveSpanSeconds;
    for (DJWaveWindow* wave : {static_cast<DJWaveWindow*>(_waveDetailed.get()),
                               static_cast<DJWaveWindow*>(_wavePreview.get())}) {
        wave->SetFrameLength(frameLength);
        wave->Load(_path.c_str());
        wave->SetNotify(this);
    }
    _flags.cuePlayDown = false;
    _flags.syncOn = false;
    _deck->SetCueMark(cueSample);
    EnableControls();
    return true;
}

bool DJDeckGUI::_LoadDeck(const char* path, int beatFrequency, int beatOffset)
{
    _deck->Stop();
    const bool loaded = _deck->Load(path, beatFrequency, beatOffset);
    _deck->Unsync();
    return loaded;
}

void DJDeckGUI::SetTrackInfo(const char* title, const char* artist, const char* lengthText)
{
    const std::string remaining = std::string("- ") + (lengthText ? lengthText : "");
    _info->SetDeckInfo(title ? title : "", artist ? artist : "", remaining.c_str());
}

void DJDeckGUI::ClearDeck()
{
    if (_deck) {
        _deck->Stop();
        _deck->Unload();
    }
    _waveDetailed->CloseSource();
    _waveDetailed->ThrottledUpdate();
    _wavePreview->CloseSource();
    _wavePreview->ThrottledUpdate();
    _info->ClearDeck();
    _pitch->SetPitch(DJPitchSlider::kPitchCentre);
    _flags.loopOn = false;
    if (_deck) {
        _deck->SetLoop(0);
        _deck->Unsync();
        _deck->ResetBeatFrequency();
        _deck->Unload();
    }
    _flags.cuePlayDown = _flags.syncOn = _flags.headphonesOn = false;
    if (_deck)
        _deck->SetHeadphoneMode(false);
    _path.clear();
    _ShowCleared();
}

// A load that failed: the deck already let go of the track and keeps the file's error state
// for whoever reports it, so only the panel is emptied.
void DJDeckGUI::_ClearAfterFailedLoad()
{
    _waveDetailed->CloseSource();
    _waveDetailed->ThrottledUpdate();
    _wavePreview->CloseSource();
    _wavePreview->ThrottledUpdate();
    _info->ClearDeck();
    _pitch->SetPitch(DJPitchSlider::kPitchCentre);
    _flags.cuePlayDown = _flags.syncOn = false;
    _path.clear();
    _ShowCleared();
}

void DJDeckGUI::_ShowCleared()
{
    EnableControls();
    RedrawWindow();
    _ParentMessage(static_cast<int>(DJDeckParentMessage::kDeckCleared), _deckMessageId);
}

void DJDeckGUI::JumpToStart()
{
    if (!_deck)
        return;
    _deck->Stop();
    _deck->Seek(0);
    _deck->SetCursor(0);
    _SetWavesFrame(0);
    _ResetLoop();
}

void DJDeckGUI::_ResetLoop()
{
    _flags.loopOn = false;
    _deck->SetLoop(0);
    _waveDetailed->ThrottledUpdate();
}

void DJDeckGUI::SetProgressCounter(int percent)
{
    _waveDetailed->SetLoadProgress(percent < 0 ? DJWaveDetailed::kNoProgress : percent);
}

void DJDeckGUI::SetAutoPlayMode(bool on)
{
    _waveDetailed->SetAutoPlayMode(on);
    _waveDetailed->ThrottledUpdate();
}

// ---- times

std::string DJDeckGUI::FormatElapsed(LSoundTime time)
{
    char text[32];
    time._GetTextHMMSSF(text);
    return std::string("+ ") + text;
}

std::string DJDeckGUI::FormatRemaining(LSoundTime time, LSoundTime length)
{
    const long long left = static_cast<long long>(length.GetMilliseconds()) - time.GetMilliseconds();
    char text[32];
    LSoundTime(static_cast<int>(std::clamp<long long>(left, 0, 0x7fffffff)))._GetTextHMMSSF(text);
    return std::string("- ") + text;
}

void DJDeckGUI::_SetDeckTime(LSoundTime time)
{
    _deckTimeMs = time;
    LSoundTime length(0);
    if (_deck && _deck->GetSampleRate() > 0)
        length = LSoundTime::FromFrames(std::max(_deck->GetEndSample(), 0), _deck->GetSampleRate());
    const long long left = static_cast<long long>(length.GetMilliseconds()) - time.GetMilliseconds();
    _deckRemainingMs = LSoundTime(static_cast<int>(std::clamp<long long>(left, 0, 0x7fffffff)));
    _info->SetDeckTime(FormatElapsed(time).c_str(), FormatRemaining(time, length).c_str());
    _waveDetailed->SetFrame(time);
    _wavePreview->SetFrame(time);
}

void DJDeckGUI::_SetWavesFrame(int sample)
{
    _waveDetailed->SetFrame(sample);
    _wavePreview->SetFrame(sample);
}

// ---- notifications

void DJDeckGUI::djntfBeats(DJDeck&)
{
    // The scan is over, though its thread may not have ended yet.
    if (_flags.pitchPending) {
        _flags.pitchPending = false;
        _ApplyPitch();
    }
    _waveDetailed->ThrottledUpdate();
}

void DJDeckGUI::djntfPlay(DJDeck&)
{
    EnableControls();
}

void DJDeckGUI::djntfStop(DJDeck&)
{
    EnableControls();
    _meter->Clear();
}

void DJDeckGUI::djntfLevel(LDBMC const& level, DJDeck&)
{
    _meter->SetLevel(level);
}

void DJDeckGUI::djntfTime(LSoundTime& time, DJDeck&)
{
    _SetDeckTime(time);
}

void DJDeckGUI::djwwntfSeek(int sample)
{
    if (!_deck)
        return;
    sample = std::max(sample, 0);
    _deck->Seek(sample);
    const int rate = _deck->GetSampleRate();
    if (rate < 1) {
        _SetDeckTime(LSoundTime(0));
        return;
    }
    const long long ms = static_cast<long long>(sample / rate) * 1000 +
                         static_cast<long long>(sample % rate) * 1000 / rate;
    _SetDeckTime(LSoundTime(static_cast<int>(std::min<long long>(ms, 0x7fffffff))));
}

// ---- messages

long DJDeckGUI::_ParentMessage(int message, long data1)
{
    return SendParentInterWinMessage(message, data1, 0);
}

long DJDeckGUI::EvInterWinMessage(int message, long data1, long /*data2*/)
{
    switch (static_cast<DJDeckMessage>(message)) {
    case DJDeckMessage::kPitch:
        if (data1 == kDeckPitchSlider)
            CmPitch();
        break;
    case DJDeckMessage::kSlider:
        _SliderMoved(static_cast<int>(data1));
        break;
    case DJDeckMessage::kContextMenu:
        _ContextMenu();
        break;
    case DJDeckMessage::kCueDragEnd:
        _wavePreview->ThrottledUpdate();
        _ParentMessage(static_cast<int>(DJDeckParentMessage::kCueMarkChanged),
                       _CueMessage());
        break;
    case DJDeckMessage::kOverDeck:
        _waveDetailed->SetOverDeck(data1 != 0);
        _waveDetailed->ThrottledUpdate();
        break;
    case DJDeckMessage::kVolume:
        if (data1 == kDeckVolume)
            _SendVolume();
        break;
    case DJDeckMessage::kDragActive:
        _waveDetailed->SetDragActive(data1 != 0);
        _waveDetailed->ThrottledUpdate();
        break;
    }
    return 0;
}

void DJDeckGUI::_SendVolume()
{
    if (!_deck)
        return;
    const int level = std::clamp(_volume->GetLevel().GetDB() - kVolumeOffsetDb, -127, 127);
    _deck->SetVolume(LdBValue(level));
}

long DJDeckGUI::_CueMessage() const
{
    return _deck && _deck->GetDeckPosition() == kDeckRight ? kCueMessageB : kCueMessageA;
}

long DJDeckGUI::_EditBpmMessage() const
{
    return _deck && _deck->GetDeckPosition() == kDeckRight ? kEditBpmB : kEditBpmA;
}
