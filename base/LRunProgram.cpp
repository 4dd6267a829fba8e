#include "base/LRunProgram.h"

#include "base/LFileRef.h"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

// Reads the pipe to its end, keeping what fits.
void _Drain(int fd, char* output, size_t outputBytes)
{
    size_t used = 0;
    char scratch[512];
    for (;;) {
        bool keep = output && used + 1 < outputBytes;
        char* into = keep ? output + used : scratch;
        size_t room = keep ? outputBytes - 1 - used : sizeof scratch;
        ssize_t got = read(fd, into, room);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        if (keep)
            used += static_cast<size_t>(got);
    }
    if (output && outputBytes > 0)
        output[used] = 0;
}

int _Wait(pid_t child)
{
    int status = 0;
    pid_t done;
    while ((done = waitpid(child, &status, 0)) < 0 && errno == EINTR) {
    }
    if (done < 0)
        return errno == ECHILD ? kRunProgramStatusTaken : kRunProgramFailed;
    return WIFEXITED(status) ? WEXITSTATUS(status) : kRunProgramFailed;
}

}  // namespace

int LRunProgram(const char* const argv[], char* output, size_t outputBytes)
{
    if (output && outputBytes > 0)
        output[0] = 0;
    if (!argv || !argv[0])
        return kRunProgramFailed;
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0)
        return kRunProgramFailed;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    int failed = posix_spawnp(&child, argv[0], &actions, nullptr, const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeEnds[1]);
    if (!failed)
        _Drain(pipeEnds[0], output, outputBytes);
    close(pipeEnds[0]);
    return failed ? kRunProgramFailed : _Wait(child);
}
