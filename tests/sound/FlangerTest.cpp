#include "sound/LSRCFlanger.h"

#include "sound/DelaySources.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// The flanger without a ring: the delayed value is the input `id` and `id + 1` frames back.
std::vector<int> FlangerModel(const std::vector<int>& in, int ch, int rate, int delayMs, double hz, int depth, int mix)
{
    const int centre = rate * delayMs / 1000;
    const double swing = (centre * depth) / 100;
    const auto back = [&](int f, int c) { return f < 0 ? 0.0 : in[size_t(f) * ch + c]; };
    std::vector<int> out(in.size());
    double phase = 0;
    for (int f = 0; f < int(in.size()) / ch; ++f, phase += 6.283185307179586 * hz / rate) {
        const double d = centre + std::sin(phase) * swing;
        const int id = int(d);
        for (int c = 0; c < ch; ++c) {
            const double delayed = back(f - id, c) * (1 - (d - id)) + back(f - id - 1, c) * (d - id);
            out[size_t(f) * ch + c] = in[size_t(f) * ch + c] + int(std::trunc(delayed * mix * 0.01));
        }
    }
    return out;
}

TEST(Flanger, FixedAndSweptDelaysMatchTheModel)
{
    struct Case { int rate, ch, delayMs; double hz; int depth, mix; };
    // A constant comb (the phaser), every slider at its top, the start positions, other rates.
    const Case cases[] = {{44100, 2, 5, 0.0, 0, 50},  {44100, 2, 10, 50.0, 100, 100}, {44100, 2, 8, 25.0, 50, 0},
                          {22050, 1, 10, 3.0, 100, 70}, {48000, 2, 1, 12.0, 37, 100}};
    for (const Case& k : cases) {
        const auto in = MakeNoise(k.ch, 6000, 0x7fff0);
        LSoundSource s = MakeMemorySource(k.rate, k.ch, in);
        s = LSPFlanger(k.delayMs, k.hz, k.depth, k.mix).OpenSource(s);
        EXPECT_EQ(ReadInPieces(s, 6000), FlangerModel(in, k.ch, k.rate, k.delayMs, k.hz, k.depth, k.mix)) << k.delayMs;
    }
}

TEST(Flanger, ParametersBeyondTheSlidersAreHeldInsideTheRing)
{
    // 1,000 s of delay is held at 1 s, depth and mix at 100; at 7 Hz the sweep brings the tap
    // back to the first frames after about 4,700 frames.
    const auto in = MakeNoise(2, 8000, 0x7fff0);
    LSoundSource s = MakeMemorySource(44100, 2, in);
    s = LSPFlanger(1000000, 7.0, 250, 400).OpenSource(s);
    EXPECT_EQ(ReadInPieces(s, 8000), FlangerModel(in, 2, 44100, 1000, 7.0, 100, 100));

    LSPFlanger wide(1000, 1.0, 100, 50);  // 255 channels at 192 kHz: the ring's own limit
    LSoundSource w = MakeMemorySource(192000, 255, MakeNoise(255, 50, 1000));
    w = wide.OpenSource(w);
    EXPECT_LE(static_cast<LSRCFlanger*>(wide.source.Get())->GetRingLength(), LSRCFlanger::kMaxRingInts);
    ReadInPieces(w, 50);

    LSoundSource odd = MakeMemorySource(44100, 2, in);  // a rate that is no number: no sweep
    odd = LSPFlanger(10, std::nan(""), 100, 100).OpenSource(odd);
    EXPECT_EQ(ReadInPieces(odd, 8000), FlangerModel(in, 2, 44100, 10, 0.0, 100, 100));
}

TEST(Flanger, ZeroDelayScalesByOnePlusMix)
{
    const std::vector<int> in = {1000, -2000, 0x7fff0, -0x7fff0, 3, -3};
    LSoundSource s = MakeMemorySource(44100, 2, in);
    s = LSPFlanger(0, 10.0, 80, 25).OpenSource(s);
    const auto out = ReadAll(s, 3);
    for (size_t i = 0; i < in.size(); ++i)
        EXPECT_EQ(out[i], in[i] + int(in[i] * 0.25)) << i;
}

TEST(Flanger, SeekSilencesTheDelayLine)
{
    const auto in = MakeNoise(2, 2000, 0x40000);
    MemorySource* memory = nullptr;
    LSoundSource s = MakeMemorySource(44100, 2, in, &memory);
    s = LSPFlanger(10, 0.0, 0, 100).OpenSource(s);
    const auto first = ReadAll(s, 2000);
    s->Seek(0);
    EXPECT_EQ(memory->seeks, std::vector<int>{0});
    EXPECT_EQ(ReadAll(s, 2000), first);  // nothing of the first pass is left in the line
}

}  // namespace
