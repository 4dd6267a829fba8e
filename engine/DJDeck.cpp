#include "engine/DJDeck.h"

#include "sound/LDistortion.h"
#include "sound/LHighPass.h"
#include "sound/LLoopSource.h"
#include "sound/LParametricEq.h"
#include "sound/LSRCEcho.h"
#include "sound/LSRCFlanger.h"
#include "sound/LSRCReverb3.h"
#include "sound/LSRCConvertRate.h"
#include "sound/LSampleMath.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <cstdint>
#include <cmath>

namespace {

constexpr double kEqQ = 1.4;
constexpr int kEqLowHz = 100, kEqMidHz = 400, kEqHighHz = 1000;
constexpr int kDelayMinMs = 1, kDelayMaxMs = 4000;
constexpr double kDistortionLevelAt0dB = 131072.0;  // 2^17: a quarter of full scale

// 20 log10(fraction), rounded half away from zero and held within the dB range; silence
// (-inf) is held in double before it becomes an integer, and a fraction below 0 or NaN (a mix
// beyond 0..100) is silence too.
LdBValue _FractionToDB(double fraction)
{
    if (!(fraction > 0))
        return LdBValue(LdBValue::kSilence);
    const double db = std::clamp(20.0 * std::log10(fraction), -127.0, 127.0);
    return LdBValue(static_cast<int>(std::round(db)));
}

void _Wrap(LSoundSource& working, const LSoundProcessDescription& stage)
{
    working = stage.OpenSource(working);
}

}  // namespace

LdBValue DJReverbWetGain(int mixPercent)
{
    return _FractionToDB(mixPercent * 0.01);
}

LdBValue DJReverbDryGain(int mixPercent)
{
    return _FractionToDB((100 - mixPercent) * 0.01);
}

int DJDistortionLevel(LdBValue gain)
{
    return LTruncToInt(std::pow(10.0, gain.GetDB() * 0.05) * kDistortionLevelAt0dB);
}

void DJDeck::AddNotify(DJDeckNotify* listener)
{
    if (_listenerCount < kMaxListeners)
        _listeners[_listenerCount++] = listener;
}

bool DJDeck::SetTrack(const char* path)
{
    _path = path;
    _restartPosition = 0;
    _cueMark = 0;
    _restartFraction = 0;
    _cueFraction = 0;
    _positionSource = LWaveFile::OpenSource(path);
    _rawSource = LWaveFile::OpenSource(path);
    _end = _PitchedEnd(_pitch);
    return _positionSource->GetError() == kErrNone;
}

LSoundSource DJDeck::OpenSource()
{
    _positionSource = LWaveFile::OpenSource(_path.c_str());
    LSoundSource working = _positionSource;
    if (working->GetError() != kErrNone)
        return working;
    _AddEffects(working);
    if (_pitch != 1.0)
        working = _WithPitch(working);
    working->Seek(_restartPosition);
    _AddEqualiser(working);
    if (_loopActive)
        working = LLoopSource().OpenSource(working, _cueMark, int64_t(_cueMark) + _loopLength);
    _positionSource = working;
    return LSoundSource(new DJDeckSourceBase(working, &_info));
}

// The effect stages in their fixed order: high pass, reverb, distortion, flanger, phaser, echo.
void DJDeck::_AddEffects(LSoundSource& working)
{
    if (_fx.highPassOn) {
        _fx.highPassFrequency = std::max(_fx.highPassFrequency, 1);
        _Wrap(working, LSPHighPass(_fx.highPassFrequency));
    }
    if (_fx.reverbOn)
        _Wrap(working, LSPReverb3(_fx.reverbTime.GetMilliseconds(), _fx.reverbOption,
                                  DJReverbWetGain(_fx.reverbMix), DJReverbDryGain(_fx.reverbMix)));
    if (_fx.distortionOn)
        _Wrap(working, LSPDistortion(_fx.distortionAmount, DJDistortionLevel(_fx.distortionGain)));
    if (_fx.flangerOn)
        _Wrap(working, LSPFlanger(_fx.flangerDelayMs, _fx.flangerRateHz, _fx.flangerDepthPercent, _fx.flangerMixPercent));
    // The phaser is a flanger that does not sweep: a fixed comb.
    if (_fx.phaserOn)
        _Wrap(working, LSPFlanger(_fx.phaserDelayMs, 0.0, 0, _fx.phaserMixPercent));
    if (_fx.delayOn)
        _Wrap(working, LSPEcho(_fx.delayFeedbackPercent, std::clamp(_fx.delayTimeMs, kDelayMinMs, kDelayMaxMs)));
}

