#include "files/LComponentInstall.h"

#include "base/LFile.h"
#include "base/LRunProgram.h"
#include "base/LSafeWrite.h"
#include "files/LCmdLineDecode.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr size_t kCopyBytes = 65536;
constexpr const char* kArchiveProgram = "unzip";
// A password no archive of ours has: an encrypted archive then fails instead of asking for one
// on the terminal.
constexpr const char* kNoPassword = "none";
constexpr const char* kBundledBesideProgram = "components";
constexpr const char* kBundledUnderPrefix = "../share/Orvane/components";
constexpr const char* kMacResourceFolder = "__MACOSX";

bool _IsZipName(const char* path)
{
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path);
    return strcasecmp(extension, ".zip") == 0;
}

bool _IsRegularFile(const char* path)
{
    struct stat info {};
    return stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

// Leaves only folders and regular files, with the program's modes: a link or device from an
// archive could reach outside the component folder. Files at the archive's top are the
// components, and run; below, only those the archive marks so.
bool _TidyExtracted(const fs::path& root)
{
    std::error_code error;
    fs::remove_all(root / kMacResourceFolder, error);
    std::vector<fs::path> strays;
    fs::recursive_directory_iterator walk(root, error), end;
    if (error)
        return false;
    for (; walk != end; walk.increment(error)) {
        if (error)
            return false;
        const fs::file_status status = walk->symlink_status(error);
        const bool isProgram = (status.permissions() & fs::perms::owner_exec) != fs::perms::none ||
                               walk->path().parent_path() == root;
        const mode_t kept = status.type() == fs::file_type::directory ? LFile::kFolderMode
                            : isProgram                                ? LFile::kProgramFileMode
                                                                       : LFile::kFileMode;
        if (status.type() == fs::file_type::directory || status.type() == fs::file_type::regular)
            chmod(walk->path().c_str(), kept);
        else
            strays.push_back(walk->path());
    }
    for (const fs::path& stray : strays)
        fs::remove(stray, error);
    return true;
}

// Moves every top entry of `from` into `to`, each replacing what had its name.
bool _MoveEntries(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator walk(from, error), end; !error && walk != end; walk.increment(error))
        entries.push_back(*walk);
    if (error)
        return false;
    bool moved = true;
    for (const fs::directory_entry& entry : entries) {
        const fs::path target = to / entry.path().filename();
        const fs::file_status old = fs::symlink_status(target, error);
        if (old.type() == fs::file_type::directory && entry.is_directory(error))
            fs::remove_all(target, error);  // rename() cannot replace a folder that has entries
        if (rename(entry.path().c_str(), target.c_str()) != 0)
            moved = false;
    }
    return moved;
}

// A fresh hidden folder inside `folder`; "" when none can be made.
std::string _MakeHiddenFolder(const char* folder, const char* stem)
{
    std::string path = std::string(folder) + "/." + stem + "-XXXXXX";
    if (!mkdtemp(path.data()))
        return "";
    chmod(path.c_str(), LFile::kFolderMode);
    return path;
}

}  // namespace

const char* LComponentInstallResultText(LComponentInstallResult result)
{
    switch (result) {
    case LComponentInstallResult::kInstalled:
        return "The component was installed.";
    case LComponentInstallResult::kMissingFile:
        return "The component file to install does not exist.";
    case LComponentInstallResult::kNoArchiveProgram:
        return "The component is a zip archive, and the program \"unzip\" that extracts it is not installed.";
    case LComponentInstallResult::kBadArchive:
        return "The component's zip archive could not be extracted: it is damaged or not a zip archive.";
    case LComponentInstallResult::kNotInArchive:
        return "The zip archive does not hold the component.";
    case LComponentInstallResult::kCannotWrite:
        return "The component folder cannot be written.";
    }
    return "";
}

bool LZipFileExtractAllFiles(const char* zipPath, const char* folder, bool* noProgram)
{
    char program[LFile::kPathBytes];
    const bool found = LFindProgramOnPath(kArchiveProgram, program);
    if (noProgram)
        *noProgram = !found;
    if (!found)
        return false;
    // unzip reads wildcards in the archive's name, so it is given a link of a plain name.
    const std::string linkFolder = _MakeHiddenFolder(folder, "archive");
    if (linkFolder.empty())
        return false;
    const std::string link = linkFolder + "/archive.zip";
    std::error_code error;
    const std::string absolute = zipPath[0] == '/' ? std::string(zipPath) : fs::absolute(zipPath, error).string();
    bool extracted = false;
    if (!error && symlink(absolute.c_str(), link.c_str()) == 0) {
        const char* argv[] = {program, "-qq", "-o", "-P", kNoPassword, link.c_str(), "-d", folder, nullptr};
        extracted = LRunProgram(argv) == 0;
    }
    unlink(link.c_str());
    rmdir(linkFolder.c_str());
    return extracted;
}

