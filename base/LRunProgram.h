#pragma once

#include <cstddef>

// Runs a program found on PATH with `argv` (argv[0] is the program, the list ends with nullptr)
// and waits for it. Its standard output goes into `output` (zero-ended, at most outputBytes - 1
// bytes kept; the rest is read and dropped) or, without a buffer, is discarded; standard error
// is discarded. Returns the exit status, -1 if it could not start or did not exit normally, or
// -2 if it ran but its status was taken by another waiter (a child-exit handler).
int LRunProgram(const char* const argv[], char* output = nullptr, size_t outputBytes = 0);
