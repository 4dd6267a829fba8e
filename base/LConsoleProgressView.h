#pragma once

#include "base/LProgressDialog.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>

// The progress dialog of the command-line tool: one self-rewriting line of bar and status
// on a terminal (nothing but errors elsewhere), and Ctrl-C as Cancel while it is open.
class LConsoleProgressView : public LProgressView {
public:
    explicit LConsoleProgressView(int fd = 2);  // a terminal or not, as isatty says
    LConsoleProgressView(int fd, bool terminal, int columns);
    ~LConsoleProgressView() override;

    bool Open(LProgressDialog& dialog, const char* title) override;
    void Close() override;
    void SetStatusText(int line, const char* text) override;
    void SetProgressPercent(int percent) override;
    void SetIndeterminate(bool on) override;
    void SetCancelEnabled(bool) override {}
    void ShowError(const char* title, const char* message) override;

    // The line as it is drawn now, without terminal controls.
    std::string FormatLine() const;

private:
    class CancelWatcher;

    void _Draw(bool force);
    void _Write(const std::string& text) const;

    int _fd;
    bool _terminal;
    int _columns;
    std::string _status[2];
    int _percent = 0;
    bool _indeterminate = false;
    std::string _drawn;
    std::chrono::steady_clock::time_point _lastDraw{};
    std::unique_ptr<CancelWatcher> _watcher;
};

// A long task given as a function, for callers without a task type of their own.
using LProcessFunction = std::function<LProcessResult(LProcessInterface&)>;

// Runs `task` on this thread under the console progress line on `fd` (drawn only when it is
// a terminal), with Ctrl-C as Cancel: the task sees IsToStop and decides what to answer.
// The command-line tool's long operations go through here.
LProcessResult LRunWithConsoleProgress(const char* title, const LProcessFunction& task,
                                       int fd = 2);
