#include "ui/LListViewModel.h"

#include "ui/LListViewKeys.h"

#include <QString>
#include <QStringList>

void LListViewModel::SetColumns(std::vector<LListViewColumnInfo> columns)
{
    beginResetModel();
    _columns = std::move(columns);
    endResetModel();
}

void LListViewModel::SetRows(std::vector<LListViewRow> rows)
{
    beginResetModel();
    _rows = std::move(rows);
    endResetModel();
}

void LListViewModel::SetCell(int row, int column, const std::string& text)
{
    if (!IsRow(row) || column < 0) {
        return;
    }
    std::vector<std::string>& cells = _rows[row].cells;
    if (!IsColumn(column) && static_cast<size_t>(column) >= cells.size()) {
        return;
    }
    if (static_cast<size_t>(column) >= cells.size()) {
        cells.resize(static_cast<size_t>(column) + 1);
    }
    cells[column] = text;
    if (IsColumn(column)) {
        const QModelIndex changed = index(row, column);
        dataChanged(changed, changed, {Qt::DisplayRole});
    }
}

const std::string& LListViewModel::GetCell(int row, int column) const
{
    static const std::string empty;
    if (!IsRow(row) || column < 0 || static_cast<size_t>(column) >= _rows[row].cells.size()) {
        return empty;
    }
    return _rows[row].cells[column];
}

void LListViewModel::SetRowIndex(int row, int index)
{
    if (IsRow(row)) {
        _rows[row].index = index;
    }
}

std::vector<int> LListViewModel::Sort(int column, bool ascending)
{
    if (!IsColumn(column)) {
        return {};
    }
    std::vector<int> order = LListViewSortOrder(_rows, column, _columns[column].sort, ascending);
    std::vector<LListViewRow> sorted;
    sorted.reserve(_rows.size());
    for (int from : order) {
        sorted.push_back(std::move(_rows[from]));
    }
    // One reset for the whole move: per-row signals would cost more than the sort.
    beginResetModel();
    _rows = std::move(sorted);
    endResetModel();
    return order;
}

int LListViewModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : GetRowCount();
}

int LListViewModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(_columns.size());
}

QVariant LListViewModel::data(const QModelIndex& index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid()) {
        return {};
    }
    const std::string& cell = GetCell(index.row(), index.column());
    return QString::fromUtf8(cell.data(), static_cast<qsizetype>(cell.size()));
}

QVariant LListViewModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || orientation != Qt::Horizontal || !IsColumn(section)) {
        return {};
    }
    return QString::fromStdString(_columns[section].title);
}

Qt::ItemFlags LListViewModel::flags(const QModelIndex& index) const
{
    if (!index.isValid()) {
        return Qt::ItemIsDropEnabled;
    }
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
}

QStringList LListViewModel::mimeTypes() const
{
    return {QString::fromLatin1(kRowMimeType)};
}

Qt::DropActions LListViewModel::supportedDropActions() const
{
    return Qt::MoveAction | Qt::CopyAction;
}

Qt::DropActions LListViewModel::supportedDragActions() const
{
    return Qt::MoveAction | Qt::CopyAction;
}
