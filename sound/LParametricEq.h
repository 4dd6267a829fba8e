#pragma once

#include "sound/LSoundSource.h"
#include "sound/LdB.h"

// Coefficients of a biquad: y = (b0 x0 + b1 x1 + b2 x2 - a1 y1 - a2 y2) / a0.
struct LBiquadCoefficients {
    double a0 = 1, a1 = 0, a2 = 0, b0 = 1, b1 = 0, b2 = 0;
};

// The peaking band of the biquad cookbook: `gainDB` at `frequencyHz`, width by `q`. At 0 dB
// the a and b coefficients agree; a cut is the exact inverse of the boost of the same size.
LBiquadCoefficients LPeakingEqCoefficients(int gainDB, int frequencyHz, double q, int rateHz);

// A biquad in doubles with one history for every channel: each channel of a frame is filtered
// against the history the last channel of the frame before left behind.
struct LBiquadKernel {
    LBiquadCoefficients k;
    int x0 = 0, x1 = 0, x2 = 0, y0 = 0, y1 = 0, y2 = 0;

    // Filters `frames` interleaved frames in place.
    void Process(int* buffer, int frames, int channels);
};

// One peaking band of the deck's equaliser.
class LSPParametricEq : public LSoundProcessDescription {
public:
    LSPParametricEq(const LdBValue& gainDB, int frequencyHz, double qFactor)
        : gain(gainDB), frequency(frequencyHz), q(qFactor)
    {
    }
    LSoundSource OpenSource(LSoundSource& inner) const override;

    LdBValue gain;
    int frequency;  // Hz, centre of the band
    double q;
};

class LSRCParametricEq : public LSoundProcessBase {
public:
    LSRCParametricEq(LSoundSource& inner, const LSPParametricEq& params);
    void Read(int* buffer, int frames) override;

private:
    LBiquadKernel _kernel;
};
