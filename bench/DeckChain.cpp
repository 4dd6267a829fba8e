// Speed of a deck's whole chain as the player pulls it, in multiples of real time on one core:
// the plain chain (file, equaliser, deck source) and the heaviest one (every effect on, pitch
// 1.05, equaliser away from 0 dB).
#include "bench/PullChain.h"
#include "engine/DJDeck.h"
#include "sound/LWaveFile.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kTrackSeconds = 60;

// A minute of stereo music-like material (two tones and a beat) in a temporary WAVE file.
class TrackFile {
public:
    TrackFile()
    {
        char folder[] = "/tmp/orvane-bench-XXXXXX";
        _folder = mkdtemp(folder);
        path = _folder + "/track.wav";
        LSoundSink sink = LWaveFile::OpenSinkPCM(path.c_str(), kRate, 2, 16, 0);
        std::vector<int> block(2 * kRate);
        for (int second = 0; second < kTrackSeconds; ++second) {
            for (int f = 0; f < kRate; ++f) {
                const double t = double(f) / kRate;
                const double beat = std::exp(-20.0 * std::fmod(t, 0.5));
                block[2 * size_t(f)] = int(0x30000 * (std::sin(2 * std::numbers::pi * 110 * t) * beat +
                                                      0.5 * std::sin(2 * std::numbers::pi * 880 * t)));
                block[2 * size_t(f) + 1] = int(0x30000 * std::sin(2 * std::numbers::pi * 660 * t));
            }
            sink->Write(block.data(), kRate);
        }
    }
    ~TrackFile()
    {
        unlink(path.c_str());
        rmdir(_folder.c_str());
    }

    std::string path;

private:
    std::string _folder;
};

const TrackFile& _Track()
{
    static TrackFile track;
    return track;
}

void _Pull(benchmark::State& state, DJDeck& deck)
{
    LSoundSource chain = deck.OpenSource();
    bench::PullChain(state, chain, kRate, chain->GetEndSample());
}

void BM_DeckPlainChain(benchmark::State& state)
{
    DJDeck deck;
    deck.SetTrack(_Track().path.c_str());
    _Pull(state, deck);
}
BENCHMARK(BM_DeckPlainChain)->Unit(benchmark::kMillisecond);

void BM_DeckHeaviestChain(benchmark::State& state)
{
    DJDeck deck;
    deck.SetTrack(_Track().path.c_str());
    deck.SetHighPass(120, true);
    deck.SetReverb(30, LSoundTime(2000), 40, true);
    deck.SetDistortion(0.4, LdBValue(3), true);
    deck.SetFlanger(5, 0.5, 40, 50, true);
    deck.SetPhaser(3, 60, true);
    deck.SetDelay(40, 375, true);
    deck.SetEq(LdBValue(3), LdBValue(-6), LdBValue(4));
    deck.SetPitch(1.05);
    _Pull(state, deck);
}
BENCHMARK(BM_DeckHeaviestChain)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
