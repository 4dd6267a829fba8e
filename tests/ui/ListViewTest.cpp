#include "app/LSettings.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/LListView.h"
#include "ui/LListViewKeys.h"
#include "ui/LWindow.h"

#include <QAbstractItemView>
#include <QWidget>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr int kListId = 239;

class RecordingHandler : public LListViewHandler {
public:
    int selectionChanges = 0;
    int sorts = 0;
    std::vector<int> doubleClicks;
    void EvListSelectionChanged() override { ++selectionChanges; }
    void EvListDoubleClick(int row) override { doubleClicks.push_back(row); }
    void SortCompleted() override { ++sorts; }
};

const LListViewColumn kColumns[] = {
    {"Title", 17, LListViewSortKind::kText},
    {"Time", 10, LListViewSortKind::kTime},
    {"BPM", 9, LListViewSortKind::kNumber},
};
constexpr int kColumnCount = 3;

LListViewRow Row(std::vector<std::string> cells, int index)
{
    LListViewRow row;
    row.cells = std::move(cells);
    row.index = index;
    return row;
}

class ListViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QtTestApp();
        window.CreateTopLevel("list", 800, 600);
        list = std::make_unique<LListView>(window, kListId, handler);
        list->SetColumns(kColumns, kColumnCount);
    }
    void TearDown() override { list.reset(); }

    // Rows given as title, time, bpm; the hidden number is the row's first place.
    void Fill(const std::vector<std::vector<std::string>>& cells)
    {
        std::vector<LListViewRow> rows;
        for (size_t i = 0; i < cells.size(); ++i) {
            rows.push_back(Row(cells[i], static_cast<int>(i)));
        }
        list->SetRows(std::move(rows));
    }
    std::vector<int> Indices() const
    {
        std::vector<int> indices;
        for (int row = 0; row < list->GetRowCount(); ++row) {
            indices.push_back(list->GetRowIndex(row));
        }
        return indices;
    }

    TestHome home;
    LWindow window;
    RecordingHandler handler;
    std::unique_ptr<LListView> list;
};

TEST_F(ListViewTest, CellsRowsAndIndicesIgnoreOutOfRange)
{
    Fill({{"a", "1:00", "120"}, {"b"}});
    ASSERT_EQ(list->GetRowCount(), 2);
    EXPECT_EQ(list->GetColumnCount(), kColumnCount);
    EXPECT_EQ(list->GetCell(0, 2), "120");
    EXPECT_EQ(list->GetCell(1, 2), "");  // a short row reads as empty cells
    list->SetCell(1, 2, "99");           // and grows when written
    EXPECT_EQ(list->GetCell(1, 2), "99");
    for (auto [row, column] : {std::pair{-1, 0}, {2, 0}, {0, -1}, {0, 3}, {1000000, 1000000}}) {
        list->SetCell(row, column, "x");
        EXPECT_EQ(list->GetCell(row, column), "") << row << "," << column;
    }
    list->SetRowIndex(1, 42);
    list->SetRowIndex(5, 7);
    EXPECT_EQ(Indices(), (std::vector<int>{0, 42}));
    EXPECT_EQ(list->GetRowIndex(-1), -1);
    EXPECT_EQ(list->GetRowIndex(2), -1);
    // The model shows what the rows hold.
    const QAbstractItemModel* model = qobject_cast<QAbstractItemView*>(list->GetWidget())->model();
    EXPECT_EQ(model->data(model->index(1, 2)).toString().toStdString(), "99");
    list->Clear();
    EXPECT_EQ(list->GetRowCount(), 0);
    EXPECT_EQ(list->GetCell(0, 0), "");
}

TEST_F(ListViewTest, ListIsAControlOfItsWindow)
{
    ASSERT_NE(list->GetWidget(), nullptr);
    EXPECT_EQ(window.GetControlHandle(kListId), list->GetWidget());
    EXPECT_EQ(list->GetWidget()->parentWidget(), window.GetWidget());
    list->SetGeometry(10, 20, 300, 200);
    EXPECT_EQ(list->GetWidget()->geometry(), QRect(10, 20, 300, 200));
    list.reset();
    EXPECT_EQ(window.GetControlHandle(kListId), nullptr);
}

TEST_F(ListViewTest, SelectionIsInListOrderAndEveryChangeIsTold)
{
    Fill({{"a"}, {"b"}, {"c"}, {"d"}, {"e"}});
    list->SelectRows({4, 1, -3, 2, 99, 1});
    EXPECT_EQ(list->GetSelectedRows(), (std::vector<int>{1, 2, 4}));
    EXPECT_EQ(list->GetSelectedCount(), 3);
    EXPECT_EQ(list->GetFirstSelected(), 1);
    EXPECT_EQ(handler.selectionChanges, 1);
    list->SelectRows({4, 2, 1});  // the same rows: no change to tell
    EXPECT_EQ(handler.selectionChanges, 1);
    list->SelectRow(3);
    EXPECT_EQ(list->GetSelectedRows(), (std::vector<int>{3}));
    EXPECT_EQ(handler.selectionChanges, 2);
    list->SelectRow(17);  // out of range clears, as -1 does
    EXPECT_EQ(list->GetFirstSelected(), -1);
    EXPECT_EQ(handler.selectionChanges, 3);
    list->SelectRow(0);
    Fill({{"x"}});  // new rows drop the selection, and that is a change too
    EXPECT_EQ(list->GetSelectedCount(), 0);
    EXPECT_EQ(handler.selectionChanges, 5);
}

