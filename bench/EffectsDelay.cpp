// Speed of the deck's delay-line effects (flanger, phaser, echo) and reverb on stereo
// 44,100 Hz, in blocks as the player pulls them, reported as multiples of real time on one core.
#include "bench/PullChain.h"
#include "sound/LSRCEcho.h"
#include "sound/LSRCFlanger.h"
#include "sound/LSRCReverb3.h"
#include "sound/LSampleMath.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

namespace {

constexpr int kRate = 44100;        // Hz

// One second of stereo music-like material (a chord under noise), played round and round; or
// silence, to time a reverb tail that has died away. Read is a copy.
class LoopedSecond : public LSoundSourceBase {
public:
    explicit LoopedSecond(bool silent) : LSoundSourceBase(kRate, 2, kPeakLimit), _data(2 * size_t(kRate), 0)
    {
        uint32_t noise = 1;
        for (size_t i = 0; !silent && i < _data.size(); ++i) {
            noise = noise * 1664525u + 1013904223u;
            const double t = double(i / 2) / kRate;
            const double chord = std::sin(kTwoPi * 220 * t) + std::sin(kTwoPi * 277 * t) + std::sin(kTwoPi * 330 * t);
            _data[i] = int(0x20000 * chord) + int(noise >> 20) - 2048;
        }
    }
    void Read(int* buffer, int frames) override
    {
        while (frames > 0) {
            const int n = std::min(frames, kRate - _pos);
            const int* from = _data.data() + 2 * size_t(_pos);
            std::copy(from, from + 2 * n, buffer);
            buffer += 2 * n;
            frames -= n;
            _pos = (_pos + n) % kRate;
        }
    }
    int GetPositionSample() const override { return _pos; }
    int GetEndSample() const override { return 0x7fffffff; }
    void Seek(int sample) override { _pos = std::max(sample, 0) % kRate; }

private:
    std::vector<int> _data;
    int _pos = 0;  // within the second, so that an endless run never overflows it
};

void _Run(benchmark::State& state, const LSoundProcessDescription& effect, bool silent = false)
{
    LSoundSource chain(new LoopedSecond(silent));
    chain = effect.OpenSource(chain);
    bench::PullChain(state, chain, kRate);
}

void BM_Source(benchmark::State& state)
{
    LSoundSource chain(new LoopedSecond(false));
    bench::PullChain(state, chain, kRate);
}
BENCHMARK(BM_Source)->Unit(benchmark::kMicrosecond);

// Every flanger slider at its top: 10 ms, 50 Hz, full depth and mix.
void BM_FlangerSwept(benchmark::State& state) { _Run(state, LSPFlanger(10, 50.0, 100, 100)); }
BENCHMARK(BM_FlangerSwept)->Unit(benchmark::kMicrosecond);

// The deck's phaser: a fixed comb.
void BM_Phaser(benchmark::State& state) { _Run(state, LSPFlanger(5, 0.0, 0, 50)); }
BENCHMARK(BM_Phaser)->Unit(benchmark::kMicrosecond);

// The delay slider at its top (1 s) with strong feedback.
void BM_Echo(benchmark::State& state) { _Run(state, LSPEcho(90, 1000)); }
BENCHMARK(BM_Echo)->Unit(benchmark::kMicrosecond);

// Mix 50 % (wet and dry -6 dB), the longest room.
void BM_Reverb(benchmark::State& state) { _Run(state, LSPReverb3(4000, 50, LdBValue(-6), LdBValue(-6))); }
BENCHMARK(BM_Reverb)->Unit(benchmark::kMicrosecond);

// Silence in: the lines hold zeros, not denormals, so this costs what sound costs.
void BM_ReverbSilence(benchmark::State& state)
{
    _Run(state, LSPReverb3(4000, 50, LdBValue(-6), LdBValue(-6)), true);
}
BENCHMARK(BM_ReverbSilence)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
