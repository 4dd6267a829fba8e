#include "output/LSoundPlayerLLCA.h"

#include "output/LSoundPlayDevice.h"

#include <algorithm>
#include <new>

namespace {

constexpr unsigned int kRenderWaitStepMs = 1000;

}  // namespace

void LMapOutputChannels(int deviceChannels, int sourceChannels, int& left, int& right)
{
    if (deviceChannels <= 1)
        return;
    if (sourceChannels > 1) {
        if (left == right)
            right = left == 0 ? 1 : left - 1;
    } else {
        right = left;
    }
}

LSoundPlayerLLCA::LSoundPlayerLLCA()
{
    for (auto& level : _levels)
        level.store(static_cast<signed char>(LdBValue::kSilence), std::memory_order_relaxed);
}

LSoundPlayerLLCA::~LSoundPlayerLLCA()
{
    CloseAudioUnit();
}

void LSoundPlayerLLCA::SetOutputChannels(int left, int right)
{
    _left.store(std::max(left, 0), std::memory_order_relaxed);
    _right.store(std::max(right, 0), std::memory_order_relaxed);
}

void LSoundPlayerLLCA::SetLatencyMs(int ms)
{
    _latencyMs = std::clamp(ms, 0, kMaxLatencyMs);
}

bool LSoundPlayerLLCA::OpenAudioUnit()
{
    CloseAudioUnit();
    _openError.clear();
    if (LSoundPlayDevice::GetListDeviceIDAtIndex(_deviceIndex) == kDeviceIdNotFound) {
        _openError = "no such output device";
        return false;
    }
    int left = GetOutputChannelLeft(), right = GetOutputChannelRight();
    LMapOutputChannels(LSoundPlayDevice(_deviceIndex).GetNumOutputChannels(), _channels, left, right);
    SetOutputChannels(left, right);
    return _OpenStream();
}

void LSoundPlayerLLCA::CloseAudioUnit()
{
    if (_stream) {
        _stream->Stop();
        _stream.reset();
    }
    _status.store(0, std::memory_order_relaxed);
}

bool LSoundPlayerLLCA::StartAudioUnit()
{
    if (!_stream || !_stream->Start())
        return false;
    _status.store(1, std::memory_order_relaxed);
    return true;
}

void LSoundPlayerLLCA::StopAudioUnit()
{
    if (_stream)
        _stream->Stop();
    _status.store(0, std::memory_order_relaxed);
}

LOutputFormat LSoundPlayerLLCA::_WantedFormat(int left, int right) const
{
    LOutputFormat format;
    format.rate = _rate;
    format.channels = std::max(left, right) + 1;  // the device's channels up to the mapped ones
    format.latencyMs = _latencyMs;
    return format;
}

bool LSoundPlayerLLCA::_OpenStream()
{
    const LOutputFormat format = _WantedFormat(GetOutputChannelLeft(), GetOutputChannelRight());
    _stream = LOpenOutputStream(LSoundPlayDevice::GetListDeviceIDAtIndex(_deviceIndex), format, *this, _openError);
    if (!_stream)
        return false;
    std::lock_guard lock(_renderLock);
    _streamFormat = format;
    if (_ring)
        _ring->SetFramesPerSlice(_stream->GetFramesPerSlice());
    return true;
}

void LSoundPlayerLLCA::_MakeRing(int rate, unsigned char channels)
{
    const int frames = std::max(LCARingBuffer::kMaxBlockFrames, static_cast<int>(rate * kRingSeconds));
    _ring = LCARingBuffer::Make(frames, channels);
    if (!_ring)
        _ring = LCARingBuffer::Make(LCARingBuffer::kMaxBlockFrames, channels);
    _scratch.reset(new (std::nothrow) int32_t[static_cast<size_t>(LCARingBuffer::kMaxBlockFrames) * channels]);
    if (!_scratch)
        _ring.reset();  // without room to route, nothing can be played
    _ringFrames.store(_ring ? _ring->GetFrames() : 0, std::memory_order_relaxed);
    if (_ring && _stream)
        _ring->SetFramesPerSlice(_stream->GetFramesPerSlice());
}

void LSoundPlayerLLCA::SetSoundSource(LSoundSource& source)
{
    const int rate = source->GetRate();
    const unsigned char channels = source->GetChannels();
    {
        std::lock_guard lock(_renderLock);
        if (rate != _rate || channels != _channels)
            _ring.reset();
        _rate = rate;
        _channels = channels;
        if (!_ring)
            _MakeRing(rate, channels);
        _source = source;
        _sourcePosition.store(source->GetPositionSample(), std::memory_order_relaxed);
        _levelChannels.store(channels, std::memory_order_relaxed);
    }
    if (_stream)
        MapChannels();
}

