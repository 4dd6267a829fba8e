// Reading costs of the file handles: ReadLine on a playlist-sized file, and small reads through
// LReadFileBuffered against the plain handle (one system call each).
#include "base/LFileRef.h"
#include "base/LReadFileBuffered.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

constexpr int kPlaylistLines = 1000;
constexpr size_t kDataBytes = 4 * 1024 * 1024;
constexpr size_t kSmallReadBytes = 4;  // a parser's typical field

// A temporary file removed at exit.
class BenchFile {
public:
    explicit BenchFile(const std::string& content)
    {
        char pattern[] = "/tmp/orvane-bench-XXXXXX";
        int fd = mkstemp(pattern);
        LWriteFully(fd, content.data(), content.size());
        close(fd);
        _path = pattern;
    }
    ~BenchFile() { unlink(_path.c_str()); }
    const char* Path() const { return _path.c_str(); }

private:
    std::string _path;
};

const BenchFile& Playlist()
{
    static const BenchFile file([] {
        std::string text = "#EXTM3U\r\n";
        for (int i = 0; i < kPlaylistLines; ++i)
            text += "/home/dj/Music/Artist " + std::to_string(i) + "/Album/01 Some Track Title.mp3\r\n";
        return text;
    }());
    return file;
}

const BenchFile& Data()
{
    static const BenchFile file(std::string(kDataBytes, 'd'));
    return file;
}

void BM_ReadLinePlaylist(benchmark::State& state)
{
    char line[260];
    for (auto _ : state) {
        LReadFileRef file(Playlist().Path());
        int lines = 0;
        while (file.ReadLine(line, sizeof line))
            ++lines;
        benchmark::DoNotOptimize(lines);
    }
    state.SetItemsProcessed(state.iterations() * (kPlaylistLines + 1));
}
BENCHMARK(BM_ReadLinePlaylist)->Unit(benchmark::kMillisecond);

template <typename Reader>
void BM_SmallReads(benchmark::State& state)
{
    unsigned char field[kSmallReadBytes];
    for (auto _ : state) {
        Reader file(Data().Path());
        while (file.Read(field, sizeof field) == sizeof field)
            benchmark::DoNotOptimize(field);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kDataBytes));
}
BENCHMARK_TEMPLATE(BM_SmallReads, LReadFileBuffered)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_SmallReads, LReadFileRef)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
