#pragma once

// The rows of an LListView as a Qt table model. Private to ui/.

#include "ui/LListView.h"

#include <QAbstractTableModel>

#include <string>
#include <vector>

// One column as the model keeps it.
struct LListViewColumnInfo {
    std::string title;
    int share = 1;  // parts of the sum of all columns' parts
    LListViewSortKind sort = LListViewSortKind::kText;
};

// Rows live here as the owner gave them; cells become QStrings only when shown.
class LListViewModel : public QAbstractTableModel {
public:
    static constexpr const char* kRowMimeType = "application/x-orvane-list-row";

    void SetColumns(std::vector<LListViewColumnInfo> columns);
    const std::vector<LListViewColumnInfo>& GetColumns() const { return _columns; }
    std::vector<LListViewColumnInfo>& GetColumns() { return _columns; }

    void SetRows(std::vector<LListViewRow> rows);
    const std::vector<LListViewRow>& GetRows() const { return _rows; }
    int GetRowCount() const { return static_cast<int>(_rows.size()); }
    bool IsRow(int row) const { return row >= 0 && row < GetRowCount(); }
    bool IsColumn(int column) const
    {
        return column >= 0 && column < static_cast<int>(_columns.size());
    }
    // Out-of-range rows and columns are ignored; a cell the row holds beyond the list's
    // columns is kept and can be read and written, though not shown.
    void SetCell(int row, int column, const std::string& text);
    const std::string& GetCell(int row, int column) const;
    void SetRowIndex(int row, int index);

    // Puts the rows in the order of that column; answers the old place of each new row.
    // Out-of-range columns sort nothing and answer an empty order.
    std::vector<int> Sort(int column, bool ascending);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    Qt::DropActions supportedDropActions() const override;
    Qt::DropActions supportedDragActions() const override;

private:
    std::vector<LListViewColumnInfo> _columns;
    std::vector<LListViewRow> _rows;
};
