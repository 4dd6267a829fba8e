// formats: the extensions the program opens and the outside decoders it found.
#include "tools/ToolCommands.h"

#include "base/LFile.h"
#include "files/LCmdLineDecode.h"
#include "files/LGenSource.h"

#include <cstdio>
#include <cstring>

namespace tool {

namespace {

const char* const kNamedOnly[] = {".snd", ".moh", ".mp4", ".act", ".rec", ".rcd", ".shn", ".ape", ".spx"};

}  // namespace

int Formats()
{
    for (int i = 0; i < kGenSourceSupportedCount; ++i)
        std::printf("%s\n", kGenSourceSupportedExtensions[i]);
    for (const char* extension : kNamedOnly)
        if (LGenSourceCanOpen(extension))
            std::printf("%s\t(when named; folder scans skip it)\n", extension);
    // Each component once, in the order of the decoder table.
    for (int i = 0; i < LCommandLineDecodeCount; ++i) {
        const char* component = LCommandLineDecodeList[i].component;
        bool seen = false;
        for (int j = 0; j < i; ++j)
            seen = seen || std::strcmp(LCommandLineDecodeList[j].component, component) == 0;
        if (seen)
            continue;
        char path[LFile::kPathBytes];
        if (LIsComponentInstalled(component, path))
            std::printf("decoder %s: %s\n", component, path);
        else
            std::printf("decoder %s: not found (FFmpeg decodes its files)\n", component);
    }
    return kExitOk;
}

}  // namespace tool
