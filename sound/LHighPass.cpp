#include "sound/LHighPass.h"

#include "sound/LSampleMath.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr double kCoefficientOne = 256.0;  // 8 fraction bits

}  // namespace

int LHighPassCoefficient(int frequencyHz, int rateHz)
{
    return LTruncToInt((1 - std::exp(frequencyHz * -kTwoPiNineDecimalsCut / rateHz)) * kCoefficientOne);
}

void LHighPassKernel::Process(int* buffer, int frames, int channels)
{
    const size_t count = static_cast<size_t>(frames < 0 ? 0 : frames) * channels;
    for (int c = 0; c < channels; ++c) {
        // 32-bit state as designed; the sums are widened and wrapped so that a wild input
        // cannot overflow into undefined behaviour.
        int track = acc[c];
        for (size_t i = static_cast<size_t>(c); i < count; i += channels) {
            const int y = static_cast<int>(int64_t(buffer[i]) - (track >> 8));
            buffer[i] = y;
            track = static_cast<int>(int64_t(track) + int64_t(y) * k);
        }
        acc[c] = track;
    }
}

LSoundSource LSPHighPass::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCHighPass(inner, frequency));
}

LSRCHighPass::LSRCHighPass(LSoundSource& inner, int frequencyHz)
    : LSoundProcessBase(inner), _warmUp(std::make_unique<int[]>(static_cast<size_t>(kWarmUpFrames) * channels))
{
    _kernel.k = LHighPassCoefficient(frequencyHz, rate);
    // A step from -peak to +peak overshoots to twice the peak.
    if (peak <= kPeakMaxDoubled)
        peak *= 2;
}

void LSRCHighPass::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    _kernel.Process(buffer, frames, channels);
}

void LSRCHighPass::Seek(int sample)
{
    source->Seek(sample);
    const int back = std::min(source->GetPositionSample(), kWarmUpFrames);
    if (back <= 0)
        return;
    source->Seek(source->GetPositionSample() - back);
    Read(_warmUp.get(), back);
}
