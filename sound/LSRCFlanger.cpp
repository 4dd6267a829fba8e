#include "sound/LSRCFlanger.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr double kTwoPi = 6.283185307179586;

// Frames of delay at the sweep's centre, held so that the ring (centre + swing + 2 frames a
// channel) fits kMaxRingInts.
int _CentreFrames(int rate, int delayMs, int depthPercent, int channels)
{
    const int64_t wanted = int64_t(rate) * std::clamp(delayMs, 0, LSRCFlanger::kMaxDelayMs) / 1000;
    const int64_t fit = (LSRCFlanger::kMaxRingInts / channels - 2) * int64_t(100) / (100 + depthPercent);
    return static_cast<int>(std::min(wanted, fit));
}

}  // namespace

LSRCFlanger::LSRCFlanger(LSoundSource& inner, int delayMs, double rateHz, int depthPercent, int mixPercent)
    : LSoundProcessBase(inner)
{
    const int depth = std::clamp(depthPercent, 0, 100);
    _centreFrames = _CentreFrames(rate, delayMs, depth, channels);
    _swingFrames = (_centreFrames * depth) / 100;
    _ringLength = (_centreFrames + (_centreFrames * depth) / 100 + 2) * channels;
    _ring = std::make_unique<int[]>(static_cast<size_t>(_ringLength));
    _mix = std::clamp(mixPercent, 0, 100) * 0.01;
    // Past the rate the sweep only aliases; held there, the phase never runs off to infinity.
    _phaseStep = std::isfinite(rateHz) ? kTwoPi * std::clamp(rateHz, -double(rate), double(rate)) / rate : 0.0;
}

void LSRCFlanger::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    for (int f = 0; f < frames; ++f) {
        const double swing = std::sin(_phase) * _swingFrames;
        _phase += _phaseStep;
        _ProcessFrame(buffer + static_cast<size_t>(f) * channels, _centreFrames + swing);
    }
}

void LSRCFlanger::_ProcessFrame(int* frame, double delayFrames)
{
    // The delay is at most centre + swing frames, so both taps lie behind the write position
    // within one ring length and a single wrap suffices.
    const int id = static_cast<int>(delayFrames);
    const double frac = delayFrames - id;
    const int L = _ringLength;
    const int back = id * channels;
    int w = _writeIndex;
    for (int c = 0; c < channels; ++c) {
        const int x = frame[c];
        _ring[w] = x;
        int ia = w + L - back;
        int ib = ia - channels;
        if (ia >= L)
            ia -= L;
        if (ib >= L)
            ib -= L;
        const double delayed = _ring[ia] * (1 - frac) + _ring[ib] * frac;
        frame[c] = static_cast<int>(x + static_cast<int64_t>(delayed * _mix));
        if (++w == L)
            w = 0;
    }
    _writeIndex = w;
}

void LSRCFlanger::Seek(int sample)
{
    std::fill_n(_ring.get(), _ringLength, 0);
    source->Seek(sample);
}

LSoundSource LSPFlanger::OpenSource(LSoundSource& inner) const
{
    source = LSoundSource(new LSRCFlanger(inner, delayMs, rateHz, depthPercent, mixPercent));
    return source;
}
