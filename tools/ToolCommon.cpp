#include "tools/ToolCommands.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

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
    PrintError("%s must be %s%.15g to %.15g, not %.15g", range.name, range.whole ? "a whole number from " : "",
               range.low, range.high, value);
    return false;
}

}  // namespace tool
