#include "base/LThreadNotifyInterface.h"

#include <cmath>
#include <cstring>

void LThreadNotifyInterface::SetError(const char* message)
{
    if (message)
        PostQueuedNotifyData(kCodeError, message, std::strlen(message) + 1);
}

// Only the latest text matters, so the line is stored and the post merely says which one.
void LThreadNotifyInterface::SetStatus(const char* text, int line)
{
    int index = line < 1 ? 0 : 1;
    {
        std::lock_guard<std::mutex> lock(_mutex);
        std::strncpy(_status[index], text ? text : "", kStatusChars);
    }
    PostQueuedNotifyData(index == 0 ? kCodeStatus0 : kCodeStatus1, nullptr, 0);
}

void LThreadNotifyInterface::SetProgress(double fraction)
{
    if (std::optional<double> f = LProgressFraction(fraction))
        PostQueuedNotifyData(kCodeProgress, nullptr,
                             static_cast<unsigned long>(std::round(*f * 100.0)));
}

void LThreadNotifyInterface::EvQueuedNotifyData(unsigned int code, const void* data,
                                                unsigned long size)
{
    char text[kStatusChars + 1];
    switch (code) {
    case kCodeError:
        if (data)
            _target.SetError(static_cast<const char*>(data));
        break;
    case kCodeStatus0:
    case kCodeStatus1: {
        int index = code == kCodeStatus0 ? 0 : 1;
        {
            std::lock_guard<std::mutex> lock(_mutex);
            std::memcpy(text, _status[index], sizeof text);
        }
        _target.SetStatus(text, index);
        break;
    }
    case kCodeProgress:
        _target.SetProgress(static_cast<double>(size) * 0.01);
        break;
    case kCodeIndeterminateOn:
        _target.SetProgressIndeterminateOn();
        break;
    case kCodeIndeterminateOff:
        _target.SetProgressIndeterminateOff();
        break;
    default:
        break;
    }
}
