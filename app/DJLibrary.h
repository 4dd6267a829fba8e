#pragma once

#include "app/LPlayList.h"
#include "base/LProcessInterface.h"
#include "base/LProgressDialog.h"

#include <string>
#include <unordered_map>
#include <vector>

class LTrackOpener;

// The user's track library: one LPlayList kept in library.xml in the folder of the setting
// Settings/LibraryPath (default: the user data folder). The main window owns one and shows it;
// the add tasks below change it. Not thread-safe: it belongs to the interface thread.
//
// The file is replaced whole on each save. A file that could not be read whole at load (corrupt,
// truncated, unreadable) is renamed to library.xml.bad before the next save replaces it, so
// what could not be read is never silently lost.
class DJLibrary {
public:
    static constexpr const char* kFileName = "library.xml";
    static constexpr const char* kDamagedSuffix = ".bad";
    static constexpr const char* kAddTitle = "Adding Files..";

    // `opener` gives lengths and rates; null: the one in use (LGetTrackOpener).
    explicit DJLibrary(const LTrackOpener* opener = nullptr);
    DJLibrary(const DJLibrary&) = delete;
    DJLibrary& operator=(const DJLibrary&) = delete;

    // library.xml in the LibraryPath folder; "" when that does not fit a path.
    static std::string GetLibraryFilePath();

    // Replaces the list by the file's entries; no file is an empty library. False when the
    // file was there but could not be read whole (what could be read is loaded).
    bool Load();
    bool LoadFrom(const std::string& file);
    // Creates the folder if needed and replaces the file whole; false if it could not.
    bool Save();
    bool SaveTo(const std::string& file);
    // The file the last Load read, or the default one.
    const std::string& GetFilePath() const { return _file; }
    // True when the loaded file was damaged and waits to be kept aside by the next save.
    bool IsLoadedFileDamaged() const { return _damaged; }

    LPlayList& GetList() { return _list; }
    const LPlayList& GetList() const { return _list; }

    // Adds one track file with its tags, length and rate. A file whose name (with extension)
    // some entry has already is refused with an alert through `process`; so is a file that
    // can't be opened (the opener says why).
    bool LoadSingleFile(const char* path, LProcessInterface& process);
    // Adds every entry of a playlist file as LoadSingleFile does; true if the task finished.
    bool LoadPlayList(const char* path, LProcessInterface& process);
    // Removes the entry of that index and renumbers.
    void RemoveItem(int index);
    // Removes the entries of those indexes (as they stand now; others are ignored) in one pass
    // and renumbers, so removing most of a large library is not one renumbering per entry.
    void RemoveItems(std::vector<int> indexes);
    void Clear();
    // Beat data or cue mark of the entry at `index`; saved at once. False if there is no such
    // entry or the save failed.
    bool SetBeatData(int index, int beatfreq, int beatoffset);
    bool SetCueMark(int index, int cueMarkPos);

    const LTrackOpener& GetOpener() const { return _opener; }
    // Files refused by LoadSingleFile since the object was made.
    int GetRefusedCount() const { return _refused; }

    // A wanted entry `name` of `folder` whose joined path does not fit: counted for the report.
    void RefuseLongPath(const char* folder, const char* name);

    // How many names the report at the end of an add task lists before "and N more".
    static constexpr int kReportedNames = 5;

    // Marks the run of one add task. Files that could not be taken for what they are (gone,
    // broken links, unreadable, not sound, paths the library can't hold) are collected while
    // tasks run inside one another, and the outermost one reports them all in a single
    // message through its interface when it ends: a folder of a thousand bad files is one
    // alert, not a thousand. The duplicate-name alert stays one per file.
    class TaskScope {
    public:
        TaskScope(DJLibrary& library, LProcessInterface& process);
        ~TaskScope();
        TaskScope(const TaskScope&) = delete;
        TaskScope& operator=(const TaskScope&) = delete;

    private:
        DJLibrary& _library;
        LProcessInterface& _process;
    };

private:
    // The next add builds the names again from the list.
    void _ForgetNames();
    void _BuildNames();
    void _AddName(const char* path);
    const char* _FindPathOfName(const std::string& name) const;
    bool _KeepDamagedFileAside();
    // Why a path can't be opened as a track before any reader tries it; null when it can.
    static const char* _UnfitReason(const char* path);
    void _Unreadable(const std::string& name, const char* reason, const std::string& detail);
    void _ReportUnreadable(LProcessInterface& process);

    const LTrackOpener& _opener;
    LPlayList _list;
    // File names with extension of all entries, with their counts: the duplicate test without
    // comparing against every entry. Built at the first add, so that loading only reads.
    std::unordered_map<std::string, int> _names;
    bool _namesBuilt = false;
    std::string _file;
    bool _damaged = false;
    int _refused = 0;
    std::vector<std::string> _openLists;  // playlists being added inside one another
    // Files the running task could not take: how many, the first few as "name (reason)", and
    // the whole reason of the first one.
    struct Unreadable {
        int count = 0;
        std::vector<std::string> lines;
        std::string firstDetail;
    } _unreadable;
    int _taskDepth = 0;
};

// The add tasks. Each runs on an LProcessInterface (a progress dialog in the program and the
// tool) through its Process overload, answering 0 done, 1 stopped, 2 failed; a stopped task
// keeps what it added. Run them with RunLibraryTask so the library is saved afterwards.

struct DJAddFile {
    DJLibrary& library;
    std::string path;
};
LProcessResult Process(LProcessInterface& process, DJAddFile& task);

// A folder tree: hidden entries (a leading ".") are skipped, files of supported types added.
struct DJAddFolder {
    DJLibrary& library;
    std::string path;
    int done = 0;
    int total = 0;
    bool counted = false;
    // Counts the supported files of the tree into `total` and sets `counted`.
    void CountFiles();
};
LProcessResult Process(LProcessInterface& process, DJAddFolder& task);

struct DJAddMultiFiles {
    DJLibrary& library;
    std::vector<std::string> files;
};
LProcessResult Process(LProcessInterface& process, DJAddMultiFiles& task);

// The entries of a list (only their paths count).
struct DJAddPlayList {
    DJLibrary& library;
    LPlayList list;
};
LProcessResult Process(LProcessInterface& process, DJAddPlayList& task);

// Files and folders of one drop, under one progress over all of them.
struct DJAddDroppedFileData {
    DJLibrary& library;
    std::vector<std::string> paths;
};
LProcessResult Process(LProcessInterface& process, DJAddDroppedFileData& task);

// Runs an add task on `process` and then saves the library, whatever the task answered.
template <class T>
LProcessResult RunLibraryTask(LProcessInterface& process, T& task)
{
    const LProcessResult result = Process(process, task);
    task.library.Save();
    return result;
}

// The same inside a modal progress dialog titled "Adding Files..", as the add commands run.
template <class T>
LProcessResult RunLibraryTaskAsDialog(OpaqueWindowPtr* parent, T& task)
{
    const LProcessResult result = ProcessRunAsDialog(parent, DJLibrary::kAddTitle, task);
    task.library.Save();
    return result;
}
