#include "tools/ToolCommands.h"

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

}  // namespace tool
