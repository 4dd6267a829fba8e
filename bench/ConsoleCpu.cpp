// CPU of the two-deck console playing on "[Null Output]" with every effect on one deck, as
// percent of one core, over 10 seconds of real-time playback.

#include "base/LEventQueue.h"
#include "engine/DJConsole.h"
#include "engine/DJSettingsAccess.h"
#include "output/LSoundPlayDevice.h"
#include "sound/LWaveFile.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <ctime>
#include <numbers>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kTrackSeconds = 30;
constexpr int kPlayMs = 10000;

std::string WriteTone(double hz)
{
    const std::string path = "/tmp/orvane-bench-console-" + std::to_string(getpid()) + "-" + std::to_string(int(hz)) + ".wav";
    std::vector<int> samples(size_t(kRate) * kTrackSeconds * 2);
    for (size_t f = 0; f < samples.size() / 2; ++f)
        samples[f * 2] = samples[f * 2 + 1] = static_cast<int>(std::lround(12000 * std::sin(2 * std::numbers::pi * hz * f / kRate))) * 16;
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
    sink->Write(samples.data(), static_cast<int>(samples.size() / 2));
    return path;
}

double CpuSeconds()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return t.tv_sec + t.tv_nsec * 1e-9;
}

// Device choice comes from the engine's settings: the null device by name.
struct NullDeviceSettings : DJSettingsAccess {
    NullDeviceSettings() { DJSetSettingsAccess(this); }
    ~NullDeviceSettings() override { DJSetSettingsAccess(nullptr); }
    std::string GetString(const char*, const char* key, const char* def) override
    {
        return std::string(key) == "SoundOutDevice" ? kNullDeviceName : def;
    }
    void SetString(const char*, const char*, const char*) override {}
};

void BM_ConsoleTwoDecksAllEffects(benchmark::State& state)
{
    const std::string a = WriteTone(110), b = WriteTone(165);
    NullDeviceSettings settings;
    double percent = 0;
    for (auto _ : state) {
        DJConsole console;
        DJDeck& left = console.AddDeck(kDeckLeft);
        DJDeck& right = console.AddDeck(kDeckRight);
        left.Load(a.c_str(), 22050, 0);
        right.Load(b.c_str(), 22050, 0);
        left.SetEq(LdBValue(3), LdBValue(-6), LdBValue(4));
        left.SetHighPass(120, true);
        left.SetReverb(30, LSoundTime(2000), 40, true);
        left.SetDistortion(0.4, LdBValue(3), true);
        left.SetPhaser(3, 60, true);
        left.SetFlanger(5, 0.5, 40, 50, true);
        left.SetDelay(40, 375, true);
        left.SetPitch(1.05);
        left.Play();
        right.Play();
        const double cpu0 = CpuSeconds();
        const timespec start = [] { timespec t{}; clock_gettime(CLOCK_MONOTONIC, &t); return t; }();
        LEventQueue::ForCurrentThread()->RunUntil([] { return false; }, kPlayMs);
        timespec end{};
        clock_gettime(CLOCK_MONOTONIC, &end);
        const double wall = (end.tv_sec - start.tv_sec) + (end.tv_nsec - start.tv_nsec) * 1e-9;
        percent = 100.0 * (CpuSeconds() - cpu0) / wall;
        console.Stop();
    }
    state.counters["cpu_percent_of_one_core"] = percent;
    unlink(a.c_str());
    unlink(b.c_str());
}
BENCHMARK(BM_ConsoleTwoDecksAllEffects)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
