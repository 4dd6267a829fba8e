#pragma once

#include <optional>
#include <vector>

// The repaint requests of one control waiting for the interface thread, merged as they come:
// a whole-control request replaces everything; two areas merge into their union when they
// touch or lie within one pixel of each other (repeatedly, so a merge can absorb others),
// else both stay. Not locked: its owner holds the lock.
class LUpdateRequests {
public:
    struct Rect {
        int x, y, width, height;
        friend bool operator==(const Rect&, const Rect&) = default;
    };

    // Answers whether the set was empty before, that is, whether the caller must post.
    bool AddWhole();
    bool AddArea(const Rect& area);
    bool IsEmpty() const { return !_whole && _areas.empty(); }
    bool IsWhole() const { return _whole; }
    const std::vector<Rect>& GetAreas() const { return _areas; }
    void Clear();

private:
    bool _whole = false;
    std::vector<Rect> _areas;
};

// The wall-clock throttle of a control: a request within 16 ms of the last delivered one is
// held and delivered at the end of that window, so the last state always reaches the screen.
// Times are milliseconds of a monotonic clock taken modulo 2^32.
class LUpdateThrottle {
public:
    static constexpr unsigned int kIntervalMs = 16;
    enum class Action { kNow, kLater, kAlreadyHeld };
    // What to do with a request at `nowMs`; kLater: deliver at DueAtMs().
    Action Request(unsigned int nowMs);
    unsigned int DueAtMs() const { return _lastMs + kIntervalMs; }
    // Called when the held request is delivered at `nowMs`.
    void Delivered(unsigned int nowMs);

private:
    unsigned int _lastMs = 0;
    bool _started = false;
    bool _held = false;
};
