#pragma once

#include <cstddef>

// What LRunProgram answers besides the program's own exit status (0 to 255).
inline constexpr int kRunProgramFailed = -1;       // could not start, or did not exit normally
inline constexpr int kRunProgramStatusTaken = -2;  // ran; another waiter took its status

// Runs a program found on PATH with `argv` (argv[0] is the program, the list ends with nullptr)
// and waits for it. Its standard output goes into `output` (zero-ended, at most outputBytes - 1
// bytes kept; the rest is read and dropped) or, without a buffer, is discarded; standard error
// is discarded. Returns the exit status, kRunProgramFailed, or kRunProgramStatusTaken when a
// child-exit handler reaped it first.
int LRunProgram(const char* const argv[], char* output = nullptr, size_t outputBytes = 0);
