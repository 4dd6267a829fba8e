#include "sound/LDistortion.h"

#include "sound/LdB.h"

#include <algorithm>

namespace {

// 512 times full scale: above any real sample, and low enough that the curve's offsets and
// products stay inside int for every level a caller may pass (+127 dB asks for 2.9e11).
constexpr int kMaxLevel = 0x10000000;

}  // namespace

LSoundSource LSPDistortion::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCDistortion(inner, *this));
}

LSRCDistortion::LSRCDistortion(LSoundSource& inner, const LSPDistortion& params)
    : LSoundProcessBase(inner), _amount(std::clamp(params.amount, 0.0, 1.0)), _level(std::clamp(params.level, 0, kMaxLevel))
{
    _Rebuild();
}

void LSRCDistortion::_Rebuild()
{
    constexpr double kOne = kGainUnity;
    const double s = 1 - 0.22 * _amount;
    _g2 = static_cast<int>((1 - _amount) * kOne);
    _g1 = static_cast<int>(s * kOne);
    _g0 = static_cast<int>((4 - 3 * s) * kOne);
    _t1 = _level >> 2;
    _t2 = _level;
    _c1 = LGainMultiply(_t1, _g0) - LGainMultiply(_t1, _g1);
    _c2 = _c1 + LGainMultiply(_t2, _g1) - LGainMultiply(_t2, _g2);
}

int LSRCDistortion::_Shape(int x) const
{
    if (x >= 0) {
        if (x < _t1)
            return LGainMultiply(x, _g0);
        if (x < _t2)
            return LGainMultiply(x, _g1) + _c1;
        return LGainMultiply(x, _g2) + _c2;
    }
    if (x > -_t1)
        return LGainMultiply(x, _g0);
    if (x > -_t2)
        return LGainMultiply(x, _g1) - _c1;
    return LGainMultiply(x, _g2) - _c2;
}

void LSRCDistortion::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    const int count = std::max(frames, 0) * channels;
    for (int i = 0; i < count; ++i)
        buffer[i] = _Shape(buffer[i]);
}
