#pragma once

#include <cstddef>
#include <dirent.h>
#include <sys/types.h>

// Paths are zero-ended byte strings of at most 259 characters held in buffers of kPathBytes;
// every function here that writes a path cuts what doesn't fit and returns false when it cut.
// A cut path names another file, so nothing here deletes, renames, writes, creates or recurses
// on a path that did not fit: such operations fail. On reading, "/" and "\" both separate
// folders; "/" is written.
class LFile {
public:
    static constexpr size_t kPathBytes = 260;  // bytes of a path buffer, terminator included
    static constexpr size_t kMaxPathChars = kPathBytes - 1;

    // Modes of what the program creates for the user. The process runs with umask 0, so these
    // are the modes as created: nothing is ever writable by others.
    static constexpr mode_t kFolderMode = 0755;
    static constexpr mode_t kPrivateFolderMode = 0700;  // settings, and XDG base folders
    static constexpr mode_t kFileMode = 0644;
    static constexpr mode_t kPrivateFileMode = 0600;    // settings, crash reports
    static constexpr mode_t kProgramFileMode = 0755;    // copies of executable files

    // The program's folder inside each XDG base folder.
    static constexpr const char* kAppFolder = "Orvane";
    // Subfolders of the user data folder.
    static constexpr const char* kCacheFolder = "Cache";
    static constexpr const char* kLogsFolder = "Logs";
    static constexpr const char* kRecordingFolder = "Recording";
    static constexpr const char* kTempFolder = "Temp";
    static constexpr const char* kComponentsFolder = "Components";

    // Path text. Every dest is a kPathBytes buffer and may be one of the inputs. Each returns
    // true when the whole result fit, false when dest holds a cut text.

    // True if `path` fits a path buffer as it is.
    static bool _FitsPath(const char* path);
    // folder + "/" + file; no "/" is added when folder ends in a separator or file begins with
    // one. Only the first 258 characters of folder are used; an empty folder gives file.
    static bool _MakeFilePath(char* dest, const char* folder, const char* file);
    static bool _MakeFilePath(char* dest, const char* folder, const char* file, const char* extension);
    // A folder read from disk joined with the name of one of its entries. Only "/" separates
    // here: on Linux "\" is an ordinary character of a name, and "a" + "\b" must not become
    // the sibling "a\b".
    static bool _MakeEntryPath(char* dest, const char* folder, const char* name);
    // Up to the last separator, without it; "/" for an entry of the root; "" with no separator.
    static bool _GetFolderFromPath(char* dest, const char* path);
    // After the last separator (the whole path with no separator).
    static bool _GetFileFromPath(char* dest, const char* path);
    // The file without its extension; a name whose only "." is its first character is kept whole.
    static bool _GetFileNameFromPath(char* dest, const char* path);
    // From the last "." of the file on, with the "."; "" if there is none or it begins the path.
    static bool _GetFileExtensionFromPath(char* dest, const char* path);
    // Replaces the extension of path (as above) with `extension` (given with its "."), or
    // appends it when there is none.
    static bool _ApplyNewFileExtension(char* path, const char* extension);
    // Puts "\" before each of " \ $ ` so that the path can stand inside double quotes in a
    // shell command line. An escape is never split by the cut.
    static bool EscapeFilePath(char* dest, const char* path);
    // Makes a text usable as one file name: separators, ":" and control characters become "_".
    static bool PreprocessName(char* dest, const char* name);

    // The program's folders: the one implementation of the XDG base folders. They honour HOME
    // and the XDG variables, read at every call (an XDG variable counts only when it is an
    // absolute path). The home is $HOME, else the account's home, else /home/$USER.
    // Those that only name a folder return whether it fit. Those that create return whether
    // the folder exists afterwards; a folder that does not fit is neither created nor
    // returned (dest is then ""). XDG base folders they make get kPrivateFolderMode, the
    // program's own folders kFolderMode.

    static bool GetHomeFolder(char* dest);
    // $XDG_DATA_HOME, or ~/.local/share.
    static bool GetUserDataFolder(char* dest);
    // The user data folder with "Orvane"; created if missing.
    static bool GetUserDataFolderApp(char* dest);
    static bool GetUserDataFolderAppSubFolder(const char* name, char* dest);
    // $XDG_CONFIG_HOME, or ~/.config; with "Orvane", created if missing (kPrivateFolderMode
    // for every level, as it holds the settings).
    static bool GetUserConfigFolder(char* dest);
    static bool GetUserConfigFolderApp(char* dest);
    // The first absolute entry of $XDG_CONFIG_DIRS, or /etc/xdg; with "Orvane". Never created.
    static bool GetSharedConfigFolderApp(char* dest);
    // The first absolute entry of $XDG_DATA_DIRS, or /usr/local/share. Never created.
    static bool GetSharedDataFolder(char* dest);
    static bool GetSharedDataFolderApp(char* dest);
    // xdg-user-dir's answer for `type` ("MUSIC", "DOWNLOAD"); an answer that is empty, relative
    // or the home itself means unset, and then the home with `fallback` is used.
    static bool GetUserSpecialFolder(char* dest, const char* type, const char* fallback);
    static bool GetUserMusicFolder(char* dest);
    static bool GetUserDownloadFolder(char* dest);
    // The folder of the running program; its help pages are in "help/" there.
    static bool GetApplicationsFolder(char* dest);
    static bool GetHelpFolder(char* dest);

    // Files and folders.

    static bool Exists(const char* path);
    static bool IsFolder(const char* path);
    // A folder is copied whole by "cp -R"; a file in 8192-byte blocks through LSafeWrite, so a
    // copy that fails leaves an earlier `to` as it was. The copy gets kFileMode, or
    // kProgramFileMode when the owner may execute the original.
    static bool CopyFile(const char* from, const char* to);
    // Copies every file (not folders, not hidden entries) of `from` into `to`, made if missing.
    static bool CopyFolderFiles(const char* from, const char* to);
    // Deletes everything below `path` (links are deleted, never followed), then the folder.
    // Entries whose path does not fit are left, and the result is false.
    static bool DeleteFolderTree(const char* path);
    // Creates every missing level of `path` (only "/" separates) with `mode`; true if the
    // folder exists after.
    static bool CreateFolderTree(const char* path, mode_t mode = kFolderMode);
    // Everything for the owner, reading and entering for others (never writing).
    static bool SetFolderSecurityAllAccess(const char* path);
    // True if another holder has the file under an exclusive lock, so that a shared lock
    // would block.
    static bool TestFileShareWriteBlocked(const char* path);

    // Entries of a folder whose names match a pattern (fnmatch, ignoring case); names that
    // begin with "." are skipped. Use: while (it.Next()) it.GetName() ...
    class FolderIterator {
    public:
        // A folder whose path does not fit has no entries.
        FolderIterator(const char* folder, const char* pattern = "*");
        virtual ~FolderIterator();
        FolderIterator(const FolderIterator&) = delete;
        FolderIterator& operator=(const FolderIterator&) = delete;

        // Moves to the next accepted entry; at the end closes the folder and returns false.
        bool Next();
        const char* GetName() const { return _name; }
        // The folder joined with the entry's name; false (and not to be acted on) if cut.
        bool GetPath(char* dest) const { return _MakeEntryPath(dest, _folder, _name); }

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