LComponentInstallResult LInstallUnzippedComponent(const char* name, const char* path)
{
    if (!_IsRegularFile(path))
        return LComponentInstallResult::kMissingFile;
    char folder[LFile::kPathBytes], fileName[LFile::kPathBytes], target[LFile::kPathBytes];
    if (!LGetComponentFolder(folder) || !LGetComponentFileName(name, fileName) ||
        !LFile::_MakeFilePath(target, folder, fileName))
        return LComponentInstallResult::kCannotWrite;
    const int in = open(path, O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return LComponentInstallResult::kMissingFile;
    LSafeWrite out(target, LFile::kProgramFileMode);
    bool copied = out.Begin();
    std::vector<char> buffer(kCopyBytes);
    for (ssize_t got; copied && (got = read(in, buffer.data(), buffer.size())) != 0;) {
        if (got < 0 && errno == EINTR)
            continue;
        copied = got > 0 && out.Write(buffer.data(), size_t(got));
    }
    close(in);
    if (!copied || !out.Commit())
        return LComponentInstallResult::kCannotWrite;
    // A replaced component passes on no more than its own permissions: it must run.
    chmod(target, LFile::kProgramFileMode);
    return LComponentInstallResult::kInstalled;
}

LComponentInstallResult LInstallZipComponentOptionallyDeleteZipFile(const char* name, const char* zipPath,
                                                                    bool deleteZip)
{
    if (!zipPath || !_IsRegularFile(zipPath))
        return LComponentInstallResult::kMissingFile;
    char folder[LFile::kPathBytes], fileName[LFile::kPathBytes] = "";
    if (!LGetComponentFolder(folder) || (name && *name && !LGetComponentFileName(name, fileName)))
        return LComponentInstallResult::kCannotWrite;
    const std::string staging = _MakeHiddenFolder(folder, "install");
    if (staging.empty())
        return LComponentInstallResult::kCannotWrite;
    bool noProgram = false;
    LComponentInstallResult result = LComponentInstallResult::kInstalled;
    if (!LZipFileExtractAllFiles(zipPath, staging.c_str(), &noProgram))
        result = noProgram ? LComponentInstallResult::kNoArchiveProgram : LComponentInstallResult::kBadArchive;
    else if (!_TidyExtracted(staging))
        result = LComponentInstallResult::kCannotWrite;
    else if (fileName[0] && !_IsRegularFile((staging + "/" + fileName).c_str()))
        result = LComponentInstallResult::kNotInArchive;
    else if (!_MoveEntries(staging, folder))
        result = LComponentInstallResult::kCannotWrite;
    std::error_code error;
    fs::remove_all(staging, error);
    if (result == LComponentInstallResult::kInstalled && deleteZip)
        unlink(zipPath);
    return result;
}

LComponentInstallResult LInstallNormalComponent(const char* name, const char* path)
{
    if (path && _IsZipName(path))
        return LInstallZipComponentOptionallyDeleteZipFile(name, path, true);
    return LInstallUnzippedComponent(name, path ? path : "");
}

bool LGetBundledComponentsFolder(char* folder)
{
    char program[LFile::kPathBytes];
    if (!LFile::GetApplicationsFolder(program))
        return false;
    for (const char* below : {kBundledBesideProgram, kBundledUnderPrefix})
        if (LFile::_MakeFilePath(folder, program, below) && LFile::IsFolder(folder))
            return true;
    folder[0] = '\0';
    return false;
}

int LInstallBundledComponentsFromFolder(const char* folder)
{
    int installed = 0;
    LFile::FolderIterator zips(folder, "*.zip");
    while (zips.Next()) {
        char path[LFile::kPathBytes];
        if (zips.GetPath(path) &&
            LInstallZipComponentOptionallyDeleteZipFile("", path, false) == LComponentInstallResult::kInstalled)
            ++installed;
    }
    return installed;
}

int LInstallBundledComponentsFromResourcesFolder()
{
    char folder[LFile::kPathBytes];
    return LGetBundledComponentsFolder(folder) ? LInstallBundledComponentsFromFolder(folder) : 0;
}
