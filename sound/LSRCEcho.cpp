#include "sound/LSRCEcho.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>

namespace {

// Ring length in ints for `ms` at `rate`, in two steps so no product overflows; 64-bit because
// a huge rate can make it more than an int holds.
int64_t _RingLength(int rate, int ms, int channels)
{
    const int64_t frames = int64_t(rate) * (ms / 1000) + (int64_t(rate) * (ms % 1000)) / 1000;
    return std::max<int64_t>(frames * channels, LSRCEcho::kFallbackLength);
}

}  // namespace

LSRCEcho::LSRCEcho(LSoundSource& inner, int percent, int delayMs)
    : LSoundProcessBase(inner), _factor(static_cast<int>((int64_t(percent) << 9) / 100))
{
    const int64_t wanted = _RingLength(rate, std::clamp(delayMs, kMinDelayMs, kMaxDelayMs), channels);
    if (wanted <= INT_MAX)
        _ring.reset(new (std::nothrow) int[static_cast<size_t>(wanted)]());
    _length = _ring ? static_cast<int>(wanted) : kFallbackLength;
    if (!_ring)
        _ring = std::make_unique<int[]>(kFallbackLength);
}

void LSRCEcho::Read(int* buffer, int frames)
{
    source->Read(buffer, frames);
    const int count = frames * channels;
    int index = _index;
    for (int i = 0; i < count; ++i) {
        // 64-bit product: with strong feedback the line holds many times full scale.
        const int64_t y = ((int64_t(_factor) * _ring[index]) >> 9) + buffer[i];
        buffer[i] = _ring[index] = static_cast<int>(y);
        if (++index == _length)
            index = 0;
    }
    _index = index;
}

void LSRCEcho::Seek(int sample)
{
    std::fill_n(_ring.get(), _length, 0);
    source->Seek(sample);
}

LSoundSource LSPEcho::OpenSource(LSoundSource& inner) const
{
    source = LSoundSource(new LSRCEcho(inner, percent, delayMs));
    return source;
}
