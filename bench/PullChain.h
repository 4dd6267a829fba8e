#pragma once

// Shared by the stream benchmarks: an endless test tone and a loop that pulls a chain the way
// the player does, reporting multiples of real time on one core.
#include "sound/LSoundSource.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace bench {

constexpr int kBlockFrames = 8192;  // what the player pulls at most

// A stereo tone from a one-second table: 440 Hz left, 3,000 Hz right. Costs a copy and
// allocates nothing in Read. `peakValue` is what it announces to the chain.
class ToneSource : public LSoundSourceBase {
public:
    explicit ToneSource(int rateHz, int amplitude = 0x60000, int peakValue = kPeakLimit,
                        int endFrames = 0x7fffffff)
        : LSoundSourceBase(rateHz, 2, peakValue), _table(2 * static_cast<size_t>(rateHz)), _end(endFrames)
    {
        for (int i = 0; i < rateHz; ++i) {
            const double t = double(i) / rateHz;
            _table[2 * size_t(i)] = int(amplitude * std::sin(2 * std::numbers::pi * 440 * t));
            _table[2 * size_t(i) + 1] = int(amplitude * std::sin(2 * std::numbers::pi * 3000 * t));
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
    int GetEndSample() const override { return _end; }
    void Seek(int sample) override { _pos = sample < 0 ? 0 : sample; }

private:
    std::vector<int> _table;
    int _pos = 0;
    int _end;
};

// Pulls blocks of kBlockFrames until the state stops; seeks back to 0 once at `wrapAt`.
inline void PullChain(benchmark::State& state, LSoundSource& chain, int realTimeRate, int wrapAt = 0x70000000)
{
    std::vector<int> block(2 * kBlockFrames);
    int64_t frames = 0;
    for (auto _ : state) {
        chain->Read(block.data(), kBlockFrames);
        benchmark::DoNotOptimize(block.data());
        frames += kBlockFrames;
        if (chain->GetPositionSample() >= wrapAt)
            chain->Seek(0);
    }
    state.counters["x_realtime"] = benchmark::Counter(double(frames) / realTimeRate, benchmark::Counter::kIsRate);
}

}  // namespace bench
