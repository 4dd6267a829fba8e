#include "output/LVirtualOutputStream.h"

#include "output/LCARingBuffer.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>

namespace {

constexpr unsigned int kFastWaitMs = 100;  // a fast device looks again this often while starved
constexpr int kMinBlockFrames = 1;

// Graph values reach a device shifted left by 12 bits, so shifting back is exact and the
// 32-bit sink writes the very words the device was given.
constexpr int kDeviceShift = 12;

// Frames of one block: the asked latency, or about 11.6 ms, at `rate`.
int _BlockFrames(int latencyMs, int rate)
{
    const int64_t frames = latencyMs > 0 ? int64_t(latencyMs) * rate / 1000
                                         : int64_t(LVirtualOutputStream::kLowLatencyFrames) * rate /
                                               LVirtualOutputStream::kLowLatencyRate;
    return static_cast<int>(std::clamp<int64_t>(frames, kMinBlockFrames, LCARingBuffer::kMaxBlockFrames));
}

}  // namespace

std::atomic<LRenderLimit*> LRenderLimit::_installed{nullptr};

LRenderLimit::LRenderLimit(int aheadFrames) : _ahead(std::max(aheadFrames, 0))
{
    _installed.store(this, std::memory_order_release);
}

LRenderLimit::~LRenderLimit()
{
    LRenderLimit* self = this;
    _installed.compare_exchange_strong(self, nullptr);
    Raise(kUnlimited);  // a device still running is not left waiting
}

void LRenderLimit::Raise(int64_t frames)
{
    int64_t present = _limit.load(std::memory_order_acquire);
    while (frames > present && !_limit.compare_exchange_weak(present, frames)) {
    }
    _raised.Signal();
}

int LRenderLimit::_Allowed(int frames) const
{
    const int64_t left = GetLimit() - GetDelivered();
    return static_cast<int>(std::clamp<int64_t>(left, 0, frames));
}

void LRenderLimit::_AddDelivered(int frames)
{
    if (frames <= 0)
        return;
    _delivered.fetch_add(frames, std::memory_order_acq_rel);
    if (IsReached())
        _stand.Signal();
}

int LRenderLimit::_WriteRoom(int heldFrames) const
{
    const int64_t toLimit = GetLimit() - GetDelivered();
    if (toLimit > INT_MAX)
        return INT_MAX;
    return static_cast<int>(std::clamp<int64_t>(toLimit + _ahead - heldFrames, 0, INT_MAX));
}

void LRenderLimit::_NoteRingWritten() const
{
    if (IsReached())
        _stand.Signal();
}

LVirtualOutputStream::LVirtualOutputStream(const LOutputFormat& format, LRenderClient& client,
                                           LSoundSink capture, bool fast)
    : _client(client),
      _rate(std::max(format.rate, 1)),
      _channels(std::max(format.channels, 1)),
      _blockFrames(_BlockFrames(format.latencyMs, _rate)),
      _fast(fast),
      _capture(capture),
      _capturing(capture->GetError() == 0),
      _block(new int32_t[static_cast<size_t>(_blockFrames) * _channels]),
      _graph(new int[static_cast<size_t>(_blockFrames) * _channels]),
      _limit(fast && _capturing ? LRenderLimit::GetInstalled() : nullptr)
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
    pthread_setname_np(pthread_self(), "VirtualOutput");
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

void LVirtualOutputStream::NoteRingWritten()
{
    _written.Signal();
    if (_limit)
        _limit->_NoteRingWritten();
}

int LVirtualOutputStream::GetWriteRoom(int heldFrames) const
{
    return _limit ? _limit->_WriteRoom(heldFrames) : INT_MAX;
}

void LVirtualOutputStream::_RunFast()
{
    while (!IsToStop()) {
        if (_limit)
            _limit->_raised.Reset();  // before the look, so that a raise after it still wakes
        const int allowed = _limit ? _limit->_Allowed(_blockFrames) : _blockFrames;
        if (allowed == 0) {
            ProcessWaitSignal(_limit->_raised, kWaitForever);
            continue;
        }
        _written.Reset();
        const int delivered = _client.RenderData_(_block.get(), allowed);
        _Capture(delivered);
        if (_limit)
            _limit->_AddDelivered(delivered);
        if (delivered < allowed)
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
