#include "base/LShellCommand.h"
#include "base/LSignalObject.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <pthread.h>

namespace {

constexpr int kShellNotFound = 127;  // the shell's exit status for an unknown command

// Shared by the waiter and the helper thread; whichever lets go last frees it.
struct ShellRun {
    std::string command;
    LSignalObject done;
    std::atomic<LProcessResult> result{kProcessStopped};
};

LProcessResult _RunThroughShell(const std::string& command)
{
    FILE* pipe = popen(command.c_str(), "re");
    if (!pipe)
        return kProcessFailed;
    char sink[4096];
    while (std::fread(sink, 1, sizeof sink, pipe) > 0) {
    }
    int status = pclose(pipe);
    if (status == -1)  // no such child: our SIGCHLD handler may have reaped it already
        return errno == ECHILD ? kProcessFinished : kProcessFailed;
    if (WIFEXITED(status) && WEXITSTATUS(status) == kShellNotFound)
        return kProcessFailed;
    return kProcessFinished;
}

void* _HelperThread(void* handoff)
{
    using Handle = std::shared_ptr<ShellRun>;
    std::unique_ptr<Handle> owned(static_cast<Handle*>(handoff));
    ShellRun& run = **owned;
    run.result = _RunThroughShell(run.command);
    run.done.Signal();
    return nullptr;
}

bool _StartHelper(const std::shared_ptr<ShellRun>& run)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    auto* handoff = new std::shared_ptr<ShellRun>(run);
    pthread_t thread;
    bool started = pthread_create(&thread, &attributes, _HelperThread, handoff) == 0;
    pthread_attr_destroy(&attributes);
    if (!started)
        delete handoff;
    return started;
}

}  // namespace

LProcessResult LRunShellCommand(LProcessInterface& process, const char* commandLine)
{
    auto run = std::make_shared<ShellRun>();
    run->command = commandLine ? commandLine : "";
    if (run->done.GetReadDescriptor() < 0)
        return kProcessFailed;
    if (!_StartHelper(run))
        return kProcessFailed;
    LProcessResult waited = process.ProcessWaitSignal(run->done, kWaitForever);
    return waited == kProcessFinished ? run->result.load() : waited;
}
