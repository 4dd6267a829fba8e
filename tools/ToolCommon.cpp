#include "tools/ToolCommands.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace tool {

void PrintError(const char* format, ...)
{
    std::fputs("orvane-tool: ", stderr);
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
}

bool CheckRange(const OptionRange& range, double value)
{
    // NaN fails every comparison, so the test is written to let only good values through.
    const bool inside = std::isfinite(value) && value >= range.low && value <= range.high;
    if (inside && (!range.whole || std::trunc(value) == value))
        return true;
    PrintError("%s (%s) must be %s%.15g to %.15g, not %.15g", range.name, range.meaning,
               range.whole ? "a whole number from " : "", range.low, range.high, value);
    return false;
}

std::string DescribeRanges(std::span<const OptionRange> ranges)
{
    std::string text;
    for (const OptionRange& range : ranges) {
        const char* value = std::strchr(range.name, ' ');  // "--reverb MIX" -> "MIX"
        char bounds[64];
        std::snprintf(bounds, sizeof(bounds), ", %.15g to %.15g", range.low, range.high);
        text += (text.empty() ? "" : "; ") + std::string(value ? value + 1 : "") + (value ? " " : "") +
                range.meaning + bounds;
    }
    return text;
}

}  // namespace tool
