#pragma once

#include "sound/LSoundSource.h"
#include "sound/LdB.h"

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

// Peaking biquad in doubles. One history serves every channel: each channel of a frame is
// filtered against the history the last channel of the frame before left behind.
class LSRCParametricEq : public LSoundProcessBase {
public:
    LSRCParametricEq(LSoundSource& inner, const LSPParametricEq& params);
    void Read(int* buffer, int frames) override;

private:
    void _Rebuild();

    LSPParametricEq _params;
    double _a0 = 1, _a1 = 0, _a2 = 0, _b0 = 1, _b1 = 0, _b2 = 0;
    int _x0 = 0, _x1 = 0, _x2 = 0, _y0 = 0, _y1 = 0, _y2 = 0;
};
