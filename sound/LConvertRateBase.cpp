#include "sound/LConvertRateBase.h"

#include "sound/LSoundSource.h"

#include <cmath>
#include <cstdint>

namespace {

using Real = long double;  // the table is designed in 80-bit extended precision

constexpr Real kPi = 3.141592653589793238462643383279502884L;
constexpr Real kGuardNarrow = 0.046875L;  // fraction of the input rate kept below Nyquist
constexpr Real kGuardWide = 0.09375L;
constexpr Real kBetaDown = 4.538L;
constexpr Real kBetaUp = 2.12L;
constexpr Real kGainUp = 63897.6L;                 // 65536 * 0.975
constexpr Real kOmegaUp = 3.0630528372500483L;     // pi * 0.975, radians per input frame
constexpr Real kUnityGain = 65536.0L;
constexpr int kApproxSearchLimit = 255;            // largest L tried in approximate mode
constexpr Real kApproxCloseEnough = 0.001L;

// Modified Bessel function of the first kind, order 0, cut to seven terms of its series.
Real _Bessel0(Real x)
{
    const Real x2 = x * x;
    Real term = 1.0L;
    Real sum = 1.0L;
    for (int k = 1; k <= 6; ++k) {
        term *= x2 / static_cast<Real>(4 * k * k);
        sum += term;
    }
    return sum;
}

int _RoundAwayFromZero(Real value)
{
    return static_cast<int>(value >= 0 ? value + 0.5L : value - 0.5L);
}

int _SaneRate(int rate)
{
    return rate < 1 ? kRateFallbackHz : rate;
}

}  // namespace

LConvertRateBase::LConvertRateBase(int sourceRate, int targetRate, int taps, bool wideGuard,
                                   bool approximate)
    : _taps(taps)
{
    sourceRate = _SaneRate(sourceRate);
    targetRate = _SaneRate(targetRate);
    if (approximate)
        _ChooseApproximate(sourceRate, targetRate);
    else
        _ChooseExact(sourceRate, targetRate);
    if (step == 0)
        step = 1;
    _BuildTable(sourceRate, targetRate, wideGuard);
}

void LConvertRateBase::_ChooseExact(int sourceRate, int targetRate)
{
    const int64_t remainder = sourceRate % targetRate;
    int64_t l = 1;
    while ((remainder * l) % targetRate != 0)
        ++l;
    phases = static_cast<int>(l);
    step = static_cast<int>(l * sourceRate / targetRate);
}

void LConvertRateBase::_ChooseApproximate(int sourceRate, int targetRate)
{
    const Real ratio = static_cast<Real>(sourceRate) / targetRate;
    Real best = ratio;
    int l = 1;
    for (int n = 1; n <= kApproxSearchLimit; ++n) {
        const int64_t rounded = static_cast<int64_t>(std::trunc(ratio * n + 0.5L)) & 0xffff;
        const Real e = std::fabs(ratio - static_cast<Real>(rounded) / n);
        if (e < best) {
            l = n;
            if (e < kApproxCloseEnough)
                break;
            best = e;
        }
    }
    phases = l;
    step = static_cast<int>(std::trunc(ratio * l + 0.5L));
}

void LConvertRateBase::_BuildTable(int sourceRate, int targetRate, bool wideGuard)
{
    const int half = _taps / 2;
    const Real window = static_cast<Real>((half + 1) * (half + 1));
    Real beta, gain, omega;
    if (sourceRate >= targetRate) {
        const Real cut = static_cast<Real>(targetRate) / sourceRate -
                         (wideGuard ? kGuardWide : kGuardNarrow);
        beta = kBetaDown;
        gain = kUnityGain * cut;
        omega = cut * kPi;
    } else {
        beta = kBetaUp;
        gain = kGainUp;
        omega = kOmegaUp;
    }
    const Real norm = gain / _Bessel0(beta);
    const int centre = static_cast<int>(std::trunc(gain + 0.5L));

    coefficients = std::make_unique<int[]>(static_cast<size_t>(phases) * _taps);
    for (int p = 0; p < phases; ++p) {
        const Real f = static_cast<Real>(p) / phases;
        int* row = coefficients.get() + static_cast<size_t>(p) * _taps;
        for (int j = 0; j < _taps; ++j) {
            const Real x = static_cast<Real>(j - half) - f;
            if (x == 0.0L) {
                row[j] = centre;
                continue;
            }
            const Real wx = omega * x;
            const Real kaiser = _Bessel0(beta * std::sqrt(1.0L - x * x / window));
            row[j] = _RoundAwayFromZero(std::sin(wx) / wx * norm * kaiser);
        }
    }
}
