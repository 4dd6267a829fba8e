#include "mainwindow/MainLibraryRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>

using namespace MainLibraryRows;

namespace {

// Tracks are named by their starting rows; each case checks that a deck keeps its track.
std::vector<int> Tracks(int count)
{
    std::vector<int> tracks(static_cast<size_t>(count));
    std::iota(tracks.begin(), tracks.end(), 0);
    return tracks;
}

std::vector<int> Moved(std::vector<int> tracks, int from, int to)
{
    const int track = tracks[static_cast<size_t>(from)];
    tracks.erase(tracks.begin() + from);
    tracks.insert(tracks.begin() + to, track);
    return tracks;
}

}  // namespace

TEST(MainLibraryRowsTest, ADeckKeepsItsTrackWhateverRowMoves)
{
    const int count = 7;
    for (int from = 0; from < count; ++from) {
        for (int to = 0; to < count; ++to) {
            const std::vector<int> after = Moved(Tracks(count), from, to);
            for (int row = 0; row < count; ++row) {
                const int newRow = RowAfterMove(row, from, to);
                ASSERT_GE(newRow, 0);
                EXPECT_EQ(after[static_cast<size_t>(newRow)], row) << from << "->" << to << " row " << row;
            }
            EXPECT_EQ(RowAfterMove(-1, from, to), -1);
        }
    }
}

TEST(MainLibraryRowsTest, ASortMapsEveryOldIndexToItsNewRow)
{
    const std::vector<int> shown = {3, 0, 4, 1, 2};  // hidden indexes in the new row order
    const std::vector<int> table = OldIndexToNewRow(shown);
    ASSERT_EQ(table.size(), shown.size());
    for (int row = 0; row < static_cast<int>(shown.size()); ++row)
        EXPECT_EQ(RowAfterSort(shown[static_cast<size_t>(row)], table), row);
    EXPECT_EQ(RowAfterSort(-1, table), -1);
    EXPECT_EQ(RowAfterSort(5, table), -1);
    EXPECT_TRUE(OldIndexToNewRow({}).empty());
}

TEST(MainLibraryRowsTest, HiddenIndexesThatAreNotAPermutationMapNothing)
{
    const std::vector<std::vector<int>> broken = {{0, 0, 1}, {0, 1, 3}, {-1, 0, 1}, {2, 1, 2}};
    for (const auto& shown : broken) {
        const std::vector<int> table = OldIndexToNewRow(shown);
        EXPECT_TRUE(table.empty());
        EXPECT_EQ(RowAfterSort(0, table), -1);
    }
}

TEST(MainLibraryRowsTest, RemovingRowsKeepsTheDecksOnTheirTracks)
{
    struct Case {
        std::vector<int> selected;
        int decks[2];
    };
    const int count = 8;
    const std::vector<Case> cases = {
        {{2}, {5, -1}},          // a row above deck A's
        {{6, 1, 3}, {4, 7}},     // unsorted, around both decks
        {{4}, {4, 0}},           // deck A's own row
        {{0, 7}, {7, 0}},        // both decks' rows
        {{3, 3, 9, -2}, {3, 5}}, // duplicates and rows out of range
        {{0, 1, 2, 3, 4, 5, 6, 7}, {1, 6}},
    };
    for (const Case& c : cases) {
        std::vector<int> tracks = Tracks(count);
        const Removal plan = PlanRemoval(c.selected, count, c.decks);
        ASSERT_TRUE(std::is_sorted(plan.indexes.begin(), plan.indexes.end()));
        ASSERT_EQ(std::adjacent_find(plan.indexes.begin(), plan.indexes.end()), plan.indexes.end());
        for (int index : plan.indexes) {
            ASSERT_GE(index, 0);
            ASSERT_LT(index, count);
        }
        tracks.erase(std::remove_if(tracks.begin(), tracks.end(),
                                    [&](int track) {
                                        return std::binary_search(plan.indexes.begin(), plan.indexes.end(), track);
                                    }),
                     tracks.end());
        for (int deck = 0; deck < 2; ++deck) {
            const int track = c.decks[deck];
            if (track < 0) {
                EXPECT_EQ(plan.rowOnDeck[deck], -1);
                EXPECT_FALSE(plan.clearDeck[deck]);
                continue;
            }
            const bool removed = std::find(c.selected.begin(), c.selected.end(), track) != c.selected.end();
            EXPECT_EQ(plan.clearDeck[deck], removed);
            if (removed) {
                EXPECT_EQ(plan.rowOnDeck[deck], -1);
            } else {
                ASSERT_GE(plan.rowOnDeck[deck], 0);
                EXPECT_EQ(tracks[static_cast<size_t>(plan.rowOnDeck[deck])], track);
            }
        }
        // Exactly the selected tracks went.
        for (int track = 0; track < count; ++track) {
            const bool selected = std::find(c.selected.begin(), c.selected.end(), track) != c.selected.end();
            EXPECT_NE(std::find(tracks.begin(), tracks.end(), track) != tracks.end(), selected) << track;
        }
    }
}

TEST(MainLibraryRowsTest, NoDeckStaysNoDeck)
{
    const int none[2] = {-1, -1};
    const Removal plan = PlanRemoval({0, 1}, 3, none);
    EXPECT_EQ(plan.rowOnDeck[0], -1);
    EXPECT_EQ(plan.rowOnDeck[1], -1);
    EXPECT_FALSE(plan.clearDeck[0] || plan.clearDeck[1]);
    const int stale[2] = {9, -1};  // a row the list no longer has
    EXPECT_EQ(PlanRemoval({0}, 3, stale).rowOnDeck[0], -1);
}

TEST(MainLibraryRowsTest, TheSelectionAfterARemovalStaysInTheList)
{
    const int cases[][3] = {{2, 5, 2}, {4, 4, 3}, {7, 2, 1}, {0, 0, -1}, {-1, 3, -1}};
    for (const auto& c : cases)
        EXPECT_EQ(RowToSelectAfterRemoval(c[0], c[1]), c[2]) << c[0] << " of " << c[1];
}
