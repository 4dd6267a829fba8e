#include "base/LDebugThreads.h"

#include <cstdio>
#include <cstring>
#include <mutex>
#include <pthread.h>
#include <unistd.h>

namespace {

struct LDebugThreadEntry {
    pid_t id;        // -1 marks a free entry
    char name[5];
};

LDebugThreadEntry gDebugThreads[kDebugThreadsMax];
int gDebugThreadsUsed = 0;  // entries ever taken; free ones below are reused first
std::mutex loDebugThreads;

int _FindEntry(pid_t id)
{
    for (int i = 0; i < gDebugThreadsUsed; ++i)
        if (gDebugThreads[i].id == id)
            return i;
    return -1;
}

int _TakeEntry()
{
    int free = _FindEntry(-1);
    if (free >= 0)
        return free;
    return gDebugThreadsUsed < kDebugThreadsMax ? gDebugThreadsUsed++ : -1;
}

}  // namespace

void LDebugThreadDataStartThread(const char* name)
{
    pid_t id = gettid();
    char shortName[16] = {};
    if (name)
        std::strncpy(shortName, name, 4);
    else
        std::snprintf(shortName, sizeof shortName, "%.4d", static_cast<int>(id % 10000));
    shortName[4] = 0;
    {
        std::lock_guard<std::mutex> lock(loDebugThreads);
        int entry = _FindEntry(id);
        if (entry < 0)
            entry = _TakeEntry();
        if (entry < 0)
            return;
        gDebugThreads[entry].id = id;
        std::memcpy(gDebugThreads[entry].name, shortName, sizeof gDebugThreads[entry].name);
    }
    if (id != getpid())  // renaming the main thread would rename the process in ps
        pthread_setname_np(pthread_self(), shortName);
}

void LDebugThreadDataEndThread()
{
    std::lock_guard<std::mutex> lock(loDebugThreads);
    int entry = _FindEntry(gettid());
    if (entry >= 0)
        gDebugThreads[entry].id = -1;
}

std::string LDebugThreadDataName(pid_t threadId)
{
    std::lock_guard<std::mutex> lock(loDebugThreads);
    int entry = threadId >= 0 ? _FindEntry(threadId) : -1;
    return entry >= 0 ? gDebugThreads[entry].name : "";
}
