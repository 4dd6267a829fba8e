#include "sound/LParametricEq.h"

#include "sound/LSampleMath.h"

#include <cmath>

LBiquadCoefficients LPeakingEqCoefficients(int gainDB, int frequencyHz, double q, int rateHz)
{
    const double a = std::pow(10.0, gainDB * 0.025);  // square root of the amplitude gain
    const double w = frequencyHz * kTwoPiNineDecimalsUp / rateHz;
    const double alpha = std::sin(w) * (1 / (q + q));
    LBiquadCoefficients k;
    k.a0 = 1 + alpha / a;
    k.a1 = -2 * std::cos(w);
    k.a2 = 1 - alpha / a;
    k.b0 = 1 + alpha * a;
    k.b1 = -2 * std::cos(w);
    k.b2 = 1 - alpha * a;
    return k;
}

void LBiquadKernel::Process(int* buffer, int frames, int channels)
{
    const double inverseA0 = 1 / k.a0;
    for (int f = 0; f < frames; ++f) {
        int* frame = buffer + static_cast<size_t>(f) * channels;
        for (int c = 0; c < channels; ++c) {
            x0 = frame[c];
            y0 = LTruncToInt((k.b0 * x0 + k.b1 * x1 + k.b2 * x2 - k.a1 * y1 - k.a2 * y2) * inverseA0);
            frame[c] = y0;
        }
        x2 = x1;
        x1 = x0;
        y2 = y1;
        y1 = y0;
    }
}

LSoundSource LSPParametricEq::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCParametricEq(inner, *this));
}

LSRCParametricEq::LSRCParametricEq(LSoundSource& inner, const LSPParametricEq& params) : LSoundProcessBase(inner)
{
    _kernel.k = LPeakingEqCoefficients(params.gain.GetDB(), params.frequency, params.q, rate);
}

void LSRCParametricEq::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    _kernel.Process(buffer, frames, channels);
}
