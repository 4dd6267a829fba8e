#include "engine/LInstaller.h"

#include "base/LFile.h"
#include "engine/AppEntry.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <pwd.h>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {


// The user's data folder for the program, without creating it; "" for an unknown user or a
// folder whose path does not fit. For another user than the one running, XDG_DATA_HOME is not
// theirs, so their home's default is taken.
std::string _UserDataFolderApp(const char* user)
{
    const passwd* entry = getpwnam(user);
    if (!entry || !entry->pw_dir)
        return {};
    char folder[LFile::kPathBytes];
    bool fits = geteuid() == entry->pw_uid ? LFile::GetUserDataFolder(folder)
                                           : LFile::_MakeFilePath(folder, entry->pw_dir, ".local/share");
    fits = LFile::_MakeFilePath(folder, folder, LFile::kAppFolder) && fits;
    return fits ? folder : std::string();
}

// The folder "install" beside the running program.
std::string _InstallFolder()
{
    std::error_code error;
    fs::path self = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string() : (self.parent_path() / "install").string();
}

// Others may read what is installed and enter its folders, never write it: a folder others
// can write lets them replace the programs the user runs.
bool _ShareForReading(const fs::path& path, bool folder)
{
    std::error_code error;
    const auto read = fs::perms::group_read | fs::perms::others_read;
    const auto enter = fs::perms::group_exec | fs::perms::others_exec;
    const auto write = fs::perms::group_write | fs::perms::others_write;
    fs::permissions(path, write, fs::perm_options::remove | fs::perm_options::nofollow, error);
    if (!error)
        fs::permissions(path, folder ? read | enter : read, fs::perm_options::add | fs::perm_options::nofollow, error);
    return !error;
}

int _ShareTreeForReading(const fs::path& root)
{
    int failures = _ShareForReading(root, true) ? 0 : 1;
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(root, error); !error && it != fs::end(it);
         it.increment(error)) {
        if (it->is_symlink())
            continue;
        failures += _ShareForReading(it->path(), it->is_directory()) ? 0 : 1;
    }
    return failures;
}

}  // namespace

int LInstaller::Finalize(const char* from, const char* to)
{
    if (!LFile::CreateFolderTree(to)) {
        std::fprintf(stderr, "orvane: cannot create %s\n", to);
        return 1;
    }
    std::error_code error;
    int failures = 0;
    for (auto it = fs::directory_iterator(from, error); !error && it != fs::end(it); it.increment(error)) {
        std::error_code one;
        fs::copy(it->path(), fs::path(to) / it->path().filename(),
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing, one);
        if (one) {
            std::fprintf(stderr, "orvane: could not install %s: %s\n", it->path().c_str(), one.message().c_str());
            ++failures;
        }
    }
    if (error && error != std::errc::no_such_file_or_directory) {
        std::fprintf(stderr, "orvane: cannot read %s: %s\n", from, error.message().c_str());
        ++failures;
    }
    return failures + _ShareTreeForReading(to);
}

bool InstallerMain()
{
    if (gargc <= 3 || std::strcmp(gargv[2], "-username") != 0)
        return true;
    // A cut name could be another user's.
    const char* user = gargv[3];
    std::string target = LFile::_FitsPath(user) ? _UserDataFolderApp(user) : std::string();
    if (target.empty()) {
        std::fprintf(stderr, "orvane: no such user, or no data folder for them: %s\n", user);
        return true;
    }
    LInstaller::Finalize(_InstallFolder().c_str(), target.c_str());
    return true;
}
