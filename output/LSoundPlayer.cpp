#include "output/LSoundPlayer.h"

#include "output/LSoundPlayDevice.h"

#include <pthread.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr size_t kKernelNameBytes = 16;  // the kernel keeps 15 characters of a thread name

void _NameThread(const char* name)
{
    char cut[kKernelNameBytes];
    const size_t length = std::min(std::strlen(name), sizeof cut - 1);
    std::memcpy(cut, name, length);
    cut[length] = '\0';
    pthread_setname_np(pthread_self(), cut);
}

}  // namespace

template <typename T>
void LSoundPlayerDoneHandlerThread<T>::ThreadFunction()
{
    _NameThread(kName);
    while (!IsToStop() && !_player.IsToStop()) {
        if (!_player.output.WaitForEmptyBuffer())
            break;
        _player._wake.Signal();
        _player._PostProgress();
        _player._OnRender();
    }
}

template <typename T>
LSoundPlayerTemplate<T>::LSoundPlayerTemplate() : _notify(this)
{
    output.SetThread(this);
    output.SetDeviceIndex(LSoundPlayDevice::GetDeviceIndexById(LSoundPlayDevice::GetDefaultDeviceID()));
}

template <typename T>
LSoundPlayerTemplate<T>::~LSoundPlayerTemplate()
{
    StopThreadSoon();
    WaitForThreadEnd();
    _source.Close();
    output.CloseAudioUnit();
}

template <typename T>
void LSoundPlayerTemplate<T>::SetNotify(LSoundPlayerNotify* notify, long id)
{
    _notify = notify ? notify : this;
    _id = id;
}

template <typename T>
void LSoundPlayerTemplate<T>::Lock()
{
    _lock.lock();
    _lockHeld.store(true, std::memory_order_release);
}

template <typename T>
void LSoundPlayerTemplate<T>::Unlock()
{
    _lockHeld.store(false, std::memory_order_release);
    _lock.unlock();
}

template <typename T>
void LSoundPlayerTemplate<T>::SetSoundSource(const LSoundSource& source)
{
    const bool take = !IsLocked();
    if (take)
        Lock();
    _source = source;
    output.SetSoundSource(_source);
    if (take)
        Unlock();
}

template <typename T>
bool LSoundPlayerTemplate<T>::Play()
{
    if (!output.IsAudioUnitOpen() && !output.OpenAudioUnit())
        return false;
    if (!Start(kThreadPriorityNormal) || !output.StartAudioUnit()) {
        Stop();
        return false;
    }
    _notify->spntfPlay(_id);
    return true;
}

template <typename T>
void LSoundPlayerTemplate<T>::Stop()
{
    const bool ran = output.GetStatus() != 0;
    StopThreadSoon();
    WaitForThreadEnd();
    output.StopAudioUnit();
    output.Reset();
    _source.Close();
    _finished.store(false);
    _progress.store(false);
    if (ran)
        _notify->spntfStop(_id);
}

template <typename T>
void LSoundPlayerTemplate<T>::ThreadFunction()
{
    _NameThread(kName);
    _renderCounter.store(0);
    LSoundPlayerDoneHandlerThread<T> done(*this);
    _doneHandler.store(&done);
    done.Start(kThreadPriorityNormal);
    while (!IsToStop()) {
        if (_FillOnce(done) == Step::kEnd)
            break;
    }
    done.StopThreadSoon();
    output.WakeRenderWaiter();  // a device that no longer renders must not hold the handler
    done.WaitForThreadEnd();
    _doneHandler.store(nullptr);
}

