// Speed of the pull-side rate converter, reported as multiples of real time on one core, and
// the cost of building its table.
#include "sound/LSRCConvertRate.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace {

constexpr int kBlockFrames = 8192;  // what the player pulls at most

// An endless stereo tone from a one-second table: costs a copy, allocates nothing in Read.
class ToneSource : public LSoundSourceBase {
public:
    explicit ToneSource(int rateHz) : LSoundSourceBase(rateHz, 2, kPeakLimit), _table(2 * static_cast<size_t>(rateHz))
    {
        for (int i = 0; i < rateHz; ++i) {
            const double t = double(i) / rateHz;
            _table[2 * size_t(i)] = int(0x60000 * std::sin(2 * std::numbers::pi * 440 * t));
            _table[2 * size_t(i) + 1] = int(0x60000 * std::sin(2 * std::numbers::pi * 3000 * t));
        }
    }
    void Read(int* buffer, int frames) override
    {
        for (int f = 0; f < frames; ++f, ++_pos) {
            const size_t at = 2 * size_t(_pos % rate);
            buffer[2 * f] = _table[at];
            buffer[2 * f + 1] = _table[at + 1];
        }
    }
    int GetPositionSample() const override { return _pos; }
    int GetEndSample() const override { return 0x7fffffff; }
    void Seek(int sample) override { _pos = sample < 0 ? 0 : sample; }

private:
    std::vector<int> _table;
    int _pos = 0;
};

void _Pull(benchmark::State& state, LSoundSource& chain, int realTimeRate)
{
    std::vector<int> block(2 * kBlockFrames);
    int64_t frames = 0;
    for (auto _ : state) {
        chain->Read(block.data(), kBlockFrames);
        benchmark::DoNotOptimize(block.data());
        frames += kBlockFrames;
        if (chain->GetPositionSample() > 0x70000000)
            chain->Seek(0);
    }
    state.counters["x_realtime"] = benchmark::Counter(double(frames) / realTimeRate, benchmark::Counter::kIsRate);
}

void BM_Rate44100To48000Stereo(benchmark::State& state)
{
    LSoundSource chain(new ToneSource(44100));
    chain = LSPConvertRate(48000, false).OpenSource(chain);
    _Pull(state, chain, 48000);
}
BENCHMARK(BM_Rate44100To48000Stereo)->Unit(benchmark::kMillisecond);

void BM_Speed105Stereo(benchmark::State& state)
{
    LSoundSource tone(new ToneSource(44100));
    LSoundSource chain(new LSRCPitchSpeed(tone, 1.05, true));
    _Pull(state, chain, 44100);  // labelled at the source's rate
}
BENCHMARK(BM_Speed105Stereo)->Unit(benchmark::kMillisecond);

// Table construction in exact mode. 44101 -> 44100 is the limit any file rate can reach on its
// way into the cache (L = 44100); 22254 -> 44100 is a rate old recordings really have.
void BM_TableExact(benchmark::State& state)
{
    const int from = int(state.range(0)), to = int(state.range(1));
    int phases = 0;
    for (auto _ : state) {
        LConvertRateBase table(from, to, LSRCConvertRate::kTaps, false, false);
        phases = table.GetPhases();
        benchmark::DoNotOptimize(table.GetRow(0));
    }
    state.counters["L"] = phases;
}
BENCHMARK(BM_TableExact)
    ->Args({44100, 48000})
    ->Args({32000, 44100})
    ->Args({22254, 44100})
    ->Args({44101, 44100})
    ->Unit(benchmark::kMillisecond);

void BM_TableApproximate(benchmark::State& state)
{
    for (auto _ : state) {
        LConvertRateBase table(44100, 41999, LSRCConvertRate::kTaps, false, true);
        benchmark::DoNotOptimize(table.GetRow(0));
    }
}
BENCHMARK(BM_TableApproximate)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
