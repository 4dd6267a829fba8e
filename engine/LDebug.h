#pragma once

#include <csignal>

// Debug services of the process: the command being run (for crash reports) and the signal
// handlers that turn a crash into a short report in the log folder.

extern volatile int gwDebugCurrentCommand;
extern volatile int gwDebugLastCommand;
extern volatile sig_atomic_t bLLibExceptionAlreadyTrapped;

// Sets the folder crash reports go to (created when a report is written). Copied; a folder
// longer than 259 characters is not taken (no reports then).
void LDebugSetLogFolder(const char* folder);
const char* LDebugGetLogFolder();

// Installs, each with all signals masked and SA_RESTART: LDebugSignalHandler for SIGQUIT,
// SIGILL, SIGFPE and SIGSEGV; SIGPIPE ignored; LNullSignalHandler for SIGCHLD.
void LDebugInstallSignalHandlers();

// Writes "crash-<seconds>-<pid>.txt" into the log folder (signal, command ids, a backtrace)
// once, then ends the process by the same signal with its default action.
void LDebugSignalHandler(int signal);

// Reaps one exited child of the process group without blocking.
void LNullSignalHandler(int signal);
