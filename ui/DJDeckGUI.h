#pragma once

#include "engine/DJDeck.h"
#include "ui/DJTheme.h"
#include "ui/DJWaveWindow.h"
#include "ui/LCoolButtonContainer.h"
#include "ui/LPaintBackground.h"
#include "ui/LWindow.h"

#include <array>
#include <functional>
#include <memory>
#include <string>

class DJDeckInfo;
class DJPitchSlider;
class DJVerticalSlider;
class DJWaveDetailed;
class DJWavePreview;
class LDBDisplay2;
class LDBEditCustom;
class LPaintControl;

// Control ids of the deck panel; each is also its tip's key and, for buttons, the base of its
// command numbers.
enum DJDeckControl : int {
    kDeckBackground = 99,  // the paint control that shows the panel's background image
    kDeckPlay = 101,
    kDeckCuePause = 104,
    kDeckSetCue = 107,
    kDeckHeadphones = 110,
    kDeckLoop = 116,
    kDeckLoopLength = 119,
    kDeckCuePlay = 122,
    kDeckSync = 125,
    kDeckMenu = 128,
    kDeckFxNameFirst = 131,    // 131, 134, ... 146: one every 3
    kDeckFxEditFirst = 149,    // 149, 152, ... 164
    kDeckFxOnOffFirst = 167,   // 167, 170, ... 182
    kDeckKillBass = 197, kDeckKillMid = 200, kDeckKillHigh = 203,
    kDeckEqBass = 206, kDeckEqMid = 207, kDeckEqHigh = 208,
    kDeckDistortionTone = 209, kDeckDistortionLevel = 210,
    kDeckHighPassFreq = 211,
    kDeckReverbMix = 212, kDeckReverbTime = 213, kDeckReverbDamp = 420,
    kDeckPhaserMix = 214, kDeckPhaserDelay = 215,
    kDeckFlangerDepth = 216, kDeckFlangerMix = 217, kDeckFlangerDelay = 218,
    kDeckFlangerRate = 219,
    kDeckDelayMix = 220, kDeckDelayTime = 221,
    kDeckInfoControl = 223,
    kDeckWaveDetailed = 224,
    kDeckLevelMeter = 225,
    kDeckVolume = 226,
    kDeckWavePreview = 227,
    kDeckPitchSlider = 229,
    kDeckVolumeLabel = 231,
    kDeckBassLabel = 334, kDeckMidLabel = 335, kDeckHighLabel = 336,
    kDeckFxTitle = 337,
    kDeckBendDown = 352,
    kDeckBendUp = 355,
};

// Commands of the panel's buttons: (press, release) pairs; play has a press only.
enum DJDeckButtonCommand : int {
    kCmdPlay = 101,
    kCmdCuePauseUp = 105, kCmdCuePauseDown = 106,
    kCmdSetCueDown = 108, kCmdSetCueUp = 109,
    kCmdHeadphonesUp = 111, kCmdHeadphonesDown = 112,
    kCmdLoopUp = 117, kCmdLoopDown = 118,
    kCmdLoopLengthUp = 120, kCmdLoopLengthDown = 121,
    kCmdCuePlayUp = 123, kCmdCuePlayDown = 124,
    kCmdSyncUp = 126, kCmdSyncDown = 127,
    kCmdMenuUp = 129, kCmdMenuDown = 130,
    kCmdKillBassDown = 198, kCmdKillBassUp = 199,
    kCmdKillMidDown = 201, kCmdKillMidUp = 202,
    kCmdKillHighDown = 204, kCmdKillHighUp = 205,
    kCmdBendDownDown = 353, kCmdBendDownUp = 354,
    kCmdBendUpDown = 356, kCmdBendUpUp = 357,
};

// The key commands whose keys the deck's context menu shows, deck A and deck B.
enum DJDeckKeyCommand : int {
    kKeyJumpToStartA = 313, kKeyJumpToStartB = 314,
    kKeyEditBpmA = 315, kKeyEditBpmB = 316,
    kKeyResetDeckA = 317, kKeyResetDeckB = 318,
    kKeySnapA = 319, kKeySnapB = 320,
    kKeySetCueA = 287, kKeySetCueB = 288,
};

// Commands of the deck's popup menus.
enum DJDeckMenuCommand : int {
    kDeckMenuReset = 232,
    kDeckMenuEditBpm = 233,
    kDeckMenuJumpToStart = 234,
    kDeckMenuSnap = 235,
    kDeckMenuSetCue = 358,
    kDeckLoopFirst = 185,  // 185..196: the lengths 1/8 to 32 beats
    kDeckLoopWhole = 362,
};

// Inter-window messages the panel takes (from its controls and the main window).
enum class DJDeckMessage : int {
    kPitch = 1,
    kSlider = 2,
    kContextMenu = 4,
    kCueDragEnd = 5,
    kOverDeck = 6,
    kVolume = 7,
    kDragActive = 8,
};

