// The mixer with two decks, as the console routes them. "x_realtime" is seconds of 44,100 Hz
// output mixed per second on one core.
#include "sound/LAudioMixer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr int kRate = 44100;         // Hz
constexpr int kBlockFrames = 8192;   // the player's largest pull
constexpr int kDeckFrames = kRate;   // one second of noise, played round and round

// A deck stand-in that costs no more than a copy: stereo noise repeated forever.
class NoiseDeck : public LSoundSourceBase {
public:
    explicit NoiseDeck(unsigned seed) : LSoundSourceBase(kRate, 2, kPeakLimit), _data(2 * kDeckFrames)
    {
        std::mt19937 random(seed);
        std::uniform_int_distribution<int> value(-kPeakLimit, kPeakLimit);
        for (int& v : _data)
            v = value(random);
    }
    void Read(int* buffer, int frames) override
    {
        for (int done = 0; done < frames;) {
            const int count = std::min(frames - done, kDeckFrames - _position);
            std::memcpy(buffer + 2 * done, &_data[2 * static_cast<size_t>(_position)], sizeof(int) * 2 * count);
            done += count;
            _position = (_position + count) % kDeckFrames;  // a benchmark outruns an int of frames
        }
    }
    int GetPositionSample() const override { return _position; }
    int GetEndSample() const override { return 0x7fffffff; }
    void Seek(int sample) override { _position = std::max(sample, 0) % kDeckFrames; }

private:
    std::vector<int> _data;
    int _position = 0;
};

void AddDecks(LAudioMixer& mixer)
{
    for (int deck = 0; deck < 2; ++deck) {
        LSoundSource source(new NoiseDeck(static_cast<unsigned>(deck + 1)));
        mixer.AddSource(source, deck, false);
    }
}

void RunMixer(benchmark::State& state, LAudioMixer& mixer)
{
    LSoundSource mix = mixer.OpenSource();
    std::vector<int> block(static_cast<size_t>(kBlockFrames) * mixer.GetOutputChannels());
    for (auto _ : state) {
        mix->Read(block.data(), kBlockFrames);
        benchmark::DoNotOptimize(block.data());
    }
    state.counters["x_realtime"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * kBlockFrames / kRate, benchmark::Counter::kIsRate);
}

// Four designations in all: each deck's left and right to the main pair, at crossfader and
// volume gains below unity.
void BM_MixerTwoDecksMain(benchmark::State& state)
{
    LAudioMixer mixer(false);
    AddDecks(mixer);
    for (int deck = 0; deck < 2; ++deck)
        for (int c = 0; c < 2; ++c) {
            mixer.AddChannelDesignation(deck, c, c);
            mixer.SetChannelDesignationVolume(deck, c, c, LdBValue(-3 - deck));
        }
    RunMixer(state, mixer);
}
BENCHMARK(BM_MixerTwoDecksMain)->Unit(benchmark::kMicrosecond);

// Four designations a deck: main pair at a gain, headphone pair (outputs 2, 3) at unity.
void BM_MixerTwoDecksMainAndPhones(benchmark::State& state)
{
    LAudioMixer mixer(false);
    mixer.SetOutputChannels(4);
    AddDecks(mixer);
    for (int deck = 0; deck < 2; ++deck)
        for (int c = 0; c < 2; ++c) {
            mixer.AddChannelDesignation(deck, c, c);
            mixer.SetChannelDesignationVolume(deck, c, c, LdBValue(-3 - deck));
            mixer.AddChannelDesignation(deck, c, c + 2);
        }
    RunMixer(state, mixer);
}
BENCHMARK(BM_MixerTwoDecksMainAndPhones)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