// The pitch stage reports the file's rate, so the resampled stream plays faster or slower.
LSoundSource DJDeck::_WithPitch(LSoundSource source) const
{
    return LSoundSource(new LSRCPitchSpeed(source, _pitch, true));
}

// Always present, also at 0 dB, so that moving an equaliser knob never changes the chain's shape.
void DJDeck::_AddEqualiser(LSoundSource& working) const
{
    _Wrap(working, LSPParametricEq(_fx.eqLow, kEqLowHz, kEqQ));
    _Wrap(working, LSPParametricEq(_fx.eqMid, kEqMidHz, kEqQ));
    _Wrap(working, LSPParametricEq(_fx.eqHigh, kEqHighHz, kEqQ));
}

void DJDeck::_NotifyFX()
{
    for (int i = 0; i < _listenerCount; ++i)
        _listeners[i]->djntfFX(*this);
}

void DJDeck::SetEq(LdBValue low, LdBValue mid, LdBValue high)
{
    _fx.eqLow = low;
    _fx.eqMid = mid;
    _fx.eqHigh = high;
    _NotifyFX();
}

void DJDeck::SetDistortion(double amount, LdBValue gain, bool on)
{
    _fx.distortionAmount = amount;
    _fx.distortionGain = gain;
    _fx.distortionOn = on;
    _NotifyFX();
}

void DJDeck::SetPhaser(int delayMs, int mixPercent, bool on)
{
    _fx.phaserDelayMs = delayMs;
    _fx.phaserMixPercent = mixPercent;
    _fx.phaserOn = on;
    _NotifyFX();
}

void DJDeck::SetHighPass(int frequency, bool on)
{
    _fx.highPassFrequency = frequency;
    _fx.highPassOn = on;
    _NotifyFX();
}

void DJDeck::SetReverb(int mix, LSoundTime time, unsigned char option, bool on)
{
    _fx.reverbMix = mix;
    _fx.reverbTime = time;
    _fx.reverbOption = option;
    _fx.reverbOn = on;
    _NotifyFX();
}

void DJDeck::SetFlanger(int delayMs, double rateHz, int depthPercent, int mixPercent, bool on)
{
    _fx.flangerDelayMs = delayMs;
    _fx.flangerRateHz = rateHz;
    _fx.flangerDepthPercent = depthPercent;
    _fx.flangerMixPercent = mixPercent;
    _fx.flangerOn = on;
    _NotifyFX();
}

void DJDeck::SetDelay(int feedbackPercent, int timeMs, bool on)
{
    _fx.delayFeedbackPercent = feedbackPercent;
    _fx.delayTimeMs = timeMs;
    _fx.delayOn = on;
    _NotifyFX();
}

void DJDeck::SetRestartPosition(int sample)
{
    _restartPosition = sample;
    _SetFractionsFromPositions();
}

void DJDeck::SetLoopFrames(int cueMark, int lengthFrames)
{
    _cueMark = cueMark;
    _loopLength = lengthFrames;
    _loopActive = lengthFrames != 0;
    _SetFractionsFromPositions();
}

int DJDeck::_PitchedEnd(double pitch)
{
    return pitch != 1.0 ? LSRCPitchSpeed(_rawSource, pitch, true).GetEndSample() : _rawSource->GetEndSample();
}
