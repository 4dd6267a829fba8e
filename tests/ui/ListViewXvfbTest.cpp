// Rows of the library list dragged by the real pointer of an X server: onto another widget of
// the window (which takes no drops itself, so the window hears of it), and onto another row.
#include "XvfbTestSupport.h"

#include "ui/LListView.h"
#include "ui/LWindow.h"

#include <QTableView>
#include <QWidget>

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace XvfbTest;

namespace {

constexpr int kListId = 239;
constexpr int kWindowWidth = 640, kWindowHeight = 480;  // pixels
const QRect kListRect(10, 10, 400, 300);                 // in the window
const QRect kTargetRect(450, 100, 150, 150);             // in the window
constexpr int kRowCount = 8;
constexpr int kDraggedRow = 1;

const LListViewColumn kColumns[] = {{"Title", 3, LListViewSortKind::kText},
                                    {"Time", 1, LListViewSortKind::kTime}};

// Accepts drops over the target widget and writes down what it hears.
class DragHandler : public LListViewHandler {
public:
    QRect target;
    std::vector<std::string> log;
    LDroppedListViewElement dropped;
    int draggingCalls = 0;
    int lastFrom = -1, lastTo = -1;

    void EvDragStarted(const LDroppedListViewElement& element) override
    {
        log.push_back("started " + std::to_string(element.row));
    }
    bool EvDragging(const LDroppedListViewElement& element) override
    {
        ++draggingCalls;
        return target.contains(element.x, element.y);
    }
    void EvDropListViewElement(LDroppedListViewElement& element) override
    {
        dropped = element;
        log.push_back("dropped " + std::to_string(element.row));
    }
    void EvDragStopped() override { log.push_back("stopped"); }
    void EvLVDragFinish(int from, int to) override
    {
        lastFrom = from;
        lastTo = to;
        log.push_back("moved");
    }
};

class ListViewXvfbTest : public testing::Test {
protected:
    void SetUp() override
    {
        _window.CreateTopLevel("List drag test", kWindowWidth, kWindowHeight);
        _target = new QWidget(_window.GetWidget());
        _target->setGeometry(kTargetRect);
        _handler.target = kTargetRect;
        _list = std::make_unique<LListView>(_window, kListId, _handler);
        _list->SetColumns(kColumns, 2);
        _list->SetGeometry(kListRect.x(), kListRect.y(), kListRect.width(), kListRect.height());
        _list->AdjustColumns(kListRect.width());
        std::vector<LListViewRow> rows;
        for (int i = 0; i < kRowCount; ++i) {
            rows.push_back({{"Track " + std::to_string(i), "1:0" + std::to_string(i)}, 100 + i});
        }
        _list->SetRows(std::move(rows));
        _window.Show();
        ASSERT_TRUE(WaitExposed(_window.GetWidget()));
    }
    void TearDown() override { _list.reset(); }

    // The centre of a row on the screen.
    QPoint RowCentre(int row) const
    {
        auto* table = qobject_cast<QTableView*>(_list->GetWidget());
        const QPoint inViewport(table->columnWidth(0) / 2, table->rowViewportPosition(row) +
                                                               table->rowHeight(row) / 2);
        return table->viewport()->mapToGlobal(inViewport);
    }
    QPoint WindowToScreen(QPoint point) const { return _window.GetWidget()->mapToGlobal(point); }

    // Presses on `from`, moves in steps to `to` and releases there. The moves come from a
    // program of their own: while the drag runs, this thread is inside the drag's own loop.
    void Drag(QPoint from, QPoint to)
    {
        ASSERT_TRUE(MovePointer(from));
        const auto at = [](QPoint p) { return std::vector<std::string>{"mousemove", std::to_string(p.x()), std::to_string(p.y()), "sleep", "0.2"}; };
        std::vector<std::string> argv = {"/usr/bin/xdotool", "mousedown", "1", "sleep", "0.2"};
        for (QPoint step : {from + QPoint(3, 3), from + QPoint(12, 12), (from + to) / 2, to,
                            to + QPoint(2, 2)}) {
            const std::vector<std::string> move = at(step);
            argv.insert(argv.end(), move.begin(), move.end());
        }
        argv.insert(argv.end(), {"mouseup", "1"});
        const pid_t pid = Spawn(argv, {});
        ASSERT_GT(pid, 0);
        ASSERT_TRUE(WaitFor([&] { return !_handler.log.empty() && _handler.log.back() == "stopped"; }));
        EXPECT_EQ(WaitExit(pid), 0);
    }

    LWindow _window;
    QWidget* _target = nullptr;
    DragHandler _handler;
    std::unique_ptr<LListView> _list;
};

TEST_F(ListViewXvfbTest, RowDroppedOnAnotherWidgetOfTheWindowReachesTheHandler)
{
    const QPoint drop = kTargetRect.center();
    Drag(RowCentre(kDraggedRow), WindowToScreen(drop));
    EXPECT_EQ(_handler.log,
              (std::vector<std::string>{"started 1", "dropped 1", "stopped"}));
    EXPECT_GT(_handler.draggingCalls, 0);
    EXPECT_EQ(_handler.dropped.row, kDraggedRow);
    EXPECT_TRUE(kTargetRect.contains(_handler.dropped.x, _handler.dropped.y))
        << _handler.dropped.x << "," << _handler.dropped.y;
    EXPECT_EQ(_list->GetRowIndex(kDraggedRow), 100 + kDraggedRow);  // the list is unchanged
}

TEST_F(ListViewXvfbTest, RowDroppedOutsideTheTargetIsRefused)
{
    Drag(RowCentre(kDraggedRow), WindowToScreen(QPoint(kTargetRect.x() - 20, kWindowHeight - 20)));
    EXPECT_EQ(_handler.log, (std::vector<std::string>{"started 1", "stopped"}));
}

TEST_F(ListViewXvfbTest, RowDroppedOnAnotherRowAsksForTheMoveAndChangesNothing)
{
    Drag(RowCentre(kDraggedRow), RowCentre(5));
    EXPECT_EQ(_handler.log, (std::vector<std::string>{"started 1", "moved", "stopped"}));
    EXPECT_EQ(_handler.lastFrom, kDraggedRow);
    EXPECT_EQ(_handler.lastTo, 5);
    for (int row = 0; row < kRowCount; ++row) {
        EXPECT_EQ(_list->GetRowIndex(row), 100 + row);
    }
}

}  // namespace
