#pragma once

// A position in time: signed 32-bit milliseconds, passed by value. Frame conversions are done in
// two steps (whole seconds, then the remainder) so that no product overflows at long positions.
class LSoundTime {
public:
    LSoundTime() = default;
    explicit LSoundTime(int milliseconds) : _ms(milliseconds) {}

    static LSoundTime FromFrames(int frames, int rate);
    int ToFrames(int rate) const;
    int GetMilliseconds() const { return _ms; }

    // "H:MM:SS.T", with a leading '-' for negative times. `out` holds at least 16 bytes.
    void _GetTextHMMSSF(char* out) const;

    // Whether `text` can be typed as a time: digits, up to 3 colons, up to 1 point and no colon
    // behind the point; `allowSign` also accepts a '-' as first character. Empty is valid.
    static bool IsValid(char const* text, bool allowSign);

    friend bool operator==(LSoundTime a, LSoundTime b) { return a._ms == b._ms; }

private:
    int _ms = 0;
};
