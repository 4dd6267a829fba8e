#pragma once

// Runs the built orvane-tool for the command tests and reads what it wrote.

#include "sound/LWaveFile.h"
#include "support/TestHome.h"

#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

struct ToolRun {
    int exitCode;
    std::string out;
    std::string err;
};

// `scratch` (a TempFolder or TestHome) takes the captured output; arguments are shell text.
template <typename Folder>
ToolRun RunTool(const Folder& scratch, const std::string& arguments)
{
    const std::string out = scratch / "stdout.txt";
    const std::string err = scratch / "stderr.txt";
    const int status =
        std::system((std::string(ORVANE_TOOL_PATH) + " " + arguments + " >" + out + " 2>" + err).c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadWholeFile(out), ReadWholeFile(err)};
}

inline std::vector<int> ReadAllOf(LSoundSource source)
{
    std::vector<int> values(static_cast<size_t>(source->GetEndSample()) * source->GetChannels());
    source->Read(values.data(), source->GetEndSample());
    return values;
}

inline std::vector<int> ReadWave(const std::string& path)
{
    return ReadAllOf(LWaveFile::OpenSource(path.c_str()));
}
