#include "engine/LDebug.h"

#include "OrvaneVersion.h"
#include "base/LFile.h"

#include <cerrno>
#include <cstring>
#include <execinfo.h>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

volatile int gwDebugCurrentCommand = 1;
volatile int gwDebugLastCommand = 0;
volatile sig_atomic_t bLLibExceptionAlreadyTrapped = 0;

namespace {

constexpr size_t kPathBytes = 260;
constexpr int kBacktraceDepth = 64;
constexpr mode_t kLogFolderMode = LFile::kFolderMode;
constexpr mode_t kCrashReportMode = LFile::kPrivateFileMode;  // it names the user's files
char gszLogFolder[kPathBytes] = "";

// Everything below runs inside a signal handler: only async-signal-safe calls, no allocation.

// Appends `text` to dest (kPathBytes), cutting what does not fit; false if it cut.
bool _Append(char* dest, const char* text)
{
    size_t used = strnlen(dest, kPathBytes - 1);
    while (*text && used < kPathBytes - 1)
        dest[used++] = *text++;
    dest[used] = 0;
    return *text == 0;
}

bool _AppendNumber(char* dest, long value)
{
    char digits[24];
    int n = 0;
    bool negative = value < 0;
    unsigned long magnitude = negative ? 0UL - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
    do {
        digits[n++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude && n < 22);
    if (negative)
        digits[n++] = '-';
    char text[24];
    for (int i = 0; i < n; ++i)
        text[i] = digits[n - 1 - i];
    text[n] = 0;
    return _Append(dest, text);
}

void _WriteText(int fd, const char* text)
{
    size_t left = strlen(text);
    while (left > 0) {
        ssize_t put = write(fd, text, left);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return;
        text += put;
        left -= static_cast<size_t>(put);
    }
}

void _WriteCrashReport(int signal)
{
    if (!gszLogFolder[0])
        return;
    mkdir(gszLogFolder, kLogFolderMode);
    char path[kPathBytes] = "";
    // A cut name would be another file's: no report then.
    bool fits = _Append(path, gszLogFolder) && _Append(path, "/crash-") &&
                _AppendNumber(path, static_cast<long>(time(nullptr))) && _Append(path, "-") &&
                _AppendNumber(path, static_cast<long>(getpid())) && _Append(path, ".txt");
    if (!fits)
        return;
    int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kCrashReportMode);
    if (fd < 0)
        return;
    char line[kPathBytes] = ORVANE_PRODUCT " " ORVANE_VERSION ": abnormal signal ";
    _AppendNumber(line, signal);
    _Append(line, " (");
    _Append(line, sigabbrev_np(signal) ? sigabbrev_np(signal) : "?");
    _Append(line, "), command ");
    _AppendNumber(line, gwDebugCurrentCommand);
    _Append(line, ", last command ");
    _AppendNumber(line, gwDebugLastCommand);
    _Append(line, "\n");
    _WriteText(fd, line);
    void* frames[kBacktraceDepth];
    int depth = backtrace(frames, kBacktraceDepth);
    backtrace_symbols_fd(frames, depth, fd);
    close(fd);
}

void _Install(int signal, void (*handler)(int))
{
    struct sigaction action {};
    action.sa_handler = handler;
    sigfillset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

}  // namespace

void LDebugSetLogFolder(const char* folder)
{
    gszLogFolder[0] = 0;
    if (!_Append(gszLogFolder, folder ? folder : ""))
        gszLogFolder[0] = 0;
}

const char* LDebugGetLogFolder()
{
    return gszLogFolder;
}

void LDebugSignalHandler(int signal)
{
    if (!bLLibExceptionAlreadyTrapped) {
        bLLibExceptionAlreadyTrapped = 1;
        _WriteCrashReport(signal);
    }
    // End by the same signal, so the parent and the shell see what happened.
    struct sigaction fallback {};
    fallback.sa_handler = SIG_DFL;
    sigemptyset(&fallback.sa_mask);
    sigaction(signal, &fallback, nullptr);
    sigset_t unblock;
    sigemptyset(&unblock);
    sigaddset(&unblock, signal);
    sigprocmask(SIG_UNBLOCK, &unblock, nullptr);
    raise(signal);
    _exit(128 + signal);
}

void LNullSignalHandler(int)
{
    int saved = errno;
    int status = 0;
    waitpid(0, &status, WNOHANG);
    errno = saved;
}

void LDebugInstallSignalHandlers()
{
    // backtrace loads its unwinder on first use, which may allocate: do it now, not in a crash.
    void* warm[1];
    backtrace(warm, 1);
    for (int signal : {SIGQUIT, SIGILL, SIGFPE, SIGSEGV})
        _Install(signal, LDebugSignalHandler);
    _Install(SIGPIPE, SIG_IGN);
    _Install(SIGCHLD, LNullSignalHandler);
}