void LSoundPlayerLLCA::MapChannels()
{
    int left = GetOutputChannelLeft(), right = GetOutputChannelRight();
    LMapOutputChannels(LSoundPlayDevice(_deviceIndex).GetNumOutputChannels(), _channels, left, right);
    if (!_stream) {
        SetOutputChannels(left, right);
        return;
    }
    const LOutputFormat wanted = _WantedFormat(left, right);
    if (wanted.rate == _streamFormat.rate && wanted.channels == _streamFormat.channels) {
        SetOutputChannels(left, right);  // both stay within the open channels
        return;
    }
    // A device stream has one format for its life: stop it before the map outgrows it.
    const bool running = GetStatus() != 0;
    _stream->Stop();
    _stream.reset();
    SetOutputChannels(left, right);
    if (!_OpenStream() || (running && !_stream->Start()))
        _status.store(0, std::memory_order_relaxed);
}

bool LSoundPlayerLLCA::WaitForEmptyBuffer()
{
    if (!_thread)
        return false;
    for (;;) {
        const LProcessResult result = _thread->ProcessWaitSignal(_renderSignal, kRenderWaitStepMs);
        if (result == kProcessStopped)
            return false;
        if (result == kProcessFinished) {
            _renderSignal.Reset();
            return true;
        }
    }
}

int LSoundPlayerLLCA::RenderData_(int32_t* out, int frames)
{
    std::lock_guard lock(_renderLock);
    const int held = _ring ? std::min(frames, _ring->GetHeldFrames()) : 0;
    if (held > 0)
        _RenderHeld(out, held);
    else
        _lastPosition.store(std::max(_sourcePosition.load(std::memory_order_relaxed), 0), std::memory_order_relaxed);
    _renderSignal.Signal();
    return held;
}

void LSoundPlayerLLCA::_RenderHeld(int32_t* out, int frames)
{
    const bool direct = _IsDirect();
    const int deviceChannels = _streamFormat.channels;
    unsigned long bytes = 0;
    LdBValue left, right;
    int position = 0;
    for (int done = 0; done < frames;) {
        const int chunk = std::min(frames - done, LCARingBuffer::kMaxBlockFrames);
        int32_t* target = out + static_cast<size_t>(done) * deviceChannels;
        position = _ring->Read(direct ? target : _scratch.get(), &bytes, chunk, _gain, left, right);
        if (!direct)
            _Route(_scratch.get(), target, chunk);
        done += chunk;
    }
    const int leftChannel = GetOutputChannelLeft(), rightChannel = GetOutputChannelRight();
    if (leftChannel < 256)
        _levels[leftChannel].store(static_cast<signed char>(left.GetDB()), std::memory_order_relaxed);
    if (rightChannel < 256)
        _levels[rightChannel].store(static_cast<signed char>(right.GetDB()), std::memory_order_relaxed);
    _lastPosition.store(std::max(position, 0), std::memory_order_relaxed);
}

bool LSoundPlayerLLCA::_IsDirect() const
{
    const int deviceChannels = _streamFormat.channels;
    const int sourceChannels = _ring->GetChannels();
    if (deviceChannels != sourceChannels)
        return false;
    if (sourceChannels == 1)
        return GetOutputChannelLeft() == 0;
    return sourceChannels == 2 && GetOutputChannelLeft() == 0 && GetOutputChannelRight() == 1;
}

void LSoundPlayerLLCA::_Route(const int32_t* in, int32_t* out, int frames) const
{
    const int sourceChannels = _ring->GetChannels();
    const int deviceChannels = _streamFormat.channels;
    const int left = GetOutputChannelLeft(), right = GetOutputChannelRight();
    for (int f = 0; f < frames; ++f, in += sourceChannels, out += deviceChannels) {
        std::fill(out, out + deviceChannels, 0);
        out[left] = in[0];
        out[right] = sourceChannels > 1 ? in[1] : in[0];
    }
}

void LSoundPlayerLLCA::WriteRing(LSoundSource& source, int frames)
{
    if (!_ring)
        return;
    _ring->Write(source, frames);
    _sourcePosition.store(source->GetPositionSample(), std::memory_order_relaxed);
    if (_stream)
        _stream->NoteRingWritten();
}

void LSoundPlayerLLCA::Reset()
{
    LSoundSource released;
    {
        std::lock_guard lock(_renderLock);
        if (_ring)
            _ring->Clear();
        _lastPosition.store(0, std::memory_order_relaxed);
        _sourcePosition.store(0, std::memory_order_relaxed);
        _status.store(0, std::memory_order_relaxed);
        released = _source;  // the chain dies outside the lock
        _source.Close();
    }
}

LDBMC LSoundPlayerLLCA::GetLevels() const
{
    LDBMC levels;
    levels.channels = _levelChannels.load(std::memory_order_relaxed);
    for (int c = 0; c < 256; ++c)
        levels.level[c] = LdBValue(_levels[c].load(std::memory_order_relaxed));
    return levels;
}
