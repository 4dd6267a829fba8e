// Menu items by command id, popup menus and modal alerts of a window.
#include "ui/LWindow.h"
#include "ui/LWindowImpl.h"

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>

namespace {

const char kAlertTitle[] = "Orvane DJ Software";

QString _Text(const char* text)
{
    return QString::fromUtf8(text ? text : "");
}

// The menu that holds `action`, if any.
QMenu* _MenuOf(QAction* action)
{
    for (QObject* object : action->associatedObjects()) {
        if (auto* menu = qobject_cast<QMenu*>(object)) {
            return menu;
        }
    }
    return nullptr;
}

void _FillMenu(QMenu& target, const LPopupMenu& source)
{
    for (const LPopupMenu::Item& item : source.GetItems()) {
        if (item.submenu) {
            QMenu* sub = target.addMenu(_Text(item.text.c_str()));
            _FillMenu(*sub, *item.submenu);
        } else if (item.id == 0) {
            target.addSeparator();
        } else {
            QAction* action = target.addAction(_Text(item.text.c_str()));
            action->setData(item.id);
            action->setEnabled(item.enabled);
            action->setCheckable(item.checked);
            action->setChecked(item.checked);
        }
    }
}

}  // namespace

// ---- the id -> action map

QAction* LWindow::Impl::MakeMenuAction(int id, const QString& text, QObject* parent)
{
    auto* action = new QAction(text, parent);
    LWindow* window = owner;
    QObject::connect(action, &QAction::triggered, action, [window, id] { window->Command(id); });
    RegisterMenuAction(id, action);
    return action;
}

void LWindow::Impl::RegisterMenuAction(int id, QAction* action)
{
    menuActions[id] = action;
}

void LWindow::Impl::RegisterMenu(int id, QMenu* menu)
{
    menus[id] = menu;
}

QAction* LWindow::Impl::FindAction(int id) const
{
    auto it = menuActions.find(id);
    return it == menuActions.end() ? nullptr : it->second.data();
}

void LWindow::EnableMenuItem(int id, bool enable)
{
    if (QAction* action = _impl->FindAction(id)) {
        action->setEnabled(enable);
    }
}

void LWindow::EnableMenuItemList(const int* ids, int count, bool enable)
{
    for (int i = 0; ids && i < count; ++i) {
        EnableMenuItem(ids[i], enable);
    }
}

void LWindow::EnableMenuItemRange(int first, int last, bool enable)
{
    auto& actions = _impl->menuActions;
    for (auto it = actions.lower_bound(first); it != actions.end() && it->first <= last; ++it) {
        if (it->second) {
            it->second->setEnabled(enable);
        }
    }
}

void LWindow::EnableMenuItems(bool enable)
{
    for (auto& [id, action] : _impl->menuActions) {
        if (action) {
            action->setEnabled(enable);
        }
    }
}

void LWindow::CheckMenuItem(int id, bool check)
{
    if (QAction* action = _impl->FindAction(id)) {
        action->setCheckable(true);
        action->setChecked(check);
    }
}

void LWindow::CheckMenuItem(int id, int first, int last)
{
    for (int item = first; item <= last; ++item) {
        if (_impl->FindAction(item)) {
            CheckMenuItem(item, item == id);
        }
    }
}

void LWindow::CheckMenuRadioItem(int first, int last, int id)
{
    CheckMenuItem(id, first, last);
}

void LWindow::SetMenuItemText(int id, const char* text)
{
    if (QAction* action = _impl->FindAction(id)) {
        action->setText(_Text(text));
    }
}

void LWindow::SetMenuItemText(int id, const char* text, int newId)
{
    QAction* action = _impl->FindAction(id);
    if (!action || (newId != id && _impl->FindAction(newId))) {
        return;
    }
    action->setText(_Text(text));
    if (newId == id) {
        return;
    }
    // The item now sends the new number.
    QObject::disconnect(action, &QAction::triggered, nullptr, nullptr);
    LWindow* window = this;
    QObject::connect(action, &QAction::triggered, action,
                     [window, newId] { window->Command(newId); });
    _impl->menuActions.erase(id);
    _impl->RegisterMenuAction(newId, action);
}

