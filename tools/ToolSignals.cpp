#include "tools/ToolSignals.h"

#include <atomic>
#include <climits>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int kWatchedBytes = PATH_MAX + 64;  // a temporary's name adds to its target's

// What the handler reads: set before the handlers go in, cleared after they are gone.
volatile sig_atomic_t gSignal = 0;
int gSecondExit = ToolSignals::kExitCodeOfSignal;
const LSignalObject* gWake = nullptr;
char gWatched[ToolSignals::kMaxWatched][kWatchedBytes];
volatile sig_atomic_t gWatchedReady[ToolSignals::kMaxWatched];  // a path is whole only once set
std::atomic<bool> gInstalled{false};

struct sigaction gPreviousInt {};
struct sigaction gPreviousTerm {};

void _OnSignal(int signal)
{
    if (gSignal) {
        for (int i = 0; i < ToolSignals::kMaxWatched; ++i)
            if (gWatchedReady[i])
                unlink(gWatched[i]);
        _exit(gSecondExit == ToolSignals::kExitCodeOfSignal ? 128 + signal : gSecondExit);
    }
    gSignal = signal;
    if (gWake)
        gWake->Signal();  // one write: safe in a signal handler
}

void _ClearWatched()
{
    for (int i = 0; i < ToolSignals::kMaxWatched; ++i) {
        gWatchedReady[i] = 0;
        gWatched[i][0] = '\0';
    }
}

}  // namespace

ToolSignals::ToolSignals(int secondSignalExit)
{
    if (gInstalled.exchange(true))
        return;  // one owner at a time; the first keeps the handlers
    gSignal = 0;
    gSecondExit = secondSignalExit;
    gWake = &_wake;
    _ClearWatched();
    struct sigaction action {};
    action.sa_handler = _OnSignal;
    // Calls of the engine's threads go on; the owner wakes by its descriptor.
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &gPreviousInt);
    sigaction(SIGTERM, &action, &gPreviousTerm);
}

ToolSignals::~ToolSignals()
{
    if (gWake != &_wake)
        return;
    sigaction(SIGINT, &gPreviousInt, nullptr);
    sigaction(SIGTERM, &gPreviousTerm, nullptr);
    gWake = nullptr;
    _ClearWatched();
    gInstalled.store(false);
}

bool ToolSignals::Watch(const char* path)
{
    for (int i = 0; i < kMaxWatched; ++i) {
        if (gWatchedReady[i])
            continue;
        const int length = std::snprintf(gWatched[i], kWatchedBytes, "%s", path);
        if (length < 0 || length >= kWatchedBytes)
            return false;
        gWatchedReady[i] = 1;
        return true;
    }
    return false;
}

bool ToolSignals::Caught() const
{
    return gSignal != 0;
}

int ToolSignals::GetSignal() const
{
    return gSignal;
}
