#include "mainwindow/MainDialog.h"

#include "ui/DJBottomPanel.h"

namespace {

const LListViewColumn kListColumns[kColumnCount] = {
    {"Title", 17, LListViewSortKind::kText},  {"Artist", 19, LListViewSortKind::kText},
    {"Album", 19, LListViewSortKind::kText},  {"Time", 10, LListViewSortKind::kTime},
    {"BPM", 9, LListViewSortKind::kNumber},   {"Deck", 7, LListViewSortKind::kText},
};

}  // namespace

void MainDialog::_BuildLibraryList()
{
    _list = std::make_unique<LListView>(*this, kLibraryList, *this);
    _list->SetColumns(kListColumns, kColumnCount);
    _list->LoadColumnsFromSettings(kListSettingsSection);
}

void MainDialog::RefreshLibraryList()
{
    std::vector<LListViewRow> rows;
    const LPlayList& list = _library.GetList();
    rows.reserve(list.Count());
    for (size_t i = 0; i < list.Count(); ++i) {
        LListViewRow row;
        row.cells.resize(kColumnCount);
        row.cells[kColumnTitle] = list.GetItem(i)->GetPath();
        row.index = static_cast<int>(i);
        rows.push_back(std::move(row));
    }
    _list->SetRows(std::move(rows));
    UpdateDeckColumn();
    EnableControls();
    _bottomPanel->EnableControls();
}

void MainDialog::CmBrowseLoadFiles() {}
void MainDialog::CmBrowseLoadFolder() {}
void MainDialog::CmBrowseLoadPlaylist() {}
void MainDialog::CmRemoveFile() {}
void MainDialog::CmClearFiles() {}
void MainDialog::CmExportFiles() {}
void MainDialog::AddPaths(const std::vector<std::string>& /*paths*/) {}

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
}

void MainDialog::EvListContextMenu(int /*row*/) {}
void MainDialog::SortCompleted() {}
void MainDialog::EvLVDragFinish(int /*from*/, int /*to*/) {}
void MainDialog::EvDropFiles(LDroppedFileData& /*data*/) {}
