#include "output/LVirtualOutputStream.h"

#include "output/LCARingBuffer.h"

#include <algorithm>
#include <chrono>
#include <cstring>

namespace {

constexpr unsigned int kFastWaitMs = 100;  // a fast device looks again this often while starved
constexpr int kMinBlockFrames = 16;

// Graph values reach a device shifted left by 12 bits, so shifting back is exact and the
// 32-bit sink writes the very words the device was given.
constexpr int kDeviceShift = 12;

}  // namespace

LVirtualOutputStream::LVirtualOutputStream(const LOutputFormat& format, LRenderClient& client,
                                           LSoundSink capture, bool fast)
    : _client(client),
      _rate(std::max(format.rate, 1)),
      _channels(std::max(format.channels, 1)),
      _blockFrames(format.latencyMs > 0
                       ? std::clamp(static_cast<int>(static_cast<int64_t>(format.latencyMs) * _rate / 1000),
                                    kMinBlockFrames, LCARingBuffer::kMaxBlockFrames)
                       : kLowLatencyFrames),
      _fast(fast),
      _capture(capture),
      _capturing(capture->GetError() == 0),
      _block(new int32_t[static_cast<size_t>(_blockFrames) * _channels]),
      _graph(new int[static_cast<size_t>(_blockFrames) * _channels])
{
}

LVirtualOutputStream::~LVirtualOutputStream()
{
    Stop();
}

bool LVirtualOutputStream::Start()
{
    return LThread::Start(kThreadPriorityRealTime);
}

void LVirtualOutputStream::Stop()
{
    StopThreadSoon();
    WaitForThreadEnd();
}

void LVirtualOutputStream::ThreadFunction()
{
    if (_fast && _capturing)
        _RunFast();
    else
        _RunPaced();
}

void LVirtualOutputStream::_RunPaced()
{
    using Clock = std::chrono::steady_clock;
    const auto blockTime = std::chrono::nanoseconds(static_cast<int64_t>(_blockFrames) * 1000000000 / _rate);
    auto due = Clock::now();
    const size_t bytes = static_cast<size_t>(_blockFrames) * _channels * sizeof(int32_t);
    while (!IsToStop()) {
        std::memset(_block.get(), 0, bytes);
        _client.RenderData_(_block.get(), _blockFrames);
        if (_capturing)
            _Capture(_blockFrames);
        due += blockTime;
        const auto now = Clock::now();
        if (due + blockTime < now) {
            due = now;  // fell behind (a stopped debugger, a loaded machine): no burst to catch up
            continue;
        }
        const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due - now).count();
        if (wait > 0)
            ProcessWait(static_cast<unsigned int>(wait));
    }
}

void LVirtualOutputStream::_RunFast()
{
    while (!IsToStop()) {
        _written.Reset();
        const int delivered = _client.RenderData_(_block.get(), _blockFrames);
        _Capture(delivered);
        if (delivered < _blockFrames)
            ProcessWaitSignal(_written, kFastWaitMs);
    }
}

void LVirtualOutputStream::_Capture(int frames)
{
    const int values = frames * _channels;
    for (int i = 0; i < values; ++i)
        _graph[i] = _block[i] >> kDeviceShift;
    _capture->Write(_graph.get(), frames);
}
