#pragma once

#include "base/LQueuedNotify.h"
#include "base/LThread.h"
#include "output/LSoundPlayerLLCA.h"
#include "output/LSoundPlayerNotify.h"
#include "sound/LCrossFade.h"
#include "sound/LSoundSource.h"

#include <atomic>
#include <mutex>

template <typename T>
class LSoundPlayerTemplate;

// Wakes on every render of the device and passes it on: to the player thread (the ring has
// room) and to the interface (position and levels). Lives on the player thread's stack.
template <typename T>
class LSoundPlayerDoneHandlerThread : public LThread {
public:
    static constexpr char kName[] = "LSoundPlayerDoneHandlerThread<T>";

    explicit LSoundPlayerDoneHandlerThread(LSoundPlayerTemplate<T>& player) : _player(player) {}
    ~LSoundPlayerDoneHandlerThread() override
    {
        StopThreadSoon();
        WaitForThreadEnd();
    }

protected:
    void ThreadFunction() override;

private:
    LSoundPlayerTemplate<T>& _player;
};

// The thread that keeps the output ring full and reports progress through the queue. Build,
// use and destroy it on the interface thread: its notifications run there.
template <typename T>
class LSoundPlayerTemplate : public LThread, public LThreadQueuedNotify, public LSoundPlayerNotify {
public:
    static constexpr char kName[] = "LSoundPlayer<T>";
    static constexpr int kFillFrames = 8192;        // most frames pulled at a time; less free is "full"
    static constexpr unsigned int kWakeWaitMs = 1000;
    static constexpr unsigned int kFillPauseMs = 5;
    static constexpr int kStreamingWaitMs = 150;
    static constexpr int kRenderLimitDivisor = 16384;  // ring frames / this = renders allowed behind

    LSoundPlayerTemplate();
    ~LSoundPlayerTemplate() override;

    void SetNotify(LSoundPlayerNotify* notify, long id);
    // Takes the player lock: `source` becomes the chain played and the output's source.
    void SetSoundSource(const LSoundSource& source);
    LSoundSource& GetSource() { return _source; }
    // Starts the player thread and the device (if not running yet) and reports spntfPlay.
    bool Play();
    // The stop sequence: thread ended, device stopped, ring emptied, source closed;
    // spntfStop if the device ran.
    void Stop();

    // The player lock, held through each ring fill and the waits inside it.
    void Lock();
    void Unlock();
    bool IsLocked() const { return _lockHeld.load(std::memory_order_acquire); }

    T output;
    LCrossFadeSource crossfade;

protected:
    void ThreadFunction() override;
    void EvNotify() override;

private:
    friend class LSoundPlayerDoneHandlerThread<T>;

    enum class Step { kAgain, kEnd };
    Step _FillOnce(LSoundPlayerDoneHandlerThread<T>& done);
    Step _WaitStreaming(LSoundPlayerDoneHandlerThread<T>& done);
    Step _Drain();
    void _BoostPlayer(LThread* done);
    void _BoostDoneHandler(LThread* done);
    void _PostProgress();
    void _OnRender();

    LSoundPlayerNotify* _notify;
    long _id = 0;
    LSoundSource _source;
    std::atomic<bool> _playerBoosted{false};
    std::atomic<bool> _doneBoosted{false};
    std::atomic<int> _renderCounter{0};
    std::atomic<LThread*> _doneHandler{nullptr};
    LSignalObject _wake;
    std::atomic<bool> _finished{false};
    std::atomic<bool> _progress{false};
    std::mutex _lock;
    std::atomic<bool> _lockHeld{false};
};

extern template class LSoundPlayerTemplate<LSoundPlayerLLCA>;
extern template class LSoundPlayerDoneHandlerThread<LSoundPlayerLLCA>;

using LSoundPlayer = LSoundPlayerTemplate<LSoundPlayerLLCA>;
