#pragma once

#include <string>
#include <sys/types.h>

// A small registry that names threads for crash reports and debuggers.
inline constexpr int kDebugThreadsMax = 64;

// Enters the calling thread under a name of at most 4 characters; a null name gives the
// thread id modulo 10000. A full registry ignores the call.
void LDebugThreadDataStartThread(const char* name);
// Frees the calling thread's entry.
void LDebugThreadDataEndThread();
// The registered name of a kernel thread id, or "" when it has none.
std::string LDebugThreadDataName(pid_t threadId);
