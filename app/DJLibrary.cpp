#include "app/DJLibrary.h"

#include "app/LAudioTagData.h"
#include "app/LSettings.h"
#include "app/LTrackOpener.h"
#include "base/LFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char* kUnknown = "Unknown";
constexpr size_t kMaxPlayListDepth = 8;  // lists inside lists inside lists...
constexpr double kSamplesPerMinute = 2646000.0;  // 44100 Hz times 60 s

std::string _FileNameOf(const char* path)
{
    char name[LFile::kPathBytes];
    LFile::_GetFileFromPath(name, path);
    return name;
}

// A field as the library keeps it: control characters (line ends from a tag) become spaces, as
// they would not read back from the file.
std::string _FieldText(const char* value, const char* fallback)
{
    std::string text = value[0] ? value : fallback;
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 32)
            c = ' ';
    return text;
}

// A name as one line of a message: line ends and other control characters shown as "?".
std::string _Printable(std::string name)
{
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 32 || c == 127)
            c = '?';
    return name;
}

// Keeps what an opening says instead of showing it: the task reports it with the others.
class _ErrorCatcher : public LProcessInterfaceNested {
public:
    using LProcessInterfaceNested::LProcessInterfaceNested;
    void SetError(const char* message) override
    {
        if (message && first.empty())
            first = message;
    }
    std::string first;
};

void _SetInt(LHashTable& table, const char* key, long long value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%lld", value);
    table.SetString(key, text);
}

}  // namespace

DJLibrary::DJLibrary(const LTrackOpener* opener) : _opener(opener ? *opener : LGetTrackOpener()), _file(GetLibraryFilePath())
{
}

std::string DJLibrary::GetLibraryFilePath()
{
    char folder[LFile::kPathBytes] = "";
    char fallback[LFile::kPathBytes] = "";
    LFile::GetUserDataFolderApp(fallback);
    _LUserSettingGetString("Settings", "LibraryPath", fallback, folder);
    if (folder[0] != '/')  // a relative folder would follow the working folder of each run
        LCopyText(folder, fallback);
    char file[LFile::kPathBytes];
    if (!folder[0] || !LFile::_MakeFilePath(file, folder, kFileName))
        return {};
    return file;
}

bool DJLibrary::Load()
{
    return LoadFrom(GetLibraryFilePath());
}

bool DJLibrary::LoadFrom(const std::string& file)
{
    _list.Clear();
    _file = file;
    _damaged = false;
    struct stat info {};
    if (file.empty() || (stat(file.c_str(), &info) != 0 && errno == ENOENT)) {
        _ForgetNames();
        return true;
    }
    if (!S_ISREG(info.st_mode) || !_list.LoadXmlFile(file.c_str()))
        _damaged = true;
    _ForgetNames();
    return !_damaged;
}

bool DJLibrary::Save()
{
    return SaveTo(GetLibraryFilePath());
}

bool DJLibrary::_KeepDamagedFileAside()
{
    const std::string aside = _file + kDamagedSuffix;
    if (std::rename(_file.c_str(), aside.c_str()) != 0 && errno != ENOENT)
        return false;
    _damaged = false;
    return true;
}

bool DJLibrary::SaveTo(const std::string& file)
{
    if (file.empty())
        return false;
    char folder[LFile::kPathBytes];
    if (!LFile::_GetFolderFromPath(folder, file.c_str()) || (folder[0] && !LFile::CreateFolderTree(folder)))
        return false;
    if (_damaged && file == _file && !_KeepDamagedFileAside())
        return false;  // never replace what could not be read without keeping it
    return _list.SaveToXml(file.c_str()) >= 0;
}

void DJLibrary::_ForgetNames()
{
    _names.clear();
    _namesBuilt = false;
}

void DJLibrary::_BuildNames()
{
    if (_namesBuilt)
        return;
    _names.reserve(_list.Count());
    for (const auto& item : _list.GetItems())
        ++_names[_FileNameOf(item->GetPath())];
    _namesBuilt = true;
}

void DJLibrary::_AddName(const char* path)
{
    if (_namesBuilt)
        ++_names[_FileNameOf(path)];
}

const char* DJLibrary::_FindPathOfName(const std::string& name) const
{
    for (const auto& item : _list.GetItems())
        if (_FileNameOf(item->GetPath()) == name)
            return item->GetPath();
    return "";
}

