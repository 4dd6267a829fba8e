#include "mainwindow/MainDialog.h"

#include "app/LSettings.h"
#include "base/LFile.h"
#include "files/LGenSource.h"
#include "mainwindow/MainLibraryRows.h"
#include "sound/LSoundTime.h"
#include "ui/DJBottomPanel.h"
#include "ui/DJDeckGUI.h"
#include "ui/LProgressViewQt.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {

const LListViewColumn kListColumns[kColumnCount] = {
    {"Title", 17, LListViewSortKind::kText},  {"Artist", 19, LListViewSortKind::kText},
    {"Album", 19, LListViewSortKind::kText},  {"Time", 10, LListViewSortKind::kTime},
    {"BPM", 9, LListViewSortKind::kNumber},   {"Deck", 7, LListViewSortKind::kText},
};

constexpr const char* kUnknown = "Unknown";
constexpr const char* kNoBpm = "-";
constexpr const char* kFolderSetting = "LoadFromFolder";
constexpr const char* kExportTitle = "Export Playlist";
constexpr const char* kExportFilters = "Orvane XML (*.xml);;Playlist (*.pls);;M3U (*.m3u)";
constexpr const char* kExportDefaultExtension = "xml";
constexpr const char* kPlaylistFilter = "Playlist Files (*.pls *.m3u *.asx *.xml)";

const char* _TextOr(const char* text, const char* fallback)
{
    return text && text[0] ? text : fallback;
}

// A field as a whole number; absent, unreadable or out-of-range values give `fallback`.
long long _Number(const LHashTable& fields, const char* key, long long fallback)
{
    const char* text = fields.GetParm(key, "");
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text, &end, 10);
    return end == text || errno == ERANGE ? fallback : value;
}

// "H:MM:SS.T" of `length` samples at `rate` Hz: whole seconds first so no product overflows;
// a time beyond what LSoundTime holds shows as its largest.
std::string _TimeText(long long length, long long rate)
{
    long long ms = 0;
    if (rate > 0 && length > 0) {
        ms = std::min<long long>(length / rate, INT_MAX / 1000) * 1000 + (length % rate) * 1000 / rate;
    }
    char text[16];
    LSoundTime(static_cast<int>(std::min<long long>(ms, INT_MAX)))._GetTextHMMSSF(text);
    return text;
}

LListViewRow _RowOf(const LPlayItem& item, int index)
{
    const LHashTable& fields = item.Parms();
    LListViewRow row;
    row.cells.resize(kColumnCount);
    row.cells[kColumnTitle] = _TextOr(fields.GetParm("title", ""), kUnknown);
    row.cells[kColumnArtist] = _TextOr(fields.GetParm("artist", ""), kUnknown);
    row.cells[kColumnAlbum] = _TextOr(fields.GetParm("album", ""), kUnknown);
    row.cells[kColumnTime] = _TimeText(_Number(fields, "length", 0), _Number(fields, "samplerate", 0));
    const char* bpm = fields.GetParm("bpm", "");
    row.cells[kColumnBPM] = bpm[0] == '0' || !bpm[0] ? kNoBpm : bpm;
    row.index = index;
    return row;
}

// "Audio Files (*.wav *.WAV ...)": the types a folder scan takes, in both cases since the
// file dialog compares names exactly.
std::string _AudioFilter()
{
    std::string filter = "Audio Files (";
    for (int i = 0; i < kGenSourceSupportedCount; ++i) {
        std::string upper = kGenSourceSupportedExtensions[i];
        std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
        filter += (i ? " *" : "*") + std::string(kGenSourceSupportedExtensions[i]) + " *" + upper;
    }
    return filter + ")";
}

std::string _FolderOf(const std::string& path)
{
    char folder[LFile::kPathBytes];
    if (path.empty() || !LFile::_GetFolderFromPath(folder, path.c_str())) {
        return {};
    }
    return folder;
}

