#include "ui/LListView.h"

#include "app/LHashTable.h"
#include "app/LSettings.h"
#include "ui/LListViewKeys.h"
#include "ui/LListViewModel.h"
#include "ui/LListViewImpl.h"
#include "ui/LListViewTable.h"
#include "ui/LWindowImpl.h"

#include <QCursor>
#include <QDropEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMimeData>
#include <QPointer>
#include <QStyle>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

const char kUriListMimeType[] = "text/uri-list";
// Pixels added to the font's line height for one row.
constexpr int kRowPaddingPixels = 6;
constexpr size_t kColumnKeySize = 32;

std::string _ColumnKey(size_t column)
{
    char key[kColumnKeySize];
    std::snprintf(key, sizeof key, "Column%zu", column + 1);
    return key;
}

}  // namespace

// Hands events of other objects (the window's widget, the header) to a function.
class LListViewEventRelay : public QObject {
public:
    using Filter = std::function<bool(QObject*, QEvent*)>;
    explicit LListViewEventRelay(Filter filter) : _filter(std::move(filter)) {}
    bool eventFilter(QObject* watched, QEvent* event) override { return _filter(watched, event); }

private:
    Filter _filter;
};

LListView::Impl::Impl(LWindow& window, int id, LListViewHandler& handler)
    : window(window), id(id), handler(handler), model(std::make_unique<LListViewModel>())
{
}

LListView::Impl::~Impl() = default;

void LListView::Impl::Build()
{
    windowWidget = window.GetWidget();
    table = new LListViewTable(*this, windowWidget.data());
    table->setModel(model.get());
    table->verticalHeader()->setDefaultSectionSize(table->fontMetrics().height() + kRowPaddingPixels);
    QObject::connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, table,
                     [this] { handler.EvListSelectionChanged(); });
    QObject::connect(table, &QAbstractItemView::doubleClicked, table,
                     [this](const QModelIndex& index) { handler.EvListDoubleClick(index.row()); });
    QHeaderView* header = table->horizontalHeader();
    QObject::connect(header, &QHeaderView::sectionClicked, table,
                     [this](int column) { _HeaderClicked(column); });
    QObject::connect(header, &QHeaderView::sectionResized, table,
                     [this](int column, int, int size) { _SectionResized(column, size); });
    headerRelay = std::make_unique<LListViewEventRelay>([this](QObject*, QEvent* event) {
        if (event->type() == QEvent::MouseButtonRelease) {
            _UserResizeDone();
        }
        return false;
    });
    header->viewport()->installEventFilter(headerRelay.get());
    _RegisterControl();
    _TakeWindowDrops();
    if (windowWidget && windowWidget->isVisible()) {
        table->show();
    }
}

void LListView::Impl::_RegisterControl()
{
    LWindow::Impl& owner = window._GetImpl();
    if (!windowWidget || owner.Find(id)) {
        return;
    }
    LControlEntry entry;
    entry.kind = LControlKind::kStatic;
    entry.widget = table.data();
    owner.controls[id] = entry;
}

void LListView::Impl::_TakeWindowDrops()
{
    if (!windowWidget) {
        return;
    }
    windowWidget->setAcceptDrops(true);
    windowRelay = std::make_unique<LListViewEventRelay>(
        [this](QObject* watched, QEvent* event) { return _WindowEvent(watched, event); });
    windowWidget->installEventFilter(windowRelay.get());
}

void LListView::Impl::Destroy()
{
    if (windowWidget && windowRelay) {
        windowWidget->removeEventFilter(windowRelay.get());
    }
    LControlEntry* entry = window._GetImpl().Find(id);
    if (entry && entry->widget == table.data()) {
        window._GetImpl().controls.erase(id);
    }
    if (table) {
        table->Detach();
        delete table.data();
    }
}

// ---- selection

QItemSelectionModel* LListView::Impl::Selection() const
{
    return table ? table->selectionModel() : nullptr;
}

