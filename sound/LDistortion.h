#pragma once

#include "sound/LSoundSource.h"

class LSPDistortion : public LSoundProcessDescription {
public:
    // `level` is where the curve flattens: trunc(10^(dB / 20) * 131072) from the deck's dB.
    LSPDistortion(double amountFactor, int levelValue) : amount(amountFactor), level(levelValue) {}
    LSoundSource OpenSource(LSoundSource& inner) const override;

    double amount;  // 0 (clean) to 1 (flat above the level)
    int level;
};

// A three-piece transfer curve, the same for both signs: steep below t1, a slope near
// 1 - 0.22 * amount up to t2, then 1 - amount. The pieces join; gains have 24 fraction bits.
class LSRCDistortion : public LSoundProcessBase {
public:
    LSRCDistortion(LSoundSource& inner, const LSPDistortion& params);
    void Read(int* buffer, int frames) override;

private:
    void _Rebuild();
    int _Shape(int x) const;

    double _amount;
    int _level;
    int _t1 = 0, _t2 = 0;
    int _g0 = 0, _g1 = 0, _g2 = 0;
    int _c1 = 0, _c2 = 0;
};
