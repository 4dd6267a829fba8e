#pragma once

#include <memory>
#include <string>
#include <vector>

class LWindow;
class QWidget;

// How a column sorts when the user clicks its header.
enum class LListViewSortKind : int {
    kText,    // case-insensitive, then as bytes
    kTime,    // "h:mm:ss.f" and shorter forms, by their value; unreadable texts first
    kNumber,  // by strtod; "-" and unreadable texts first
};

// One column of a list: its header, its share of the list's width and how it sorts.
struct LListViewColumn {
    const char* title;
    int relativeWidth;  // parts of the sum of all columns' parts
    LListViewSortKind sort;
};

// One row: its cells (one a column) and the hidden number the owner keeps with it.
struct LListViewRow {
    std::vector<std::string> cells;
    int index = -1;
};

// A row of the list dragged over the window; x and y in the window's client coordinates.
struct LDroppedListViewElement {
    int row = -1;
    int x = 0;
    int y = 0;
};

// Files and folders dropped on the window from the desktop's file manager (text/uri-list),
// local paths only, in the order of the drop; x and y in the window's client coordinates.
struct LDroppedFileData {
    std::vector<std::string> paths;
    int x = 0;
    int y = 0;
};

// What a list tells its owner; interface thread only. A row number is the row's place in
// the list as shown, from 0.
class LListViewHandler {
public:
    virtual ~LListViewHandler() = default;

    virtual void EvListSelectionChanged() {}
    virtual void EvListDoubleClick(int /*row*/) {}
    // A right click; `row` is the row under the pointer or -1. The selection is already
    // updated as the click asks.
    virtual void EvListContextMenu(int /*row*/) {}
    // The user sorted by a column: the rows have a new order and carry their hidden numbers.
    virtual void SortCompleted() {}
    // The user moved the selected row inside the list from `from` to `to` (rows before the
    // move); the list itself has not changed.
    virtual void EvLVDragFinish(int /*from*/, int /*to*/) {}

    // A row dragged out of the list over the window: started, moving (answer whether a drop
    // here is accepted), dropped where EvDragging last accepted, ended either way.
    virtual void EvDragStarted(const LDroppedListViewElement& /*element*/) {}
    virtual bool EvDragging(const LDroppedListViewElement& /*element*/) { return false; }
    virtual void EvDropListViewElement(LDroppedListViewElement& /*element*/) {}
    virtual void EvDragStopped() {}

    // Files or folders dropped anywhere on the window.
    virtual void EvDropFiles(LDroppedFileData& /*data*/) {}
};

// A list of rows with columns inside a window, shown through a model, so that a hundred
// thousand rows show, sort and refill without a visible pause. It sorts itself when a
// header is clicked and then tells its handler. Interface thread only.
class LListView {
public:
    // Makes the list inside `window` under the control id `id`; the window's widget also
    // takes drops (rows of this list, and files from the desktop) from then on.
    LListView(LWindow& window, int id, LListViewHandler& handler);
    ~LListView();
    LListView(const LListView&) = delete;
    LListView& operator=(const LListView&) = delete;

    void SetColumns(const LListViewColumn* columns, int count);
    int GetColumnCount() const;
    // Column widths the user set, as shares, from and to the settings section `section`
    // (keys "Column1".."ColumnN"); absurd stored values are ignored.
    void LoadColumnsFromSettings(const char* section);
    void SaveColumnsToSettings(const char* section) const;
    // Gives the columns their shares of `width` pixels.
    void AdjustColumns(int width);
    // Pixels of one column now.
    int GetColumnWidth(int column) const;

    // Replaces every row; the selection is cleared.
    void SetRows(std::vector<LListViewRow> rows);
    void Clear();
    int GetRowCount() const;
    // Out-of-range rows and columns are ignored; GetCell answers "" for them.
    void SetCell(int row, int column, const std::string& text);
    const std::string& GetCell(int row, int column) const;
    // The hidden number of a row; -1 out of range.
    int GetRowIndex(int row) const;
    void SetRowIndex(int row, int index);

    // Selected rows in list order.
    std::vector<int> GetSelectedRows() const;
    int GetSelectedCount() const;
    // The first selected row or -1.
    int GetFirstSelected() const;
    // Selects that row alone and scrolls it into view; -1 clears the selection.
    void SelectRow(int row);
    void SelectRows(const std::vector<int>& rows);

    // Sorts by a column as a click on its header does (the handler hears SortCompleted).
    void SortByColumn(int column, bool ascending);

    void SetGeometry(int x, int y, int width, int height);
    void SetFocus();
    QWidget* GetWidget() const;

    struct Impl;

private:
    std::unique_ptr<Impl> _impl;
};
