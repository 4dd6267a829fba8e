#pragma once

#include "sound/LSoundSource.h"

// A three-piece transfer curve, the same for both signs: steep (g0) below t1, a slope near
// 1 - 0.22 * amount (g1) up to t2, then 1 - amount (g2). The offsets c1 and c2 make the pieces
// join; gains have 24 fraction bits.
struct LDistortionCurve {
    int t1 = 0, t2 = 0;
    int g0 = 0, g1 = 0, g2 = 0;
    int c1 = 0, c2 = 0;

    int Shape(int x) const;
    // Shapes `count` values in place.
    void Process(int* buffer, int count) const;
};

// 512 times full scale: above any real sample, and low enough that the curve's offsets and
// products stay inside int for every level a caller may pass (+127 dB asks for 2.9e11).
constexpr int kDistortionMaxLevel = 0x10000000;

// The curve for `amount` (held within 0..1; NaN gives 0) flattening at `level` (held within
// 0..kDistortionMaxLevel).
LDistortionCurve LDistortionCurveFor(double amount, int level);

class LSPDistortion : public LSoundProcessDescription {
public:
    // `level` is where the curve flattens: trunc(10^(dB / 20) * 131072) from the deck's dB.
    LSPDistortion(double amountFactor, int levelValue) : amount(amountFactor), level(levelValue) {}
    LSoundSource OpenSource(LSoundSource& inner) const override;

    double amount;  // 0 (clean) to 1 (flat above the level)
    int level;
};

class LSRCDistortion : public LSoundProcessBase {
public:
    LSRCDistortion(LSoundSource& inner, const LSPDistortion& params);
    void Read(int* buffer, int frames) override;

private:
    LDistortionCurve _curve;
};
