#include "sound/LSRCFlanger.h"

#include "sound/LSampleMath.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

// Frames of delay at the sweep's centre, held so that the ring (centre + swing + 2 frames a
// channel) fits kMaxRingInts.
int _CentreFrames(int rate, int delayMs, int depthPercent, int channels)
{
    const int64_t wanted = int64_t(rate) * std::clamp(delayMs, 0, LFlangerShape::kMaxDelayMs) / 1000;
    const int64_t fit = (LFlangerShape::kMaxRingInts / channels - 2) * int64_t(100) / (100 + depthPercent);
    return static_cast<int>(std::min(wanted, fit));
}

}  // namespace

LFlangerShape LFlangerShapeFor(int rateHz, int channels, int delayMs, double sweepHz, int depthPercent,
                               int mixPercent)
{
    const int depth = std::clamp(depthPercent, 0, 100);
    LFlangerShape shape;
    shape.centreFrames = _CentreFrames(rateHz, delayMs, depth, channels);
    shape.swingFrames = (shape.centreFrames * depth) / 100;
    shape.ringLength = (shape.centreFrames + (shape.centreFrames * depth) / 100 + 2) * channels;
    shape.mix = std::clamp(mixPercent, 0, 100) * 0.01;
    // Past the rate the sweep only aliases; held there, the phase never runs off to infinity.
    shape.phaseStep =
        std::isfinite(sweepHz) ? kTwoPi * std::clamp(sweepHz, -double(rateHz), double(rateHz)) / rateHz : 0.0;
    return shape;
}

void LFlangerKernel::Process(int* buffer, int frames, int channels)
{
    for (int f = 0; f < frames; ++f) {
        const double swing = std::sin(phase) * shape.swingFrames;
        phase += shape.phaseStep;
        _ProcessFrame(buffer + static_cast<size_t>(f) * channels, channels, shape.centreFrames + swing);
    }
}

void LFlangerKernel::_ProcessFrame(int* frame, int channels, double delayFrames)
{
    // The delay is at most centre + swing frames, so both taps lie behind the write position
    // within one ring length and a single wrap suffices.
    const int id = static_cast<int>(delayFrames);
    const double frac = delayFrames - id;
    const int L = shape.ringLength;
    const int back = id * channels;
    int w = writeIndex;
    for (int c = 0; c < channels; ++c) {
        const int x = frame[c];
        ring[w] = x;
        int ia = w + L - back;
        int ib = ia - channels;
        if (ia >= L)
            ia -= L;
        if (ib >= L)
            ib -= L;
        const double delayed = ring[ia] * (1 - frac) + ring[ib] * frac;
        frame[c] = static_cast<int>(x + static_cast<int64_t>(delayed * shape.mix));
        if (++w == L)
            w = 0;
    }
    writeIndex = w;
}

void LFlangerKernel::Silence()
{
    std::fill_n(ring, shape.ringLength, 0);
}

LSRCFlanger::LSRCFlanger(LSoundSource& inner, int delayMs, double rateHz, int depthPercent, int mixPercent)
    : LSoundProcessBase(inner)
{
    _kernel.shape = LFlangerShapeFor(rate, channels, delayMs, rateHz, depthPercent, mixPercent);
    _ring = std::make_unique<int[]>(static_cast<size_t>(_kernel.shape.ringLength));
    _kernel.ring = _ring.get();
}

void LSRCFlanger::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    _kernel.Process(buffer, frames, channels);
}

void LSRCFlanger::Seek(int sample)
{
    _kernel.Silence();
    source->Seek(sample);
}

LSoundSource LSPFlanger::OpenSource(LSoundSource& inner) const
{
    source = LSoundSource(new LSRCFlanger(inner, delayMs, rateHz, depthPercent, mixPercent));
    return source;
}
