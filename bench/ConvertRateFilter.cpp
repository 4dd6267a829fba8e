// Frequency response of the 63-tap table for 44,100 -> 48,000 Hz: passband ripple and
// stopband attenuation, printed as figures. Run: build/release/bench/bench_ConvertRateFilter
#include "sound/LConvertRateBase.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>
#include <vector>

namespace {

constexpr int kTaps = 63;

// Interleaves the rows back into the prototype filter, sampled L times per input frame.
std::vector<double> Prototype(const LConvertRateBase& table)
{
    const int l = table.GetPhases(), half = kTaps / 2;
    std::vector<double> h(static_cast<size_t>(kTaps) * l);
    const int offset = half * l + (l - 1);
    for (int p = 0; p < l; ++p)
        for (int j = 0; j < kTaps; ++j)
            h[static_cast<size_t>((j - half) * l - p + offset)] = table.GetRow(p)[j];
    return h;
}

double GainDb(const std::vector<double>& h, double hz, double protoRate, double dc)
{
    std::complex<double> sum = 0;
    const double w = -2 * std::numbers::pi * hz / protoRate;
    for (size_t k = 0; k < h.size(); ++k)
        sum += h[k] * std::polar(1.0, w * double(k));
    return 20 * std::log10(std::abs(sum) / dc + 1e-300);
}

struct Range {
    double low = 1e9, high = -1e9;
};

// 10 Hz steps through the audible band and its first images, coarser above.
Range Scan(const std::vector<double>& h, double from, double to, double protoRate, double dc)
{
    Range r;
    for (double f = from; f <= to; f += f < 100000 ? 10 : 500) {
        const double db = GainDb(h, f, protoRate, dc);
        r.low = std::min(r.low, db);
        r.high = std::max(r.high, db);
    }
    return r;
}

}  // namespace

int main()
{
    const int from = 44100, to = 48000;
    LConvertRateBase table(from, to, kTaps, false, false);
    const std::vector<double> h = Prototype(table);
    const double protoRate = double(from) * table.GetPhases();
    double dc = 0;
    for (double v : h)
        dc += v;
    std::printf("44100 -> 48000, L %d M %d, DC gain %.4f (unity per row)\n", table.GetPhases(), table.GetStep(),
                dc / table.GetPhases() / 65536.0);
    for (double edge : {10000.0, 16000.0, 20000.0}) {
        const Range pass = Scan(h, 0, edge, protoRate, dc);
        std::printf("passband 0-%.0f Hz: %+.3f .. %+.3f dB, ripple %.3f dB\n", edge, pass.low, pass.high,
                    pass.high - pass.low);
    }
    std::printf("at 21000 Hz %+.2f dB, at 22050 Hz %+.2f dB\n", GainDb(h, 21000, protoRate, dc),
                GainDb(h, 22050, protoRate, dc));
    for (double edge : {22050.0, 24100.0, 26000.0}) {
        const Range stop = Scan(h, edge, protoRate / 2, protoRate, dc);
        std::printf("stopband from %.0f Hz: attenuation at least %.1f dB\n", edge, -stop.high);
    }
    return 0;
}
