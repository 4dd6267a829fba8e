#pragma once

#include "sound/LSoundSource.h"

#include <memory>

// Sizes and rates of a flanger, worked out from its parameters.
struct LFlangerShape {
    static constexpr int kMaxDelayMs = 1000;      // longer delays are held here
    static constexpr int kMaxRingInts = 1 << 22;  // the ring never grows past this, any rate or channels

    int centreFrames = 0;     // centre of the sweep, frames
    double swingFrames = 0;   // half the sweep's width, frames (a whole number)
    int ringLength = 0;       // ints: enough for the longest delay plus one interpolation frame
    double mix = 0;           // wet share, 0..1
    double phaseStep = 0;     // radians a frame
};

// delayMs is held within 0..kMaxDelayMs, depthPercent and mixPercent within 0..100, so the
// swept delay never leaves the ring; sweepHz within +-rate, and 0 when not finite.
LFlangerShape LFlangerShapeFor(int rateHz, int channels, int delayMs, double sweepHz, int depthPercent,
                               int mixPercent);

// The dry signal plus a copy delayed by a sine-swept amount, linearly interpolated between two
// frames. No feedback: the ring holds the dry input. Floating point.
struct LFlangerKernel {
    LFlangerShape shape;
    int* ring = nullptr;  // shape.ringLength ints, owned by the caller
    int writeIndex = 0;
    double phase = 0;     // radians

    void Process(int* buffer, int frames, int channels);
    // Empties the delay line; the sweep's phase and the write position go on.
    void Silence();

private:
    void _ProcessFrame(int* frame, int channels, double delayFrames);
};

// Flanger stream; with no sweep (rate and depth 0) it is a fixed comb, the deck's phaser.
class LSRCFlanger : public LSoundProcessBase {
public:
    static constexpr int kMaxDelayMs = LFlangerShape::kMaxDelayMs;
    static constexpr int kMaxRingInts = LFlangerShape::kMaxRingInts;

    LSRCFlanger(LSoundSource& inner, int delayMs, double rateHz, int depthPercent, int mixPercent);

    void Read(int* buffer, int frames) override;
    // Silences the delay line; the sweep's phase and the write position go on.
    void Seek(int sample) override;

    int GetCentreFrames() const { return _kernel.shape.centreFrames; }
    int GetRingLength() const { return _kernel.shape.ringLength; }

private:
    std::unique_ptr<int[]> _ring;
    LFlangerKernel _kernel;
};

class LSPFlanger : public LSoundProcessDescription {
public:
    LSPFlanger(int delay, double rate, int depth, int mixPct)
        : delayMs(delay), rateHz(rate), depthPercent(depth), mixPercent(mixPct)
    {
    }
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int delayMs;
    double rateHz;  // sweep rate
    int depthPercent;
    int mixPercent;
    mutable LSoundSource source;  // the stream the last OpenSource made
};
