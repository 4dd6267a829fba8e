#pragma once

#include "analysis/LBeatDetector.h"
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
    // Around a jump of the deck's running chain: the console holds its player locks between
    // the two calls, so the player thread never reads a chain half moved.
    virtual void djntfLockChain(DJDeck&, bool /*lock*/) {}
};

// Transport state; the console's notifications see the passing states 0 and 2.
enum DJDeckState { kDeckStopping = 0, kDeckStopped = 1, kDeckStarting = 2, kDeckPlaying = 3 };

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
class DJDeck : public LBeatDetectorNotify {
public:
    static constexpr int kMaxListeners = 2;
    static constexpr int kDoubleBelowPeriod = 13231;  // frames: shorter beats (over 200 BPM) count double
    static constexpr int kHoldGlideMs = 100;          // step of a held position display
    static constexpr int kHoldCatchUpMs = 200;        // a held display this close to the truth lets go
    static constexpr int kLevelWindowMs = 100;

    // Reads the deck's "CueSnap%d" setting.
    explicit DJDeck(DJDeckPosition position = kDeckLeft);
    // Writes the cue snap back; stops a beat detection.
    ~DJDeck() override;
    DJDeck(const DJDeck&) = delete;
    DJDeck& operator=(const DJDeck&) = delete;

    DJDeck* next = nullptr;  // the console's list

    // Loads a WAVE file: a grid of 0, 0 starts beat detection. False when the file cannot be
    // opened: the deck stays unloaded and its position source carries the error state.
    bool Load(const char* path, int beatPeriod, int beatOffset);
    void Unload();
    void Play();
    void Stop();
    void CuePlay();
    void CuePause();
    // Jumps to `sample` (pitched frames) as heard: the chain moves ahead by the listeners' lag.
    void Seek(int sample);
    // Moves the chain by `frames`, not before 0, without telling anyone.
    void SeekOffset(int frames);
    void SetCursor(int sample);
    // -1 marks the cursor.
    void SetCueMark(int sample);
    // A loop of `beats` beats from the cue mark; 0 ends it, negative loops the whole track.
    void SetLoop(double beats);
    void Sync();
    void Unsync();
    void SetVolume(LdBValue volume);
    void SetCrossFadeVolume(LdBValue volume);
    void SetHeadphoneMode(bool on);
    void ResetBeatFrequency() { _beatPeriod = 0; }
    void SetCueSnap(bool on) { _cueSnap = on; }
    void SetLoading(bool on) { _loading = on; }
    void SetHold(bool on) { _hold = on; }
    void SetPlayerTimeOffset(LSoundTime offset) { _timeOffset = offset; }
    // From the console, with the time the listener hears.
    void EvTimeChanged(LSoundTime time);
    void NotifyLevel(LSoundTime time);

    void bdntfDone(int period, int offset) override;
    void bdntfCancel() override;

    int GetLag();
    DJDeckState GetState() const { return _state; }
    bool IsActive() const { return _state == kDeckStarting || _state == kDeckPlaying; }
    bool IsLoaded() const { return _loaded; }
    bool IsLoading() const { return _loading; }
    bool IsPlayWhenLoaded() const { return _playWhenLoaded; }
    bool IsHold() const { return _hold; }
    bool IsHeadphoneMode() const { return _headphone; }
    bool IsCueSnap() const { return _cueSnap; }
    LSoundTime GetPosition() const { return _timePosition; }
    // The chain's position as time: ahead of what is heard.
    LSoundTime GetPositionSourceTime() const;
    int GetSampleRate() const { return _positionSource->GetRate(); }
    int GetCursor() const { return _cursor; }
    LSoundTime GetTimeOffset() const { return _timeOffset; }
    LdBValue GetVolume() const { return _volume; }
    LdBValue GetCrossFadeVolume() const { return _crossfadeVolume; }
    // Volume times crossfade volume, as dB.
    LdBValue GetVolumeTotal() const;
    int GetBeatFrequency() const { return _beatPeriod; }
    int GetBeatOffset() const { return _beatOffset; }
    int GetTrackBeatFrequency() const { return _trackBeatPeriod; }
    int GetTrackBeatOffset() const { return _trackBeatOffset; }
    int GetBeatFrequencyPitchAdjusted() const;
    double GetLoopBeats() const { return _loopBeats; }
    double GetFormerPitch() const { return _formerPitch; }
    LSoundTime GetLoopEnd() const;
    int GetLoopEndSample() const;
    LBeatDetector& GetBeatDetector() { return _detector; }

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
    // Frame count of the track at the present pitch.
    int GetTrackEnd() const { return _end; }
    // Frame count of the position source (pitched frames).
    int GetEndSample() const { return _positionSource->GetEndSample(); }
    LSoundSource& GetPositionSource() { return _positionSource; }
    DJDeckSourceBaseInfo& GetInfo() { return _info; }

private:
    void _NotifyFX();
    template <typename Slot>
    void _Tell(Slot slot);
    void _SetFractionsFromPositions();
    void _StopTransport();
    void _SeekChain(int sample);
    LSoundTime _FramesToTime(int frames) const;
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

    DJDeckState _state = kDeckStopped;
    LdBValue _volume{0}, _crossfadeVolume{0};
    bool _hold = false;
    int _beatPeriod = 0, _beatOffset = 0;            // frames
    int _trackBeatPeriod = 0, _trackBeatOffset = 0;  // frames, as loaded
    int _cursor = 0;                                 // frames
    LSoundTime _timeOffset, _timePosition, _lastTimePosition;
    double _cueFraction = 0, _loopFraction = 0, _restartFraction = 0;  // of the frame count
    double _formerPitch = 1.0;
    int _end = 0;  // frame count of the track at the present pitch
    double _loopBeats = 0;
    bool _headphone = false, _loaded = false, _loading = false, _playWhenLoaded = false;
    bool _cueSnap = false;
    LBeatDetector _detector;
};

// Reverb mix percent to the wet and dry gains of the reverb stage, in dB (-127 is silence).
LdBValue DJReverbWetGain(int mixPercent);
LdBValue DJReverbDryGain(int mixPercent);
// Distortion gain in dB to the distortion stage's level (2^17 is unity).
int DJDistortionLevel(LdBValue gain);
