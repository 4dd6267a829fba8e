#include "app/LHashTable.h"
#include "app/LSettings.h"
#include "support/QtTestApp.h"
#include "support/TestHome.h"
#include "ui/LListView.h"
#include "ui/LListViewKeys.h"
#include "ui/LWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHeaderView>
#include <QMimeData>
#include <QMouseEvent>
#include <QTableView>
#include <QWidget>

#include <gtest/gtest.h>

#include <cmath>

#include <string>
#include <vector>

namespace {

constexpr int kListId = 239;

class RecordingHandler : public LListViewHandler {
public:
    int selectionChanges = 0;
    int sorts = 0;
    std::vector<int> doubleClicks;
    std::vector<int> contextMenus;
    std::vector<LDroppedFileData> fileDrops;
    void EvListContextMenu(int row) override { contextMenus.push_back(row); }
    void EvDropFiles(LDroppedFileData& data) override { fileDrops.push_back(data); }
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
    Fill({{"a", "1:00", "120", "kept"}, {"b"}});
    ASSERT_EQ(list->GetRowCount(), 2);
    EXPECT_EQ(list->GetColumnCount(), kColumnCount);
    EXPECT_EQ(list->GetCell(0, 2), "120");
    EXPECT_EQ(list->GetCell(1, 2), "");  // a short row reads as empty cells
    list->SetCell(1, 2, "99");           // and grows when written
    EXPECT_EQ(list->GetCell(1, 2), "99");
    EXPECT_EQ(list->GetCell(0, 3), "kept");  // beyond the columns: kept, not shown
    for (auto [row, column] : {std::pair{-1, 0}, {2, 0}, {0, -1}, {0, 4}, {1, 3}, {1000000, 1000000}}) {
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
        {"1:30.", true, 90.0},       {"1.5:30", false, 0},      {"-0:01:00.5", true, -60.5},
        {"1:00.1.2", false, 0},      {"12abc", false, 0},       {"--1:00", false, 0},
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

namespace {

TEST_F(ListViewTest, HeaderClicksSortAndToggleTheDirection)
{
    Fill({{"b"}, {"c"}, {"a"}});
    auto* table = qobject_cast<QTableView*>(list->GetWidget());
    ASSERT_NE(table, nullptr);
    QHeaderView* header = table->horizontalHeader();
    const std::vector<std::vector<int>> expected = {{2, 0, 1}, {1, 0, 2}, {2, 0, 1}};
    for (size_t click = 0; click < expected.size(); ++click) {
        header->sectionClicked(0);
        EXPECT_EQ(Indices(), expected[click]) << "click " << click;
        EXPECT_EQ(header->sortIndicatorSection(), 0);
        EXPECT_EQ(header->sortIndicatorOrder(), click % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
    }
    EXPECT_EQ(handler.sorts, 3);
    header->sectionClicked(1);  // another column starts ascending again
    EXPECT_EQ(header->sortIndicatorOrder(), Qt::AscendingOrder);
}

TEST_F(ListViewTest, ColumnsTakeTheirSharesOfTheWidth)
{
    const std::vector<int> widths = LListViewColumnWidths({17, 10, 9}, 720);
    EXPECT_EQ(widths, (std::vector<int>{340, 200, 180}));
    EXPECT_EQ(LListViewColumnWidths({1, 1, 1}, 100), (std::vector<int>{33, 33, 34}));
    EXPECT_EQ(LListViewColumnWidths({0, -4, 2}, 40), (std::vector<int>{10, 10, 20}));
    EXPECT_EQ(LListViewColumnWidths({5, 5}, -30), (std::vector<int>{0, 0}));
    EXPECT_TRUE(LListViewColumnWidths({}, 500).empty());
    // No overflow: 2e9 pixels times the largest share still divides right.
    EXPECT_EQ(LListViewColumnWidths({kLListViewMaxShare, 1}, 2000000000)[1], 20000);

    list->AdjustColumns(800);
    int sum = 0;
    for (int column = 0; column < kColumnCount; ++column) {
        sum += list->GetColumnWidth(column);
    }
    EXPECT_LE(sum, 800);  // the frame and a scroll bar's room come off
    EXPECT_GT(list->GetColumnWidth(0), list->GetColumnWidth(1));
    EXPECT_GT(list->GetColumnWidth(1), list->GetColumnWidth(2));
    EXPECT_EQ(list->GetColumnWidth(3), 0);
    EXPECT_EQ(list->GetColumnWidth(-1), 0);
}

TEST(ListViewKeys, StoredSharesMustBePlainPositiveNumbers)
{
    struct Case {
        const char* text;
        int share;  // 0: refused
    };
    const Case cases[] = {{"17", 17},   {"1", 1},       {"100000", 100000}, {"0", 0},
                          {"-5", 0},    {"100001", 0},  {"99999999999999", 0}, {"abc", 0},
                          {"12abc", 0}, {"", 0},        {" 12", 0},         {"1.5", 0}};
    for (const Case& c : cases) {
        const std::optional<int> share = LListViewParseShare(c.text);
        EXPECT_EQ(share.value_or(0), c.share) << c.text;
    }
}

TEST_F(ListViewTest, SavedSharesComeBackAndAbsurdOnesAreIgnored)
{
    const char* section = "ListTest";
    list->AdjustColumns(1000);
    const int defaultFirst = list->GetColumnWidth(0);
    // Shares saved from one list give another the same proportions.
    LUserSettingSetString(section, "Column1", "100");
    LUserSettingSetString(section, "Column2", "100");
    LUserSettingSetString(section, "Column3", "200");
    list->LoadColumnsFromSettings(section);
    EXPECT_EQ(list->GetColumnWidth(0), list->GetColumnWidth(1));
    EXPECT_NEAR(list->GetColumnWidth(2), 2 * list->GetColumnWidth(0), 2);
    list->SaveColumnsToSettings("ListCopy");
    char copy[kLTextBytes] = "";
    _LUserSettingGetString("ListCopy", "Column3", "", copy);
    EXPECT_STREQ(copy, "200");

    const std::string longest(kLTextBytes - 1, '7');  // the longest value the store keeps
    for (const char* absurd : {"-5", "0", "999999999", "abc", "", longest.c_str()}) {
        LListView other(window, kListId + 1, handler);
        other.SetColumns(kColumns, kColumnCount);
        LUserSettingSetString(section, "Column2", absurd);
        other.LoadColumnsFromSettings(section);
        other.AdjustColumns(1000);
        EXPECT_EQ(other.GetColumnWidth(0), defaultFirst) << absurd;
    }
}

TEST_F(ListViewTest, DraggingAHeaderEdgeSavesTheNewShares)
{
    const char* section = "ListDrag";
    list->LoadColumnsFromSettings(section);
    window.Show();
    list->SetGeometry(0, 0, 600, 300);
    list->AdjustColumns(600);
    char stored[kLTextBytes] = "";
    EXPECT_FALSE(_LUserSettingGetString(section, "Column1", "", stored));  // our own sizing: no save

    auto* table = qobject_cast<QTableView*>(list->GetWidget());
    QWidget* header = table->horizontalHeader()->viewport();
    const int before = list->GetColumnWidth(0);
    const QPoint edge(before - 1, header->height() / 2);
    const QPoint moved = edge + QPoint(40, 0);
    QMouseEvent press(QEvent::MouseButtonPress, edge, header->mapToGlobal(edge), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QMouseEvent move(QEvent::MouseMove, moved, header->mapToGlobal(moved), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QMouseEvent release(QEvent::MouseButtonRelease, moved, header->mapToGlobal(moved),
                        Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(header, &press);
    QApplication::sendEvent(header, &move);
    QApplication::sendEvent(header, &release);

    EXPECT_EQ(list->GetColumnWidth(0), before + 40);
    ASSERT_TRUE(_LUserSettingGetString(section, "Column1", "", stored));
    EXPECT_EQ(std::string(stored), std::to_string(before + 40));
    EXPECT_TRUE(_LUserSettingGetString(section, "Column3", "", stored));
    window.Hide();
}

TEST(ListViewKeys, UriListGivesLocalPathsByteExact)
{
    struct Case {
        const char* name;
        std::string data;
        std::vector<std::string> paths;
    };
    const std::vector<Case> cases = {
        {"plain", "file:///home/a/b.mp3\r\nfile:///tmp/c.wav\r\n", {"/home/a/b.mp3", "/tmp/c.wav"}},
        {"no final newline", "file:///x", {"/x"}},
        {"percent", "file:///a%20b/%C3%A9t%C3%A9.mp3", {"/a b/\xc3\xa9t\xc3\xa9.mp3"}},
        {"not UTF-8", "file:///m/%FF%FE.ogg", {"/m/\xff\xfe.ogg"}},
        {"newline in a name", "file:///m/a%0Ab.mp3\r\n", {"/m/a\nb.mp3"}},
        {"hash and query", "file:///m/a%23b.mp3#frag\nfile:///m/c.mp3?x=1", {"/m/a#b.mp3", "/m/c.mp3"}},
        {"comments and blanks", "# comment\r\n\r\n  file:///y  \r\n", {"/y"}},
        {"localhost and case", "FILE://localhost/z\nfile://LOCALHOST/w", {"/z", "/w"}},
        {"short form", "file:/short", {"/short"}},
        {"non-local skipped",
         "http://example.com/a.mp3\nfile://otherhost/b.mp3\nsmb://s/c\nfile:///d.mp3",
         {"/d.mp3"}},
        {"broken escapes kept", "file:///a%zz%4", {"/a%zz%4"}},
        {"NUL refused", "file:///a%00b\nfile:///ok", {"/ok"}},
        {"relative refused", "file:relative\nfile://", {}},
        {"empty", "", {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LListViewParseUriList(c.data), c.paths) << c.name;
    }
}

TEST(ListViewKeys, ReorderTargetIsTheRowDroppedOn)
{
    struct Case {
        int from, drop, count, to;
    };
    const Case cases[] = {
        {0, 3, 5, 3},  {4, 1, 5, 1},  {2, 2, 5, -1}, {1, -1, 5, 4},  {4, -1, 5, -1},
        {1, 99, 5, 4}, {-1, 2, 5, -1}, {5, 2, 5, -1}, {0, 0, 0, -1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(LListViewReorderTarget(c.from, c.drop, c.count), c.to)
            << c.from << " onto " << c.drop << " of " << c.count;
    }
}

}  // namespace

namespace {

// The centre of a row in the table's viewport.
QPoint RowPoint(const LListView& list, int row)
{
    auto* table = qobject_cast<QTableView*>(list.GetWidget());
    return {table->columnWidth(0) / 2, table->rowViewportPosition(row) + table->rowHeight(row) / 2};
}

void SendMouse(QWidget* widget, QEvent::Type type, QPoint at, Qt::MouseButton button)
{
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(button);
    QMouseEvent event(type, at, widget->mapToGlobal(at), button, held, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

TEST_F(ListViewTest, RightClickSelectsTheRowUnlessItIsSelectedAndDoubleClickNamesTheRow)
{
    Fill({{"a"}, {"b"}, {"c"}, {"d"}});
    window.Show();
    list->SetGeometry(0, 0, 400, 300);
    list->AdjustColumns(400);
    QWidget* viewport = qobject_cast<QTableView*>(list->GetWidget())->viewport();
    const auto rightClick = [&](QPoint at) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
        QApplication::sendEvent(viewport, &event);
    };

    list->SelectRows({1, 3});
    rightClick(RowPoint(*list, 3));  // on a selected row: the selection stays
    EXPECT_EQ(list->GetSelectedRows(), (std::vector<int>{1, 3}));
    rightClick(RowPoint(*list, 2));  // elsewhere: that row alone
    EXPECT_EQ(list->GetSelectedRows(), (std::vector<int>{2}));
    rightClick(QPoint(10, viewport->height() - 2));  // below the last row
    EXPECT_EQ(handler.contextMenus, (std::vector<int>{3, 2, -1}));

    const QPoint second = RowPoint(*list, 1);
    SendMouse(viewport, QEvent::MouseButtonPress, second, Qt::LeftButton);
    SendMouse(viewport, QEvent::MouseButtonRelease, second, Qt::LeftButton);
    SendMouse(viewport, QEvent::MouseButtonDblClick, second, Qt::LeftButton);
    SendMouse(viewport, QEvent::MouseButtonRelease, second, Qt::LeftButton);
    EXPECT_EQ(handler.doubleClicks, (std::vector<int>{1}));
    EXPECT_EQ(list->GetSelectedRows(), (std::vector<int>{1}));
    window.Hide();
}

TEST_F(ListViewTest, FilesDroppedOnTheWindowOrTheListReachTheHandlerAfterTheDrop)
{
    Fill({{"a"}});
    list->SetGeometry(50, 60, 300, 200);
    QWidget* viewport = qobject_cast<QTableView*>(list->GetWidget())->viewport();
    ASSERT_TRUE(window.GetWidget()->acceptDrops());
    QMimeData mime;
    mime.setData("text/uri-list", "file:///music/a%20b.mp3\r\nhttp://x/y\r\nfile:///music/%FF.wav\r\n");
    const QPoint at(123, 45);
    for (QWidget* target : {window.GetWidget(), viewport}) {
        handler.fileDrops.clear();
        QDragEnterEvent enter(at, Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent drop(QPointF(at), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &drop);
        EXPECT_TRUE(drop.isAccepted());
        EXPECT_TRUE(handler.fileDrops.empty());  // not while the drop is under way
        ASSERT_TRUE(QtTestWaitFor([&] { return !handler.fileDrops.empty(); }));
        ASSERT_EQ(handler.fileDrops.size(), 1u);
        EXPECT_EQ(handler.fileDrops[0].paths,
                  (std::vector<std::string>{"/music/a b.mp3", "/music/\xff.wav"}));
        // In the window's coordinates wherever it landed.
        const QPoint expected = target->mapTo(window.GetWidget(), at);
        EXPECT_EQ(handler.fileDrops[0].x, expected.x());
        EXPECT_EQ(handler.fileDrops[0].y, expected.y());
    }

    // Text that is not a file list is not taken.
    QMimeData text;
    text.setText("hello");
    QDragEnterEvent other(at, Qt::CopyAction, &text, Qt::LeftButton, Qt::NoModifier);
    other.ignore();
    QApplication::sendEvent(window.GetWidget(), &other);
    EXPECT_FALSE(other.isAccepted());
}

}  // namespace
