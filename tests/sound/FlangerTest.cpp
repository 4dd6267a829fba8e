#include "sound/LSRCFlanger.h"

#include "MemorySource.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

// The flanger without a ring: the delayed value is the input `id` and `id + 1` frames back.
std::vector<int> FlangerModel(const std::vector<int>& in, int ch, int rate, int delayMs, double hz, int depth, int mix)
{
    const int centre = rate * delayMs / 1000;
    const double swing = (centre * depth) / 100;
    const auto back = [&](int f, int c) { return f < 0 ? 0.0 : in[size_t(f) * ch + c]; };
    std::vector<int> out(in.size());
    double phase = 0;
    for (int f = 0; f < int(in.size()) / ch; ++f, phase += 2 * std::numbers::pi * hz / rate) {
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
    // A constant comb (depth 0), every slider at its top, other rates, and beyond the sliders:
    // 1,000 s held at 1 s, depth and mix at 100; a rate that is no number does not sweep.
    const Case cases[] = {{44100, 2, 5, 0.0, 0, 50},    {44100, 2, 10, 50.0, 100, 100}, {22050, 1, 10, 3.0, 100, 70},
                          {48000, 2, 1, 12.0, 37, 100}, {44100, 2, 1000000, 7.0, 250, 400},
                          {44100, 2, 10, std::nan(""), 100, 100}};
    for (const Case& k : cases) {
        const auto in = MakeNoise(k.ch, 8000, 0x7fff0);
        LSoundSource s = Open(LSPFlanger(k.delayMs, k.hz, k.depth, k.mix), in, k.ch, k.rate);
        const auto model = FlangerModel(in, k.ch, k.rate, std::min(k.delayMs, 1000), std::isnan(k.hz) ? 0.0 : k.hz,
                                        std::min(k.depth, 100), std::min(k.mix, 100));
        EXPECT_EQ(ReadInPieces(s, 8000), model) << k.delayMs;
        if (k.depth == 0) {  // a seek leaves nothing of the first pass in the line
            s->Seek(0);
            EXPECT_EQ(ReadInPieces(s, 8000), model);
        }
    }

    LSPFlanger wide(1000, 1.0, 100, 50);  // 255 channels at 192 kHz: the ring's own limit
    LSoundSource w = Open(wide, MakeNoise(255, 50, 1000), 255, 192000);
    EXPECT_LE(static_cast<LSRCFlanger*>(wide.source.Get())->GetRingLength(), LSRCFlanger::kMaxRingInts);
    ReadInPieces(w, 50);
}

TEST(Flanger, ZeroDelayScalesByOnePlusMix)
{
    const std::vector<int> in = {1000, -2000, 0x7fff0, -0x7fff0, 3, -3};
    const auto out = ReadAll(Open(LSPFlanger(0, 10.0, 80, 25), in), 3);
    for (size_t i = 0; i < in.size(); ++i)
        EXPECT_EQ(out[i], in[i] + int(in[i] * 0.25)) << i;
}

}  // namespace
