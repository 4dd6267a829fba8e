#include "base/LProcessInterface.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
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

std::optional<double> LProgressFraction(double fraction)
{
    if (std::isnan(fraction))
        return std::nullopt;
    return std::clamp(fraction, 0.0, 1.0);
}

void LProcessInterfaceSubProcess::SetProgress(double fraction)
{
    if (std::optional<double> f = LProgressFraction(fraction))
        _outer.SetProgress(*f * _scale + _offset);
}
