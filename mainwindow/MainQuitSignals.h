#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

// SIGTERM, SIGINT and SIGHUP (a session ending, Ctrl+C in a terminal) become a quit request
// on the interface thread, so the window goes down in order and the library is saved. The
// handlers are installed for the object's life; one object at a time.
class MainQuitSignals {
public:
    explicit MainQuitSignals(std::function<void()> onQuit);
    ~MainQuitSignals();
    MainQuitSignals(const MainQuitSignals&) = delete;
    MainQuitSignals& operator=(const MainQuitSignals&) = delete;

private:
    int _pipe[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> _notifier;
    std::function<void()> _onQuit;
};
