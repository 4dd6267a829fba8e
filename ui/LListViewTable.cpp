#include "ui/LListViewTable.h"

#include "ui/LListViewImpl.h"
#include "ui/LListViewKeys.h"
#include "ui/LListViewModel.h"

#include <QContextMenuEvent>
#include <QDrag>
#include <QDropEvent>
#include <QHeaderView>
#include <QMimeData>
#include <QPointer>

LListViewTable::LListViewTable(LListView::Impl& list, QWidget* parent)
    : QTableView(parent), _list(&list)
{
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setWordWrap(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setTextElideMode(Qt::ElideRight);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDropIndicatorShown(false);
    setDefaultDropAction(Qt::MoveAction);
    // Every row the same height, set once: a hundred thousand rows then cost no measuring.
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    horizontalHeader()->setStretchLastSection(false);
    horizontalHeader()->setSectionsClickable(true);
    horizontalHeader()->setHighlightSections(false);
}

void LListViewTable::contextMenuEvent(QContextMenuEvent* event)
{
    if (!_list) {
        return;
    }
    const int row = rowAt(event->pos().y());
    if (row >= 0 && !selectionModel()->isRowSelected(row, QModelIndex())) {
        _list->Select({row}, false);
    }
    event->accept();
    _list->handler.EvListContextMenu(row);
}

int LListViewTable::_DragRow() const
{
    const int current = currentIndex().row();
    if (current >= 0 && selectionModel()->isRowSelected(current, QModelIndex())) {
        return current;
    }
    const std::vector<int> selected = _list->SelectedRows();
    return selected.empty() ? -1 : selected.front();
}

void LListViewTable::startDrag(Qt::DropActions /*supportedActions*/)
{
    if (!_list) {
        return;
    }
    const int row = _DragRow();
    if (row < 0) {
        return;
    }
    _list->BeginDrag(row);
    auto* mime = new QMimeData;
    mime->setData(QString::fromLatin1(LListViewModel::kRowMimeType), _list->DragTag());
    auto* drag = new QDrag(this);  // Qt deletes it once the drag is over
    drag->setMimeData(mime);
    const QPointer<LListViewTable> self(this);
    drag->exec(Qt::MoveAction | Qt::CopyAction, Qt::MoveAction);
    if (self && _list) {
        _list->EndDrag();
    }
}

void LListViewTable::dragEnterEvent(QDragEnterEvent* event)
{
    if (_list && _list->IsOwnRow(event->mimeData())) {
        QTableView::dragEnterEvent(event);
        event->acceptProposedAction();
    } else if (event->mimeData() && event->mimeData()->hasUrls()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
}

void LListViewTable::dragMoveEvent(QDragMoveEvent* event)
{
    if (_list && _list->IsOwnRow(event->mimeData())) {
        QTableView::dragMoveEvent(event);  // scrolls near the edges
        // Over the list a drop reorders; the owner still hears the move to take down the
        // hints it shows over other places.
        const QPoint at = _list->ToWindow(viewport(), event->position().toPoint());
        _list->handler.EvDragging({_list->dragRow, at.x(), at.y()});
        _list->dragAccepted = false;
        event->setDropAction(Qt::MoveAction);
        event->accept();
    } else if (event->mimeData() && event->mimeData()->hasUrls()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
}

void LListViewTable::dragLeaveEvent(QDragLeaveEvent* event)
{
    QTableView::dragLeaveEvent(event);
}

void LListViewTable::_EndDragOver()
{
    stopAutoScroll();
    setState(QAbstractItemView::NoState);
    viewport()->update();
}

void LListViewTable::dropEvent(QDropEvent* event)
{
    _EndDragOver();
    if (!_list) {
        event->ignore();
        return;
    }
    const QPoint point = event->position().toPoint();
    if (_list->IsOwnRow(event->mimeData())) {
        const int to = LListViewReorderTarget(_list->dragRow, rowAt(point.y()), _list->model->GetRowCount());
        if (to >= 0) {
            _list->pending = LListViewPendingDrop::kReorder;
            _list->reorderTo = to;
        }
        event->setDropAction(Qt::MoveAction);
        event->accept();
        return;
    }
    if (!_list->DropFiles(event, _list->ToWindow(viewport(), point))) {
        event->ignore();
    }
}
