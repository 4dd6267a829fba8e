#pragma once

#include <vector>

// The arithmetic that keeps the library list's rows, the library's indexes and the rows on the
// two decks in step when the list is reordered, sorted or shortened. Pure functions over row
// numbers; a row number of -1 means "no row" and stays -1.
namespace MainLibraryRows {

// The row a deck's row becomes when the row at `from` is moved to `to` and the rows between
// shift by one to make room.
int RowAfterMove(int row, int from, int to);

// After the list sorted itself: `indexOfRow[r]` is the hidden library index the list now shows
// at row r. Answers the table from each old index to its new row, or an empty table when the
// hidden indexes are not exactly 0 .. count-1 once each (then nothing can be mapped safely).
std::vector<int> OldIndexToNewRow(const std::vector<int>& indexOfRow);

// A row mapped through such a table; -1 and rows the table does not hold give -1.
int RowAfterSort(int row, const std::vector<int>& oldIndexToNewRow);

// What removing a set of rows does, worked out before anything changes.
struct Removal {
    // Library indexes to remove, as they stand before any goes: ascending, each once.
    std::vector<int> indexes;
    // Whether each deck's row is among the removed ones (that deck is cleared).
    bool clearDeck[2] = {false, false};
    // The decks' rows once all are removed.
    int rowOnDeck[2] = {-1, -1};
};

// `selected` in any order, duplicates and rows outside 0 .. rowCount-1 ignored.
Removal PlanRemoval(std::vector<int> selected, int rowCount, const int rowOnDeck[2]);

// The row to select after a removal: the first removed row's number, kept inside the shorter
// list; -1 when the list is empty.
int RowToSelectAfterRemoval(int firstRemovedRow, int rowCountAfter);

}  // namespace MainLibraryRows
