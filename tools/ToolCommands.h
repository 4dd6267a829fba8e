#pragma once

// The subcommands of orvane-tool. Each takes plain arguments (parsed in OrvaneTool.cpp, the
// only file that includes the argument parser) and returns the process exit code:
// 0 success, 1 failed operation, 2 bad usage.

#include <string>

namespace tool {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

// Prints one error line to stderr as "orvane-tool: <text>".
void PrintError(const char* format, ...) __attribute__((format(printf, 1, 2)));

// settings get SECTION KEY / settings set SECTION KEY VALUE: prints the value as stored.
int SettingsGet(const std::string& section, const std::string& key);
int SettingsSet(const std::string& section, const std::string& key, const std::string& value);

}  // namespace tool