DJLibrary::TaskScope::TaskScope(DJLibrary& library, LProcessInterface& process)
    : _library(library), _process(process)
{
    if (_library._taskDepth++ == 0)
        _library._unreadable = {};
}

DJLibrary::TaskScope::~TaskScope()
{
    if (--_library._taskDepth == 0)
        _library._ReportUnreadable(_process);
}

const char* DJLibrary::_UnfitReason(const char* path)
{
    if (!LFile::_FitsPath(path))
        return "path too long";
    if (std::strpbrk(path, "<>\r\n"))
        return "a line break, \"<\" or \">\" in its path";  // the library file can't hold these
    struct stat info {};
    if (stat(path, &info) != 0)
        return errno == ENOENT ? "missing, or a broken link" : "can't be reached";
    if (!S_ISREG(info.st_mode))
        return "not a plain file";  // a device or pipe named like a track would never end
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return "can't be read";
    close(fd);
    return nullptr;
}

void DJLibrary::RefuseLongPath(const char* folder, const char* name)
{
    if (!_opener.IsSupported(name) && !LPlayList::IsPlayListFile(name))
        return;
    const std::string printable = _Printable(name);
    _Unreadable(printable, "path too long", "The path of " + printable + " in " + _Printable(folder) + " is too long.");
}

void DJLibrary::_Unreadable(const std::string& name, const char* reason, const std::string& detail)
{
    ++_refused;
    if (_unreadable.count++ == 0)
        _unreadable.firstDetail = detail.empty() ? name + ": " + reason + "." : detail;
    if (static_cast<int>(_unreadable.lines.size()) < kReportedNames)
        _unreadable.lines.push_back(name + " (" + reason + ")");
}

void DJLibrary::_ReportUnreadable(LProcessInterface& process)
{
    const Unreadable report = std::move(_unreadable);
    _unreadable = {};
    if (report.count == 0)
        return;
    if (report.count == 1) {
        process.SetError(report.firstDetail.c_str());
        return;
    }
    std::string text = std::to_string(report.count) + " files could not be added:\n";
    for (const std::string& line : report.lines)
        text += "\n" + line;
    if (report.count > static_cast<int>(report.lines.size()))
        text += "\n... and " + std::to_string(report.count - static_cast<int>(report.lines.size())) + " more.";
    process.SetError(text.c_str());
}

bool DJLibrary::LoadSingleFile(const char* path, LProcessInterface& process)
{
    TaskScope scope(*this, process);
    const std::string name = _FileNameOf(path);
    _BuildNames();
    if (_names.count(name) != 0) {
        process.SetErrorF("A file with name %s already exists: %s.", name.c_str(), _FindPathOfName(name));
        ++_refused;
        return false;
    }
    if (const char* reason = _UnfitReason(path)) {
        _Unreadable(_Printable(_FileNameOf(path)), reason, {});
        return false;
    }
    LTrackFacts facts;
    _ErrorCatcher opening(process);
    if (!_opener.Open(path, facts, opening)) {
        _Unreadable(_Printable(_FileNameOf(path)), "not sound the program can read", opening.first);
        return false;
    }
    LAudioTagData tags;
    tags.SetPictureFolder("");  // the library keeps no picture: no file written per track
    tags.ReadTags(path, LAudioTagData::kReadAll);
    char fileName[LFile::kPathBytes];
    LFile::_GetFileNameFromPath(fileName, path);

    LPlayItem item(path);
    LHashTable& fields = item.Parms();
    // Each new key goes to the front, so the file holds them from cuemarkpos back to title.
    fields.SetString("title", _FieldText(tags.GetParm("TITLE", ""), fileName).c_str());
    fields.SetString("album", _FieldText(tags.GetParm("ALBUM", ""), kUnknown).c_str());
    fields.SetString("artist", _FieldText(tags.GetParm("ARTIST", ""), kUnknown).c_str());
    fields.SetString("bpm", "0");
    fields.SetString("version", "1");
    _SetInt(fields, "length", facts.lengthSamples);
    _SetInt(fields, "samplerate", facts.rate);
    fields.SetString("beatfreq", "0");
    fields.SetString("beatoffset", "0");
    fields.SetString("cuemarkpos", "0");
    _list.AddItem(item);
    _AddName(path);
    return true;
}

