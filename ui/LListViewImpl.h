#pragma once

// The Qt side of LListView, for its own sources only.

#include "ui/LListView.h"

#include <QByteArray>
#include <QPoint>
#include <QPointer>

#include <memory>
#include <string>
#include <vector>

class LListViewEventRelay;
class LListViewModel;
class LListViewTable;
class QDragMoveEvent;
class QDropEvent;
class QEvent;
class QItemSelectionModel;
class QMimeData;
class QObject;
class QWidget;

// What a drag of a row ended in; acted on once the drag has returned, so that the owner may
// refill the list or open a dialog.
enum class LListViewPendingDrop : int { kNone, kReorder, kElement };

struct LListView::Impl {
    using PendingDrop = LListViewPendingDrop;

    Impl(LWindow& window, int id, LListViewHandler& handler);
    ~Impl();

    // Makes the table inside the window and takes the window's drops.
    void Build();
    // Gives the window back what Build took and deletes the table.
    void Destroy();

    QItemSelectionModel* Selection() const;
    std::vector<int> SelectedRows() const;
    // Selects exactly those rows (out-of-range ones ignored); `quiet` tells no one.
    void Select(std::vector<int> rows, bool quiet);
    void Sort(int column, bool ascending);

    void Adjust(int width);
    void LoadShares(const char* section);
    void SaveShares(const char* section) const;

    // Drags. The tag names this list in the drag's data, so rows of another list are not
    // taken for ours.
    QByteArray DragTag() const;
    bool IsOwnRow(const QMimeData* mime) const;
    QPoint ToWindow(const QWidget* from, QPoint point) const;
    void BeginDrag(int row);
    void EndDrag();
    // Window-level drag events at `at` in the window's coordinates; true when they were ours.
    bool DragOverWindow(QDragMoveEvent* event, QPoint at);
    bool DropOnWindow(QDropEvent* event, QPoint at);
    // A text/uri-list drop: the handler hears of it once the drop has returned.
    bool DropFiles(QDropEvent* event, QPoint at);

    LWindow& window;
    int id;
    LListViewHandler& handler;
    std::unique_ptr<LListViewModel> model;
    QPointer<LListViewTable> table;
    QPointer<QWidget> windowWidget;
    std::unique_ptr<LListViewEventRelay> windowRelay;
    std::unique_ptr<LListViewEventRelay> headerRelay;

    std::vector<int> widths;  // pixels of each column now
    int lastWidth = 0;        // pixels given to the last AdjustColumns
    bool adjusting = false;   // our own resizes are under way
    bool userResized = false; // the user moved a column edge since the last save
    std::string settingsSection;
    int sortColumn = -1;
    bool sortAscending = true;

    int dragRow = -1;
    bool dragAccepted = false;  // what EvDragging last answered
    PendingDrop pending = PendingDrop::kNone;
    int reorderTo = -1;
    LDroppedListViewElement droppedElement;

private:
    void _RegisterControl();
    void _TakeWindowDrops();
    void _HeaderClicked(int column);
    void _SectionResized(int column, int size);
    void _UserResizeDone();
    bool _WindowEvent(QObject* watched, QEvent* event);
};
