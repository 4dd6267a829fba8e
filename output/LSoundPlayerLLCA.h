#pragma once

#include "base/LSignalObject.h"
#include "base/LThread.h"
#include "output/LCARingBuffer.h"
#include "output/LOutputStream.h"
#include "sound/LSoundSource.h"
#include "sound/LdB.h"

#include <atomic>
#include <climits>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

// The output channel pair for a source of `sourceChannels` on a device of `deviceChannels`:
// a stereo source never plays both sides into one channel (right moves to left - 1, or 1 when
// left is 0); a mono source plays into left only.
void LMapOutputChannels(int deviceChannels, int sourceChannels, int& left, int& right);

// The layer between the player and a device: the ring the player fills and the render callback
// drains, the device stream, the channel map, and what the callback measured (position of the
// last frame played, levels per output channel).
class LSoundPlayerLLCA : public LRenderClient {
public:
    static constexpr int kOutputGain = 512;          // 9 fractional bits: unity
    static constexpr double kRingSeconds = 4.0;
    static constexpr int kMaxLatencyMs = 2000;

    LSoundPlayerLLCA();
    ~LSoundPlayerLLCA() override;
    LSoundPlayerLLCA(const LSoundPlayerLLCA&) = delete;
    LSoundPlayerLLCA& operator=(const LSoundPlayerLLCA&) = delete;

    // Opens the device of the device index for the current source's rate and channels (44,100 Hz
    // stereo while there is none). False, with GetOpenError, when it cannot be opened.
    bool OpenAudioUnit();
    void CloseAudioUnit();
    bool IsAudioUnitOpen() const { return _stream != nullptr; }
    // Starts the device; status becomes 1.
    bool StartAudioUnit();
    // Stops the device; status becomes 0.
    void StopAudioUnit();

    // Caller holds the player lock. Keeps the ring unless rate or channels change; reopens an
    // open device when its format or channel map has to change, restarting it if it ran.
    void SetSoundSource(LSoundSource& source);
    // Applies LMapOutputChannels for the device and the current source.
    void MapChannels();
    // On the done handler thread: true after one render, false when the owning thread is told
    // to stop or there is none. Waits in steps of 1000 ms.
    bool WaitForEmptyBuffer();
    // The render callback: takes the render lock, moves what the ring holds (up to `frames`)
    // to the device's channels, records position and levels, signals the render signal.
    // Allocates nothing and makes no system call but that signal.
    int RenderData_(int32_t* out, int frames) override;

    // Player thread, under the player lock: fills the ring from `source`.
    void WriteRing(LSoundSource& source, int frames);
    int GetFreeFrames() const { return _ring ? _ring->GetFreeFrames() : 0; }
    int GetHeldFrames() const { return _ring ? _ring->GetHeldFrames() : 0; }
    // What the device lets the player write beyond what the ring holds (see LOutputStream).
    int GetWriteRoom() const { return _stream ? _stream->GetWriteRoom(GetHeldFrames()) : INT_MAX; }
    int GetRingFrames() const { return _ringFrames.load(std::memory_order_relaxed); }
    // Both locks held: the ring itself, for a resync.
    LCARingBuffer* GetRing() { return _ring.get(); }
    // Stop sequence: ring emptied, last position 0, status 0, the source let go.
    void Reset();

    void SetDeviceIndex(int index) { _deviceIndex = index; }
    int GetDeviceIndex() const { return _deviceIndex; }
    void SetOutputChannels(int left, int right);
    int GetOutputChannelLeft() const { return _left.load(std::memory_order_relaxed); }
    int GetOutputChannelRight() const { return _right.load(std::memory_order_relaxed); }
    // Asked latency in ms, 0 for the device's low latency; takes effect at the next open.
    void SetLatencyMs(int ms);
    void SetThread(LThread* owner) { _thread = owner; }

    std::mutex& GetRenderLock() { return _renderLock; }
    // Ends a WaitForEmptyBuffer now, as a render would.
    void WakeRenderWaiter() { _renderSignal.Signal(); }
    LSignalObjectRef GetRenderSignal() const { return _renderSignal.Ref(); }
    // Source frame of the last frame rendered.
    int GetLastPosition() const { return _lastPosition.load(std::memory_order_relaxed); }
    void SetLastPosition(int position) { _lastPosition.store(position, std::memory_order_relaxed); }
    LDBMC GetLevels() const;
    unsigned short GetStatus() const { return _status.load(std::memory_order_relaxed); }
    // What the open device reports; 0 when none is open.
    double GetLatencySeconds() const { return _stream ? _stream->GetLatencySeconds() : 0.0; }
    int GetDeviceChannels() const { return _streamFormat.channels; }
    int GetRate() const { return _rate; }
    const std::string& GetOpenError() const { return _openError; }

private:
    LOutputFormat _WantedFormat(int left, int right) const;
    bool _OpenStream();
    void _MakeRing(int rate, unsigned char channels);
    void _MapChannelsLocked(int deviceChannels);
    void _RenderHeld(int32_t* out, int frames);
    void _Route(const int32_t* in, int32_t* out, int frames) const;
    bool _IsDirect() const;

    std::unique_ptr<LOutputStream> _stream;  // the audio unit
    LOutputFormat _streamFormat;             // what _stream was opened with
    LSoundSource _source;
    int _rate = 44100;                       // of the source, Hz
    unsigned char _channels = 2;             // of the source
    std::atomic<int> _sourcePosition{0};     // where the source stands after the last fill
    int _deviceIndex = 0;
    std::atomic<int> _left{0};
    std::atomic<int> _right{0};
    int _latencyMs = 0;
    LThread* _thread = nullptr;
    std::atomic<unsigned short> _status{0};
    std::atomic<int> _lastPosition{0};
    std::unique_ptr<LCARingBuffer> _ring;
    std::atomic<int> _ringFrames{0};
    std::unique_ptr<int32_t[]> _scratch;     // one block of the ring at device scale, for routing
    std::mutex _renderLock;
    LSignalObject _renderSignal;
    std::atomic<signed char> _levels[256];   // dB per output channel
    std::atomic<unsigned char> _levelChannels{0};
    int _gain = kOutputGain;
    std::string _openError;
};
