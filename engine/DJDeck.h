#pragma once

#include "engine/DJDeckSourceBase.h"
#include "sound/LSoundSource.h"
#include "sound/LSoundTime.h"
#include "sound/LdB.h"

#include <string>

class DJDeck;

enum DJDeckPosition { kDeckLeft = 0, kDeckRight = 1 };

// What a deck tells its listeners (the console first, then the deck panel). Every slot has an
// empty default.
class DJDeckNotify {
public:
    virtual ~DJDeckNotify() = default;
    virtual void djntfPlay(DJDeck&) {}
    virtual void djntfStop(DJDeck&) {}
    virtual void djntfLevel(LDBMC const&, DJDeck&) {}
    virtual void djntfVolume(LdBValue, LdBValue, DJDeck&) {}
    virtual void djntfPosition(DJDeck&) {}
    virtual void djntfTime(LSoundTime&, DJDeck&) {}
    virtual void djntfPitch(DJDeck&) {}
    virtual void djntfFX(DJDeck&) {}
    virtual void djntfSync(DJDeck&) {}
    virtual void djntfUnsync(DJDeck&) {}
    virtual void djntfBeats(DJDeck&) {}
    virtual void djntfHeadphone(DJDeck&, bool) {}
    virtual void djntfLoop(DJDeck&) {}
    virtual int GetLag() { return 0; }
};

// Effect settings of a deck as the user left them; each is passed to its process unchanged
// except where OpenSource says.
struct DJDeckEffects {
    bool distortionOn = false;
    double distortionAmount = 0.0;
    LdBValue distortionGain{0};

    bool highPassOn = false;
    int highPassFrequency = 0;  // Hz

    bool reverbOn = false;
    int reverbMix = 1;                  // percent wet
    LSoundTime reverbTime{10000};
    unsigned char reverbOption = 0;

    bool phaserOn = false;  // a flanger that does not sweep
    int phaserDelayMs = 50;
    int phaserMixPercent = 50;

    bool flangerOn = false;
    int flangerDelayMs = 50;
    double flangerRateHz = 25.0;  // sweep rate
    int flangerDepthPercent = 50;
    int flangerMixPercent = 50;

    bool delayOn = false;  // the echo
    int delayFeedbackPercent = 50;
    int delayTimeMs = 50;  // held within 1..4000 when the chain is built

    LdBValue eqLow{0}, eqMid{0}, eqHigh{0};
};

// A deck: one track (a WAVE file) and the settings that shape its sound. Any change of sound
// rebuilds the whole chain from the file through OpenSource; a running chain is never altered.
class DJDeck {
public:
    static constexpr int kMaxListeners = 2;

    explicit DJDeck(DJDeckPosition position = kDeckLeft) : _position(position) {}

    // Appends a listener; a third is ignored.
    void AddNotify(DJDeckNotify* listener);

    // Makes `path` the deck's track: opens the position and raw sources and clears the
    // restart position and cue mark. False when the file cannot be opened (the handles then
    // carry its error).
    bool SetTrack(const char* path);
    const std::string& GetTrackPath() const { return _path; }

    // Builds the chain: file, high pass, reverb, distortion, flanger, phaser, echo, pitch,
    // equaliser at 100, 400 and 1000 Hz, loop, deck source; started at the restart position.
    // A file that cannot be opened gives its error source and no stages.
    LSoundSource OpenSource();

    void SetEq(LdBValue low, LdBValue mid, LdBValue high);
    void SetDistortion(double amount, LdBValue gain, bool on);
    void SetPhaser(int delayMs, int mixPercent, bool on);
    void SetHighPass(int frequency, bool on);
    void SetReverb(int mix, LSoundTime time, unsigned char option, bool on);
    void SetFlanger(int delayMs, double rateHz, int depthPercent, int mixPercent, bool on);
    void SetDelay(int feedbackPercent, int timeMs, bool on);

    void SetRestartPosition(int sample);
    // A loop of `lengthFrames` from `cueMark` (frames in the pitched stream); length 0 ends it.
    void SetLoopFrames(int cueMark, int lengthFrames);
    // Playback speed; 1.0 is normal. Cue mark, loop length and restart position keep their
    // place in the track.
    void SetPitch(double pitch);

    double GetPitch() const { return _pitch; }
    int GetRestartPosition() const { return _restartPosition; }
    int GetCueMark() const { return _cueMark; }
    int GetLoopLength() const { return _loopLength; }
    bool IsLoopActive() const { return _loopActive; }
    const DJDeckEffects& GetEffects() const { return _fx; }
    DJDeckPosition GetDeckPosition() const { return _position; }
    // Frame count of the position source (pitched frames).
    int GetEndSample() const { return _positionSource->GetEndSample(); }
    LSoundSource& GetPositionSource() { return _positionSource; }
    DJDeckSourceBaseInfo& GetInfo() { return _info; }

private:
    void _NotifyFX();
    LSoundSource _WithPitch(LSoundSource source) const;
    // The track's frame count when played at `pitch`.
    int _PitchedEnd(double pitch);
    void _AddEffects(LSoundSource& working);
    void _AddEqualiser(LSoundSource& working) const;

    DJDeckPosition _position;
    DJDeckNotify* _listeners[kMaxListeners] = {};
    int _listenerCount = 0;

    LSoundSource _positionSource;
    LSoundSource _rawSource;
    std::string _path;
    double _pitch = 1.0;
    int _restartPosition = 0;  // frames
    int _cueMark = 0;          // frames; also the loop's start
    int _loopLength = 0;       // frames
    bool _loopActive = false;
    DJDeckEffects _fx;
    DJDeckSourceBaseInfo _info;
};

// Reverb mix percent to the wet and dry gains of the reverb stage, in dB (-127 is silence).
LdBValue DJReverbWetGain(int mixPercent);
LdBValue DJReverbDryGain(int mixPercent);
// Distortion gain in dB to the distortion stage's level (2^17 is unity).
int DJDistortionLevel(LdBValue gain);
