// Transport of a deck: load, play and stop, positions, cue, loop, pitch, sync, volumes and the
// beat grid. The deck only changes its fields and tells its listeners; the console acts on
// the audio.

#include "engine/DJDeck.h"

#include "engine/DJSettingsAccess.h"
#include "sound/LSampleMath.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace {

std::string _CueSnapKey(DJDeckPosition position)
{
    char key[32];
    std::snprintf(key, sizeof key, "CueSnap%d", static_cast<int>(position));
    return key;
}

double _Fraction(int frames, int end)
{
    return end > 0 ? static_cast<double>(frames) / end : 0.0;
}

}  // namespace

DJDeck::DJDeck(DJDeckPosition position) : _position(position)
{
    _cueSnap = DJSettingBool(_CueSnapKey(position).c_str(), false);
}

DJDeck::~DJDeck()
{
    DJSettingSet(_CueSnapKey(_position).c_str(), _cueSnap ? "1" : "0");
}

template <typename Slot>
void DJDeck::_Tell(Slot slot)
{
    for (int i = 0; i < _listenerCount; ++i)
        slot(*_listeners[i]);
}

void DJDeck::_SetFractionsFromPositions()
{
    _cueFraction = _Fraction(_cueMark, _end);
    _loopFraction = _Fraction(_loopLength, _end);
    _restartFraction = _Fraction(_restartPosition, _end);
}

LSoundTime DJDeck::_FramesToTime(int frames) const
{
    return LSoundTime::FromFrames(frames, _positionSource->GetRate());
}

bool DJDeck::Load(const char* path, int beatPeriod, int beatOffset)
{
    if (IsActive())
        Stop();
    const bool ok = SetTrack(path ? path : "");
    _loaded = ok;
    _loading = false;
    if (!ok) {
        _playWhenLoaded = false;
        _detector.CloseSource();
        return false;
    }
    _beatPeriod = _trackBeatPeriod = std::max(beatPeriod, 0);
    _beatOffset = _trackBeatOffset = std::max(beatOffset, 0);
    if (_beatPeriod == 0 && _beatOffset == 0)
        _detector.DetectBeats(_path.c_str(), this);
    else
        _detector.Stop();
    SetCursor(0);
    _timePosition = _lastTimePosition = LSoundTime(0);
    if (_playWhenLoaded) {
        Play();
        _playWhenLoaded = false;
    }
    return true;
}

void DJDeck::Unload()
{
    if (IsActive())
        _StopTransport();
    _positionSource.Close();
    _rawSource.Close();
    _detector.CloseSource();
    _loaded = _loading = _playWhenLoaded = false;
    _path.clear();
    _end = 0;
}

void DJDeck::Play()
{
    if (!_loaded) {
        _playWhenLoaded = true;
        return;
    }
    if (_state == kDeckPlaying)
        return;
    _state = kDeckPlaying;
    _Tell([this](DJDeckNotify& n) {
        _state = kDeckStarting;
        n.djntfPlay(*this);
        _state = kDeckPlaying;
    });
    if (_loopActive)
        _Tell([this](DJDeckNotify& n) { n.djntfLoop(*this); });
}

void DJDeck::_StopTransport()
{
    _state = kDeckStopping;
    _Tell([this](DJDeckNotify& n) { n.djntfStop(*this); });
    _state = kDeckStopped;
}

// A deck that is not running has nothing to stop: a second Stop would move the restart
// position back by another lag.
void DJDeck::Stop()
{
    if (IsActive())
        _StopTransport();
}

void DJDeck::CuePlay()
{
    Seek(_cueMark);
    if (_state != kDeckPlaying)
        Play();
}

void DJDeck::CuePause()
{
    Stop();
    Seek(_cueMark);
}

int DJDeck::GetLag()
{
    int lag = 0;
    for (int i = 0; i < _listenerCount; ++i) {
        lag = _listeners[i]->GetLag();
        if (lag > 0)
            break;
    }
    return lag;
}

void DJDeck::_SeekChain(int sample)
{
    const bool running = IsActive();
    if (running)
        _Tell([this](DJDeckNotify& n) { n.djntfLockChain(*this, true); });
    _positionSource->Seek(std::max(sample, 0));
    if (running)
        _Tell([this](DJDeckNotify& n) { n.djntfLockChain(*this, false); });
}

void DJDeck::Seek(int sample)
{
    sample = std::clamp(sample, 0, std::max(_end, 0));
    _timePosition = _FramesToTime(sample);
    const int lag = GetLag();
    _SeekChain(static_cast<int>(std::min<int64_t>(int64_t(sample) + lag, INT32_MAX)));
    _cursor = sample;
    SetRestartPosition(sample);
    _Tell([this](DJDeckNotify& n) { n.djntfPosition(*this); });
}

void DJDeck::SeekOffset(int frames)
{
    const int64_t target = int64_t(_positionSource->GetPositionSample()) + frames;
    _SeekChain(static_cast<int>(std::clamp<int64_t>(target, 0, INT32_MAX)));
}

void DJDeck::SetCursor(int sample)
{
    _cursor = sample;
    LSoundTime time = _FramesToTime(sample);
    _Tell([&](DJDeckNotify& n) { n.djntfTime(time, *this); });
}

void DJDeck::SetCueMark(int sample)
{
    if (sample == -1)
        sample = _cursor;
    int64_t mark = std::max(sample, 0);
    if (_cueSnap) {
        const int64_t period = _beatPeriod;
        const int64_t lower = period ? mark - (mark - _beatOffset) % period : 0;
        const int64_t upper = lower + period;
        mark = (mark - lower < upper - mark) ? lower : upper;  // a tie goes up
    }
    _cueMark = static_cast<int>(std::clamp<int64_t>(mark, 0, std::max(_end, 0)));
    _cueFraction = _Fraction(_cueMark, _end);
}

