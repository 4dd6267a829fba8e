#include "tools/ToolCommands.h"

#include "app/LAudioTagData.h"
#include "base/LFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tool {

int Tags(const std::string& path)
{
    const int fd = open(path.c_str(), O_RDONLY);
    if (fd < 0) {
        PrintError("%s: %s", path.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    close(fd);
    if (LFile::IsFolder(path.c_str())) {
        PrintError("%s: is a folder", path.c_str());
        return kExitFailed;
    }
    LAudioTagData tags;
    tags.ReadTags(path.c_str(), LAudioTagData::kReadAll);
    for (const LHashNode& tag : tags)
        std::printf("%s: %s\n", tag.GetKey(), tag.GetData());
    return kExitOk;
}

}  // namespace tool
