#include "tools/ToolCommands.h"

#include "app/DJLibrary.h"
#include "base/LFile.h"
#include "sound/LSoundTime.h"

#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {

namespace {

// Loads the user's library; a damaged file is said once, and what could be read is used.
bool _LoadLibrary(DJLibrary& library)
{
    if (library.GetFilePath().empty()) {
        PrintError("the library folder (Settings/LibraryPath) does not fit a path");
        return false;
    }
    if (!library.Load())
        PrintError("%s: damaged; what could be read is used, and the file is kept as %s%s at the next save",
                   library.GetFilePath().c_str(), library.GetFilePath().c_str(), DJLibrary::kDamagedSuffix);
    return true;
}

void _PrintEntry(const LPlayItem& item)
{
    const LHashTable& f = item.Parms();
    char time[16] = "";
    const int rate = f.GetInt("samplerate", 0);
    if (rate > 0)
        LSoundTime::FromFrames(f.GetInt("length", 0), rate)._GetTextHMMSSF(time);
    const char* bpm = f.GetParm("bpm", "0");
    std::printf("%s\t%s\t%s\t%s\t%s\t%s\n", f.GetParm("title", "Unknown"), f.GetParm("artist", "Unknown"),
                f.GetParm("album", "Unknown"), time, bpm[0] == '0' || !bpm[0] ? "-" : bpm, item.GetPath());
}

// The library keeps full paths: a relative one is taken from the working folder.
std::string _FullPath(const std::string& path)
{
    if (!path.empty() && path[0] == '/')
        return path;
    char folder[4096];
    if (!getcwd(folder, sizeof folder))
        return path;
    return std::string(folder) + "/" + path;
}

}  // namespace

int LibraryList()
{
    DJLibrary library;
    if (!_LoadLibrary(library))
        return kExitFailed;
    for (const auto& item : library.GetList().GetItems())
        _PrintEntry(*item);
    return library.IsLoadedFileDamaged() ? kExitFailed : kExitOk;
}

int LibraryAdd(const std::vector<std::string>& paths)
{
    DJLibrary library;
    if (!_LoadLibrary(library))
        return kExitFailed;
    DJAddDroppedFileData task{library, {}};
    int missing = 0;
    for (const std::string& path : paths) {
        struct stat info {};
        if (stat(path.c_str(), &info) != 0) {
            PrintError("%s: %s", path.c_str(), std::strerror(errno));
            ++missing;
        } else {
            task.paths.push_back(_FullPath(path));
        }
    }
    const size_t before = library.GetList().Count();
    // As RunLibraryTaskAsDialog, with the save's answer kept.
    const LProcessResult result = ProcessRunAsDialog(nullptr, DJLibrary::kAddTitle, task);
    const size_t added = library.GetList().Count() - before;
    if (!library.Save()) {
        PrintError("%s: cannot be written", library.GetFilePath().c_str());
        return kExitFailed;
    }
    std::printf("added %zu track%s to %s\n", added, added == 1 ? "" : "s", library.GetFilePath().c_str());
    if (result == kProcessStopped) {
        PrintError("stopped; the tracks added until then are kept");
        return kExitFailed;
    }
    return missing > 0 || library.GetRefusedCount() > 0 ? kExitFailed : kExitOk;
}

int LibraryExport(const std::string& out)
{
    if (!LPlayList::IsPlayListFile(out.c_str())) {
        PrintError("%s: the export is written as .m3u, .pls or .xml", out.c_str());
        return kExitUsage;
    }
    DJLibrary library;
    if (!_LoadLibrary(library))
        return kExitFailed;
    if (library.GetList().IsEmpty()) {
        PrintError("the library is empty; nothing exported");
        return kExitFailed;
    }
    if (library.GetList().Save(_FullPath(out).c_str(), false) < 0) {
        PrintError("%s: cannot be written: %s", out.c_str(), std::strerror(errno));
        return kExitFailed;
    }
    return kExitOk;
}

}  // namespace tool
