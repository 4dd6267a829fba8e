// Speed of the deck's effect stages, the limiter and the join sources on stereo 44,100 Hz,
// in multiples of real time on one core. Each stage is pulled over a test tone, whose own cost
// is included (a table copy).
#include "sound/LCrossFade.h"
#include "sound/LCrossMix.h"
#include "sound/LDistortion.h"
#include "sound/LHighPass.h"
#include "sound/LParametricEq.h"
#include "sound/LPeakLimit.h"

#include "bench/PullChain.h"

#include <benchmark/benchmark.h>

namespace {

using bench::PullChain;
using bench::ToneSource;

constexpr int kRate = 44100;

LSoundSource _Tone()
{
    return LSoundSource(new ToneSource(kRate));
}

void BM_ToneAlone(benchmark::State& state)
{
    LSoundSource chain = _Tone();
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_ToneAlone);

void BM_ParametricEqBand(benchmark::State& state)
{
    LSoundSource chain = _Tone();
    chain = LSPParametricEq(LdBValue(6), 400, 1.4).OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_ParametricEqBand);

void BM_ParametricEqThreeBands(benchmark::State& state)
{
    LSoundSource chain = _Tone();
    chain = LSPParametricEq(LdBValue(-6), 100, 1.4).OpenSource(chain);
    chain = LSPParametricEq(LdBValue(3), 400, 1.4).OpenSource(chain);
    chain = LSPParametricEq(LdBValue(6), 1000, 1.4).OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_ParametricEqThreeBands);

void BM_HighPass(benchmark::State& state)
{
    LSoundSource chain = _Tone();
    chain = LSPHighPass(500).OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_HighPass);

void BM_Distortion(benchmark::State& state)
{
    LSoundSource chain = _Tone();
    chain = LSPDistortion(0.5, 131072).OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_Distortion);

// A tone at 1.5 times the limit: every block is scaled.
void BM_PeakLimitLoud(benchmark::State& state)
{
    LSoundSource chain(new ToneSource(kRate, 0xc0000, kPeakDefault));
    chain = LSPPeakLimit(kPeakLimit).OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_PeakLimitLoud);

// Announced loud but within the limit: the copy path.
void BM_PeakLimitQuiet(benchmark::State& state)
{
    LSoundSource chain(new ToneSource(kRate, 0x60000, kPeakDefault));
    chain = LSPPeakLimit(kPeakLimit).OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_PeakLimitQuiet);

void BM_CrossFade(benchmark::State& state)
{
    LCrossFadeSource owner;
    LSoundSource chain = _Tone();
    chain = owner.OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_CrossFade);

// Asks for a fade during every Read, the crossfade's worst case.
class FadeEveryRead : public LSoundProcessBase {
public:
    FadeEveryRead(LSoundSource& inner, LCrossFadeSource& owner) : LSoundProcessBase(inner), _owner(owner) {}
    void Read(int* buffer, int frames) override
    {
        source->Read(buffer, frames);
        _owner.fadeRequested = true;
    }

private:
    LCrossFadeSource& _owner;
};

void BM_CrossFadeEveryBlock(benchmark::State& state)
{
    LCrossFadeSource owner;
    LSoundSource tone = _Tone();
    LSoundSource chain(new FadeEveryRead(tone, owner));
    chain = owner.OpenSource(chain);
    PullChain(state, chain, kRate);
}
BENCHMARK(BM_CrossFadeEveryBlock);

// Ten-second stream joined with tenth-of-a-second fades, as the cache makes a loop.
void BM_CrossMix(benchmark::State& state)
{
    constexpr int kStreamFrames = 10 * kRate;
    LSoundSource chain(new ToneSource(kRate, 0x60000, kPeakLimit, kStreamFrames));
    LSoundSource second(new ToneSource(kRate, 0x60000, kPeakLimit, kStreamFrames));
    chain = LSPCrossMix(kRate / 10, second).OpenSource(chain);
    PullChain(state, chain, kRate, kStreamFrames);
}
BENCHMARK(BM_CrossMix);

// Only the fades: every frame is mixed from both streams.
void BM_CrossMixFadesOnly(benchmark::State& state)
{
    constexpr int kFade = 4 * bench::kBlockFrames;
    LSoundSource chain(new ToneSource(kRate, 0x60000, kPeakLimit, 2 * kFade));
    LSoundSource second(new ToneSource(kRate, 0x60000, kPeakLimit, 2 * kFade));
    chain = LSPCrossMix(kFade, second).OpenSource(chain);
    PullChain(state, chain, kRate, 2 * kFade);
}
BENCHMARK(BM_CrossMixFadesOnly);

}  // namespace

BENCHMARK_MAIN();
