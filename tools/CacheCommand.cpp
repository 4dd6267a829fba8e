// cache FILE: what a deck load does; and the settings and alerts the files layer reads here.
#include "tools/ToolCommands.h"

#include "app/LSettingsAdapters.h"
#include "files/FileConversion.h"
#include "files/LFilesSettings.h"

#include <cstdio>
#include <strings.h>

namespace tool {

void InstallFilesHooks()
{
    LInstallFilesSettings();
    LSetFilesAlert([](OpaqueWindowPtr*, const char* title, const char* text) { PrintError("%s: %s", title, text); });
}

namespace {

// Finds or makes the cached file of `path` into `cached`; false, with one line on stderr, when
// it cannot be made.
bool _Cached(const std::string& path, char* cached)
{
    if (FileConverter::ConvertWithProgressDialog(nullptr, path.c_str(), cached))
        return true;
    if (cached[0])
        PrintError("Can not convert file: %s", path.c_str());
    else
        PrintError("%s: the cached file's path does not fit", path.c_str());
    return false;
}

}  // namespace

bool DeckFile(const std::string& path, std::string& deckFile)
{
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path.c_str());
    if (strcasecmp(extension, ".wav") == 0) {
        deckFile = path;  // a deck reads WAVE files at any rate itself
        return true;
    }
    char cached[LFile::kPathBytes];
    if (!_Cached(path, cached))
        return false;
    deckFile = cached;
    return true;
}

int Cache(const std::string& path)
{
    char cached[LFile::kPathBytes];
    if (!_Cached(path, cached))
        return kExitFailed;
    std::printf("%s\n", cached);
    return kExitOk;
}

}  // namespace tool
