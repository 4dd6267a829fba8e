#include "sound/LPeakLimit.h"

#include "sound/LBufferHelpers.h"
#include "sound/LdB.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

LSoundSource LSPPeakLimit::OpenSource(LSoundSource& inner) const
{
    if (inner->GetPeak() <= limit)
        return inner;
    return LSoundSource(new LSRCPeakLimit(inner, limit));
}

LSRCPeakLimit::LSRCPeakLimit(LSoundSource& inner, int limitValue)
    : LSoundProcessBase(inner), _limit(std::clamp(limitValue, 1, kMaxLimit))
{
    peak = _limit;
    // About 29 ms a block; a streaming source gets half, so it waits less for data.
    const int divisor = inner->IsStreaming() ? 70 : 35;
    _blockFrames = std::clamp(rate / divisor, kMinBlockFrames, kMaxBlockFrames);
    _fillMark = 3 * _blockFrames;
    _blockPosition = _fillMark;  // the first Read primes all three blocks
    _blocks = std::make_unique<int[]>(static_cast<size_t>(_fillMark) * channels);
}

int* LSRCPeakLimit::_Buffer(int age) const
{
    return _blocks.get() + static_cast<size_t>((_played + age) % 3) * _blockFrames * channels;
}

int LPeakLimitBlockGain(int peak, int limit)
{
    if (peak <= limit)
        return kGainUnity;
    const int divisor = static_cast<int>((int64_t(peak) + 64) >> 6);
    return ((limit << 9) / divisor) << 9;
}

int LSRCPeakLimit::_BlockGain(const int* block) const
{
    return LPeakLimitBlockGain(GetBufferPeak(block, _blockFrames, channels), _limit);
}

void LSRCPeakLimit::_Rotate()
{
    _played = (_played + 1) % 3;
    _g[0] = _g[1];
    _g[1] = _g[2];
    _g[2] = _g[3];
    int* newest = _Buffer(2);
    source->Read(newest, _blockFrames);
    _g[3] = _BlockGain(newest);
}

// A source that is not streaming has a frame for every one asked of it: Read fills past its
// end with zeros, and a loop stage goes round though its end is the whole track's. So all three
// blocks are read in full, and a loop near the track's end plays on without a gap. A streaming
// source is read only as far as it has data, so that nothing still to come is read as silence.
int LSRCPeakLimit::_FramesToPrime() const
{
    if (!source->IsStreaming())
        return _fillMark;
    return std::clamp(source->GetEndSample() - source->GetPositionSample(), 0, _fillMark);
}

void LSRCPeakLimit::_Prime()
{
    _played = 0;
    int remaining = _FramesToPrime();
    if (remaining < _fillMark)
        std::memset(_blocks.get(), 0, sizeof(int) * static_cast<size_t>(_fillMark) * channels);
    int gains[3];
    for (int b = 0; b < 3; ++b) {
        const int n = std::min(remaining, _blockFrames);
        if (n > 0)
            source->Read(_Buffer(b), n);
        remaining -= n;
        gains[b] = _BlockGain(_Buffer(b));
    }
    _g[0] = _g[1] = gains[0];
    _g[2] = gains[1];
    _g[3] = gains[2];
    _gain = _g[1];
}

void LSRCPeakLimit::_SetSlope()
{
    const int average = (_g[0] + _g[1] + _g[2] + _g[3]) >> 2;
    const int target = std::min({average, _g[1], _g[2]});
    const int d = target - _gain;
    _slope = d / _blockFrames;
    _gain += d % _blockFrames;
    _blockPosition = 0;
}

void LSRCPeakLimit::_Output(int* out, int frames)
{
    const int* in = _Buffer(0) + static_cast<size_t>(_blockPosition) * channels;
    const size_t count = static_cast<size_t>(frames) * channels;
    if (_gain >= kGainUnity && _slope == 0) {
        std::memcpy(out, in, sizeof(int) * count);
        return;
    }
    for (int f = 0; f < frames; ++f) {
        for (int c = 0; c < channels; ++c, ++in, ++out)
            *out = LGainMultiply(*in, _gain);
        _gain += _slope;
    }
}

void LSRCPeakLimit::Read(int* buffer, int frames)
{
    while (frames > 0) {
        if (_blockPosition >= _blockFrames) {
            if (_blockPosition < _fillMark)
                _Rotate();
            else
                _Prime();
            _SetSlope();
        }
        const int n = std::min(frames, _blockFrames - _blockPosition);
        _Output(buffer, n);
        buffer += static_cast<size_t>(n) * channels;
        frames -= n;
        _blockPosition += n;
    }
}

int LSRCPeakLimit::GetPositionSample() const
{
    return source->GetPositionSample() - (_fillMark - _blockPosition);
}

int LSRCPeakLimit::GetResyncPositionSample() const
{
    return source->GetResyncPositionSample() - (_fillMark - _blockPosition);
}

int LSRCPeakLimit::GetEndSample() const
{
    const int end = source->GetEndSample();
    return source->IsStreaming() ? end - _fillMark : end;
}

void LSRCPeakLimit::Seek(int sample)
{
    source->Seek(sample);
    _Prime();
    _SetSlope();
}

bool LSRCPeakLimit::ControlMessage(LControlMessage id, long* data)
{
    return source->ControlMessage(id, data);
}
