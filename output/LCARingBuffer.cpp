#include "output/LCARingBuffer.h"

#include "sound/LBufferHelpers.h"
#include "sound/LSampleFormat.h"

#include <algorithm>
#include <new>

namespace {

int _Modulo(int value, int capacity)
{
    const int r = value % capacity;
    return r < 0 ? r + capacity : r;
}

}  // namespace

std::unique_ptr<LCARingBuffer> LCARingBuffer::Make(int frames, unsigned char channels)
{
    std::unique_ptr<LCARingBuffer> ring(new (std::nothrow) LCARingBuffer(frames, channels));
    if (!ring)
        return nullptr;
    const size_t values = static_cast<size_t>(ring->_capacity);
    ring->_samples.reset(new (std::nothrow) int[values]());
    ring->_positions.reset(new (std::nothrow) int[static_cast<size_t>(frames) + 1]());
    if (!ring->_samples || !ring->_positions)
        return nullptr;
    return ring;
}

LCARingBuffer::LCARingBuffer(int frames, unsigned char channels)
    : _channels(std::max<unsigned char>(channels, 1)),
      _frames(std::max(frames, 1)),
      _capacity(_channels * (_frames + 1))
{
}

int LCARingBuffer::GetFreeFrames() const
{
    const int read = _read.load(std::memory_order_acquire);
    const int write = _write.load(std::memory_order_acquire);
    return _Modulo(read - (write + _channels), _capacity) / _channels;
}

int LCARingBuffer::GetHeldFrames() const
{
    const int read = _read.load(std::memory_order_acquire);
    const int write = _write.load(std::memory_order_acquire);
    return _Modulo(write - read, _capacity) / _channels;
}

void LCARingBuffer::Write(LSoundSource& source, int frames)
{
    frames = std::min({frames, source->GetEndSample() - source->GetPositionSample(), GetFreeFrames()});
    int write = _write.load(std::memory_order_relaxed);
    while (frames > 0) {
        const int chunk = std::min(frames, (_capacity - write) / _channels);
        const int p0 = source->GetPositionSample();
        source->Read(_samples.get() + write, chunk);
        int p1 = source->GetPositionSample() - 1;
        if (p1 < 0)
            p1 = source->GetEndSample();
        // Exact at the block's first and last frame; a jump inside the block (a loop) becomes
        // a glide between them.
        int* positions = _positions.get() + write / _channels;
        const int steps = std::max(chunk - 1, 1);
        for (int i = 0; i < chunk; ++i)
            positions[i] = p0 + static_cast<int>(static_cast<int64_t>(i) * (p1 - p0) / steps);
        write = _Modulo(write + chunk * _channels, _capacity);
        _write.store(write, std::memory_order_release);
        frames -= chunk;
    }
}

int LCARingBuffer::Read(int32_t* out, unsigned long* bytes, int frames, int gain, LdBValue& left,
                        LdBValue& right)
{
    int read = _read.load(std::memory_order_relaxed);
    int remaining = std::min({frames, kMaxBlockFrames, GetHeldFrames()});
    auto* device = reinterpret_cast<LSF32*>(out);
    while (remaining > 0) {
        const int chunk = std::min(remaining, (_capacity - read) / _channels);
        const int values = chunk * _channels;
        int* block = _samples.get() + read;
        GainAudioBufferQuick(gain, block, values);
        left = LMeanSquareToDB(GetBufferMeanSquareChan(0, block, chunk, _channels));
        right = LMeanSquareToDB(GetBufferMeanSquareChan(1, block, chunk, _channels));
        ConvertSamplesOut<LSF32>(device, block, values);
        device += values;
        *bytes += static_cast<unsigned long>(values) * sizeof(int32_t);
        read = _Modulo(read + values, _capacity);
        remaining -= chunk;
    }
    _read.store(read, std::memory_order_release);
    return _positions[_Modulo(read / _channels - 1, _frames + 1)];
}

void LCARingBuffer::Clear()
{
    _write.store(_read.load(std::memory_order_relaxed), std::memory_order_release);
}

void LCARingBuffer::KeepSlice(int position)
{
    const int read = _read.load(std::memory_order_relaxed);
    const int kept = std::min(_framesPerSlice, GetHeldFrames());
    _write.store(_Modulo(read + kept * _channels, _capacity), std::memory_order_release);
    // Only the kept frames can be read before they are written again: a resync does this with
    // the render lock held, so it touches no more of the table than that.
    const int first = read / _channels, tableFrames = _frames + 1;
    const int beforeEnd = std::min(kept, tableFrames - first);
    std::fill_n(_positions.get() + first, beforeEnd, position);
    std::fill_n(_positions.get(), kept - beforeEnd, position);
}
