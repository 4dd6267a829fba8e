#pragma once

#include "base/LSignalObject.h"

#include <algorithm>
#include <chrono>

// The time left of a wait in milliseconds, for loops that wait more than once.
class LDeadline {
public:
    explicit LDeadline(unsigned int ms)
        : _forever(ms == kWaitForever),
          _end(std::chrono::steady_clock::now() + std::chrono::milliseconds(ms))
    {
    }

    // Rounded up, so a wait never ends before the deadline; kWaitForever without a limit.
    unsigned int Left() const
    {
        if (_forever)
            return kWaitForever;
        auto left = _end - std::chrono::steady_clock::now();
        if (left <= left.zero())
            return 0;
        auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
        return static_cast<unsigned int>(ms);
    }
    // Left() as poll() takes it: -1 for no limit.
    int PollTimeout() const
    {
        unsigned int left = Left();
        return left == kWaitForever ? -1 : static_cast<int>(std::min(left, 0x7fffffffu));
    }
    bool IsOver() const { return Left() == 0; }
    bool IsForever() const { return _forever; }

private:
    bool _forever;
    std::chrono::steady_clock::time_point _end;
};
