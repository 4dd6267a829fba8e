// The program's folders, mapped to the XDG base directories. Nothing here is cached: the
// environment is read at every call, so a changed HOME or XDG variable takes effect at once.
#include "base/LFile.h"

#include "base/LRunProgram.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <unistd.h>

namespace {

constexpr const char* kDefaultSharedData = "/usr/local/share";
constexpr const char* kDefaultSharedConfig = "/etc/xdg";

// The variable's value when it is an absolute path, else nullptr (XDG ignores relative ones).
const char* _AbsoluteVariable(const char* name)
{
    const char* value = getenv(name);
    return value && value[0] == '/' ? value : nullptr;
}

// Copies `length` bytes of text, dropping trailing "/" but for a lone root; false if cut.
bool _StoreFolder(char* dest, const char* text, size_t length)
{
    while (length > 1 && text[length - 1] == '/')
        --length;
    bool fits = length <= LFile::kMaxPathChars;
    length = std::min(length, LFile::kMaxPathChars);
    memmove(dest, text, length);
    dest[length] = 0;
    return fits;
}

// An XDG base folder: the variable's absolute value, else `belowHome` in the home.
bool _XdgHomeFolder(char* dest, const char* variable, const char* belowHome)
{
    if (const char* value = _AbsoluteVariable(variable))
        return _StoreFolder(dest, value, strlen(value));
    bool fits = LFile::GetHomeFolder(dest);
    return LFile::_MakeFilePath(dest, dest, belowHome) && fits;
}

// The first absolute entry of an XDG search list, else `fallback`.
bool _XdgFirstOfList(char* dest, const char* variable, const char* fallback)
{
    const char* list = getenv(variable);
    while (list && *list) {
        size_t length = strcspn(list, ":");
        if (list[0] == '/')
            return _StoreFolder(dest, list, length);
        list += length + (list[length] == ':' ? 1 : 0);
    }
    return _StoreFolder(dest, fallback, strlen(fallback));
}

// Makes `base` (an XDG base folder, private if it has to be made) and the program's folders
// below it; dest is "" unless the whole path fit and exists.
bool _MakeBelowBase(char* dest, bool baseFits, const char* const* below, mode_t mode)
{
    char base[LFile::kPathBytes];
    memcpy(base, dest, LFile::kPathBytes);
    bool fits = baseFits;
    for (; *below; ++below)
        fits = LFile::_MakeFilePath(dest, dest, *below) && fits;
    if (!fits || !LFile::CreateFolderTree(base, LFile::kPrivateFolderMode) ||
        !LFile::CreateFolderTree(dest, mode)) {
        dest[0] = 0;
        return false;
    }
    return true;
}

}  // namespace

bool LFile::GetHomeFolder(char* dest)
{
    if (const char* home = getenv("HOME"); home && home[0])
        return _StoreFolder(dest, home, strlen(home));
    passwd entry {};
    passwd* found = nullptr;
    char text[1024];
    if (getpwuid_r(getuid(), &entry, text, sizeof text, &found) == 0 && found && found->pw_dir)
        return _StoreFolder(dest, found->pw_dir, strlen(found->pw_dir));
    const char* user = getenv("USER") ? getenv("USER") : getenv("LOGNAME");
    return _MakeFilePath(dest, "/home", user ? user : "");
}

bool LFile::GetUserDataFolder(char* dest)
{
    return _XdgHomeFolder(dest, "XDG_DATA_HOME", ".local/share");
}

bool LFile::GetUserDataFolderApp(char* dest)
{
    const char* below[] = {kAppFolder, nullptr};
    bool fits = GetUserDataFolder(dest);
    return _MakeBelowBase(dest, fits, below, kFolderMode);
}

bool LFile::GetUserDataFolderAppSubFolder(const char* name, char* dest)
{
    const char* below[] = {kAppFolder, name, nullptr};
    bool fits = GetUserDataFolder(dest);
    return _MakeBelowBase(dest, fits, below, kFolderMode);
}

bool LFile::GetUserConfigFolder(char* dest)
{
    return _XdgHomeFolder(dest, "XDG_CONFIG_HOME", ".config");
}

bool LFile::GetUserConfigFolderApp(char* dest)
{
    const char* below[] = {kAppFolder, nullptr};
    bool fits = GetUserConfigFolder(dest);
    return _MakeBelowBase(dest, fits, below, kPrivateFolderMode);
}

bool LFile::GetSharedConfigFolderApp(char* dest)
{
    bool fits = _XdgFirstOfList(dest, "XDG_CONFIG_DIRS", kDefaultSharedConfig);
    return _MakeFilePath(dest, dest, kAppFolder) && fits;
}

bool LFile::GetSharedDataFolder(char* dest)
{
    return _XdgFirstOfList(dest, "XDG_DATA_DIRS", kDefaultSharedData);
}

bool LFile::GetSharedDataFolderApp(char* dest)
{
    bool fits = GetSharedDataFolder(dest);
    return _MakeFilePath(dest, dest, kAppFolder) && fits;
}

bool LFile::GetUserSpecialFolder(char* dest, const char* type, const char* fallback)
{
    char home[kPathBytes];
    bool fits = GetHomeFolder(home);
    const char* argv[] = {"xdg-user-dir", type, nullptr};
    char answer[kPathBytes];
    LRunProgram(argv, answer, sizeof answer);
    if (answer[0] == '/') {
        bool answerFits = _StoreFolder(dest, answer, strcspn(answer, "\r\n"));
        if (strcmp(dest, home) != 0)
            return answerFits;
    }
    return _MakeFilePath(dest, home, fallback) && fits;
}

bool LFile::GetUserMusicFolder(char* dest)
{
    return GetUserSpecialFolder(dest, "MUSIC", "Music");
}

bool LFile::GetUserDownloadFolder(char* dest)
{
    return GetUserSpecialFolder(dest, "DOWNLOAD", "Downloads");
}

bool LFile::GetApplicationsFolder(char* dest)
{
    char self[kPathBytes];
    ssize_t length = readlink("/proc/self/exe", self, kPathBytes);
    bool fits = length >= 0 && static_cast<size_t>(length) <= kMaxPathChars;
    self[fits ? length : 0] = 0;
    return _GetFolderFromPath(dest, self) && fits;
}

bool LFile::GetHelpFolder(char* dest)
{
    bool fits = GetApplicationsFolder(dest);
    return _MakeFilePath(dest, dest, "help/") && fits;
}
