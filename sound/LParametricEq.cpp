#include "sound/LParametricEq.h"

#include "sound/LSampleMath.h"

#include <cmath>

LSoundSource LSPParametricEq::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCParametricEq(inner, *this));
}

LSRCParametricEq::LSRCParametricEq(LSoundSource& inner, const LSPParametricEq& params)
    : LSoundProcessBase(inner), _params(params)
{
    _Rebuild();
}

void LSRCParametricEq::_Rebuild()
{
    const double a = std::pow(10.0, _params.gain.GetDB() * 0.025);
    const double w = _params.frequency * 6.283185308 / rate;
    const double alpha = std::sin(w) * (1 / (_params.q + _params.q));
    _a0 = 1 + alpha / a;
    _a1 = -2 * std::cos(w);
    _a2 = 1 - alpha / a;
    _b0 = 1 + alpha * a;
    _b1 = -2 * std::cos(w);
    _b2 = 1 - alpha * a;
    _x0 = _x1 = _x2 = _y0 = _y1 = _y2 = 0;
}

void LSRCParametricEq::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    const double inverseA0 = 1 / _a0;
    for (int f = 0; f < frames; ++f) {
        int* frame = buffer + static_cast<size_t>(f) * channels;
        for (int c = 0; c < channels; ++c) {
            _x0 = frame[c];
            _y0 = LTruncToInt((_b0 * _x0 + _b1 * _x1 + _b2 * _x2 - _a1 * _y1 - _a2 * _y2) * inverseA0);
            frame[c] = _y0;
        }
        _x2 = _x1;
        _x1 = _x0;
        _y2 = _y1;
        _y1 = _y0;
    }
}
