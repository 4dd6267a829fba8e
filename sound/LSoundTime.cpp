#include "sound/LSoundTime.h"

#include <cstdio>
#include <cstdlib>

LSoundTime LSoundTime::FromFrames(int frames, int rate)
{
    if (rate < 1)
        return LSoundTime(0);
    // The remainder term in 64 bits keeps rates beyond 2,147,483 Hz defined.
    return LSoundTime((frames / rate) * 1000 + static_cast<int>((frames % rate) * 1000LL / rate));
}

int LSoundTime::ToFrames(int rate) const
{
    return rate * (_ms / 1000) + (rate * (_ms % 1000)) / 1000;
}

void LSoundTime::_GetTextHMMSSF(char* out) const
{
    // Work on the magnitude in 64 bits so that the most negative time prints correctly.
    long long ms = _ms;
    const char* sign = ms < 0 ? "-" : "";
    ms = std::llabs(ms);
    const long long seconds = ms / 1000;
    std::snprintf(out, 16, "%s%d:%.2d:%.2d.%.1d", sign, static_cast<int>(seconds / 3600),
                  static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60),
                  static_cast<int>(ms % 1000 / 100));
}

bool LSoundTime::IsValid(char const* text, bool allowSign)
{
    int colons = 0;
    int points = 0;
    for (int i = 0; text[i] != '\0'; ++i) {
        const char c = text[i];
        if (c >= '0' && c <= '9')
            continue;
        if (c == '-' && allowSign && i == 0)
            continue;
        if (c == ':') {
            if (++colons > 3 || points > 0)
                return false;
            continue;
        }
        if (c == '.' && ++points <= 1)
            continue;
        return false;
    }
    return true;
}
