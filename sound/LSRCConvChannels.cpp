#include "sound/LSRCConvChannels.h"

#include "sound/LChannelMix.h"
#include "sound/LSRCConvertRate.h"

#include <algorithm>
#include <cstdint>

LSRCConvChannels::LSRCConvChannels(LSoundSource& inner, unsigned char targetChannels)
    : LSoundProcessBase(inner),
      _work(std::make_unique<int[]>(static_cast<size_t>(kWorkFrames) * inner->GetChannels())),
      _innerChannels(inner->GetChannels())
{
    channels = targetChannels;
}

void LSRCConvChannels::Read(int* out, int frames)
{
    while (frames > 0) {
        const int n = std::min(frames, kWorkFrames);
        source->Read(_work.get(), n);
        Convert(_work.get(), out, n);
        out += static_cast<size_t>(n) * channels;
        frames -= n;
    }
}

void LSRCConvStereoMono::Convert(const int* work, int* out, int frames) const
{
    LMixStereoToMono(work, out, frames);
}

void LSRCConvMonoStereo::Convert(const int* work, int* out, int frames) const
{
    LSpreadMonoToStereo(work, out, frames);
}

void LSRCConvChannelsN::Convert(const int* work, int* out, int frames) const
{
    const int n = InnerChannels();
    const int m = channels;
    for (int i = 0; i < frames; ++i)
        for (int c = 0; c < m; ++c)
            out[i * m + c] = work[i * n + c % n];
}

LSoundSource LSPConvChannels::OpenSource(LSoundSource& inner) const
{
    const unsigned char have = inner->GetChannels();
    if (inner->GetError() != kErrNone || have == 0 || channels == 0 || have == channels)
        return inner;
    if (have == 2 && channels == 1)
        return LSoundSource(new LSRCConvStereoMono(inner));
    if (have == 1 && channels == 2)
        return LSoundSource(new LSRCConvMonoStereo(inner));
    return LSoundSource(new LSRCConvChannelsN(inner, channels));
}

void LSPConvertSourceRateChannels(int rate, unsigned char channels, LSoundSource& source)
{
    if (source->GetChannels() > channels)
        source = LSPConvChannels(channels).OpenSource(source);
    source = LSPConvertRate(rate, false).OpenSource(source);
    if (source->GetChannels() != channels)
        source = LSPConvChannels(channels).OpenSource(source);
}