bool DJLibrary::LoadPlayList(const char* path, LProcessInterface& process)
{
    TaskScope scope(*this, process);
    if (!LPlayList::IsPlayListFile(path) || _openLists.size() >= kMaxPlayListDepth)
        return false;
    // A list that names itself, or a list that names it, is not read again.
    if (std::find(_openLists.begin(), _openLists.end(), path) != _openLists.end())
        return false;
    DJAddPlayList task{*this, {}};
    task.list.Load(path);
    // The list's own progress would move the outer task's bar back and forth.
    LProcessInterfaceNested inner(process);
    _openLists.push_back(path);
    const LProcessResult result = Process(inner, task);
    _openLists.pop_back();
    return result == kProcessFinished;
}

void DJLibrary::RemoveItem(int index)
{
    _list.RemoveSingleItem(index);
    _ForgetNames();
}

void DJLibrary::RemoveItems(std::vector<int> indexes)
{
    std::sort(indexes.begin(), indexes.end());
    if (indexes.size() == 1) {
        RemoveItem(indexes.front());
        return;
    }
    std::vector<std::unique_ptr<LPlayItem>> kept;
    kept.reserve(_list.Count());
    for (const auto& item : _list.GetItems())
        if (!std::binary_search(indexes.begin(), indexes.end(), item->GetIndex()))
            kept.push_back(std::make_unique<LPlayItem>(*item));
    _list.Clear();
    for (auto& item : kept)
        _list.AddItem(std::move(item));
    _ForgetNames();
}

void DJLibrary::Clear()
{
    _list.Clear();
    _names.clear();
}

bool DJLibrary::SetBeatData(int index, int beatfreq, int beatoffset)
{
    LPlayItem* item = _list.GetItem(static_cast<size_t>(index));
    if (index < 0 || !item)
        return false;
    char bpm[32] = "0";
    if (beatfreq > 0)
        std::snprintf(bpm, sizeof bpm, "%.2f", kSamplesPerMinute / beatfreq);
    item->Parms().SetString("bpm", bpm);
    _SetInt(item->Parms(), "beatfreq", beatfreq);
    _SetInt(item->Parms(), "beatoffset", beatoffset);
    return Save();
}

bool DJLibrary::SetCueMark(int index, int cueMarkPos)
{
    LPlayItem* item = _list.GetItem(static_cast<size_t>(index));
    if (index < 0 || !item)
        return false;
    _SetInt(item->Parms(), "cuemarkpos", cueMarkPos);
    return Save();
}

// ---- the add tasks

namespace {

using _Visited = std::set<std::pair<dev_t, ino_t>>;

// True the first time a folder is met: links may lead back into a tree.
bool _FirstVisit(const char* folder, _Visited& visited)
{
    struct stat info {};
    return stat(folder, &info) == 0 && visited.insert({info.st_dev, info.st_ino}).second;
}

// A file a folder walk takes: a track of a supported type, or a playlist (whose entries are
// added), but never the library's own file.
bool _IsWanted(const DJLibrary& library, const char* path)
{
    if (library.GetOpener().IsSupported(path))
        return true;
    return LPlayList::IsPlayListFile(path) && library.GetFilePath() != path && DJLibrary::GetLibraryFilePath() != path;
}

// Counting a large tree takes a while before the first file is added: it answers Cancel (and
// so keeps the window alive) every kCountEntriesPerTurn entries when it runs inside a task.
constexpr int kCountEntriesPerTurn = 64;

struct _Count {
    int total = 0;
    int entries = 0;
    _Visited visited;
    LProcessInterface* process = nullptr;  // null: count without asking
};

// False when the task was asked to stop meanwhile.
bool _CountTree(const DJLibrary& library, const char* folder, _Count& count)
{
    if (!_FirstVisit(folder, count.visited))
        return true;
    LFile::FolderIterator entries(folder);
    char path[LFile::kPathBytes];
    while (entries.Next()) {
        if (count.process && ++count.entries % kCountEntriesPerTurn == 0 && count.process->IsToStop())
            return false;
        if (!entries.GetPath(path))
            continue;
        if (LFile::IsFolder(path)) {
            if (!_CountTree(library, path, count))
                return false;
        } else if (_IsWanted(library, path)) {
            ++count.total;
        }
    }
    return true;
}

// Counts the tree of `task` inside a running task; false when it was asked to stop.
bool _CountFiles(DJAddFolder& task, LProcessInterface& process)
{
    _Count count;
    count.process = &process;
    process.SetProgressIndeterminateOn();
    const bool whole = _CountTree(task.library, task.path.c_str(), count);
    process.SetProgressIndeterminateOff();
    task.total = count.total;
    task.counted = whole;
    return whole;
}

double _Fraction(int done, int total)
{
    return total > 0 ? static_cast<double>(done) / total : 1.0;
}

LProcessResult _AddTree(LProcessInterface& process, DJAddFolder& task, const char* folder, _Visited& visited)
{
    if (!_FirstVisit(folder, visited))
        return kProcessFinished;
    LFile::FolderIterator entries(folder);
    char path[LFile::kPathBytes];
    while (entries.Next()) {
        if (process.IsToStop())
            return kProcessStopped;
        if (!entries.GetPath(path)) {
            task.library.RefuseLongPath(folder, entries.GetName());  // a cut path names another file
            continue;
        }
        if (LFile::IsFolder(path)) {
            if (_AddTree(process, task, path, visited) == kProcessStopped)
                return kProcessStopped;
        } else if (_IsWanted(task.library, path)) {
            DJAddFile file{task.library, path};
            if (Process(process, file) == kProcessFinished)
                ++task.done;
        }
        process.SetProgress(_Fraction(task.done, task.total));
    }
    return kProcessFinished;
}

}  // namespace

