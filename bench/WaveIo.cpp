// Reading and writing 16-bit stereo WAVE files through the graph, and the per-block buffer
// helpers. "x_realtime" is seconds of 44,100 Hz audio handled per second.
#include "sound/LBufferHelpers.h"
#include "sound/LWaveFile.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kRate = 44100;                 // Hz
constexpr int kFileFrames = 60 * kRate;      // one minute
constexpr int kBlockFrames = 8192;           // the player's largest pull

std::vector<int> NoiseBlock()
{
    std::mt19937 random(1);
    std::uniform_int_distribution<int> value(-0x7fff0, 0x7fff0);
    std::vector<int> block(kBlockFrames * 2);
    for (int& v : block)
        v = value(random);
    return block;
}

std::string TempPath(const char* name)
{
    return std::string("/tmp/orvane_bench_") + name + "_" + std::to_string(getpid()) + ".wav";
}

void WriteFile(const std::string& path, const std::vector<int>& block)
{
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
    for (int done = 0; done < kFileFrames; done += kBlockFrames)
        sink->Write(block.data(), std::min(kBlockFrames, kFileFrames - done));
}

void SetRates(benchmark::State& state, int64_t framesPerIteration)
{
    state.SetItemsProcessed(state.iterations() * framesPerIteration);
    state.counters["x_realtime"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * framesPerIteration / kRate, benchmark::Counter::kIsRate);
}

void BM_WaveRead16Stereo(benchmark::State& state)
{
    const std::string path = TempPath("read");
    WriteFile(path, NoiseBlock());
    LSoundSource source = LWaveFile::OpenSource(path.c_str());
    if (source->GetEndSample() != kFileFrames)
        state.SkipWithError("the test file did not read back whole");
    std::vector<int> block(kBlockFrames * 2);
    for (auto _ : state) {
        source->Seek(0);
        for (int done = 0; done < kFileFrames; done += kBlockFrames)
            source->Read(block.data(), std::min(kBlockFrames, kFileFrames - done));
        benchmark::DoNotOptimize(block.data());
    }
    SetRates(state, kFileFrames);
    source.Close();
    unlink(path.c_str());
}
BENCHMARK(BM_WaveRead16Stereo)->Unit(benchmark::kMillisecond);

void BM_WaveWrite16Stereo(benchmark::State& state)
{
    const std::string path = TempPath("write");
    const std::vector<int> block = NoiseBlock();
    for (auto _ : state)
        WriteFile(path, block);
    SetRates(state, kFileFrames);
    unlink(path.c_str());
}
BENCHMARK(BM_WaveWrite16Stereo)->Unit(benchmark::kMillisecond);

template <typename Run>
void HelperBenchmark(benchmark::State& state, Run run)
{
    std::vector<int> block = NoiseBlock();
    for (auto _ : state) {
        run(block);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(block.size()));
}

void BM_GetBufferPeak(benchmark::State& state)
{
    HelperBenchmark(state, [](std::vector<int>& b) {
        benchmark::DoNotOptimize(GetBufferPeak(b.data(), kBlockFrames, 2));
    });
}
BENCHMARK(BM_GetBufferPeak);

void BM_GetBufferMeanSquare(benchmark::State& state)
{
    HelperBenchmark(state, [](std::vector<int>& b) {
        benchmark::DoNotOptimize(GetBufferMeanSquare(b.data(), kBlockFrames, 2));
    });
}
BENCHMARK(BM_GetBufferMeanSquare);

void BM_GetBufferMeanSquareChan(benchmark::State& state)
{
    // Counts the values of both channels, though each call visits one.
    HelperBenchmark(state, [](std::vector<int>& b) {
        benchmark::DoNotOptimize(GetBufferMeanSquareChan(0, b.data(), kBlockFrames, 2));
        benchmark::DoNotOptimize(GetBufferMeanSquareChan(1, b.data(), kBlockFrames, 2));
    });
}
BENCHMARK(BM_GetBufferMeanSquareChan);

void BM_GainAudioBufferQuick(benchmark::State& state)
{
    HelperBenchmark(state, [](std::vector<int>& b) {
        GainAudioBufferQuick(512, b.data(), static_cast<int>(b.size()));
    });
}
BENCHMARK(BM_GainAudioBufferQuick);

}  // namespace

BENCHMARK_MAIN();
