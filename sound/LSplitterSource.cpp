#include "sound/LSplitterSource.h"

#include <algorithm>
#include <climits>
#include <cstring>

LSplitterRing::LSplitterRing() : _samples(std::make_unique<int[]>(kCapacityInts)) {}

int LSplitterRing::GetCount() const
{
    const int count = _writeIndex.load(std::memory_order_acquire) - _readIndex.load(std::memory_order_acquire);
    return count < 0 ? count + kCapacityInts : count;
}

void LSplitterRing::AppendPairs(const int* frames, int count, int stride, int left, int right)
{
    // One slot stays free so that a full ring is not mistaken for an empty one.
    const int room = (kCapacityInts - 1 - GetCount()) / 2;
    count = std::min(count, room);
    int index = _writeIndex.load(std::memory_order_relaxed);
    for (int f = 0; f < count; ++f, frames += stride) {
        _samples[index] = frames[left];
        index = index + 1 == kCapacityInts ? 0 : index + 1;
        _samples[index] = frames[right];
        index = index + 1 == kCapacityInts ? 0 : index + 1;
    }
    _writeIndex.store(index, std::memory_order_release);
}

bool LSplitterRing::Take(int* out, int count)
{
    if (count < 0 || GetCount() < count)
        return false;
    const int index = _readIndex.load(std::memory_order_relaxed);
    const int first = std::min(count, kCapacityInts - index);
    std::memcpy(out, &_samples[index], sizeof(int) * static_cast<size_t>(first));
    std::memcpy(out + first, &_samples[0], sizeof(int) * static_cast<size_t>(count - first));
    const int next = index + count;
    _readIndex.store(next >= kCapacityInts ? next - kCapacityInts : next, std::memory_order_release);
    return true;
}

void LSplitterRing::Clear()
{
    _readIndex.store(0);
    _writeIndex.store(0);
}

LSplitterPrimarySource::LSplitterPrimarySource(const LSoundSource& inner, std::shared_ptr<LSplitterRing> ring,
                                               int secondaryLeft, int secondaryRight)
    : LSoundProcessBase(inner),
      _ring(std::move(ring)),
      _secondaryLeft(secondaryLeft % source->GetChannels()),
      _secondaryRight(secondaryRight % source->GetChannels())
{
    channels = 2;
    // A tenth of a second twice over: room for the player's largest block without regrowing.
    _bufferInts = (rate / 10) * source->GetChannels() * 2;
    _buffer = std::make_unique<int[]>(static_cast<size_t>(_bufferInts));
}

void LSplitterPrimarySource::_Grow(int frames)
{
    const int innerChannels = source->GetChannels();
    if (frames * innerChannels <= _bufferInts)
        return;
    _bufferInts = (frames + 1) * innerChannels;
    _buffer = std::make_unique<int[]>(static_cast<size_t>(_bufferInts));
}

void LSplitterPrimarySource::Read(int* buffer, int frames)
{
    if (frames <= 0)
        return;
    _ring->written.Reset();
    if (_ring->GetCount() == 0)
        _skip = 0;
    _Grow(frames);
    source->Read(_buffer.get(), frames);

    const int innerChannels = source->GetChannels();
    const int right = innerChannels > 1 ? 1 : 0;
    for (int f = 0; f < frames; ++f) {
        buffer[2 * f] = _buffer[f * innerChannels];
        buffer[2 * f + 1] = _buffer[f * innerChannels + right];
    }
    if (frames <= _skip) {
        _skip -= frames;
        return;
    }
    // Only frames behind those the prefill gave the ring, so both sides hear the same frames.
    _ring->AppendPairs(_buffer.get() + _skip * innerChannels, frames - _skip, innerChannels, _secondaryLeft,
                       _secondaryRight);
    _ring->written.Signal();
    _skip = 0;
}

void LSplitterPrimarySource::_Prefill()
{
    constexpr int kReadFrames = 1260;
    const int innerChannels = source->GetChannels();
    _Grow(kReadFrames);
    for (int done = 0; done < kPrefillFrames; done += kReadFrames) {
        source->Read(_buffer.get(), kReadFrames);
        _ring->AppendPairs(_buffer.get(), kReadFrames, innerChannels, _secondaryLeft, _secondaryRight);
    }
    _ring->written.Signal();
}

bool LSplitterPrimarySource::ControlMessage(LControlMessage id, long* data)
{
    if (id != kMsgPrefillSecondary || _ring->GetCount() > kPrefillEnoughInts)
        return true;
    const int resync = source->GetResyncPositionSample();
    _Prefill();
    source->Seek(resync);
    const long difference = data ? *data : 0;
    _skip = static_cast<int>(std::clamp<long>(kPrefillFrames - difference, 0, INT_MAX));
    return true;
}

LSplitterSecondarySource::LSplitterSecondarySource(const LSoundSource& inner, std::shared_ptr<LSplitterRing> ring)
    : LSoundSourceBase(inner->GetRate(), 2, kPeakDefault), _inner(inner), _ring(std::move(ring))
{
}

void LSplitterSecondarySource::Read(int* buffer, int frames)
{
    _ring->written.Reset();
    if (frames <= 0 || !_ring->Take(buffer, 2 * frames))
        return;
    _ring->read.Signal();
}

int LSplitterSecondarySource::GetPositionSample() const
{
    return _inner->GetPositionSample() - _ring->GetCount() / 2;
}

int LSplitterSecondarySource::GetResyncPositionSample() const
{
    return _inner->GetResyncPositionSample() - _ring->GetCount() / 2;
}
