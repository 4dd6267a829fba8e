#pragma once

#include <functional>
#include <memory>

class QWidget;

// The window system's close request for the main window (its close button) becomes a quit
// request even while a modal window blocks the main window, where Qt itself drops it. Only on
// X11; elsewhere the object does nothing. Interface thread only.
class MainCloseRequests {
public:
    MainCloseRequests(QWidget& window, std::function<void()> onClose);
    ~MainCloseRequests();
    MainCloseRequests(const MainCloseRequests&) = delete;
    MainCloseRequests& operator=(const MainCloseRequests&) = delete;

private:
    class _Filter;
    std::unique_ptr<_Filter> _filter;
};