template <typename T>
typename LSoundPlayerTemplate<T>::Step LSoundPlayerTemplate<T>::_FillOnce(LSoundPlayerDoneHandlerThread<T>& done)
{
    Lock();
    const int left = _source->GetEndSample() - _source->GetPositionSample();
    if (left >= 1) {
        if (output.GetWriteRoom() < kFillFrames) {
            // The device does not let the ring run further ahead yet: nothing to guard while
            // it moves on, so the lock is free for the one who moves it.
            Unlock();
            ProcessWaitSignal(_wake, kWakeWaitMs);
            _wake.Reset();
            return Step::kAgain;
        }
        if (output.GetFreeFrames() < kFillFrames) {
            // Full: the device is ahead of nothing, so its handler matters more than we do.
            _renderCounter.store(0);
            _BoostDoneHandler(&done);
            ProcessWaitSignal(_wake, kWakeWaitMs);
            _wake.Reset();
        } else {
            output.WriteRing(_source, std::min(left, kFillFrames));
        }
        Unlock();
        ProcessWait(kFillPauseMs);
        return Step::kAgain;
    }
    if (_source->IsStreaming())
        return _WaitStreaming(done);
    return _Drain();
}

template <typename T>
typename LSoundPlayerTemplate<T>::Step LSoundPlayerTemplate<T>::_WaitStreaming(LSoundPlayerDoneHandlerThread<T>& done)
{
    if (IsToStop()) {
        Unlock();
        return Step::kEnd;
    }
    _BoostPlayer(&done);
    _source->WaitForStreamingData(kStreamingWaitMs);
    Unlock();
    return Step::kAgain;
}

template <typename T>
typename LSoundPlayerTemplate<T>::Step LSoundPlayerTemplate<T>::_Drain()
{
    // The source has ended; it finishes only once the ring has played out.
    if (IsToStop() || output.GetRingFrames() == 0 || output.GetHeldFrames() == 0) {
        _progress.store(false);
        _finished.store(true);
        PostQueueNotify();
        Unlock();
        return Step::kEnd;
    }
    _PostProgress();
    ProcessWaitSignal(_wake, kWakeWaitMs);
    _wake.Reset();
    Unlock();
    ProcessWait(kFillPauseMs);
    return Step::kAgain;
}

template <typename T>
void LSoundPlayerTemplate<T>::_BoostPlayer(LThread* done)
{
    if (_playerBoosted.load())
        return;
    SetPriority(kThreadPriorityRealTime);
    done->SetPriority(kThreadPriorityNormal);
    _playerBoosted.store(true);
    _doneBoosted.store(false);
}

template <typename T>
void LSoundPlayerTemplate<T>::_BoostDoneHandler(LThread* done)
{
    if (_doneBoosted.load())
        return;
    done->SetPriority(kThreadPriorityRealTime);
    SetPriority(kThreadPriorityNormal);
    _doneBoosted.store(true);
    _playerBoosted.store(false);
}

template <typename T>
void LSoundPlayerTemplate<T>::_PostProgress()
{
    // One notification waiting is enough: it reports the position when it runs.
    if (!_progress.exchange(true))
        PostQueueNotify();
}

template <typename T>
void LSoundPlayerTemplate<T>::_OnRender()
{
    // Renders without the ring ever found full: the player is falling behind.
    const int before = _renderCounter.fetch_add(1);
    LThread* done = _doneHandler.load();
    if (done && before > output.GetRingFrames() / kRenderLimitDivisor)
        _BoostPlayer(done);
}

template <typename T>
void LSoundPlayerTemplate<T>::EvNotify()
{
    const int rate = _source->GetRate();
    if (_finished.load()) {
        _notify->spntfTime(LSoundTime::FromFrames(_source->GetEndSample(), rate), _id);
        if (_finished.load())
            Stop();
        return;
    }
    if (_progress.exchange(false)) {
        _notify->spntfTime(LSoundTime::FromFrames(output.GetLastPosition(), rate), _id);
        _notify->spntfLevel(output.GetLevels(), _id);
    }
}

template class LSoundPlayerDoneHandlerThread<LSoundPlayerLLCA>;
template class LSoundPlayerTemplate<LSoundPlayerLLCA>;
