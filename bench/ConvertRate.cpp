// Speed of the pull-side rate converter, reported as multiples of real time on one core, and
// the cost of building its table.
#include "sound/LSRCConvertRate.h"

#include "bench/PullChain.h"

#include <benchmark/benchmark.h>

namespace {

using bench::PullChain;
using bench::ToneSource;

void BM_Rate44100To48000Stereo(benchmark::State& state)
{
    LSoundSource chain(new ToneSource(44100));
    chain = LSPConvertRate(48000, false).OpenSource(chain);
    PullChain(state, chain, 48000);
}
BENCHMARK(BM_Rate44100To48000Stereo)->Unit(benchmark::kMillisecond);

void BM_Speed105Stereo(benchmark::State& state)
{
    LSoundSource tone(new ToneSource(44100));
    LSoundSource chain(new LSRCPitchSpeed(tone, 1.05, true));
    PullChain(state, chain, 44100);  // labelled at the source's rate
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
