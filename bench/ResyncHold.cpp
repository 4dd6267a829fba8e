// How long ResyncPlayer holds the main player's render lock (the audio callback waits that
// long) while an effect slider is dragged: a parameter change every 16 ms, as pointer moves
// arrive, on "[Null Output]". Percentiles of the holds reported by the console's probe.

#include "base/LEventQueue.h"
#include "engine/DJConsole.h"
#include "engine/DJSettingsAccess.h"
#include "output/LSoundPlayDevice.h"
#include "sound/LWaveFile.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <unistd.h>
#include <vector>

// Filled by the console built with ORVANE_RESYNC_HOLD_PROBE; interface thread only.
static std::vector<long long> g_holdsNs;

void DJResyncHoldProbe(long long heldNs)
{
    if (g_holdsNs.size() < g_holdsNs.capacity())
        g_holdsNs.push_back(heldNs);
}

namespace {

constexpr int kRate = 44100;         // Hz
constexpr int kTrackSeconds = 60;
constexpr int kDragSteps = 400;      // slider moves
constexpr unsigned int kStepMs = 16; // between pointer moves

std::string WriteTone()
{
    const std::string path = "/tmp/orvane-bench-resync-" + std::to_string(getpid()) + ".wav";
    std::vector<int> samples(size_t(kRate) * kTrackSeconds * 2);
    for (size_t f = 0; f < samples.size() / 2; ++f)
        samples[f * 2] = samples[f * 2 + 1] =
            static_cast<int>(std::lround(12000 * std::sin(2 * std::numbers::pi * 110 * f / kRate))) * 16;
    LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
    sink->Write(samples.data(), static_cast<int>(samples.size() / 2));
    return path;
}

struct NullDeviceSettings : DJSettingsAccess {
    NullDeviceSettings() { DJSetSettingsAccess(this); }
    ~NullDeviceSettings() override { DJSetSettingsAccess(nullptr); }
    std::string GetString(const char*, const char* key, const char* def) override
    {
        return std::string(key) == "SoundOutDevice" ? kNullDeviceName : def;
    }
    void SetString(const char*, const char*, const char*) override {}
};

double PercentileMs(std::vector<long long> values, double fraction)
{
    if (values.empty())
        return -1;
    std::sort(values.begin(), values.end());
    const size_t index = std::min(values.size() - 1, size_t(fraction * double(values.size())));
    return values[index] / 1e6;
}

// Argument 0: only the dragged effect (the flanger) on; 1: all six effects on.
void BM_ResyncHoldWhileDragging(benchmark::State& state)
{
    const bool allEffects = state.range(0) != 0;
    const std::string path = WriteTone();
    NullDeviceSettings settings;
    g_holdsNs.clear();
    g_holdsNs.reserve(kDragSteps * 2);
    for (auto _ : state) {
        DJConsole console;
        DJDeck& deck = console.AddDeck(kDeckLeft);
        deck.Load(path.c_str(), kRate / 2, 0);
        if (allEffects) {
            deck.SetHighPass(120, true);
            deck.SetReverb(30, LSoundTime(2000), 40, true);
            deck.SetDistortion(0.4, LdBValue(3), true);
            deck.SetPhaser(3, 60, true);
            deck.SetDelay(40, 375, true);
        }
        deck.SetFlanger(5, 0.5, 40, 50, true);
        deck.Play();
        LEventQueue::ForCurrentThread()->RunUntil([&] { return console.IsPlayerRunning(); }, 5000);
        LEventQueue::ForCurrentThread()->RunUntil([] { return false; }, 500);
        g_holdsNs.clear();
        for (int step = 0; step < kDragSteps; ++step) {
            deck.SetFlanger(5, 0.5, step % 100, 50, true);  // the depth slider moving
            LEventQueue::ForCurrentThread()->RunUntil([] { return false; }, kStepMs);
        }
        console.Stop();
    }
    state.counters["resyncs"] = double(g_holdsNs.size());
    state.counters["hold_p50_ms"] = PercentileMs(g_holdsNs, 0.50);
    state.counters["hold_p99_ms"] = PercentileMs(g_holdsNs, 0.99);
    state.counters["hold_max_ms"] = PercentileMs(g_holdsNs, 1.0);
    state.SetLabel(allEffects ? "all six effects on" : "flanger on");
    unlink(path.c_str());
}
BENCHMARK(BM_ResyncHoldWhileDragging)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
