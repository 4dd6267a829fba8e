#pragma once

#include <memory>

// The program's Qt application on the interface thread. It drains the thread's LEventQueue
// from Qt's event loop (a socket notifier on the queue's wake descriptor, about 64 events a
// turn), in modal loops too, and installs an event pump so long tasks keep windows alive.
// No Qt header is needed to use it.
class LGuiApplication {
public:
    // Answers false, with `why` set, when no window system can be reached (no DISPLAY or
    // WAYLAND_DISPLAY and no QT_QPA_PLATFORM); the caller prints it and exits 1.
    static bool CanStart(const char** why);
    // Picks xcb when QT_QPA_PLATFORM is unset and DISPLAY is set.
    LGuiApplication(int& argc, char** argv);
    ~LGuiApplication();
    LGuiApplication(const LGuiApplication&) = delete;
    LGuiApplication& operator=(const LGuiApplication&) = delete;

    // Runs the event loop until Quit; answers the exit code.
    int Run();
    static void Quit(int code = 0);
    // Wall clock for throttles: monotonic milliseconds modulo 2^32.
    static unsigned int NowMs();

private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};
