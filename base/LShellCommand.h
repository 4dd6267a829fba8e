#pragma once

#include "base/LProcessInterface.h"

// Runs `commandLine` through the shell on a helper thread while `process` waits for it, so a
// progress dialog stays alive and a stop is noticed. The command's standard output is read
// and dropped. 0 when the command ran, 2 when it could not be run (no shell, or the shell
// found no such command), 1 on a stop: the command is not killed then, it runs to its end on
// its own thread, which cleans up after it.
LProcessResult LRunShellCommand(LProcessInterface& process, const char* commandLine);
