// Parse and save speed of library-shaped XML, and the cost of one settings read and write
// (each reloads the whole file; a write also syncs it to disk).
#include "app/LSettings.h"
#include "app/LXMLElement.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

std::string _LibraryText(int items)
{
    LXMLDocument document;
    LXMLElement& library = document.AddElement("library");
    for (int i = 0; i < items; ++i) {
        LXMLElement& item = library.AddElement("playitem");
        item.AddElement("path").AddText(("/home/dj/Music/Artist " + std::to_string(i) + "/Track & more.mp3").c_str());
        item.AddElement("TITLE").AddText("A title of usual length");
        item.AddElement("BPM").AddText("128.00");
        item.AddElement("beat").Attributes().SetParmBottom("period", "20671");
    }
    std::string text;
    document.SaveToBuffer(text, 0);
    return text;
}

void BM_ParseLibrary(benchmark::State& state)
{
    std::string text = _LibraryText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        LXMLDocument document;
        document.Parse(text.c_str());
        benchmark::DoNotOptimize(document.GetChildren().size());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ParseLibrary)->Arg(10000);

void BM_SaveLibrary(benchmark::State& state)
{
    std::string text = _LibraryText(static_cast<int>(state.range(0)));
    LXMLDocument document;
    document.Parse(text.c_str());
    for (auto _ : state) {
        std::string out;
        document.SaveToBuffer(out, 0);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_SaveLibrary)->Arg(10000);

// A settings folder of its own, with 100 values set, for the life of one benchmark.
class SettingsHome {
public:
    SettingsHome()
    {
        _path = (std::filesystem::temp_directory_path() / "orvane-bench-XXXXXX").string();
        mkdtemp(_path.data());
        setenv("XDG_CONFIG_HOME", _path.c_str(), 1);
        for (int i = 0; i < 100; ++i)
            LUserSettingSetInt("Settings", ("Key" + std::to_string(i)).c_str(), i);
    }
    ~SettingsHome() { std::filesystem::remove_all(_path); }

private:
    std::string _path;
};

void BM_SettingGet(benchmark::State& state)
{
    SettingsHome home;
    for (auto _ : state)
        benchmark::DoNotOptimize(LUserSettingGetInt("Settings", "Key99", 0));
}
BENCHMARK(BM_SettingGet);

void BM_SettingSet(benchmark::State& state)
{
    SettingsHome home;
    int value = 0;
    for (auto _ : state)
        LUserSettingSetInt("Settings", "Key50", ++value);
}
BENCHMARK(BM_SettingSet)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
