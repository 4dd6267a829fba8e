#pragma once

// The table widget of an LListView. Private to ui/.

#include "ui/LListView.h"

#include <QTableView>

// Shows the model's rows, selects whole rows, and reports right clicks, drags and drops to the
// list. The list cuts the link (Detach) before it goes.
class LListViewTable : public QTableView {
public:
    LListViewTable(LListView::Impl& list, QWidget* parent);
    void Detach() { _list = nullptr; }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    // The row a drag starts from: the pressed one if selected, else the first selected.
    int _DragRow() const;
    void _EndDragOver();

    LListView::Impl* _list;
};