LProcessResult Process(LProcessInterface& process, DJAddFile& task)
{
    DJLibrary::TaskScope scope(task.library, process);
    if (LPlayList::IsPlayListFile(task.path.c_str()))
        return task.library.LoadPlayList(task.path.c_str(), process) ? kProcessFinished : kProcessFailed;
    process.SetStatus(("Adding " + task.path).c_str(), 0);
    process.SetStatus(_FileNameOf(task.path.c_str()).c_str(), 1);
    return task.library.LoadSingleFile(task.path.c_str(), process) ? kProcessFinished : kProcessFailed;
}

void DJAddFolder::CountFiles()
{
    _Count count;
    _CountTree(library, path.c_str(), count);
    total = count.total;
    counted = true;
}

LProcessResult Process(LProcessInterface& process, DJAddFolder& task)
{
    DJLibrary::TaskScope scope(task.library, process);
    if (!task.counted) {
        process.SetProgress(0);
        if (!_CountFiles(task, process))
            return kProcessStopped;
    }
    _Visited visited;
    return _AddTree(process, task, task.path.c_str(), visited);
}

LProcessResult Process(LProcessInterface& process, DJAddMultiFiles& task)
{
    DJLibrary::TaskScope scope(task.library, process);
    const int count = static_cast<int>(task.files.size());
    for (int i = 0; i < count; ++i) {
        if (process.IsToStop())
            return kProcessStopped;
        DJAddFile file{task.library, task.files[static_cast<size_t>(i)]};
        if (Process(process, file) == kProcessStopped)
            return kProcessStopped;
        process.SetProgress(_Fraction(i + 1, count));
    }
    return kProcessFinished;
}

LProcessResult Process(LProcessInterface& process, DJAddPlayList& task)
{
    DJLibrary::TaskScope scope(task.library, process);
    const int count = static_cast<int>(task.list.Count());
    int done = 0;
    for (const auto& item : task.list.GetItems()) {
        if (process.IsToStop())
            return kProcessStopped;
        DJAddFile file{task.library, item->GetPath()};
        if (Process(process, file) == kProcessStopped)
            return kProcessStopped;
        process.SetProgress(_Fraction(++done, count));
    }
    return kProcessFinished;
}

LProcessResult Process(LProcessInterface& process, DJAddDroppedFileData& task)
{
    DJLibrary::TaskScope scope(task.library, process);
    process.SetProgress(0);
    int total = 0;
    for (const std::string& path : task.paths) {
        if (LFile::IsFolder(path.c_str())) {
            DJAddFolder counter{task.library, path};
            if (!_CountFiles(counter, process))
                return kProcessStopped;
            total += counter.total;
        } else if (task.library.GetOpener().IsSupported(path.c_str()) || LPlayList::IsPlayListFile(path.c_str())) {
            ++total;
        }
    }
    int done = 0;
    for (const std::string& path : task.paths) {
        if (process.IsToStop())
            return kProcessStopped;
        if (LFile::IsFolder(path.c_str())) {
            DJAddFolder folder{task.library, path, done, total, true};
            if (Process(process, folder) == kProcessStopped)
                return kProcessStopped;
            done = folder.done;
        } else {
            DJAddFile file{task.library, path};
            if (Process(process, file) == kProcessFinished)
                ++done;
        }
        process.SetProgress(_Fraction(done, total));
    }
    return kProcessFinished;
}
