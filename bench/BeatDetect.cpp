// Beat detection of a 5-minute track, as a multiple of real time. The track is a 128 BPM
// kick-like click with a sustained tone under it, written once to a temporary file.

#include "analysis/LBeatDetector.h"
#include "sound/LWaveFile.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kSeconds = 300;
constexpr double kBpm = 128.0;

std::string WriteTrack()
{
    const std::string path = "/tmp/orvane-bench-beats-" + std::to_string(getpid()) + ".wav";
    const int frames = kRate * kSeconds;
    std::vector<int> samples(size_t(frames) * 2);
    const double period = 60.0 * kRate / kBpm;
    for (int f = 0; f < frames; ++f) {
        const double sinceBeat = std::fmod(f, period);
        const double kick = sinceBeat < 2000 ? (1.0 - sinceBeat / 2000) * std::sin(2 * std::numbers::pi * 60 * sinceBeat / kRate) : 0;
        const double pad = 0.15 * std::sin(2 * std::numbers::pi * 220 * f / kRate);
        const int v = static_cast<int>(std::lround((0.7 * kick + pad) * 30000)) * 16;
        samples[size_t(f) * 2] = samples[size_t(f) * 2 + 1] = v;
    }
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
    sink->Write(samples.data(), frames);
    return path;
}

void BM_BeatDetectFiveMinutes(benchmark::State& state)
{
    const std::string path = WriteTrack();
    LBeatDetector detector;
    int period = 0;
    for (auto _ : state) {
        detector.DetectBeats(path.c_str(), nullptr);  // opens the file, no thread
        benchmark::DoNotOptimize(detector.CalculateBeats());
        period = detector.GetPeriod();
    }
    state.counters["x_real_time"] = benchmark::Counter(kSeconds * double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["bpm"] = 60.0 * kRate / period;
    unlink(path.c_str());
}
BENCHMARK(BM_BeatDetectFiveMinutes)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
