#pragma once

#include "sound/LSoundSource.h"

#include <memory>

// Flanger: the dry signal plus a copy delayed by a sine-swept amount, linearly interpolated
// between two frames. With no sweep (rate and depth 0) it is a fixed comb, the deck's phaser.
// There is no feedback. Floating point; the ring holds the dry input.
class LSRCFlanger : public LSoundProcessBase {
public:
    static constexpr int kMaxDelayMs = 1000;        // longer delays are held here
    static constexpr int kMaxRingInts = 1 << 22;    // the ring never grows past this, any rate or channels

    // delayMs is held within 0..kMaxDelayMs, depthPercent and mixPercent within 0..100, so the
    // swept delay never leaves the ring; rateHz within +-rate, and 0 when not finite.
    LSRCFlanger(LSoundSource& inner, int delayMs, double rateHz, int depthPercent, int mixPercent);

    void Read(int* buffer, int frames) override;
    // Silences the delay line; the sweep's phase and the write position go on.
    void Seek(int sample) override;

    int GetCentreFrames() const { return _centreFrames; }
    int GetRingLength() const { return _ringLength; }

private:
    void _ProcessFrame(int* frame, double delayFrames);

    int _centreFrames;   // centre of the sweep, frames
    double _swingFrames; // half the sweep's width, frames (a whole number)
    int _ringLength;     // ints in use: enough for the longest delay plus one interpolation frame
    std::unique_ptr<int[]> _ring;
    int _writeIndex = 0;
    double _mix;
    double _phase = 0;   // radians
    double _phaseStep;   // radians a frame
};

class LSPFlanger : public LSoundProcessDescription {
public:
    LSPFlanger(int delay, double rate, int depth, int mixPct)
        : delayMs(delay), rateHz(rate), depthPercent(depth), mixPercent(mixPct)
    {
    }
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int delayMs;
    double rateHz;
    int depthPercent;
    int mixPercent;
    mutable LSoundSource source;  // the stream the last OpenSource made
};
