// Library load and save at the sizes users keep (1,000 to 100,000 tracks), and the add task over
// a folder of short WAVE files. Files live in a temporary folder removed at the end.
#include "app/DJLibrary.h"

#include "base/LFile.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

std::string _Scratch()
{
    static std::string folder = [] {
        char pattern[] = "/tmp/orvane-bench-XXXXXX";
        const char* made = mkdtemp(pattern);
        return std::string(made ? made : "/tmp");
    }();
    return folder;
}

// A library file of `count` entries with the fields the program writes.
std::string _LibraryFile(int count)
{
    const std::string path = _Scratch() + "/library" + std::to_string(count) + ".xml";
    if (LFile::Exists(path.c_str()))
        return path;
    DJLibrary library(nullptr);
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        LPlayItem item(("/home/dj/Music/Artist " + std::to_string(i % 700) + "/Album/" + n + " Track Title.mp3").c_str());
        LHashTable& f = item.Parms();
        f.SetString("title", ("Track Title " + n).c_str());
        f.SetString("album", "Some Album & Friends");
        f.SetString("artist", ("Artist " + std::to_string(i % 700)).c_str());
        f.SetString("bpm", "124.35");
        f.SetString("version", "1");
        f.SetString("length", std::to_string(9000000 + i).c_str());
        f.SetString("samplerate", "44100");
        f.SetString("beatfreq", "21278");
        f.SetString("beatoffset", "1234");
        f.SetString("cuemarkpos", "0");
        library.GetList().AddItem(item);
    }
    library.SaveTo(path);
    return path;
}

void BM_LibraryLoad(benchmark::State& state)
{
    const std::string path = _LibraryFile(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        DJLibrary library(nullptr);
        library.LoadFrom(path);
        benchmark::DoNotOptimize(library.GetList().Count());
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LibraryLoad)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_LibrarySave(benchmark::State& state)
{
    DJLibrary library(nullptr);
    library.LoadFrom(_LibraryFile(static_cast<int>(state.range(0))));
    const std::string out = _Scratch() + "/saved.xml";
    for (auto _ : state)
        benchmark::DoNotOptimize(library.SaveTo(out));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_LibrarySave)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// A second of 16-bit stereo silence at 44,100 Hz.
void _WriteShortWave(const std::string& path)
{
    const uint32_t dataBytes = 44100 * 4;
    std::ofstream out(path, std::ios::binary);
    auto le32 = [&](uint32_t v) { out.write(reinterpret_cast<const char*>(&v), 4); };
    auto le16 = [&](uint16_t v) { out.write(reinterpret_cast<const char*>(&v), 2); };
    out.write("RIFF", 4);
    le32(36 + dataBytes);
    out.write("WAVEfmt ", 8);
    le32(16);
    le16(1);
    le16(2);
    le32(44100);
    le32(44100 * 4);
    le16(4);
    le16(16);
    out.write("data", 4);
    le32(dataBytes);
    out.seekp(dataBytes - 1, std::ios::cur);
    out.put(0);
}

void BM_AddFolderOf1000Waves(benchmark::State& state)
{
    const std::string folder = _Scratch() + "/waves";
    if (!LFile::Exists(folder.c_str())) {
        LFile::CreateFolderTree(folder.c_str());
        for (int i = 0; i < 1000; ++i)
            _WriteShortWave(folder + "/track" + std::to_string(i) + ".wav");
    }
    for (auto _ : state) {
        DJLibrary library(nullptr);
        LProcessInterfaceVoid process;
        DJAddFolder task{library, folder};
        Process(process, task);
        if (library.GetList().Count() != 1000)
            state.SkipWithError("not every file was added");
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_AddFolderOf1000Waves)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv)
{
    // The library's own setting must not point into the user's real folders.
    setenv("XDG_CONFIG_HOME", (_Scratch() + "/config").c_str(), 1);
    setenv("XDG_DATA_HOME", (_Scratch() + "/data").c_str(), 1);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    LFile::DeleteFolderTree(_Scratch().c_str());
    return 0;
}
