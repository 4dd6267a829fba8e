#include "sound/LSRCReverb3.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace {

// Delay lengths in samples at 44,100 Hz; side 0 left, 1 right.
constexpr int kCombTuning[2][LSRCReverb3::kCombs] = {
    {1116, 1188, 1277, 1356, 1422, 1491, 1557, 1617},
    {1139, 1211, 1300, 1379, 1455, 1514, 1580, 1640},
};
constexpr int kAllpassTuning[2][LSRCReverb3::kAllpasses] = {
    {556, 441, 341, 225},
    {579, 464, 364, 248},
};

constexpr double kPerSampleAt44100 = 2.2675737e-5;  // 1 / 44,100 s, as the tuning is scaled

// Exponent bits 0: zero or a denormal.
inline bool _IsTiny(float v)
{
    return (std::bit_cast<uint32_t>(v) & 0x7f800000u) == 0;
}

inline float _Flushed(float v)
{
    return _IsTiny(v) ? 0.0f : v;
}

// In double, so that 1557 and 1617 stay themselves at 44,100 Hz.
int _ScaledLength(int samplesAt44100, int rate)
{
    return std::max(1, static_cast<int>(samplesAt44100 * double(rate) * kPerSampleAt44100));
}

// Truncates to an int; beyond the int range (only for gains far above 0 dB) it saturates.
inline int _ToSample(float v)
{
    if (v >= 2147483520.0f)
        return INT32_MAX;
    if (v <= -2147483648.0f)
        return INT32_MIN;
    return static_cast<int>(v);
}

float _DBToGain(LdBValue db)
{
    return static_cast<float>(std::pow(10.0, db.GetDB() * 0.05));
}

}  // namespace

float LSRCReverb3::Comb::Process(float in)
{
    const float o = _Flushed(buffer[index]);
    filterStore = _Flushed(o * damp2 + filterStore * damp1);
    buffer[index] = in + filterStore * feedback;
    if (++index == size)
        index = 0;
    return o;
}

float LSRCReverb3::Allpass::Process(float x)
{
    const float b = _Flushed(buffer[index]);
    buffer[index] = x + b * feedback;
    if (++index == size)
        index = 0;
    return b - x;
}

LSRCReverb3::LSRCReverb3(LSoundSource& inner, int room, unsigned char damping, LdBValue wet, LdBValue dry)
    : LSoundProcessBase(inner)
{
    _GrowWork(kWorkFrames);
    Init(room, damping, _DBToGain(wet), _DBToGain(dry), rate);
}

void LSRCReverb3::Init(int room, unsigned char damping, float wet, float dry, int rateHz)
{
    for (int side = 0; side < 2; ++side) {
        for (int i = 0; i < kCombs; ++i) {
            _comb[side][i].size = _ScaledLength(kCombTuning[side][i], rateHz);
            _comb[side][i].buffer.assign(static_cast<size_t>(_comb[side][i].size), 0.0f);
        }
        for (int i = 0; i < kAllpasses; ++i) {
            _allpass[side][i].size = _ScaledLength(kAllpassTuning[side][i], rateHz);
            _allpass[side][i].buffer.assign(static_cast<size_t>(_allpass[side][i].size), 0.0f);
        }
    }
    Update(room, damping, wet, dry);
}

LReverbTuning LReverbTuningFor(int room, unsigned char damping, float wet, float dry)
{
    using T = LReverbTuning;
    T tuning;
    tuning.wet1 = wet * T::kWetScale;
    tuning.wet2 = 0;
    tuning.dryFactor = dry * T::kDryScale;
    tuning.dampingFactor = static_cast<float>(std::min<int>(damping, LSRCReverb3::kMaxDamping) * T::kDampingScale);
    tuning.roomFactor =
        static_cast<float>(std::clamp(room, 0, LSRCReverb3::kMaxRoom) * T::kRoomScale + T::kRoomFeedbackBase);
    tuning.gain = T::kInputGain;
    return tuning;
}

void LSRCReverb3::Update(int room, unsigned char damping, float wet, float dry)
{
    _tuning = LReverbTuningFor(room, damping, wet, dry);
    for (auto& side : _comb)
        for (Comb& c : side) {
            std::fill(c.buffer.begin(), c.buffer.end(), 0.0f);
            c.index = 0;
            c.feedback = _tuning.roomFactor;
            c.damp1 = _tuning.dampingFactor;
            c.damp2 = 1 - _tuning.dampingFactor;
            c.filterStore = 0;
        }
    for (auto& side : _allpass)
        for (Allpass& a : side) {
            std::fill(a.buffer.begin(), a.buffer.end(), 0.0f);
            a.index = 0;
            a.feedback = LReverbTuning::kAllpassFeedback;
        }
}

void LSRCReverb3::ComputeReverb(const float* inLeft, const float* inRight, float* outLeft, float* outRight, int frames)
{
    for (int f = 0; f < frames; ++f) {
        const float l = inLeft[f], r = inRight[f];
        const float in = (l + r) * _tuning.gain;
        float L = 0, R = 0;
        for (int i = 0; i < kCombs; ++i) {
            L += _comb[0][i].Process(in);
            R += _comb[1][i].Process(in);
        }
        for (int i = 0; i < kAllpasses; ++i) {
            L = _allpass[0][i].Process(L);
            R = _allpass[1][i].Process(R);
        }
        outLeft[f] += L * _tuning.wet1 + R * _tuning.wet2 + l * _tuning.dryFactor;
        outRight[f] += R * _tuning.wet1 + L * _tuning.wet2 + r * _tuning.dryFactor;
    }
}

void LSRCReverb3::Read(int* out, int frames)
{
    if (frames <= 0)
        return;
    if (static_cast<size_t>(frames) > _inLeft.size())
        _GrowWork(frames);
    source->Read(out, frames);
    _ToFloat(out, frames);
    std::fill_n(_outLeft.begin(), frames, 0.0f);
    std::fill_n(_outRight.begin(), frames, 0.0f);
    ComputeReverb(_inLeft.data(), _inRight.data(), _outLeft.data(), _outRight.data(), frames);
    _ToInt(out, frames);
}

void LSRCReverb3::_GrowWork(int frames)
{
    for (auto* work : {&_inLeft, &_inRight, &_outLeft, &_outRight})
        work->resize(static_cast<size_t>(frames));
}

void LSRCReverb3::_ToFloat(const int* in, int frames)
{
    if (channels == 2) {
        for (int f = 0; f < frames; ++f) {
            _inLeft[f] = static_cast<float>(in[2 * f]);
            _inRight[f] = static_cast<float>(in[2 * f + 1]);
        }
        return;
    }
    for (int f = 0; f < frames; ++f)
        _inLeft[f] = static_cast<float>(in[f]);
    std::fill_n(_inRight.begin(), frames, 0.0f);
}

void LSRCReverb3::_ToInt(int* out, int frames) const
{
    if (channels == 2) {
        for (int f = 0; f < frames; ++f) {
            out[2 * f] = _ToSample(_outLeft[f]);
            out[2 * f + 1] = _ToSample(_outRight[f]);
        }
        return;
    }
    for (int f = 0; f < frames; ++f)
        out[f] = _ToSample(_outLeft[f]);
}

LSoundSource LSPReverb3::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCReverb3(inner, room, damping, wet, dry));
}
