#pragma once

#include "ui/DJCrossFader.h"
#include "ui/DJTheme.h"
#include "ui/LCoolButtonContainer.h"
#include "ui/LDBDisplay2.h"
#include "ui/LDBEditCustom.h"
#include "ui/LPaintBackground.h"
#include "ui/LWindow.h"

#include <memory>

class DJConsole;
class DJMainWindowLink;
class DJPanelBackground;

// Control ids and commands of the console panel.
enum DJConsoleControl : int {
    kConsoleBackground = 1,
    // Release of a light: nothing to do but EnableControls, which restores its value.
    kConsoleLightReleased = 2,
    kConsoleCrossFader = 238,
    kConsoleMeter = 250,
    kConsoleVolume = 251,
    kConsoleFadeLeft = 252,
    kConsoleFadeLeftUp = 253,
    kConsoleFadeLeftDown = 254,
    kConsoleFadeRight = 255,
    kConsoleFadeRightUp = 256,
    kConsoleFadeRightDown = 257,
    kConsoleAutoPlayLight = 265,
    kConsoleRecordingLight = 360,
};

// Timers of the console panel.
enum DJConsoleTimer : int {
    kConsoleFadeTimer = 331,
    kConsoleAutoPlayBlink = 332,
    kConsoleRecordingBlink = 359,
};

// The narrow panel between the decks: auto play and recording lights, the crossfader with its
// two auto fade buttons, the master meter and the master volume. It drives the console's
// crossfade, master volume and recording. Interface thread only.
class DJConsoleGUI : public LEmbeddedWindow,
                     public LPaintBackgroundCustom,
                     public LCoolButtonContainer,
                     public LInterWinMessageHandler,
                     public DJThemeUser {
public:
    static constexpr unsigned int kFirstBlinkMs = 200;
    static constexpr unsigned int kBlinkMs = 500;       // half the lights' period
    static constexpr int kEmptySettingFadeMs = 140;     // a step's delay with no setting
    static constexpr int kFadeMsPerSecond = 10;         // step delay per second of fade time
    static constexpr int kBackgroundTop = 15;           // pixels from the top to image 355

    explicit DJConsoleGUI(DJConsole& console);
    ~DJConsoleGUI() override;

    // Makes the panel inside `parent` at that place; `main` answers its buttons.
    void Init(LWindow& parent, DJMainWindowLink& main, int x, int y, int width, int height);

    void SetAutoPlayMode(bool on);
    void ToggleRecordingMode();
    void StopRecording();
    void AutoCrossFadeToLeft();
    void AutoCrossFadeToRight();
    void AutoCrossFadeCancel();

    // The master level for the meter, and the meter back to silence.
    void SetMasterLevel(const LDBMC& level) { _meter.SetLevel(level); }
    void ClearMeter() { _meter.Clear(); }

    // The delay before the next fade step, from the CrossFadeTime setting as it is now.
    static unsigned int FadeStepDelayMs();
    unsigned int GetLastFadeDelayMs() const { return _lastFadeDelayMs; }

    bool IsAutoPlayMode() const { return _autoPlayMode; }
    bool IsAutoPlayLight() const { return _autoPlayLight; }
    bool IsFadingLeft() const { return _fadingLeft; }
    bool IsFadingRight() const { return _fadingRight; }
    bool IsRecording() const { return _recording; }
    bool IsRecordingLight() const { return _recordingLight; }
    DJCrossFader& GetCrossFader() { return _crossFader; }
    LDBDisplay2& GetMeter() { return _meter; }
    LDBEditCustom& GetVolume() { return _volume; }

    // LWindow
    void InitDialog() override;
    void DestroyDialog() override;
    void LayoutControls(int x, int y, int width, int height) override;
    void Command(int id) override;
    void EnableControls() override;
    void EvTimer(int timerId) override;
    long EvInterWinMessage(int message, long data1, long data2) override;
    // LCoolButtonContainer
    void CoolButtonCustomDraw(PaintData& data, int id) override;
    // LPaintBackgroundCustom
    void PaintBackground(PaintData& data) override;

protected:
    int _BackgroundWidth() const override { return GetClientWidth(); }
    int _BackgroundHeight() const override { return GetClientHeight(); }

private:
    void _AddControls();
    void _AddTips();
    void _StartFadeTimer();
    void _FadeStep();
    void _PressFade(bool& thisWay, bool& otherWay);
    void _BlinkAutoPlay();
    void _BlinkRecording();
    // Repaints a custom-drawn button.
    void _UpdateButton(int id);

    DJConsole& _console;
    DJMainWindowLink* _main = nullptr;
    std::unique_ptr<DJPanelBackground> _background;
    DJCrossFader _crossFader;
    LDBDisplay2 _meter;
    LDBEditCustom _volume;
    bool _autoPlayMode = false;
    bool _autoPlayLight = false;
    bool _fadingLeft = false;
    bool _fadingRight = false;
    bool _recording = false;
    bool _recordingLight = false;
    unsigned int _lastFadeDelayMs = 0;
};
