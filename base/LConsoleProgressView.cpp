#include "base/LConsoleProgressView.h"
#include "base/LQueuedNotify.h"
#include "base/LFileRef.h"
#include "base/LThread.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr int kBarChars = 24;
constexpr int kDefaultColumns = 80;
constexpr auto kRedrawInterval = std::chrono::milliseconds(50);  // at most 20 redraws a second

// Write end of the innermost open view's Ctrl-C pipe, for the signal handler.
std::atomic<int> gInterruptFd{-1};

// Keeps errno: the interrupted thread may be about to look at it (a wait's EINTR), and a
// full pipe would leave EAGAIN there.
void _OnInterrupt(int)
{
    const int savedErrno = errno;
    int fd = gInterruptFd.load();
    const char one = 1;
    if (fd >= 0)
        [[maybe_unused]] ssize_t ignored = write(fd, &one, 1);
    errno = savedErrno;
}

struct FunctionTask {
    const LProcessFunction& run;
};

LProcessResult Process(LProcessInterface& process, FunctionTask& task)
{
    return task.run(process);
}

int _TerminalColumns(int fd)
{
    winsize size{};
    if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return kDefaultColumns;
}

}  // namespace

// Turns Ctrl-C into Close on the interface thread: the signal handler may only write a
// pipe, so a small thread waits on it and posts to the thread that owns the dialog.
class LConsoleProgressView::CancelWatcher : public LThread, public LThreadQueuedNotify {
public:
    explicit CancelWatcher(LProgressDialog& dialog) : _dialog(dialog)
    {
        _previousFd = gInterruptFd.exchange(_interrupt.GetWriteDescriptor());
        struct sigaction action{};
        action.sa_handler = _OnInterrupt;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &_previousAction);
        Start(kThreadPriorityNormal);
    }

    ~CancelWatcher() override
    {
        sigaction(SIGINT, &_previousAction, nullptr);
        gInterruptFd.store(_previousFd);
        StopThreadSoon();
        WaitForThreadEnd();
    }

protected:
    void ThreadFunction() override
    {
        while (ProcessWaitSignal(_interrupt, kWaitForever) == kProcessFinished) {
            _interrupt.Reset();
            PostQueueNotify();
        }
    }

    void EvNotify() override { _dialog.Close(0); }

private:
    LProgressDialog& _dialog;
    LSignalObject _interrupt;
    int _previousFd = -1;
    struct sigaction _previousAction{};
};

LConsoleProgressView::LConsoleProgressView(int fd)
    : LConsoleProgressView(fd, isatty(fd) == 1, _TerminalColumns(fd))
{
}

LConsoleProgressView::LConsoleProgressView(int fd, bool terminal, int columns)
    : _fd(fd), _terminal(terminal), _columns(std::max(columns, 20))
{
}

LConsoleProgressView::~LConsoleProgressView() = default;

bool LConsoleProgressView::Open(LProgressDialog& dialog, const char* title)
{
    _status[0] = title ? title : "";
    _watcher = std::make_unique<CancelWatcher>(dialog);
    _Draw(true);
    return true;
}

void LConsoleProgressView::Close()
{
    _watcher.reset();
    if (_terminal && !_drawn.empty())
        _Write("\r\033[K");
    _drawn.clear();
}

void LConsoleProgressView::SetStatusText(int line, const char* text)
{
    _status[line < 1 ? 0 : 1] = text ? text : "";
    _Draw(false);
}

void LConsoleProgressView::SetProgressPercent(int percent)
{
    _percent = std::clamp(percent, 0, 100);
    _indeterminate = false;
    _Draw(false);
}

void LConsoleProgressView::SetIndeterminate(bool on)
{
    _indeterminate = on;
    _Draw(false);
}

void LConsoleProgressView::ShowError(const char* title, const char* message)
{
    std::string text = _terminal && !_drawn.empty() ? "\r\033[K" : "";
    text += std::string(title && *title ? title : "error") + ": " + (message ? message : "") + "\n";
    _Write(text);
    _drawn.clear();
    _Draw(true);
}

std::string LConsoleProgressView::FormatLine() const
{
    std::string line = "[";
    if (_indeterminate) {
        line += std::string(kBarChars, '~') + "]     ";
    } else {
        int filled = _percent * kBarChars / 100;
        line += std::string(filled, '#') + std::string(kBarChars - filled, '.') + "] ";
        std::string number = std::to_string(_percent) + "%";
        line += std::string(5 - number.size(), ' ') + number;
    }
    for (const std::string& status : _status)
        if (!status.empty())
            line += "  " + status;
    if (static_cast<int>(line.size()) >= _columns)
        line.resize(_columns - 1);  // a wrapped line could not be rewritten in place
    return line;
}

void LConsoleProgressView::_Draw(bool force)
{
    if (!_terminal)
        return;
    auto now = std::chrono::steady_clock::now();
    if (!force && now - _lastDraw < kRedrawInterval)
        return;
    std::string line = FormatLine();
    if (line == _drawn)
        return;
    _Write("\r" + line + "\033[K");
    _drawn = line;
    _lastDraw = now;
}

void LConsoleProgressView::_Write(const std::string& text) const
{
    LWriteFully(_fd, text.data(), text.size());
}

LProcessResult LRunWithConsoleProgress(const char* title, const LProcessFunction& task, int fd)
{
    FunctionTask run{task};
    LProcessDialog<FunctionTask> dialog(title, run);
    dialog.OpenWithView(std::make_unique<LConsoleProgressView>(fd));
    return dialog.GetResult();
}
