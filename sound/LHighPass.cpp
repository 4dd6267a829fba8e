#include "sound/LHighPass.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

LSoundSource LSPHighPass::OpenSource(LSoundSource& inner) const
{
    return LSoundSource(new LSRCHighPass(inner, frequency));
}

LSRCHighPass::LSRCHighPass(LSoundSource& inner, int frequencyHz)
    : LSoundProcessBase(inner),
      _k(static_cast<int>((1 - std::exp(frequencyHz * -6.283185307 / rate)) * 256)),
      _acc(std::make_unique<int[]>(channels)),
      _warmUp(std::make_unique<int[]>(static_cast<size_t>(kWarmUpFrames) * channels))
{
    // A step from -peak to +peak overshoots to twice the peak.
    if (peak <= kPeakMaxDoubled)
        peak *= 2;
}

void LSRCHighPass::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    const size_t count = static_cast<size_t>(frames < 0 ? 0 : frames) * channels;
    for (int c = 0; c < channels; ++c) {
        // 32-bit state as designed; the sums are widened and wrapped so that a wild input
        // cannot overflow into undefined behaviour.
        int acc = _acc[c];
        for (size_t i = static_cast<size_t>(c); i < count; i += channels) {
            const int y = static_cast<int>(int64_t(buffer[i]) - (acc >> 8));
            buffer[i] = y;
            acc = static_cast<int>(int64_t(acc) + int64_t(y) * _k);
        }
        _acc[c] = acc;
    }
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
