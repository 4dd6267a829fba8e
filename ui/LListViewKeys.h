#pragma once

// The parts of the list that need no widget: sort keys and order, column widths from shares,
// stored shares, dropped file names and reorder targets. Private to ui/ and its tests.

#include "ui/LListView.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A cell's value when a column sorts by time or number. Unreadable texts sort before every
// readable one and keep their order among themselves.
struct LListViewValueKey {
    bool readable = false;
    double value = 0.0;
};

inline bool operator<(const LListViewValueKey& a, const LListViewValueKey& b)
{
    if (a.readable != b.readable) {
        return !a.readable;
    }
    return a.readable && a.value < b.value;
}

// "h:mm:ss.f", "m:ss", "ss.f" and the like, in seconds, with an optional leading "-"; spaces
// around are allowed.
LListViewValueKey LListViewTimeKey(std::string_view text);
// A leading decimal number as strtod reads it, but independent of the locale; "-", "nan" and
// texts without a number are unreadable.
LListViewValueKey LListViewNumberKey(std::string_view text);
// The text key: case folded, so that "abc" and "ABC" sort together.
std::string LListViewTextKey(std::string_view text);

// The order that sorts `rows` by `column`: entry i is the old position of the row that goes
// to place i. Stable in both directions; a row without that cell sorts as an empty text.
std::vector<int> LListViewSortOrder(const std::vector<LListViewRow>& rows, int column,
                                    LListViewSortKind kind, bool ascending);

// Pixels of each column: its share of `width`; the rounding remainder goes to the last
// column. Shares below 1 count as 1; a width below 0 as 0.
std::vector<int> LListViewColumnWidths(const std::vector<int>& shares, int width);

// The largest share a stored value may hold; larger ones are taken for damage.
inline constexpr int kLListViewMaxShare = 100000;
// A stored share: a plain decimal from 1 to kLListViewMaxShare, else nothing.
std::optional<int> LListViewParseShare(std::string_view text);

// The local paths of a text/uri-list, in order, byte-exact after percent decoding: names that
// are not valid UTF-8 or hold a newline come out as the file system has them. URLs of other
// schemes and of other hosts are skipped.
std::vector<std::string> LListViewParseUriList(std::string_view data);

// Where a row dragged from `from` goes when dropped on row `dropRow` (-1: below the last
// row); -1 when the drop moves nothing.
int LListViewReorderTarget(int from, int dropRow, int rowCount);
