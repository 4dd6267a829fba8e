#include "sound/LSRCEcho.h"

#include <algorithm>
#include <climits>
#include <new>

int64_t LEchoRingLength(int rateHz, int delayMs, int channels)
{
    const int64_t frames = int64_t(rateHz) * (delayMs / 1000) + (int64_t(rateHz) * (delayMs % 1000)) / 1000;
    return std::max<int64_t>(frames * channels, LSRCEcho::kFallbackLength);
}

int LEchoFactor(int percent)
{
    return static_cast<int>((int64_t(percent) << 9) / 100);
}

void LEchoKernel::Process(int* buffer, int count)
{
    int i = index;
    for (int v = 0; v < count; ++v) {
        // 64-bit product: with strong feedback the line holds many times full scale.
        const int64_t y = ((int64_t(factor) * ring[i]) >> 9) + buffer[v];
        buffer[v] = ring[i] = static_cast<int>(y);
        if (++i == length)
            i = 0;
    }
    index = i;
}

void LEchoKernel::Silence()
{
    std::fill_n(ring, length, 0);
}

LSRCEcho::LSRCEcho(LSoundSource& inner, int percent, int delayMs) : LSoundProcessBase(inner)
{
    const int64_t wanted = LEchoRingLength(rate, std::clamp(delayMs, kMinDelayMs, kMaxDelayMs), channels);
    if (wanted <= INT_MAX)
        _ring.reset(new (std::nothrow) int[static_cast<size_t>(wanted)]());
    _kernel.length = _ring ? static_cast<int>(wanted) : kFallbackLength;
    if (!_ring)
        _ring = std::make_unique<int[]>(kFallbackLength);
    _kernel.ring = _ring.get();
    _kernel.factor = LEchoFactor(percent);
}

void LSRCEcho::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    _kernel.Process(buffer, frames * channels);
}

void LSRCEcho::Seek(int sample)
{
    _kernel.Silence();
    source->Seek(sample);
}

LSoundSource LSPEcho::OpenSource(LSoundSource& inner) const
{
    source = LSoundSource(new LSRCEcho(inner, percent, delayMs));
    return source;
}
