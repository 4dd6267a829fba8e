#include "ui/LGuiApplication.h"

#include "base/LEventPump.h"
#include "base/LEventQueue.h"

#include <QApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <clocale>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr size_t kDrainBudget = 64;  // queued events a turn, so input and paints get theirs
const char kNoDisplay[] = "no display: set DISPLAY or WAYLAND_DISPLAY, or use orvane-tool";

bool _IsSet(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value;
}

// Whether the local X server of DISPLAY (":N" or "unix:N") accepts connections. Remote displays
// are taken on trust. Qt aborts the process when it cannot connect, so this is asked first.
bool _XServerReachable(const char* display)
{
    std::string name = display;
    if (name.rfind("unix:", 0) == 0) {
        name.erase(0, 4);
    }
    if (name.empty() || name[0] != ':') {
        return true;
    }
    const std::string number = name.substr(1, name.find('.') - 1);
    if (number.empty() || number.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    const std::string path = "/tmp/.X11-unix/X" + number;
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return true;
    }
    // The abstract socket first (what Xorg and Xvfb offer on Linux), then the file.
    bool reached = false;
    for (bool abstract : {true, false}) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const size_t offset = abstract ? 1 : 0;
        std::memcpy(address.sun_path + offset, path.c_str(), path.size());
        const socklen_t length =
            static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + offset + path.size());
        if (connect(fd, reinterpret_cast<sockaddr*>(&address), length) == 0) {
            reached = true;
            break;
        }
    }
    close(fd);
    return reached;
}

bool _WaylandReachable(const char* display)
{
    std::string path = display;
    if (path[0] != '/') {
        const char* runtime = std::getenv("XDG_RUNTIME_DIR");
        if (!runtime || !*runtime) {
            return false;
        }
        path = std::string(runtime) + "/" + path;
    }
    struct stat info{};
    return stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

// The pump of long tasks and modal waits: Qt's loop turns, so windows repaint and take input,
// and the program's queue drains through the application's notifier.
class LQtEventPump : public LEventPump {
public:
    explicit LQtEventPump(std::shared_ptr<LEventQueue> queue) : _queue(std::move(queue)) {}

    Wait WaitAndDispatchOne(unsigned int ms, int fd) override
    {
        if (_queue->DispatchOne()) {
            return Wait::kEvent;
        }
        QEventLoop loop;
        Waiter waiter{&loop, Wait::kTimeout};
        _waiters.push_back(&waiter);
        std::unique_ptr<QSocketNotifier> other;
        if (fd >= 0) {
            other = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
            QObject::connect(other.get(), &QSocketNotifier::activated, &loop, [&] {
                waiter.result = Wait::kDescriptor;
                loop.quit();
            });
        }
        QTimer limit;
        limit.setSingleShot(true);
        QObject::connect(&limit, &QTimer::timeout, &loop, [&] { loop.quit(); });
        if (ms != kWaitForever) {
            limit.start(static_cast<int>(std::min<unsigned int>(ms, 0x7fffffff)));
        }
        loop.exec();
        std::erase(_waiters, &waiter);
        return waiter.result;
    }

    // The application's notifier drained `count` events: every wait in progress is over.
    void Drained(size_t count)
    {
        if (count == 0) {
            return;
        }
        _drained += count;
        for (Waiter* waiter : _waiters) {
            if (waiter->result == Wait::kTimeout) {
                waiter->result = Wait::kEvent;
            }
            waiter->loop->quit();
        }
    }

    bool ClearEventQueue() override
    {
        // A long task can run inside one of these turns (an event dispatched here opens a
        // modal task); its own turns must still move the windows, or its Cancel and the
        // window's close are never seen. Only a runaway nesting is refused.
        if (_clearDepth >= kMaxNestedClears) {
            return false;
        }
        ++_clearDepth;
        const size_t drainedBefore = _drained;
        bool dispatched = _queue->ClearEventQueue();
        // Qt's turn may drain more of the queue through the application's notifier.
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        dispatched = dispatched || _drained != drainedBefore;
        --_clearDepth;
        return dispatched;
    }

private:
    struct Waiter {
        QEventLoop* loop;
        Wait result;
    };
    std::shared_ptr<LEventQueue> _queue;
    std::vector<Waiter*> _waiters;  // nested waits, innermost last
    size_t _drained = 0;            // events the application's notifier dispatched
    static constexpr int kMaxNestedClears = 16;
    int _clearDepth = 0;  // turns of ClearEventQueue in progress, nested
};

}  // namespace

struct LGuiApplication::Impl {
    Impl(int& argc, char** argv)
        : app(argc, argv),
          queue(LEventQueue::ForCurrentThread()),
          notifier(queue->GetWakeDescriptor(), QSocketNotifier::Read),
          pump(queue)
    {
        // The notifier fires in every loop of this thread, modal ones included.
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier,
                         [this] { pump.Drained(queue->DispatchPending(kDrainBudget)); });
        LSetEventPump(&pump);
    }
    ~Impl() { LSetEventPump(nullptr); }

    QApplication app;
    std::shared_ptr<LEventQueue> queue;
    QSocketNotifier notifier;
    LQtEventPump pump;
};

namespace {

bool _XReachable()
{
    return _IsSet("DISPLAY") && _XServerReachable(std::getenv("DISPLAY"));
}

bool _WaylandReady()
{
    // Qt's Wayland client falls back to "wayland-0" when the variable is unset.
    const char* name = std::getenv("WAYLAND_DISPLAY");
    return _WaylandReachable(name && *name ? name : "wayland-0");
}

}  // namespace

bool LGuiApplication::CanStart(const char** why)
{
    bool ok;
    const std::string platform = _IsSet("QT_QPA_PLATFORM") ? std::getenv("QT_QPA_PLATFORM") : "";
    if (platform.rfind("xcb", 0) == 0) {
        ok = _XReachable();
    } else if (platform.rfind("wayland", 0) == 0) {
        ok = _WaylandReady();
    } else if (!platform.empty()) {
        ok = true;  // off screen, VNC and the like need no display
    } else {
        ok = _XReachable() || (_IsSet("WAYLAND_DISPLAY") && _WaylandReady());
    }
    if (why) {
        *why = ok ? "" : kNoDisplay;
    }
    return ok;
}

namespace {

// Chooses xcb where X is reachable, so window placement and pointer warps work.
int& _PickPlatform(int& argc)
{
    if (!_IsSet("QT_QPA_PLATFORM") && _XReachable()) {
        setenv("QT_QPA_PLATFORM", "xcb", 1);
    }
    return argc;
}

}  // namespace

LGuiApplication::LGuiApplication(int& argc, char** argv)
    : _impl(std::make_unique<Impl>(_PickPlatform(argc), argv))
{
    QApplication::setApplicationName(QStringLiteral("Orvane"));
    QApplication::setApplicationDisplayName(QStringLiteral("Orvane DJ Software"));
    QApplication::setQuitOnLastWindowClosed(false);
    // Qt takes the user's locale for everything; numbers in our files must keep their point.
    std::setlocale(LC_NUMERIC, "C");
}

LGuiApplication::~LGuiApplication() = default;

int LGuiApplication::Run()
{
    return QApplication::exec();
}

void LGuiApplication::Quit(int code)
{
    QCoreApplication::exit(code);
}

unsigned int LGuiApplication::NowMs()
{
    using namespace std::chrono;
    const auto ms = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return static_cast<unsigned int>(static_cast<unsigned long long>(ms));
}
