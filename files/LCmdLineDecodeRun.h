#pragma once

#include "base/LProcessInterface.h"
#include "base/LSignalObject.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// One run of a decoder program on a helper thread, shared by whoever waits for it and the
// helper; whichever lets go last frees it. Whoever comes second of "the program finished" and
// "the waiter gave up" removes the output and lets the kept object go.
struct LDecoderRun {
    std::vector<std::string> argv;
    std::string abandonedOutput;
    LSignalObject done;
    std::atomic<LProcessResult> result{kProcessStopped};
    std::atomic<bool> finished{false};
    std::mutex mutex;
    bool abandoned = false;           // under mutex
    std::shared_ptr<void> keepAlive;  // under mutex

    // Starts the program on `helper`; false if no thread could be made.
    static bool Start(const std::shared_ptr<LDecoderRun>& run, std::thread& helper);
    // The waiter gives up: a finished program's output goes now, a running one's when it ends.
    // The helper is detached, or joined when the program has finished.
    void Abandon(std::thread& helper);

private:
    static void _RunOnHelper(std::shared_ptr<LDecoderRun> run);
    void _CleanUpAbandoned();
};
