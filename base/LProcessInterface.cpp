#include "base/LProcessInterface.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>

void LProcessInterface::SetErrorF(const char* format, ...)
{
    char buffer[kErrorBufferBytes];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    SetError(buffer);
}

bool LProcessInterfaceVoid::ProcessWait(unsigned int ms)
{
    timespec left{static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
    return false;
}

LProcessResult LProcessInterfaceVoid::ProcessWaitSignal(LSignalObjectRef s, unsigned int ms)
{
    LSignalObjectGroup group;
    group.Add(s);
    return LProcessInterfaceVoid::ProcessWaitSignalObjectGroup(group, ms);
}

LProcessResult LProcessInterfaceVoid::ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                                   unsigned int ms)
{
    return group.Select(ms) ? kProcessFinished : kProcessFailed;
}