void LWindow::RemoveMenuItem(int id)
{
    QAction* action = _impl->FindAction(id);
    _impl->menuActions.erase(id);
    if (action) {
        for (QObject* object : action->associatedObjects()) {
            if (auto* widget = qobject_cast<QWidget*>(object)) {
                widget->removeAction(action);
            }
        }
        action->deleteLater();
    }
}

void LWindow::InsertMenuItem(int beforeId, int id, const char* text)
{
    QAction* before = _impl->FindAction(beforeId);
    QMenu* menu = before ? _MenuOf(before) : nullptr;
    if (!menu || _impl->FindAction(id)) {
        return;
    }
    menu->insertAction(before, _impl->MakeMenuAction(id, _Text(text), menu));
}

void LWindow::InsertMenuItemAtPos(int menuId, int position, int id, const char* text)
{
    auto it = _impl->menus.find(menuId);
    QMenu* menu = it == _impl->menus.end() ? nullptr : it->second.data();
    if (!menu || _impl->FindAction(id)) {
        return;
    }
    const QList<QAction*> actions = menu->actions();
    QAction* before = position >= 0 && position < actions.size() ? actions[position] : nullptr;
    menu->insertAction(before, _impl->MakeMenuAction(id, _Text(text), menu));
}

void LWindow::InsertMenuItemSeparator(int beforeId)
{
    QAction* before = _impl->FindAction(beforeId);
    if (QMenu* menu = before ? _MenuOf(before) : nullptr) {
        menu->insertSeparator(before);
    }
}

void LWindow::InsertMenuItemSeparator(int menuId, int position)
{
    auto it = _impl->menus.find(menuId);
    QMenu* menu = it == _impl->menus.end() ? nullptr : it->second.data();
    if (!menu) {
        return;
    }
    const QList<QAction*> actions = menu->actions();
    menu->insertSeparator(position >= 0 && position < actions.size() ? actions[position] : nullptr);
}

// ---- popup menus

void LPopupMenu::AddItem(int id, const char* text, bool enabled, bool checked)
{
    Item item;
    item.id = id;
    item.text = text ? text : "";
    item.enabled = enabled;
    item.checked = checked;
    _items.push_back(std::move(item));
}

void LPopupMenu::AddSeparator()
{
    _items.push_back(Item{});
}

LPopupMenu& LPopupMenu::AddSubMenu(const char* text)
{
    Item item;
    item.text = text ? text : "";
    item.submenu = std::make_shared<LPopupMenu>();
    _items.push_back(item);
    return *item.submenu;
}

namespace {

// Runs a modal widget made on the heap: the loop inside may delete its parent, and with it the
// widget. Answers Qt's result, or `gone` when the widget went.
template <typename Widget, typename Run>
auto _RunModal(Widget* widget, Run run, decltype(run(widget)) gone)
{
    QPointer<Widget> guard(widget);
    auto result = run(widget);
    if (!guard) {
        return gone;
    }
    delete widget;
    return result;
}

}  // namespace

int LWindow::DisplayPopupMenu(const LPopupMenu& menu)
{
    auto* popup = new QMenu(_impl->widget.data());
    _FillMenu(*popup, menu);
    const std::shared_ptr<bool> alive = _impl->alive;
    // exec runs a nested loop, in which the program's queue keeps draining.
    const int id = _RunModal(
        popup,
        [](QMenu* m) {
            QAction* chosen = m->exec(QCursor::pos());
            return chosen ? chosen->data().toInt() : 0;
        },
        0);
    if (id != 0 && *alive) {
        Command(id);
    }
    return id;
}

// ---- alerts

void LWindow::PopupBoxError(const char* text)
{
    auto* box = new QMessageBox(QMessageBox::Critical, QString::fromUtf8(kAlertTitle),
                                _Text(text), QMessageBox::Ok, _impl->widget.data());
    _RunModal(box, [](QMessageBox* b) { return b->exec(); }, 0);
}

bool LWindow::PopupBoxQueryYes(const char* text)
{
    auto* box = new QMessageBox(QMessageBox::Question, QString::fromUtf8(kAlertTitle),
                                _Text(text), QMessageBox::Yes | QMessageBox::No,
                                _impl->widget.data());
    box->setDefaultButton(QMessageBox::Yes);
    return _RunModal(box, [](QMessageBox* b) { return b->exec(); }, 0) == QMessageBox::Yes;
}

void LWindow::GoToHelpPage(const char* /*section*/)
{
    // No help pages ship yet; the call is kept so panels can offer the button.
}
