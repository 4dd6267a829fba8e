#pragma once

#include <map>
#include <memory>

class QTimer;

// One-shot timers by number on the interface thread. A handler that wants a repeat sets the
// timer again from EvTimer.
class LTimerHandler {
public:
    LTimerHandler();
    virtual ~LTimerHandler();
    LTimerHandler(const LTimerHandler&) = delete;
    LTimerHandler& operator=(const LTimerHandler&) = delete;

    // Starts or restarts timer `timerId`; 0 ms counts as 10; a negative id does nothing.
    void TimerSet(int timerId, unsigned int ms);
    void TimerKill(int timerId);
    // Cancels every timer of this handler.
    void TimerDestroy();
    bool IsTimerSet(int timerId) const;

    virtual void EvTimer(int /*timerId*/) {}

private:
    std::map<int, std::unique_ptr<QTimer>> _timers;
};

// A one-shot timer bound to T::TimerAction() of one object.
template <typename T>
class LTimerCallBack : private LTimerHandler {
public:
    explicit LTimerCallBack(T* owner) : _owner(owner) {}
    void Set(unsigned int ms) { TimerSet(kId, ms); }
    void Kill() { TimerKill(kId); }
    bool IsSet() const { return IsTimerSet(kId); }

private:
    static constexpr int kId = 1;
    void EvTimer(int) override { _owner->TimerAction(); }
    T* _owner;
};
