// The library list off screen: filling it with 10,000 and 100,000 rows of six cells, the same
// followed by the first paint of a full window of rows, and a sort of 100,000 rows by title.
#include "ui/LGuiApplication.h"
#include "ui/LListView.h"
#include "ui/LWindow.h"

#include <QPixmap>
#include <QWidget>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kWindowWidth = 1200;  // pixels
constexpr int kWindowHeight = 800;  // pixels
constexpr int kListId = 239;
constexpr int kTitleColumn = 0;
constexpr unsigned kSeed = 20261123;
// Each run builds its rows untimed first; a few runs keep the whole program short.
constexpr int kIterations = 5;

const LListViewColumn kColumns[] = {
    {"Title", 17, LListViewSortKind::kText},  {"Artist", 19, LListViewSortKind::kText},
    {"Album", 19, LListViewSortKind::kText},  {"Time", 10, LListViewSortKind::kTime},
    {"BPM", 9, LListViewSortKind::kNumber},   {"Deck", 7, LListViewSortKind::kText},
};
constexpr int kColumnCount = 6;

LWindow* gWindow = nullptr;
std::unique_ptr<LListView> gList;

// Titles in mixed case and random order, as a library added over years would hold.
std::vector<LListViewRow> _Rows(int count)
{
    std::mt19937 random(kSeed);
    std::vector<LListViewRow> rows(static_cast<size_t>(count));
    char text[64];
    for (int i = 0; i < count; ++i) {
        LListViewRow& row = rows[static_cast<size_t>(i)];
        const unsigned key = random();
        std::snprintf(text, sizeof text, "%s Track %08u", (key & 1) ? "The" : "a", key >> 1);
        row.cells.emplace_back(text);
        std::snprintf(text, sizeof text, "Artist %u", key % 997);
        row.cells.emplace_back(text);
        std::snprintf(text, sizeof text, "Album %u", key % 4999);
        row.cells.emplace_back(text);
        std::snprintf(text, sizeof text, "%u:%02u.%u", key % 11, key % 60, key % 10);
        row.cells.emplace_back(text);
        std::snprintf(text, sizeof text, "%u.%02u", 80 + key % 90, key % 100);
        row.cells.emplace_back(text);
        row.cells.emplace_back((key & 2) ? "A" : "");
        row.index = i;
    }
    return rows;
}

void BM_SetRows(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<LListViewRow> rows = _Rows(static_cast<int>(state.range(0)));
        state.ResumeTiming();
        gList->SetRows(std::move(rows));
    }
}
BENCHMARK(BM_SetRows)->Arg(10000)->Arg(100000)->Iterations(kIterations)->Unit(benchmark::kMillisecond);

// Filling and then painting what shows, as the user sees it.
void BM_SetRowsAndPaint(benchmark::State& state)
{
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<LListViewRow> rows = _Rows(static_cast<int>(state.range(0)));
        gList->Clear();
        gWindow->GetWidget()->repaint();
        state.ResumeTiming();
        gList->SetRows(std::move(rows));
        // Renders the list with its visible rows, whatever the platform does with the screen.
        benchmark::DoNotOptimize(gList->GetWidget()->grab());
    }
}
BENCHMARK(BM_SetRowsAndPaint)->Arg(10000)->Arg(100000)->Iterations(kIterations)->Unit(benchmark::kMillisecond);

void BM_SortByTitle(benchmark::State& state)
{
    bool ascending = true;
    for (auto _ : state) {
        state.PauseTiming();
        gList->SetRows(_Rows(static_cast<int>(state.range(0))));
        state.ResumeTiming();
        gList->SortByColumn(kTitleColumn, ascending);
        ascending = !ascending;
    }
}
BENCHMARK(BM_SortByTitle)->Arg(100000)->Iterations(kIterations)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    LGuiApplication application(argc, argv);
    auto window = std::make_unique<LWindow>();
    window->CreateTopLevel("bench", kWindowWidth, kWindowHeight);
    window->Show();
    gWindow = window.get();
    LListViewHandler handler;
    gList = std::make_unique<LListView>(*window, kListId, handler);
    gList->SetColumns(kColumns, kColumnCount);
    gList->SetGeometry(0, 0, kWindowWidth, kWindowHeight);
    gList->AdjustColumns(kWindowWidth);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    gList.reset();
    gWindow = nullptr;
    window.reset();
    return 0;
}
