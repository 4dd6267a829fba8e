// Repaint requests and painting of the window toolkit, off screen: Update() from many threads
// on one control (cost, requests left queued, paints), the throttled update's paint rate, and
// the paint time of a 900-pixel control drawn as 900 vertical lines.
#include "base/LEventQueue.h"
#include "ui/LGuiApplication.h"
#include "ui/LPaintControl.h"
#include "ui/LWindow.h"

#include <QCoreApplication>
#include <QImage>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kThreads = 4;
constexpr long kCalls = 1000000;  // Update() calls in all, shared by the threads
constexpr int kControlId = 100;
constexpr int kWideControlWidth = 900;  // pixels, one line a pixel
constexpr int kWideControlHeight = 100; // pixels

// Counts its paints; draws one line a pixel column when asked to.
class BenchControl : public LPaintControl {
public:
    std::atomic<long> paints{0};
    bool drawLines = false;

    void Paint(PaintData& data) override
    {
        paints.fetch_add(1, std::memory_order_relaxed);
        if (drawLines) {
            DrawLines(data);
        }
    }
    // Column x from (x * 37) % height to the bottom: a wave display's worst case.
    void DrawLines(PaintData& data) const
    {
        const int width = GetWidth(), height = GetHeight();
        FillRect(data, LGuiColorRef::FromRGB(190, 205, 198), 0, 0, static_cast<float>(width),
                 static_cast<float>(height));
        for (int x = 0; x < width; ++x) {
            MoveTo(data, static_cast<float>(x), static_cast<float>((x * 37) % height));
            LineTo(data, static_cast<float>(x), static_cast<float>(height - 1));
        }
        StrokePath(data, LGuiColorRef::FromRGB(58, 81, 88), 1);
    }
};

class BenchWindow : public LWindow {
public:
    BenchControl control;
    void InitDialog() override
    {
        AddPaintControl(kControlId, 0, 0, kWideControlWidth, kWideControlHeight, {});
        control.Init(this, kControlId);
        MoveControlPixels(kControlId, 0, 0, kWideControlWidth, kWideControlHeight);
    }
};

BenchWindow* gWindow = nullptr;

size_t _Pending()
{
    return LEventQueue::ForCurrentThread()->GetPendingCount();
}

// Runs the interface thread's loop until nothing waits, so each measurement starts clean.
void _Drain()
{
    for (int turn = 0; turn < 100 && _Pending() > 0; ++turn) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

// 10^6 calls of Update() from four threads while the interface thread does not drain: every
// call after the first merges, so one request waits, and one paint follows.
void BM_UpdateFromFourThreads(benchmark::State& state)
{
    BenchControl& control = gWindow->control;
    for (auto _ : state) {
        _Drain();
        const long paintsBefore = control.paints.load();
        const auto start = Clock::now();
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&control] {
                for (long i = 0; i < kCalls / kThreads; ++i) {
                    control.Update();
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["ns_per_call"] = seconds * 1e9 / kCalls;
        state.counters["queued_after"] = static_cast<double>(_Pending());
        _Drain();
        state.counters["paints_after"] = static_cast<double>(control.paints.load() - paintsBefore);
    }
}
BENCHMARK(BM_UpdateFromFourThreads)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

// Four threads request repaints for a second while the interface thread runs its loop:
// the most requests ever waiting, and the paints a second that result.
void _RunWhileRepainting(benchmark::State& state, bool throttled)
{
    constexpr auto kRun = std::chrono::seconds(2);
    BenchControl& control = gWindow->control;
    for (auto _ : state) {
        _Drain();
        std::atomic<bool> stop{false};
        std::atomic<long> calls{0};
        const long paintsBefore = control.paints.load();
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&] {
                long mine = 0;
                while (!stop.load(std::memory_order_relaxed)) {
                    throttled ? control.ThrottledUpdate() : control.Update();
                    ++mine;
                }
                calls += mine;
            });
        }
        size_t mostQueued = 0;
        const auto start = Clock::now();
        while (Clock::now() - start < kRun) {
            mostQueued = std::max(mostQueued, _Pending());
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        stop = true;
        for (auto& thread : threads) {
            thread.join();
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        state.counters["paints_per_s"] = (control.paints.load() - paintsBefore) / seconds;
        state.counters["most_queued"] = static_cast<double>(mostQueued);
        state.counters["ns_per_call"] = seconds * 1e9 / static_cast<double>(calls.load());
    }
}

void BM_UpdateWhileRepainting(benchmark::State& state)
{
    _RunWhileRepainting(state, false);
}
BENCHMARK(BM_UpdateWhileRepainting)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_ThrottledUpdateWhileRepainting(benchmark::State& state)
{
    _RunWhileRepainting(state, true);
}
BENCHMARK(BM_ThrottledUpdateWhileRepainting)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// One paint of the 900-pixel control as 900 vertical lines, through the toolkit's paint entry
// (alpha, anti-aliasing off, half-pixel shift) into an image like the window's backing store.
void BM_PaintNineHundredLines(benchmark::State& state)
{
    BenchControl& control = gWindow->control;
    control.drawLines = true;
    QImage image(kWideControlWidth, kWideControlHeight, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        QPainter painter(&image);
        PaintData data;
        data.context = &painter;
        data.width = kWideControlWidth;
        data.height = kWideControlHeight;
        control._PaintNow(data);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
    }
    control.drawLines = false;
}
BENCHMARK(BM_PaintNineHundredLines)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    LGuiApplication application(argc, argv);
    auto window = std::make_unique<BenchWindow>();
    window->CreateTopLevel("bench", kWideControlWidth, kWideControlHeight);
    window->Show();
    gWindow = window.get();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    gWindow = nullptr;
    window.reset();
    return 0;
}