std::vector<int> LListView::Impl::SelectedRows() const
{
    std::vector<int> rows;
    const QItemSelectionModel* selection = Selection();
    if (!selection) {
        return rows;
    }
    for (const QItemSelectionRange& range : selection->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.push_back(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void LListView::Impl::Select(std::vector<int> rows, bool quiet)
{
    QItemSelectionModel* selection = Selection();
    if (!selection) {
        return;
    }
    rows.erase(std::remove_if(rows.begin(), rows.end(), [this](int row) { return !model->IsRow(row); }),
               rows.end());
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    QItemSelection wanted;
    const int lastColumn = std::max(model->columnCount() - 1, 0);
    for (size_t i = 0; i < rows.size();) {
        size_t end = i + 1;
        while (end < rows.size() && rows[end] == rows[end - 1] + 1) {
            ++end;
        }
        wanted.select(model->index(rows[i], 0), model->index(rows[end - 1], lastColumn));
        i = end;
    }
    const QSignalBlocker blocker(quiet ? selection : nullptr);
    selection->select(wanted, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (!rows.empty()) {
        selection->setCurrentIndex(model->index(rows.front(), 0), QItemSelectionModel::NoUpdate);
    }
}

// ---- sorting

void LListView::Impl::_HeaderClicked(int column)
{
    const bool ascending = column == sortColumn ? !sortAscending : true;
    Sort(column, ascending);
}

void LListView::Impl::Sort(int column, bool ascending)
{
    if (!model->IsColumn(column)) {
        return;
    }
    const std::vector<int> selected = SelectedRows();
    const std::vector<int> order = model->Sort(column, ascending);
    sortColumn = column;
    sortAscending = ascending;
    if (table) {
        QHeaderView* header = table->horizontalHeader();
        header->setSortIndicator(column, ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
        header->setSortIndicatorShown(true);
    }
    // The selection stays with its rows: the same tracks, at their new places.
    std::vector<int> newPlace(order.size());
    for (size_t i = 0; i < order.size(); ++i) {
        newPlace[order[i]] = static_cast<int>(i);
    }
    std::vector<int> moved;
    moved.reserve(selected.size());
    for (int row : selected) {
        moved.push_back(newPlace[row]);
    }
    Select(std::move(moved), true);
    handler.SortCompleted();
}

// ---- column widths

void LListView::Impl::Adjust(int width)
{
    lastWidth = width;
    int chrome = 0;
    if (table) {
        chrome = 2 * table->frameWidth() + table->style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    }
    std::vector<int> shares;
    for (const LListViewColumnInfo& column : model->GetColumns()) {
        shares.push_back(column.share);
    }
    widths = LListViewColumnWidths(shares, width - chrome);
    if (!table) {
        return;
    }
    adjusting = true;
    for (size_t i = 0; i < widths.size(); ++i) {
        table->horizontalHeader()->resizeSection(static_cast<int>(i), widths[i]);
    }
    adjusting = false;
}

void LListView::Impl::_SectionResized(int column, int size)
{
    if (adjusting || column < 0 || static_cast<size_t>(column) >= widths.size()) {
        return;
    }
    widths[column] = size;
    userResized = true;
}

void LListView::Impl::_UserResizeDone()
{
    if (!userResized) {
        return;
    }
    userResized = false;
    // The pixels the user left are the new shares, so the proportions survive a resize.
    std::vector<LListViewColumnInfo>& columns = model->GetColumns();
    for (size_t i = 0; i < columns.size() && i < widths.size(); ++i) {
        columns[i].share = std::clamp(widths[i], 1, kLListViewMaxShare);
    }
    if (!settingsSection.empty()) {
        SaveShares(settingsSection.c_str());
    }
}

void LListView::Impl::LoadShares(const char* section)
{
    std::vector<LListViewColumnInfo>& columns = model->GetColumns();
    std::vector<int> shares;
    for (size_t i = 0; i < columns.size(); ++i) {
        char value[kLTextBytes] = "";  // the store's value size
        _LUserSettingGetString(section, _ColumnKey(i).c_str(), "", value);
        const std::optional<int> share = LListViewParseShare(value);
        if (!share) {
            // Stored shares and the defaults are in different units: mixing them would give
            // one column most of the list.
            return;
        }
        shares.push_back(*share);
    }
    for (size_t i = 0; i < columns.size(); ++i) {
        columns[i].share = shares[i];
    }
}

void LListView::Impl::SaveShares(const char* section) const
{
    const std::vector<LListViewColumnInfo>& columns = model->GetColumns();
    for (size_t i = 0; i < columns.size(); ++i) {
        LUserSettingSetString(section, _ColumnKey(i).c_str(), std::to_string(columns[i].share).c_str());
    }
}

// ---- drags

bool LListView::Impl::IsOwnRow(const QMimeData* mime) const
{
    return mime && mime->hasFormat(QString::fromLatin1(LListViewModel::kRowMimeType)) &&
           mime->data(QString::fromLatin1(LListViewModel::kRowMimeType)) == DragTag();
}

QByteArray LListView::Impl::DragTag() const
{
    return QByteArray::number(reinterpret_cast<quintptr>(this));
}

QPoint LListView::Impl::ToWindow(const QWidget* from, QPoint point) const
{
    if (!windowWidget || !from) {
        return point;
    }
    return from->mapTo(windowWidget.data(), point);
}

void LListView::Impl::BeginDrag(int row)
{
    dragRow = row;
    dragAccepted = false;
    pending = PendingDrop::kNone;
    const QPoint at = windowWidget ? windowWidget->mapFromGlobal(QCursor::pos()) : QPoint();
    handler.EvDragStarted({row, at.x(), at.y()});
}

void LListView::Impl::EndDrag()
{
    const PendingDrop what = pending;
    pending = PendingDrop::kNone;
    if (what == PendingDrop::kReorder) {
        handler.EvLVDragFinish(dragRow, reorderTo);
    } else if (what == PendingDrop::kElement) {
        handler.EvDropListViewElement(droppedElement);
    }
    dragRow = -1;
    dragAccepted = false;
    handler.EvDragStopped();
}

bool LListView::Impl::DragOverWindow(QDragMoveEvent* event, QPoint at)
{
    if (IsOwnRow(event->mimeData())) {
        dragAccepted = handler.EvDragging({dragRow, at.x(), at.y()});
        event->setAccepted(dragAccepted || event->type() == QEvent::DragEnter);
        return true;
    }
    if (event->mimeData() && event->mimeData()->hasFormat(QString::fromLatin1(kUriListMimeType))) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        return true;
    }
    return false;
}

bool LListView::Impl::DropOnWindow(QDropEvent* event, QPoint at)
{
    if (IsOwnRow(event->mimeData())) {
        if (dragAccepted) {
            droppedElement = {dragRow, at.x(), at.y()};
            pending = PendingDrop::kElement;
            event->accept();
        }
        return true;
    }
    return DropFiles(event, at);
}

bool LListView::Impl::DropFiles(QDropEvent* event, QPoint at)
{
    const QMimeData* mime = event->mimeData();
    if (!mime || !mime->hasFormat(QString::fromLatin1(kUriListMimeType))) {
        return false;
    }
    const QByteArray raw = mime->data(QString::fromLatin1(kUriListMimeType));
    LDroppedFileData data;
    data.paths = LListViewParseUriList(std::string_view(raw.constData(), static_cast<size_t>(raw.size())));
    data.x = at.x();
    data.y = at.y();
    event->setDropAction(Qt::CopyAction);
    event->accept();
    if (data.paths.empty()) {
        return true;
    }
    // After the drop has returned: the owner may run a modal task, and the file manager
    // waits for the drop to finish.
    QObject* context = table ? static_cast<QObject*>(table.data()) : windowRelay.get();
    QTimer::singleShot(0, context, [this, data]() mutable { handler.EvDropFiles(data); });
    return true;
}

bool LListView::Impl::_WindowEvent(QObject* watched, QEvent* event)
{
    if (watched != windowWidget.data()) {
        return false;
    }
    switch (event->type()) {
    case QEvent::DragEnter:
    case QEvent::DragMove: {
        auto* move = static_cast<QDragMoveEvent*>(event);
        return DragOverWindow(move, move->position().toPoint());
    }
    case QEvent::Drop: {
        auto* drop = static_cast<QDropEvent*>(event);
        return DropOnWindow(drop, drop->position().toPoint());
    }
    default:
        return false;
    }
}

// ---- LListView

LListView::LListView(LWindow& window, int id, LListViewHandler& handler)
    : _impl(std::make_unique<Impl>(window, id, handler))
{
    _impl->Build();
}

LListView::~LListView()
{
    _impl->Destroy();
}

void LListView::SetColumns(const LListViewColumn* columns, int count)
{
    std::vector<LListViewColumnInfo> infos;
    for (int i = 0; columns && i < count; ++i) {
        infos.push_back({columns[i].title ? columns[i].title : "",
                         std::clamp(columns[i].relativeWidth, 1, kLListViewMaxShare), columns[i].sort});
    }
    _impl->model->SetColumns(std::move(infos));
    _impl->sortColumn = -1;
    _impl->Adjust(_impl->lastWidth);
}

int LListView::GetColumnCount() const { return _impl->model->columnCount(); }

void LListView::LoadColumnsFromSettings(const char* section)
{
    if (!section) {
        return;
    }
    _impl->settingsSection = section;
    _impl->LoadShares(section);
    _impl->Adjust(_impl->lastWidth);
}

void LListView::SaveColumnsToSettings(const char* section) const
{
    if (section) {
        _impl->SaveShares(section);
    }
}

void LListView::AdjustColumns(int width) { _impl->Adjust(width); }

int LListView::GetColumnWidth(int column) const
{
    const std::vector<int>& widths = _impl->widths;
    return column >= 0 && static_cast<size_t>(column) < widths.size() ? widths[column] : 0;
}

void LListView::SetRows(std::vector<LListViewRow> rows)
{
    const bool hadSelection = GetSelectedCount() > 0;
    _impl->model->SetRows(std::move(rows));
    if (hadSelection) {
        _impl->handler.EvListSelectionChanged();
    }
}

void LListView::Clear() { SetRows({}); }
int LListView::GetRowCount() const { return _impl->model->GetRowCount(); }

void LListView::SetCell(int row, int column, const std::string& text)
{
    _impl->model->SetCell(row, column, text);
}

const std::string& LListView::GetCell(int row, int column) const
{
    return _impl->model->GetCell(row, column);
}

int LListView::GetRowIndex(int row) const
{
    return _impl->model->IsRow(row) ? _impl->model->GetRows()[row].index : -1;
}

void LListView::SetRowIndex(int row, int index) { _impl->model->SetRowIndex(row, index); }

std::vector<int> LListView::GetSelectedRows() const { return _impl->SelectedRows(); }

int LListView::GetSelectedCount() const { return static_cast<int>(_impl->SelectedRows().size()); }

int LListView::GetFirstSelected() const
{
    const std::vector<int> rows = _impl->SelectedRows();
    return rows.empty() ? -1 : rows.front();
}

void LListView::SelectRow(int row)
{
    if (!_impl->model->IsRow(row)) {
        _impl->Select({}, false);
        return;
    }
    _impl->Select({row}, false);
    if (_impl->table) {
        _impl->table->scrollTo(_impl->model->index(row, 0));
    }
}

void LListView::SelectRows(const std::vector<int>& rows) { _impl->Select(rows, false); }

void LListView::SortByColumn(int column, bool ascending) { _impl->Sort(column, ascending); }

void LListView::SetGeometry(int x, int y, int width, int height)
{
    if (_impl->table) {
        _impl->table->setGeometry(x, y, std::max(width, 0), std::max(height, 0));
    }
}

void LListView::SetFocus()
{
    if (_impl->table) {
        _impl->table->setFocus(Qt::OtherFocusReason);
    }
}

QWidget* LListView::GetWidget() const { return _impl->table.data(); }
