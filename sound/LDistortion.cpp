#include "sound/LDistortion.h"

#include "sound/LdB.h"

#include <algorithm>

LDistortionCurve LDistortionCurveFor(double amount, int level)
{
    constexpr double kOne = kGainUnity;
    amount = amount == amount ? std::clamp(amount, 0.0, 1.0) : 0.0;
    level = std::clamp(level, 0, kDistortionMaxLevel);
    const double s = 1 - 0.22 * amount;
    LDistortionCurve curve;
    curve.g2 = static_cast<int>((1 - amount) * kOne);
    curve.g1 = static_cast<int>(s * kOne);
    curve.g0 = static_cast<int>((4 - 3 * s) * kOne);
    curve.t1 = level >> 2;
    curve.t2 = level;
    curve.c1 = LGainMultiply(curve.t1, curve.g0) - LGainMultiply(curve.t1, curve.g1);
    curve.c2 = curve.c1 + LGainMultiply(curve.t2, curve.g1) - LGainMultiply(curve.t2, curve.g2);
    return curve;
}

int LDistortionCurve::Shape(int x) const
{
    if (x >= 0) {
        if (x < t1)
            return LGainMultiply(x, g0);
        if (x < t2)
            return LGainMultiply(x, g1) + c1;
        return LGainMultiply(x, g2) + c2;
    }
    if (x > -t1)
        return LGainMultiply(x, g0);
    if (x > -t2)
        return LGainMultiply(x, g1) - c1;
    return LGainMultiply(x, g2) - c2;
}

void LDistortionCurve::Process(int* buffer, int count) const
{
    for (int i = 0; i < count; ++i)
        buffer[i] = Shape(buffer[i]);
}

LSoundSource LSPDistortion::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCDistortion(inner, *this));
}

LSRCDistortion::LSRCDistortion(LSoundSource& inner, const LSPDistortion& params)
    : LSoundProcessBase(inner), _curve(LDistortionCurveFor(params.amount, params.level))
{
}

void LSRCDistortion::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    _curve.Process(buffer, std::max(frames, 0) * channels);
}
