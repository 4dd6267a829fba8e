// Paint time of a 900-pixel-wide control filled with 900 vertical lines (a detailed wave's
// worst case) through the toolkit's drawing calls, into a 900 x 80 image set up as the
// toolkit sets a control's painter: no anti-aliasing, half-pixel shift. Also the cost of text
// labels in such a paint.
#include "ui/LPaintSurface.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

constexpr int kWidthPixels = 900, kHeightPixels = 80;

// Half-heights of a wave-like shape, different in every column.
float LineHalfHeight(int x)
{
    return float(5 + (x * 37) % 35);
}

template <typename DrawLines>
void PaintControl(benchmark::State& state, qreal ratio, DrawLines drawLines)
{
    QImage image(int(kWidthPixels * ratio), int(kHeightPixels * ratio), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    const LGuiColorRef background = LGuiColorRef::FromRGB(20, 20, 20);
    const LGuiColorRef wave = LGuiColorRef::FromRGB(90, 160, 220);
    for (auto _ : state) {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.translate(0.5, 0.5);
        PaintData data;
        data.context = &painter;
        data.width = kWidthPixels;
        data.height = kHeightPixels;
        LPaintSurface::FillRect(data, background, 0, 0, kWidthPixels, kHeightPixels);
        drawLines(data, wave);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
    }
}

// One stroke per column, as a wave display draws when each column has its own colour.
void BM_LinesOneStrokeEach(benchmark::State& state)
{
    PaintControl(state, qreal(state.range(0)), [](PaintData& data, LGuiColorRef colour) {
        for (int x = 0; x < kWidthPixels; ++x) {
            const float half = LineHalfHeight(x);
            LPaintSurface::MoveTo(data, float(x), kHeightPixels / 2 - half);
            LPaintSurface::LineTo(data, float(x), kHeightPixels / 2 + half);
            LPaintSurface::StrokePath(data, colour, 1);
        }
    });
}
BENCHMARK(BM_LinesOneStrokeEach)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

// All columns as subpaths of one stroke.
void BM_LinesOnePath(benchmark::State& state)
{
    PaintControl(state, qreal(state.range(0)), [](PaintData& data, LGuiColorRef colour) {
        for (int x = 0; x < kWidthPixels; ++x) {
            const float half = LineHalfHeight(x);
            LPaintSurface::MoveTo(data, float(x), kHeightPixels / 2 - half);
            LPaintSurface::LineTo(data, float(x), kHeightPixels / 2 + half);
        }
        LPaintSurface::StrokePath(data, colour, 1);
    });
}
BENCHMARK(BM_LinesOnePath)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

// Ten one-line labels, centred, as a deck's info and slider captions draw them each paint.
void BM_TextLabels(benchmark::State& state)
{
    PaintControl(state, 1, [](PaintData& data, LGuiColorRef colour) {
        data.font.CreateFont(-11, false, false, false, colour);
        for (int i = 0; i < 10; ++i)
            LPaintSurface::DrawText(data, "Artist - Title 128.00 BPM", float(i * 90), 30, 90, 20,
                                    LHAlignment::kCentre, LVAlignment::kCentre, LWrapping::kEllipsis);
    });
}
BENCHMARK(BM_TextLabels)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QGuiApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
