// The wave displays: the scan of a 5-minute track for each wave at pitch 1.0 and 1.06, and the
// paints per second of each wave while the play position is set at 1 kHz (off screen).

#include "engine/DJDeck.h"
#include "sound/LWaveFile.h"
#include "ui/DJWaveDetailed.h"
#include "ui/DJWavePreview.h"
#include "ui/LGuiApplication.h"
#include "ui/LWindow.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <benchmark/benchmark.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kRate = 44100;             // Hz
constexpr int kTrackSeconds = 300;       // a 5-minute track
constexpr int kWaveWidth = 540;          // pixels, both waves
constexpr int kDetailedHeight = 80;      // pixels
constexpr int kPreviewHeight = 30;       // pixels
constexpr int kPositionSeconds = 5;      // how long the position is set at 1 kHz
constexpr int kFramesPerMs = kRate / 1000;

// A 5-minute stereo track of a sine under a click every half second, written once.
const std::string& FiveMinuteTrack()
{
    static const std::string path = [] {
        const std::string p = "/tmp/orvane-bench-waves-" + std::to_string(getpid()) + ".wav";
        LSoundSink sink = LWaveFile::OpenSinkPCM(p.c_str(), kRate, 2, 16, 0);
        std::vector<int> block(size_t(kRate) * 2);
        for (int second = 0; second < kTrackSeconds; ++second) {
            for (int f = 0; f < kRate; ++f) {
                const double tone = 6000 * std::sin(2 * std::numbers::pi * 220 * f / kRate);
                const int click = (f % (kRate / 2)) < 200 ? 20000 : 0;
                block[size_t(f) * 2] = block[size_t(f) * 2 + 1] = int(tone + click) * 16;
            }
            sink->Write(block.data(), kRate);
        }
        return p;
    }();
    return path;
}

void BM_WaveScan(benchmark::State& state)
{
    const bool preview = state.range(0) != 0;
    const double pitch = state.range(1) / 100.0;
    const std::string& path = FiveMinuteTrack();
    int columns = 0;
    for (auto _ : state) {
        columns = DJWaveScanFile(path.c_str(), kWaveWidth, pitch, preview);
        benchmark::DoNotOptimize(columns);
    }
    state.counters["columns"] = columns;
    state.SetLabel(std::string(preview ? "preview" : "detailed") + " pitch " +
                   std::to_string(pitch).substr(0, 4));
}
BENCHMARK(BM_WaveScan)
    ->ArgsProduct({{0, 1}, {100, 106}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);

template <typename Wave>
class CountingWave : public Wave {
public:
    void Prepaint(PaintData& data) override
    {
        ++paints;
        Wave::Prepaint(data);
    }
    std::atomic<int> paints{0};
};

void BM_WavePaintsPerSecond(benchmark::State& state)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    static int argc = 1;
    static char name[] = "bench";
    static char* argv[] = {name, nullptr};
    static LGuiApplication application(argc, argv);
    const std::string& path = FiveMinuteTrack();
    double detailedRate = 0, previewRate = 0;
    for (auto _ : state) {
        DJDeck deck;
        deck.Load(path.c_str(), kRate / 2, 0);
        LWindow window;
        window.CreateTopLevel("waves", kWaveWidth, kDetailedHeight + kPreviewHeight);
        window.AddPaintControl(224, 0, 0, kWaveWidth, kDetailedHeight, {});
        window.AddPaintControl(227, 0, kDetailedHeight, kWaveWidth, kPreviewHeight, {});
        CountingWave<DJWaveDetailed> detailed;
        CountingWave<DJWavePreview> preview;
        detailed.Init(&window, 224);
        preview.Init(&window, 227);
        for (DJWaveWindow* wave : {static_cast<DJWaveWindow*>(&detailed),
                                   static_cast<DJWaveWindow*>(&preview)}) {
            wave->SetDeck(&deck);
            wave->SetFrameLength(kRate * 5);
            wave->Load(path.c_str());
        }
        window.Show();
        QElapsedTimer clock;
        clock.start();
        while (!(detailed.IsScanComplete() && preview.IsScanComplete()) && clock.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        detailed.paints = 0;
        preview.paints = 0;
        clock.restart();
        long long lastMs = -1;
        while (clock.elapsed() < kPositionSeconds * 1000) {
            const long long ms = clock.elapsed();
            if (ms != lastMs) {
                lastMs = ms;
                const int sample = int(ms) * kFramesPerMs;
                detailed.SetFrame(sample);
                preview.SetFrame(sample);
            }
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        const double seconds = clock.elapsed() / 1000.0;
        detailedRate = detailed.paints / seconds;
        previewRate = preview.paints / seconds;
    }
    state.counters["detailed_paints_per_s"] = detailedRate;
    state.counters["preview_paints_per_s"] = previewRate;
}
BENCHMARK(BM_WavePaintsPerSecond)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    unlink(FiveMinuteTrack().c_str());
    return 0;
}