// The folder the file dialogs start in: the last one used while it still exists, else the
// user's music folder.
std::string _StartFolder()
{
    char folder[LFile::kPathBytes] = "";
    _LUserSettingGetString("Settings", kFolderSetting, "", folder);
    if (folder[0] && LFile::IsFolder(folder)) {
        return folder;
    }
    if (!LFile::GetUserMusicFolder(folder)) {
        folder[0] = '\0';
    }
    return folder;
}

void _KeepStartFolder(const std::string& folder)
{
    if (!folder.empty()) {
        LUserSettingSetString("Settings", kFolderSetting, folder.c_str());
    }
}

}  // namespace

void MainDialog::_BuildLibraryList()
{
    _list = std::make_unique<LListView>(*this, kLibraryList, *this);
    _list->SetColumns(kListColumns, kColumnCount);
    _list->LoadColumnsFromSettings(kListSettingsSection);
    // Long tasks (adding files, conversions with a dialog) show their progress over this window.
    LSetProgressViewFactory(LMakeProgressViewQt);
}

void MainDialog::RefreshLibraryList()
{
    const LPlayList& list = _library.GetList();
    std::vector<LListViewRow> rows;
    rows.reserve(list.Count());
    for (size_t i = 0; i < list.Count(); ++i) {
        rows.push_back(_RowOf(*list.GetItem(i), static_cast<int>(i)));
    }
    _list->SetRows(std::move(rows));
    UpdateDeckColumn();
    EnableControls();
    _bottomPanel->EnableControls();
}

template <class T>
LProcessResult MainDialog::_RunAddTask(T& task)
{
    const LProcessResult result = RunLibraryTaskAsDialog(LOpaqueWindowOf(GetWidget()), task);
    RefreshLibraryList();
    return result;
}

void MainDialog::CmBrowseLoadFiles()
{
    std::vector<std::string> files = _prompts->ChooseFiles("Locate Audio File(s)", _AudioFilter(), _StartFolder());
    if (files.empty()) {
        return;
    }
    _KeepStartFolder(_FolderOf(files.front()));
    DJAddMultiFiles task{_library, std::move(files)};
    _RunAddTask(task);
}

void MainDialog::CmBrowseLoadFolder()
{
    const std::string folder = _prompts->ChooseFolder("Find Music Folder", "Load", _StartFolder());
    if (folder.empty()) {
        return;
    }
    _KeepStartFolder(folder);
    DJAddFolder task{_library, folder};
    _RunAddTask(task);
}

void MainDialog::CmBrowseLoadPlaylist()
{
    const std::string path = _prompts->ChooseFile("Load Playlist File", kPlaylistFilter, _StartFolder());
    if (path.empty()) {
        return;
    }
    _KeepStartFolder(_FolderOf(path));
    if (!LPlayList::IsPlayListFile(path.c_str())) {
        return;
    }
    // Only the list's paths count: each entry is added as a file of its own.
    DJAddPlayList task{_library, {}};
    task.list.Load(path.c_str());
    _RunAddTask(task);
    if (_autoPlay && _list->GetRowCount() > 0) {
        _list->SelectRow(0);
    }
}

void MainDialog::CmExportFiles()
{
    if (_library.GetList().IsEmpty()) {
        return;
    }
    const std::string path =
        _prompts->ChooseSaveFile(kExportTitle, kExportFilters, kExportDefaultExtension, _StartFolder());
    if (path.empty()) {
        return;
    }
    _KeepStartFolder(_FolderOf(path));
    if (!LPlayList::IsPlayListFile(path.c_str())) {
        _prompts->Alert(kExportTitle, "A playlist can only be written as .xml, .pls or .m3u: " + path);
        return;
    }
    if (_library.GetList().Save(path.c_str(), false) < 0) {
        _prompts->Alert(kExportTitle, "The playlist could not be written to " + path + ".");
    }
}

