#include "output/LPortAudioStream.h"

#include "output/LCARingBuffer.h"
#include "output/LPortAudio.h"

#include <algorithm>
#include <cstring>

std::unique_ptr<LPortAudioStream> LPortAudioStream::Open(PaDeviceIndex device, const LOutputFormat& format,
                                                         LRenderClient& client, std::string& error)
{
    const PaDeviceInfo* info = LPortAudioReady() ? Pa_GetDeviceInfo(device) : nullptr;
    if (!info) {
        error = "no such output device";
        return nullptr;
    }
    PaStreamParameters parameters{};
    parameters.device = device;
    parameters.channelCount = format.channels;
    parameters.sampleFormat = paInt32;
    parameters.suggestedLatency = format.latencyMs > 0 ? format.latencyMs / 1000.0 : info->defaultLowOutputLatency;
    std::unique_ptr<LPortAudioStream> stream(new LPortAudioStream(client, format.channels));
    const PaError result = Pa_OpenStream(&stream->_stream, nullptr, &parameters, format.rate,
                                         paFramesPerBufferUnspecified, paNoFlag, &_Callback, stream.get());
    if (result != paNoError) {
        stream->_stream = nullptr;
        error = Pa_GetErrorText(result);
        return nullptr;
    }
    const int estimate = static_cast<int>(stream->GetLatencySeconds() * format.rate / 2);
    stream->_framesPerSlice.store(std::clamp(estimate, 64, LCARingBuffer::kMaxBlockFrames));
    return stream;
}

LPortAudioStream::~LPortAudioStream()
{
    if (_stream)
        Pa_CloseStream(_stream);
}

bool LPortAudioStream::Start()
{
    const PaError result = Pa_StartStream(_stream);
    return result == paNoError || result == paStreamIsNotStopped;
}

void LPortAudioStream::Stop()
{
    // What is still queued in the device is thrown away with the ring.
    if (Pa_IsStreamStopped(_stream) == 0)
        Pa_AbortStream(_stream);
}

double LPortAudioStream::GetLatencySeconds() const
{
    const PaStreamInfo* info = Pa_GetStreamInfo(_stream);
    return info ? info->outputLatency : 0.0;
}

int LPortAudioStream::_Callback(const void*, void* output, unsigned long frames,
                                const PaStreamCallbackTimeInfo*, PaStreamCallbackFlags, void* self)
{
    auto& stream = *static_cast<LPortAudioStream*>(self);
    const int asked = static_cast<int>(frames);
    if (asked > stream._framesPerSlice.load(std::memory_order_relaxed))
        stream._framesPerSlice.store(std::min(asked, LCARingBuffer::kMaxBlockFrames), std::memory_order_relaxed);
    auto* out = static_cast<int32_t*>(output);
    const int delivered = stream._client.RenderData_(out, asked);
    // A device always plays a whole buffer: what the ring could not give is silence.
    std::memset(out + static_cast<size_t>(delivered) * stream._channels, 0,
                static_cast<size_t>(asked - delivered) * stream._channels * sizeof(int32_t));
    return paContinue;
}
