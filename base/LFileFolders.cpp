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

constexpr const char* kAppFolder = "Orvane";
constexpr const char* kDefaultSharedData = "/usr/local/share";

// The variable's value when it is an absolute path, else nullptr (XDG ignores relative ones).
const char* _AbsoluteVariable(const char* name)
{
    const char* value = getenv(name);
    return value && value[0] == '/' ? value : nullptr;
}

// Copies `length` bytes of text, dropping trailing "/" but for a lone root.
void _StoreFolder(char* dest, const char* text, size_t length)
{
    while (length > 1 && text[length - 1] == '/')
        --length;
    length = std::min(length, LFile::kMaxPathChars);
    memmove(dest, text, length);
    dest[length] = 0;
}

}  // namespace

void LFile::GetHomeFolder(char* dest)
{
    if (const char* home = getenv("HOME"); home && home[0]) {
        _StoreFolder(dest, home, strlen(home));
        return;
    }
    passwd entry {};
    passwd* found = nullptr;
    char text[1024];
    if (getpwuid_r(getuid(), &entry, text, sizeof text, &found) == 0 && found && found->pw_dir) {
        _StoreFolder(dest, found->pw_dir, strlen(found->pw_dir));
        return;
    }
    const char* user = getenv("USER") ? getenv("USER") : getenv("LOGNAME");
    _MakeFilePath(dest, "/home", user ? user : "");
}

void LFile::GetUserDataFolder(char* dest)
{
    if (const char* data = _AbsoluteVariable("XDG_DATA_HOME")) {
        _StoreFolder(dest, data, strlen(data));
        return;
    }
    GetHomeFolder(dest);
    _MakeFilePath(dest, dest, ".local/share");
}

bool LFile::GetUserDataFolderApp(char* dest)
{
    GetUserDataFolder(dest);
    _MakeFilePath(dest, dest, kAppFolder);
    return CreateFolderTree(dest);
}

bool LFile::GetUserDataFolderAppSubFolder(const char* name, char* dest)
{
    GetUserDataFolder(dest);
    _MakeFilePath(dest, dest, kAppFolder);
    _MakeFilePath(dest, dest, name);
    return CreateFolderTree(dest);
}

void LFile::GetSharedDataFolder(char* dest)
{
    const char* list = getenv("XDG_DATA_DIRS");
    while (list && *list) {
        size_t length = strcspn(list, ":");
        if (list[0] == '/') {
            _StoreFolder(dest, list, length);
            return;
        }
        list += length + (list[length] == ':' ? 1 : 0);
    }
    _StoreFolder(dest, kDefaultSharedData, strlen(kDefaultSharedData));
}

void LFile::GetSharedDataFolderApp(char* dest)
{
    GetSharedDataFolder(dest);
    _MakeFilePath(dest, dest, kAppFolder);
}

void LFile::GetUserSpecialFolder(char* dest, const char* type, const char* fallback)
{
    char home[kPathBytes];
    GetHomeFolder(home);
    const char* argv[] = {"xdg-user-dir", type, nullptr};
    char answer[kPathBytes];
    LRunProgram(argv, answer, sizeof answer);
    if (answer[0] == '/') {
        _StoreFolder(dest, answer, strcspn(answer, "\r\n"));
        if (strcmp(dest, home) != 0)
            return;
    }
    _MakeFilePath(dest, home, fallback);
}

void LFile::GetUserMusicFolder(char* dest)
{
    GetUserSpecialFolder(dest, "MUSIC", "Music");
}

void LFile::GetUserDownloadFolder(char* dest)
{
    GetUserSpecialFolder(dest, "DOWNLOAD", "Downloads");
}

void LFile::GetApplicationsFolder(char* dest)
{
    char self[kPathBytes];
    ssize_t length = readlink("/proc/self/exe", self, kMaxPathChars);
    self[length > 0 ? length : 0] = 0;
    _GetFolderFromPath(dest, self);
}

void LFile::GetHelpFolder(char* dest)
{
    GetApplicationsFolder(dest);
    _MakeFilePath(dest, dest, "help/");
}