void MainDialog::CmRemoveFile()
{
    const std::vector<int> rows = _list->GetSelectedRows();
    if (rows.empty()) {
        return;
    }
    std::vector<int> indexes;
    indexes.reserve(rows.size());
    for (int row : rows) {
        indexes.push_back(_list->GetRowIndex(row));
    }
    const MainLibraryRows::Removal plan =
        MainLibraryRows::PlanRemoval(indexes, static_cast<int>(_library.GetList().Count()), _rowOnDeck);
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        if (plan.clearDeck[position]) {
            _Panel(position).ClearDeck();
        }
    }
    _library.RemoveItems(plan.indexes);
    _rowOnDeck[kDeckLeft] = plan.rowOnDeck[kDeckLeft];
    _rowOnDeck[kDeckRight] = plan.rowOnDeck[kDeckRight];
    _library.Save();
    RefreshLibraryList();
    _list->SetFocus();
    _list->SelectRow(MainLibraryRows::RowToSelectAfterRemoval(rows.front(), _list->GetRowCount()));
}

void MainDialog::CmClearFiles()
{
    if (_library.GetList().IsEmpty() ||
        !_prompts->AskYesNo("Confirm Remove", "Are you sure you want to remove all the files?")) {
        return;
    }
    _library.Clear();
    _list->Clear();
    _rowOnDeck[kDeckLeft] = _rowOnDeck[kDeckRight] = -1;
    for (DJDeckPosition position : {kDeckLeft, kDeckRight}) {
        _Panel(position).ClearDeck();
    }
    _library.Save();
    RefreshLibraryList();
}

void MainDialog::AddPaths(const std::vector<std::string>& paths)
{
    if (paths.empty()) {
        return;
    }
    DJAddDroppedFileData task{_library, paths};
    _RunAddTask(task);
}

int MainDialog::GetListRowCount() const
{
    return _list ? _list->GetRowCount() : 0;
}

bool MainDialog::HasListSelection() const
{
    return _list && _list->GetSelectedCount() > 0;
}

void MainDialog::EvListSelectionChanged()
{
    Command(kLibraryList);
    if (_bottomPanel) {
        _bottomPanel->EnableControls();
    }
}

void MainDialog::EvListContextMenu(int /*row*/)
{
    EvContextMenu();
}

void MainDialog::SortCompleted()
{
    const int count = _list->GetRowCount();
    std::vector<int> indexOfRow(static_cast<size_t>(count));
    for (int row = 0; row < count; ++row) {
        indexOfRow[static_cast<size_t>(row)] = _list->GetRowIndex(row);
    }
    const std::vector<int> table = MainLibraryRows::OldIndexToNewRow(indexOfRow);
    LPlayList& list = _library.GetList();
    if (table.size() != list.Count()) {
        RefreshLibraryList();  // list and library disagree: show the library as it stands
        return;
    }
    for (int row = 0; row < count; ++row) {
        _list->SetRowIndex(row, row);
    }
    for (const auto& item : list.GetItems()) {
        item->SetIndex(MainLibraryRows::RowAfterSort(item->GetIndex(), table));
    }
    list.Sort();
    for (int& row : _rowOnDeck) {
        row = MainLibraryRows::RowAfterSort(row, table);
    }
}

void MainDialog::EvLVDragFinish(int from, int to)
{
    LPlayList& list = _library.GetList();
    const int count = static_cast<int>(list.Count());
    if (from < 0 || from >= count || to < 0) {
        return;
    }
    to = std::min(to, count - 1);  // a drop below the last row moves to the end
    const LPlayItem* moved = list.GetItem(static_cast<size_t>(from));
    list.MoveSingleItem(from, to);
    if (list.GetItem(static_cast<size_t>(to)) == moved) {
        for (int& row : _rowOnDeck) {
            row = MainLibraryRows::RowAfterMove(row, from, to);
        }
    }
    RefreshLibraryList();
    _list->SelectRow(to);
}

void MainDialog::EvDropFiles(LDroppedFileData& data)
{
    AddPaths(data.paths);
}