void DJDeck::SetLoop(double beats)
{
    if (std::isnan(beats))
        return;
    if (beats >= 0) {
        if (_beatPeriod == 0)
            return;
        _loopBeats = beats;
        _loopLength = beats != 0 ? std::max(LTruncToInt(_beatPeriod * beats), 1) : 0;
        _loopActive = _loopLength != 0;
        _loopFraction = _Fraction(_loopLength, _end);
    } else {
        SetCueMark(0);
        _loopBeats = beats;
        _loopActive = true;
        _loopLength = _end;
        _loopFraction = 1.0;
    }
    if (_loopActive)
        Seek(_cueMark);
    _Tell([this](DJDeckNotify& n) { n.djntfLoop(*this); });
}

LSoundTime DJDeck::GetLoopEnd() const
{
    if (!_loopActive)
        return LSoundTime(0);
    return LSoundTime(_FramesToTime(_cueMark).GetMilliseconds() + _FramesToTime(_loopLength).GetMilliseconds());
}

int DJDeck::GetLoopEndSample() const
{
    return _loopActive ? static_cast<int>(std::min<int64_t>(int64_t(_cueMark) + _loopLength, INT32_MAX)) : 0;
}

// Every frame position is in pitched frames, so each keeps its fraction of the track.
void DJDeck::SetPitch(double pitch)
{
    _formerPitch = _pitch;
    const double positionFraction = _Fraction(_timePosition.ToFrames(_rawSource->GetRate()), _end);
    _pitch = pitch;
    const int newEnd = _PitchedEnd(pitch);
    _end = newEnd;
    _cueMark = LTruncToInt(newEnd * _cueFraction);
    _loopLength = LTruncToInt(newEnd * _loopFraction);
    _restartPosition = LTruncToInt(newEnd * _restartFraction);
    _cursor = LTruncToInt(newEnd * positionFraction);
    _timePosition = _lastTimePosition = LSoundTime::FromFrames(_cursor, _rawSource->GetRate());
    _Tell([this](DJDeckNotify& n) { n.djntfPitch(*this); });
}

int DJDeck::GetBeatFrequencyPitchAdjusted() const
{
    return _pitch > 0 ? LTruncToInt(_beatPeriod / _pitch) : _beatPeriod;
}

void DJDeck::Sync()
{
    _Tell([this](DJDeckNotify& n) { n.djntfSync(*this); });
}

void DJDeck::Unsync()
{
    _Tell([this](DJDeckNotify& n) { n.djntfUnsync(*this); });
    // Without a console nobody set the pitch back.
    if (_pitch != 1.0)
        SetPitch(1.0);
    _beatPeriod = _trackBeatPeriod;
    _beatOffset = _trackBeatOffset;
}

void DJDeck::SetVolume(LdBValue volume)
{
    _volume = volume;
    _Tell([this](DJDeckNotify& n) { n.djntfVolume(_volume, _crossfadeVolume, *this); });
}

void DJDeck::SetCrossFadeVolume(LdBValue volume)
{
    _crossfadeVolume = volume;
}

LdBValue DJDeck::GetVolumeTotal() const
{
    return LGainToDB(LGainMultiply(_volume.GetGain(), _crossfadeVolume.GetGain()));
}

void DJDeck::SetHeadphoneMode(bool on)
{
    _headphone = on;
    _Tell([this, on](DJDeckNotify& n) { n.djntfHeadphone(*this, on); });
}

LSoundTime DJDeck::GetPositionSourceTime() const
{
    return _FramesToTime(_positionSource->GetPositionSample());
}

void DJDeck::bdntfDone(int period, int offset)
{
    _trackBeatPeriod = period;
    _beatPeriod = period < kDoubleBelowPeriod ? period * 2 : period;
    if (_beatPeriod != 0)
        _beatOffset = _trackBeatOffset = offset;
    _Tell([this](DJDeckNotify& n) { n.djntfBeats(*this); });
}

void DJDeck::bdntfCancel()
{
    _beatPeriod = _beatOffset = _trackBeatPeriod = _trackBeatOffset = 0;
}

void DJDeck::EvTimeChanged(LSoundTime time)
{
    _timePosition = LSoundTime(time.GetMilliseconds() - _timeOffset.GetMilliseconds());
    if (_hold && !_loopActive) {
        const int d = _lastTimePosition.GetMilliseconds() - _timePosition.GetMilliseconds();
        if (d >= 0 && d <= kHoldCatchUpMs)
            _hold = false;
        else
            _timePosition = LSoundTime(_lastTimePosition.GetMilliseconds() + kHoldGlideMs);
    }
    _cursor = _timePosition.ToFrames(_positionSource->GetRate());
    LSoundTime shown = _timePosition;
    _Tell([&](DJDeckNotify& n) { n.djntfTime(shown, *this); });
    _lastTimePosition = _timePosition;
    NotifyLevel(_timePosition);
    if (_timePosition.GetMilliseconds() >= _FramesToTime(_positionSource->GetEndSample()).GetMilliseconds())
        _StopTransport();
}

void DJDeck::NotifyLevel(LSoundTime time)
{
    LDBMC level;
    level.channels = 1;
    level.level[0] = _info.GetLevelFromRange(time, LSoundTime(time.GetMilliseconds() + kLevelWindowMs));
    _Tell([&](DJDeckNotify& n) { n.djntfLevel(level, *this); });
}