// The six effects, in the order of every table and array of the panel.
enum class DJDeckFx : int { kDistortion, kHighPass, kReverb, kPhaser, kFlanger, kDelay };
inline constexpr int kDeckFxCount = 6;
inline constexpr int kDeckLoopLengthCount = 13;
inline constexpr int kDeckSliderCount = 17;  // three of the equaliser, fourteen of the effects
inline constexpr int kDeckPanelHeight = 395;  // pixels the controls need

// A control's place in the panel.
struct DJDeckRect {
    int x = 0, y = 0, width = 0, height = 0;
    friend bool operator==(const DJDeckRect&, const DJDeckRect&) = default;
};

// Where a control stands in a panel of `width`; an empty rectangle for an unknown id.
DJDeckRect DJDeckControlRect(int id, int width);

// Slider position (0 top .. 100 bottom) to engine values, each with v = 100 - position.
namespace DJDeckMap {
int Value(int position);
// A band in dB: -12 when killed, else 24 v / 101 - 12 rounded half away from zero.
int EqDb(int position, bool killed);
double DistortionAmount(int position);
int DistortionLevelDb(int position);
// 2 (k + 1)^2 Hz for k = v.
int HighPassHz(int position);
int ReverbMix(int position);
int ReverbTimeMs(int position);
int ReverbDamp(int position);
int PhaserDelay(int position);
int FlangerDelay(int position);
double FlangerRate(int position);
int DelayMix(int position);
int DelayTimeMs(int position);
// Pitch slider position 0..1000 to the speed ratio 0.5..1.5.
double PitchRatio(int pitchPosition);
// Speed ratio to the pitch position, truncated.
int PitchPosition(double ratio);
// The loop length of menu entry `index` in beats; -1 for the whole track.
double LoopBeats(int index);
}  // namespace DJDeckMap