TEST_F(ListViewTest, SortByEachKindKeepsHiddenNumbersAndIsStable)
{
    struct Case {
        int column;
        bool ascending;
        std::vector<int> indices;
    };
    // Titles: case-insensitive; "b" twice keeps rows 1 and 3 in their order both ways.
    // Times: unreadable first, then by value. Numbers: "-" and unreadable first.
    const std::vector<std::vector<std::string>> rows = {
        {"Charlie", "1:02:03.0", "128.5"},
        {"b", "59.9", "-"},
        {"alpha", "bad", "7"},
        {"b", "1:00", "-3"},
        {"B", "", "120"},
    };
    const std::vector<Case> cases = {
        {0, true, {2, 4, 1, 3, 0}},   {0, false, {0, 1, 3, 4, 2}},
        {1, true, {2, 4, 1, 3, 0}},   {1, false, {0, 3, 1, 2, 4}},
        {2, true, {1, 3, 2, 4, 0}},   {2, false, {0, 4, 2, 3, 1}},
    };
    for (const Case& c : cases) {
        Fill(rows);
        const int sortsBefore = handler.sorts;
        list->SortByColumn(c.column, c.ascending);
        EXPECT_EQ(Indices(), c.indices) << "column " << c.column << " ascending " << c.ascending;
        EXPECT_EQ(handler.sorts, sortsBefore + 1);
        for (int row = 0; row < list->GetRowCount(); ++row) {
            EXPECT_EQ(list->GetCell(row, c.column), rows[c.indices[row]][c.column]);
        }
    }
    list->SortByColumn(7, true);  // no such column: nothing moves, nothing told
    EXPECT_EQ(handler.sorts, static_cast<int>(cases.size()));
}

TEST_F(ListViewTest, SelectionFollowsItsRowsThroughASort)
{
    Fill({{"c"}, {"a"}, {"b"}});
    list->SelectRows({0, 2});  // "c" and "b"
    list->SortByColumn(0, true);
    EXPECT_EQ(list->GetSelectedRows(), (std::vector<int>{1, 2}));
    EXPECT_EQ(list->GetCell(1, 0), "b");
    EXPECT_EQ(list->GetCell(2, 0), "c");
}

TEST(ListViewKeys, TimeKeyReadsEveryFormAndRefusesOddTexts)
{
    struct Case {
        const char* text;
        bool readable;
        double seconds;
    };
    const Case cases[] = {
        {"1:02:03.5", true, 3723.5}, {"4:05", true, 245.0},     {"7.25", true, 7.25},
        {" 0:00 ", true, 0.0},       {"10:00:00.0", true, 36000}, {"0:59.9", true, 59.9},
        {"", false, 0},              {"-", false, 0},           {"1:2:3:4", false, 0},
        {"a:00", false, 0},          {"1::00", false, 0},       {":30", false, 0},
        {"1:30.", true, 90.0},       {"1.5:30", false, 0},      {"-1:00", false, 0},
        {"1:00.1.2", false, 0},      {"12abc", false, 0},
    };
    for (const Case& c : cases) {
        const LListViewValueKey key = LListViewTimeKey(c.text);
        EXPECT_EQ(key.readable, c.readable) << c.text;
        if (c.readable) {
            EXPECT_NEAR(key.value, c.seconds, 1e-9) << c.text;
        }
    }
}

TEST(ListViewKeys, NumberKeyReadsLeadingNumbersWhateverTheLocale)
{
    struct Case {
        const char* text;
        bool readable;
        double value;
    };
    const Case cases[] = {
        {"128.50", true, 128.5}, {" 99", true, 99},  {"+5", true, 5},     {"-3", true, -3},
        {"120 bpm", true, 120},  {"1e3", true, 1000}, {"-", false, 0},    {"", false, 0},
        {"nan", false, 0},       {"abc", false, 0},   {"1e999", true, HUGE_VAL},
    };
    for (const Case& c : cases) {
        const LListViewValueKey key = LListViewNumberKey(c.text);
        EXPECT_EQ(key.readable, c.readable) << c.text;
        if (c.readable) {
            EXPECT_EQ(key.value, c.value) << c.text;
        }
    }
    EXPECT_TRUE(LListViewNumberKey("-") < LListViewNumberKey("-1e300"));
    EXPECT_FALSE(LListViewNumberKey("x") < LListViewNumberKey("-"));
}

TEST(ListViewKeys, TextKeyFoldsCaseBeyondAscii)
{
    EXPECT_EQ(LListViewTextKey("ABC def"), "abc def");
    EXPECT_EQ(LListViewTextKey("\xc3\x89T\xc3\x89"), LListViewTextKey("\xc3\xa9t\xc3\xa9"));  // ÉTÉ, été
    EXPECT_EQ(LListViewTextKey("\xff\xfe"), LListViewTextKey("\xff\xfe"));  // not UTF-8: no crash
}

}  // namespace
