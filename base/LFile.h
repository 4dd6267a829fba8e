#pragma once

#include <cstddef>
#include <dirent.h>

// Paths are zero-ended byte strings of at most 259 characters held in buffers of kPathBytes;
// every function here that writes a path cuts what doesn't fit. On reading, "/" and "\" both
// separate folders; "/" is written.
class LFile {
public:
    static constexpr size_t kPathBytes = 260;  // bytes of a path buffer, terminator included
    static constexpr size_t kMaxPathChars = kPathBytes - 1;

    // Subfolders of the user data folder.
    static constexpr const char* kCacheFolder = "Cache";
    static constexpr const char* kLogsFolder = "Logs";
    static constexpr const char* kRecordingFolder = "Recording";
    static constexpr const char* kTempFolder = "Temp";
    static constexpr const char* kComponentsFolder = "Components";

    // Path text. Every dest is a kPathBytes buffer and may be one of the inputs.

    // folder + "/" + file; no "/" is added when folder ends in a separator or file begins with
    // one. Only the first 258 characters of folder are used; an empty folder gives file.
    static void _MakeFilePath(char* dest, const char* folder, const char* file);
    static void _MakeFilePath(char* dest, const char* folder, const char* file, const char* extension);
    // Up to the last separator, without it; "/" for an entry of the root; "" with no separator.
    static void _GetFolderFromPath(char* dest, const char* path);
    // After the last separator (the whole path with no separator).
    static void _GetFileFromPath(char* dest, const char* path);
    // The file without its extension; a name whose only "." is its first character is kept whole.
    static void _GetFileNameFromPath(char* dest, const char* path);
    // From the last "." of the file on, with the "."; "" if there is none or it begins the path.
    static void _GetFileExtensionFromPath(char* dest, const char* path);
    // Replaces the extension of path (as above) with `extension` (given with its "."), or
    // appends it when there is none.
    static void _ApplyNewFileExtension(char* path, const char* extension);
    // Puts "\" before each of " \ $ ` so that the path can stand inside double quotes in a
    // shell command line. An escape is never split by the cut.
    static void EscapeFilePath(char* dest, const char* path);
    // Makes a text usable as one file name: separators, ":" and control characters become "_".
    static void PreprocessName(char* dest, const char* name);

    // The program's folders. They honour HOME and the XDG variables, read at every call.
    // The functions that create return whether the folder exists afterwards.

    static void GetHomeFolder(char* dest);
    // $XDG_DATA_HOME, or ~/.local/share.
    static void GetUserDataFolder(char* dest);
    // The user data folder with "Orvane"; created if missing.
    static bool GetUserDataFolderApp(char* dest);
    static bool GetUserDataFolderAppSubFolder(const char* name, char* dest);
    // The first absolute entry of $XDG_DATA_DIRS, or /usr/local/share. Never created.
    static void GetSharedDataFolder(char* dest);
    static void GetSharedDataFolderApp(char* dest);
    // xdg-user-dir's answer for `type` ("MUSIC", "DOWNLOAD"); an answer that is empty, relative
    // or the home itself means unset, and then the home with `fallback` is used.
    static void GetUserSpecialFolder(char* dest, const char* type, const char* fallback);
    static void GetUserMusicFolder(char* dest);
    static void GetUserDownloadFolder(char* dest);
    // The folder of the running program; its help pages are in "help/" there.
    static void GetApplicationsFolder(char* dest);
    static void GetHelpFolder(char* dest);

    // Files and folders.

    static bool Exists(const char* path);
    static bool IsFolder(const char* path);
    // A folder is copied whole by "cp -R"; a file in 8192-byte blocks. The copy gets mode 0777.
    // A file copy that fails leaves no partial destination behind.
    static bool CopyFile(const char* from, const char* to);
    // Copies every file (not folders, not hidden entries) of `from` into `to`, made if missing.
    static bool CopyFolderFiles(const char* from, const char* to);
    // Deletes everything below `path` (links are deleted, never followed), then the folder.
    static bool DeleteFolderTree(const char* path);
    // Creates every missing level of `path` with mode 0777; true if the folder exists after.
    static bool CreateFolderTree(const char* path);
    static bool SetFolderSecurityAllAccess(const char* path);
    // True if another holder has the file under an exclusive lock, so that a shared lock
    // would block.
    static bool TestFileShareWriteBlocked(const char* path);

    // Entries of a folder whose names match a pattern (fnmatch, ignoring case); names that
    // begin with "." are skipped. Use: while (it.Next()) it.GetName() ...
    class FolderIterator {
    public:
        FolderIterator(const char* folder, const char* pattern = "*");
        virtual ~FolderIterator();
        FolderIterator(const FolderIterator&) = delete;
        FolderIterator& operator=(const FolderIterator&) = delete;

        // Moves to the next accepted entry; at the end closes the folder and returns false.
        bool Next();
        const char* GetName() const { return _name; }
        // The folder joined with the entry's name.
        void GetPath(char* dest) const { _MakeFilePath(dest, _folder, _name); }

    protected:
        virtual bool _Matches(const char* name);

    private:
        DIR* _dir = nullptr;
        char _name[kPathBytes] = "";
        char _folder[kPathBytes] = "";
        char _pattern[kPathBytes] = "";
    };

    // Every entry, hidden ones included ("." and ".." are never entries).
    class FolderIteratorAllFiles : public FolderIterator {
    public:
        using FolderIterator::FolderIterator;

    protected:
        bool _Matches(const char* name) override;
    };
};
