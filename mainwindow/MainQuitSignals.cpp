#include "mainwindow/MainQuitSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kQuitSignals[] = {SIGTERM, SIGINT, SIGHUP};
volatile sig_atomic_t gWriteEnd = -1;

// Async-signal-safe: one byte on the pipe wakes the interface thread.
void _OnSignal(int)
{
    if (gWriteEnd >= 0) {
        const char byte = 1;
        [[maybe_unused]] const ssize_t written = write(gWriteEnd, &byte, 1);
    }
}

}  // namespace

MainQuitSignals::MainQuitSignals(std::function<void()> onQuit) : _onQuit(std::move(onQuit))
{
    if (pipe2(_pipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        _pipe[0] = _pipe[1] = -1;
        return;
    }
    _notifier = std::make_unique<QSocketNotifier>(_pipe[0], QSocketNotifier::Read);
    QObject::connect(_notifier.get(), &QSocketNotifier::activated, _notifier.get(), [this] {
        char bytes[16];
        while (read(_pipe[0], bytes, sizeof bytes) > 0) {
        }
        _onQuit();
    });
    gWriteEnd = _pipe[1];
    struct sigaction action {};
    action.sa_handler = _OnSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : kQuitSignals) {
        sigaction(signal, &action, nullptr);
    }
}

MainQuitSignals::~MainQuitSignals()
{
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int signal : kQuitSignals) {
        sigaction(signal, &action, nullptr);
    }
    gWriteEnd = -1;
    _notifier.reset();
    for (int fd : _pipe) {
        if (fd >= 0) {
            close(fd);
        }
    }
}
