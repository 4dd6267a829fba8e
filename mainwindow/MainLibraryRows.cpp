#include "mainwindow/MainLibraryRows.h"

#include <algorithm>

namespace MainLibraryRows {

int RowAfterMove(int row, int from, int to)
{
    if (row < 0 || from == to) {
        return row;
    }
    if (row == from) {
        return to;
    }
    if (to < from && row >= to && row < from) {
        return row + 1;  // the moved row now stands before it
    }
    if (from < to && row > from && row <= to) {
        return row - 1;  // the moved row no longer stands before it
    }
    return row;
}

std::vector<int> OldIndexToNewRow(const std::vector<int>& indexOfRow)
{
    const int count = static_cast<int>(indexOfRow.size());
    std::vector<int> table(indexOfRow.size(), -1);
    for (int row = 0; row < count; ++row) {
        const int index = indexOfRow[static_cast<size_t>(row)];
        if (index < 0 || index >= count || table[static_cast<size_t>(index)] != -1) {
            return {};
        }
        table[static_cast<size_t>(index)] = row;
    }
    return table;
}

int RowAfterSort(int row, const std::vector<int>& oldIndexToNewRow)
{
    if (row < 0 || row >= static_cast<int>(oldIndexToNewRow.size())) {
        return -1;
    }
    return oldIndexToNewRow[static_cast<size_t>(row)];
}

Removal PlanRemoval(std::vector<int> selected, int rowCount, const int rowOnDeck[2])
{
    std::sort(selected.begin(), selected.end());
    selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
    Removal plan;
    for (int deck = 0; deck < 2; ++deck) {
        plan.rowOnDeck[deck] = rowOnDeck[deck] < rowCount ? rowOnDeck[deck] : -1;
    }
    int removedSoFar = 0;
    for (int row : selected) {
        if (row < 0 || row >= rowCount) {
            continue;
        }
        const int index = row - removedSoFar;  // where the row stands once those before it went
        for (int deck = 0; deck < 2; ++deck) {
            int& onDeck = plan.rowOnDeck[deck];
            if (onDeck == index) {
                plan.clearDeck[deck] = true;
                onDeck = -1;
            } else if (onDeck > index) {
                --onDeck;
            }
        }
        plan.indexes.push_back(row);
        ++removedSoFar;
    }
    return plan;
}

int RowToSelectAfterRemoval(int firstRemovedRow, int rowCountAfter)
{
    if (rowCountAfter <= 0 || firstRemovedRow < 0) {
        return -1;
    }
    return std::min(firstRemovedRow, rowCountAfter - 1);
}

}  // namespace MainLibraryRows
