#include "ui/LListView.h"

#include <algorithm>

// Placeholder storage until the model/view list lands: rows and selection only, no widget.
struct LListView::Impl {
    LWindow& window;
    LListViewHandler& handler;
    std::vector<LListViewColumn> columns;
    std::vector<LListViewRow> rows;
    std::vector<int> selected;
};

namespace {
const std::string kEmpty;
}

LListView::LListView(LWindow& window, int /*id*/, LListViewHandler& handler)
    : _impl(std::make_unique<Impl>(Impl{window, handler, {}, {}, {}}))
{
}

LListView::~LListView() = default;

void LListView::SetColumns(const LListViewColumn* columns, int count)
{
    _impl->columns.assign(columns, columns + count);
}

int LListView::GetColumnCount() const { return static_cast<int>(_impl->columns.size()); }
void LListView::LoadColumnsFromSettings(const char*) {}
void LListView::SaveColumnsToSettings(const char*) const {}
void LListView::AdjustColumns(int) {}
int LListView::GetColumnWidth(int) const { return 0; }

void LListView::SetRows(std::vector<LListViewRow> rows)
{
    _impl->rows = std::move(rows);
    _impl->selected.clear();
}

void LListView::Clear() { SetRows({}); }
int LListView::GetRowCount() const { return static_cast<int>(_impl->rows.size()); }

void LListView::SetCell(int row, int column, const std::string& text)
{
    if (row >= 0 && row < GetRowCount() && column >= 0 &&
        column < static_cast<int>(_impl->rows[row].cells.size())) {
        _impl->rows[row].cells[column] = text;
    }
}

const std::string& LListView::GetCell(int row, int column) const
{
    if (row >= 0 && row < GetRowCount() && column >= 0 &&
        column < static_cast<int>(_impl->rows[row].cells.size())) {
        return _impl->rows[row].cells[column];
    }
    return kEmpty;
}

int LListView::GetRowIndex(int row) const
{
    return row >= 0 && row < GetRowCount() ? _impl->rows[row].index : -1;
}

void LListView::SetRowIndex(int row, int index)
{
    if (row >= 0 && row < GetRowCount()) {
        _impl->rows[row].index = index;
    }
}

std::vector<int> LListView::GetSelectedRows() const { return _impl->selected; }
int LListView::GetSelectedCount() const { return static_cast<int>(_impl->selected.size()); }
int LListView::GetFirstSelected() const { return _impl->selected.empty() ? -1 : _impl->selected.front(); }

void LListView::SelectRow(int row)
{
    SelectRows(row < 0 ? std::vector<int>{} : std::vector<int>{row});
}

void LListView::SelectRows(const std::vector<int>& rows)
{
    _impl->selected.clear();
    for (int row : rows) {
        if (row >= 0 && row < GetRowCount()) {
            _impl->selected.push_back(row);
        }
    }
    std::sort(_impl->selected.begin(), _impl->selected.end());
    _impl->handler.EvListSelectionChanged();
}

void LListView::SortByColumn(int column, bool ascending)
{
    std::stable_sort(_impl->rows.begin(), _impl->rows.end(), [&](const LListViewRow& a, const LListViewRow& b) {
        const std::string& x = a.cells.at(column);
        const std::string& y = b.cells.at(column);
        return ascending ? x < y : y < x;
    });
    _impl->handler.SortCompleted();
}

void LListView::SetGeometry(int, int, int, int) {}
void LListView::SetFocus() {}
QWidget* LListView::GetWidget() const { return nullptr; }
