#include "ui/LTimerHandler.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>

namespace {

constexpr unsigned int kShortestMs = 10;  // a request of 0 ms waits this long
constexpr unsigned int kLongestMs = 0x7fffffff;  // QTimer's limit

}  // namespace

LTimerHandler::LTimerHandler() = default;

LTimerHandler::~LTimerHandler()
{
    // A timer may be the sender whose signal is running now, so it goes once the loop is back.
    for (auto& [id, timer] : _timers) {
        timer->stop();
        QObject::disconnect(timer.get(), nullptr, nullptr, nullptr);
        if (QCoreApplication::instance()) {
            timer.release()->deleteLater();
        }
    }
}

void LTimerHandler::TimerSet(int timerId, unsigned int ms)
{
    if (timerId < 0) {
        return;
    }
    std::unique_ptr<QTimer>& timer = _timers[timerId];
    if (!timer) {
        timer = std::make_unique<QTimer>();
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer.get(), &QTimer::timeout, [this, timerId] { EvTimer(timerId); });
    }
    const unsigned int wait = ms == 0 ? kShortestMs : std::min(ms, kLongestMs);
    timer->start(static_cast<int>(wait));  // a running timer restarts from now
}

void LTimerHandler::TimerKill(int timerId)
{
    auto it = _timers.find(timerId);
    if (it != _timers.end()) {
        it->second->stop();
    }
}

void LTimerHandler::TimerDestroy()
{
    for (auto& [id, timer] : _timers) {
        timer->stop();
    }
}

bool LTimerHandler::IsTimerSet(int timerId) const
{
    auto it = _timers.find(timerId);
    return it != _timers.end() && it->second->isActive();
}