// One deck's panel: track information, waves, transport, pitch, level and volume, the
// equaliser with kills and the six effects. It turns control positions into engine values and
// calls its DJDeck, and shows what the deck reports. Interface thread only.
class DJDeckGUI : public LEmbeddedWindow,
                  public LPaintBackgroundCustom,
                  public LCoolButtonContainer,
                  public DJDeckNotify,
                  public LInterWinMessageHandler,
                  public DJWaveWindowNotify,
                  public DJThemeUser {
public:
    static constexpr int kDefaultWidth = 400;  // pixels, until the main window lays it out

    DJDeckGUI();
    ~DJDeckGUI() override;

    // Makes the panel inside `parent`; `deckMessageId` (236 deck A, 237 deck B) goes with
    // message 1 when the deck is cleared.
    void Init(LWindow& parent, int deckMessageId, int x = 0, int y = 0, int width = kDefaultWidth,
              int height = kDeckPanelHeight);
    // Null does nothing.
    void SetDeck(DJDeck* deck);
    DJDeck* GetDeck() const { return _deck; }

    // Loads a cached WAVE file; false (and an empty panel) when the deck cannot open it.
    bool Load(const char* path, int beatFrequency, int beatOffset, int cueSample);
    void SetTrackInfo(const char* title, const char* artist, const char* lengthText);
    void ClearDeck();
    void JumpToStart();
    void ClearFX();
    void SetFXTitle(const char* name);
    void CmPlay();
    void CmPlayToggle();
    void CmCuePlay();
    void CmCuePause();
    void CmCueMark();
    void CmLoop();
    void CmSync();
    void CmHeadphones();
    void CmEq();
    void CmPitch();
    void CmDistortion();
    void CmHighPass();
    void CmReverb();
    void CmPhaser();
    void CmFlanger();
    void CmDelay();
    // Conversion progress in percent; -1 hides it.
    void SetProgressCounter(int percent);
    void SetAutoPlayMode(bool on);

    // The menus as they would show now.
    LPopupMenu BuildLoopMenu() const;
    LPopupMenu BuildContextMenu() const;
    // The key text of a key command for the context menu; by default the command's default
    // key. The key table replaces it once keys can be reassigned.
    void SetKeyTextSource(std::function<std::string(int keyCommand)> source);

    // LWindow
    void InitDialog() override;
    void DestroyDialog() override;
    void EnableControls() override;
    void Command(int id) override;
    long EvInterWinMessage(int message, long data1, long data2) override;
    void LayoutControls(int x, int y, int width, int height) override;
    void PaintBackground(PaintData& data) override;
    void CoolButtonCustomDraw(PaintData& data, int id) override;

    // DJDeckNotify
    void djntfBeats(DJDeck&) override;
    void djntfPlay(DJDeck&) override;
    void djntfStop(DJDeck&) override;
    void djntfLevel(LDBMC const& level, DJDeck&) override;
    void djntfTime(LSoundTime& time, DJDeck&) override;
    // DJWaveWindowNotify
    void djwwntfSeek(int sample) override;

    // State, for the key commands and for tests.
    struct Flags {
        bool cuePauseDown = false, cuePlayDown = false, cueMarkDown = false,
             slowDownDown = false, speedUpDown = false, menuDown = false, loopMenuOpen = false;
        bool loopOn = false, headphonesOn = false, syncOn = false;
        bool killBass = false, killMid = false, killHigh = false;
        bool pitchPending = false;
        std::array<bool, kDeckLoopLengthCount> loopLength{};
        std::array<bool, kDeckFxCount> fxEdit{};
        std::array<bool, kDeckFxCount> fxOn{};
        int savedPitch = 500;
    };
    Flags& GetFlags() { return _flags; }
    const Flags& GetFlags() const { return _flags; }
    int GetDeckMessageId() const { return _deckMessageId; }
    LSoundTime GetDeckTime() const { return _deckTimeMs; }
    LSoundTime GetDeckRemaining() const { return _deckRemainingMs; }
    const std::string& GetFxTitle() const { return _fxTitle; }
    DJVerticalSlider* GetSlider(int id) const;
    DJPitchSlider& GetPitchSlider() const { return *_pitch; }
    LDBEditCustom& GetVolumeControl() const { return *_volume; }
    LDBDisplay2& GetLevelMeter() const { return *_meter; }
    DJDeckInfo& GetDeckInfo() const { return *_info; }
    DJWaveDetailed& GetWaveDetailed() const { return *_waveDetailed; }
    DJWavePreview& GetWavePreview() const { return *_wavePreview; }

    // Elapsed and remaining texts of a time and a length: "+ 0:01:02.5", never negative left.
    static std::string FormatElapsed(LSoundTime time);
    static std::string FormatRemaining(LSoundTime time, LSoundTime length);

protected:
    int _BackgroundWidth() const override;
    int _BackgroundHeight() const override;

private:
    struct FxSpec;
    static const FxSpec& _Fx(int index);
    static const char* _FxOnTitle(int index);

    // Construction of the controls (DJDeckGUI.cpp).
    void _AddButtons();
    void _AddSliders();
    void _AddDisplays();
    void _AddTips();
    static LGuiFont _LabelFont();
    void _Bind(LPaintControl& control, int id);
    // Commands (DJDeckGUIEffects.cpp).
    bool _ButtonCommand(int id);
    bool _FxCommand(int id);
    bool _MenuCommand(int id);
    void _PressPlay(bool sendVolume);
    void _SetCueMark();
    void _PitchBend(bool up, bool press);
    void _FlipFx(int index, const char* title);
    void _EditFx(int index);
    void _CallFx(int index);
    void _SliderMoved(int id);
    void _ShowLoopMenu();
    void _ContextMenu();
    int _Pos(int sliderId) const;
    // Layout and painting (DJDeckGUILayout.cpp).
    void _PlaceControls(int width);
    void _DrawImageButton(PaintData& data, int id) const;
    void _DrawSyncButton(PaintData& data, bool lit) const;
    void _RepaintButton(int id);
    // Shared.
    void _SendVolume();
    void _SetDeckTime(LSoundTime time);
    void _ResetLoop();
    void _SetPitchPosition(int position);
    void _PitchChangedOnWaves();
    void _SetWavesFrame(int sample);
    bool _LoadDeck(const char* path, int beatFrequency, int beatOffset);
    void _ClearAfterFailedLoad();
    // Shows the empty panel and tells the parent the deck was cleared.
    void _ShowCleared();
    void _ApplyPitch();
    long _ParentMessage(int message, long data1);
    // data1 of the cue mark and edit BPM messages for this deck.
    long _CueMessage() const;
    long _EditBpmMessage() const;
    std::string _KeyText(int keyCommand) const;

    DJDeck* _deck = nullptr;
    int _deckMessageId = 0;
    int _width = kDefaultWidth;
    Flags _flags;
    LSoundTime _deckTimeMs{0}, _deckRemainingMs{0};
    std::string _fxTitle;
    std::string _path;
    std::function<std::string(int)> _keyText;

    std::unique_ptr<LPaintControl> _background;
    std::unique_ptr<DJDeckInfo> _info;
    std::unique_ptr<DJWaveDetailed> _waveDetailed;
    std::unique_ptr<DJWavePreview> _wavePreview;
    std::unique_ptr<DJPitchSlider> _pitch;
    std::unique_ptr<LDBDisplay2> _meter;
    std::unique_ptr<LDBEditCustom> _volume;
    // Equaliser 206..208, then each effect's sliders.
    std::array<std::unique_ptr<DJVerticalSlider>, kDeckSliderCount> _sliders;
    std::array<int, kDeckSliderCount> _sliderIds{};
    LPopupMenu _loopMenu;
};
