#include "ui/LWindow.h"

#include "ui/LMouseHandler.h"
#include "ui/LPaintControl.h"
#include "ui/LQtConvert.h"
#include "ui/LWindowImpl.h"

#include <QDialog>
#include <QEvent>
#include <QLabel>
#include <QResizeEvent>
#include <QThread>
#include <QToolTip>

#include <algorithm>
#include <cstring>

namespace {

// The window's own widget: tells the window of its size, visibility and activation.
template <typename Base>
class LWindowWidget : public Base, public LWindowLink {
public:
    LWindowWidget(LWindow::Impl* impl, QWidget* parent) : Base(parent), _impl(impl) {}
    void _Detach() override { _impl = nullptr; }

protected:
    // The window, unless it is going or gone.
    LWindow* _Owner() const { return _impl && !_impl->dying ? _impl->owner : nullptr; }

    bool event(QEvent* event) override
    {
        if (LWindow* owner = _Owner()) {
            if (event->type() == QEvent::WindowActivate) {
                owner->EvActivate();
            } else if (event->type() == QEvent::WindowDeactivate) {
                owner->EvDeactivate();
            }
        }
        return Base::event(event);
    }
    void resizeEvent(QResizeEvent* event) override
    {
        Base::resizeEvent(event);
        if (_Owner() && _impl->onResize) {
            _impl->onResize(event->size().width(), event->size().height());
        }
    }
    void showEvent(QShowEvent* event) override
    {
        Base::showEvent(event);
        if (LWindow* owner = _Owner()) {
            owner->EvShow();
        }
    }
    void hideEvent(QHideEvent* event) override
    {
        Base::hideEvent(event);
        if (LWindow* owner = _Owner()) {
            owner->EvHide();
        }
    }

    LWindow::Impl* _impl;
};

// A plain top-level or embedded window; closing it from the window system closes the window.
class LPlainWindowWidget : public LWindowWidget<QWidget> {
public:
    using LWindowWidget::LWindowWidget;

protected:
    void closeEvent(QCloseEvent* event) override
    {
        QWidget::closeEvent(event);
        if (LWindow* owner = _Owner(); owner && !_impl->destroyed) {
            _impl->destroyed = true;
            owner->DestroyDialog();
        }
    }
};

// A modal dialog: Return, Escape and the close button ask CmOk or CmCancel, which may refuse.
class LDialogWidget : public LWindowWidget<QDialog> {
public:
    using LWindowWidget::LWindowWidget;

    void accept() override
    {
        if (LWindow* owner = _Owner(); owner && owner->CmOk()) {
            owner->Close(1);
        }
    }
    void reject() override
    {
        if (LWindow* owner = _Owner(); owner && owner->CmCancel()) {
            owner->Close(0);
        }
    }
};

}  // namespace

// ---- LWindow::Impl

LControlEntry* LWindow::Impl::Find(int id)
{
    auto it = controls.find(id);
    return it == controls.end() ? nullptr : &it->second;
}

const LControlEntry* LWindow::Impl::Find(int id) const
{
    auto it = controls.find(id);
    return it == controls.end() ? nullptr : &it->second;
}

void LWindow::Impl::DetachWidgets()
{
    for (auto& [id, entry] : controls) {
        if (auto* link = dynamic_cast<LWindowLink*>(entry.widget.data())) {
            link->_Detach();
        }
    }
    if (auto* link = dynamic_cast<LWindowLink*>(widget.data())) {
        link->_Detach();
    }
}

void LWindow::Impl::Reset()
{
    for (auto& [id, entry] : controls) {
        if (entry.mouse) {
            entry.mouse->_WindowGone();
        }
        if (entry.paint) {
            entry.paint->_WindowGone();
        }
    }
    DetachWidgets();
    controls.clear();
    queue.reset();
    if (QWidget* old = widget.data()) {
        widget = nullptr;
        old->hide();
        // Inside an event loop the window may be going from one of its own widgets' handlers,
        // which Qt has not finished with yet; the loop deletes it once they returned.
        if (QThread::currentThread()->loopLevel() > 0) {
            old->deleteLater();
        } else {
            delete old;
        }
    }
    destroyed = false;
    result = 0;
}

void LWindow::Impl::MakeWidget(QWidget* parent, bool dialog)
{
    isDialog = dialog;
    if (dialog) {
        auto* box = new LDialogWidget(this, parent);
        box->setModal(true);
        widget = box;
    } else {
        widget = new LPlainWindowWidget(this, parent);
    }
    widget->setMouseTracking(true);
    queue = std::make_unique<LWindowQueue>(owner);
}

LControlWidget* LWindow::Impl::AddControlWidget(int id, LControlKind kind, int x, int y,
                                               int width, int height)
{
    if (!widget || Find(id)) {
        return nullptr;
    }
    auto* control = new LControlWidget(owner, id, widget);
    control->setGeometry(x, y, std::max(width, 0), std::max(height, 0));
    LControlEntry& entry = controls[id];
    entry.kind = kind;
    entry.widget = control;
    if (widget->isVisible()) {
        control->show();
    }
    return control;
}

// ---- LWindowQueue

void LWindowQueue::PostCommand(int id)
{
    _PostToQueue(static_cast<unsigned int>(Code::kCommand), &id, sizeof id);
}

void LWindowQueue::_DeliverQueued(unsigned int code, const void* data, unsigned long size)
{
    if (code == static_cast<unsigned int>(Code::kCommand) && size == sizeof(int)) {
        int id = 0;
        std::memcpy(&id, data, sizeof id);
        _window->Command(id);
    }
}

// ---- LWindow

LWindow::LWindow() : _impl(std::make_unique<Impl>(this)) {}

LWindow::~LWindow()
{
    *_impl->alive = false;
    _impl->dying = true;
    _impl->Reset();
}

QWidget* LWindow::GetWidget() const
{
    return _impl->widget.data();
}

void LWindow::CreateTopLevel(const char* title, int width, int height)
{
    if (_impl->widget) {
        return;
    }
    _impl->MakeWidget(nullptr, false);
    _impl->widget->setWindowTitle(QString::fromUtf8(title ? title : ""));
    _impl->widget->resize(std::max(width, 1), std::max(height, 1));
    InitDialog();
}

void LWindow::_CreateEmbedded(LWindow* parent, int x, int y, int width, int height)
{
    if (_impl->widget || !parent || !parent->GetWidget()) {
        return;
    }
    _parent = parent;
    _impl->MakeWidget(parent->GetWidget(), false);
    _impl->widget->setGeometry(x, y, std::max(width, 0), std::max(height, 0));
    if (parent->GetWidget()->isVisible()) {
        _impl->widget->show();
    }
}

void LWindow::Show()
{
    if (_impl->widget) {
        _impl->widget->show();
    }
}

void LWindow::Hide()
{
    if (_impl->widget) {
        _impl->widget->hide();
    }
}

bool LWindow::IsShown() const
{
    return _impl->widget && _impl->widget->isVisible();
}

void LWindow::SetWindowPixels(int x, int y, int width, int height)
{
    QWidget* widget = _impl->widget.data();
    if (!widget) {
        return;
    }
    const QSize before = widget->size();
    widget->setGeometry(x, y, std::max(width, 0), std::max(height, 0));
    // A hidden widget hears of its new size only when shown; a panel's layout is read before.
    if (!widget->isVisible() && widget->size() != before && _impl->onResize) {
        _impl->onResize(widget->width(), widget->height());
    }
}

void LWindow::Close(int result)
{
    _impl->result = result;
    QWidget* widget = _impl->widget.data();
    if (!widget) {
        return;
    }
    if (!_impl->destroyed) {
        _impl->destroyed = true;
        DestroyDialog();
    }
    if (_impl->isDialog) {
        static_cast<QDialog*>(widget)->done(result);
    } else {
        widget->hide();
    }
}

long LWindow::EvInterWinMessage(int message, long data1, long data2)
{
    auto it = _messageHandlers.find(message);
    return it == _messageHandlers.end() ? 0 : it->second->EvInterWinMessage(message, data1, data2);
}

long LWindow::SendInterWinMessage(int message, long data1, long data2)
{
    return EvInterWinMessage(message, data1, data2);
}

long LWindow::SendParentInterWinMessage(int message, long data1, long data2)
{
    return _parent ? _parent->SendInterWinMessage(message, data1, data2) : 0;
}

void LWindow::_SetInterWinHandler(int message, LInterWinMessageHandler* handler)
{
    if (handler) {
        _messageHandlers[message] = handler;
    } else {
        _messageHandlers.erase(message);
    }
}

void LInterWinMessageHandler::HandleInterWinMessage(LWindow* window, int message)
{
    if (window) {
        window->_SetInterWinHandler(message, this);
    }
}

// ---- controls

void LWindow::AddPaintControl(int id, int x, int y, int width, int height,
                              LPaintControlFlags /*flags*/)
{
    _impl->AddControlWidget(id, LControlKind::kPaint, x, y, width, height);
}

void LWindow::AddDBDisplay(int id, int x, int y, int width, int height)
{
    _impl->AddControlWidget(id, LControlKind::kDBDisplay, x, y, width, height);
}

void LWindow::AddCoolButtonTextOnly(int id, const char* text)
{
    // Placed off the visible area until the layout moves it, as panels do with every control.
    constexpr int kStartX = -1000, kStartY = -300, kStartWidth = 500, kStartHeight = 30;
    if (_impl->AddControlWidget(id, LControlKind::kCoolButton, kStartX, kStartY, kStartWidth,
                                kStartHeight)) {
        _impl->Find(id)->text = QString::fromUtf8(text ? text : "");
    }
}

void LWindow::AddStatic(int id, const char* text, int x, int y, int width, int height)
{
    if (!_impl->widget || _impl->Find(id)) {
        return;
    }
    auto* label = new QLabel(QString::fromUtf8(text ? text : ""), _impl->widget);
    label->setGeometry(x, y, std::max(width, 0), std::max(height, 0));
    LControlEntry& entry = _impl->controls[id];
    entry.kind = LControlKind::kStatic;
    entry.widget = label;
    entry.text = label->text();
    if (_impl->widget->isVisible()) {
        label->show();
    }
}

void LWindow::SetControlFont(int id, const LGuiFont& font)
{
    LControlEntry* entry = _impl->Find(id);
    if (!entry || !entry->widget || !font.IsValid()) {
        return;
    }
    entry->widget->setFont(LQtConvert::ToQFont(font));
    QPalette palette = entry->widget->palette();
    palette.setColor(QPalette::WindowText, LQtConvert::ToQColor(font.GetColor()));
    entry->widget->setPalette(palette);
}

void LWindow::SetControlText(int id, const char* text)
{
    LControlEntry* entry = _impl->Find(id);
    if (!entry || !entry->widget) {
        return;
    }
    entry->text = QString::fromUtf8(text ? text : "");
    if (auto* label = qobject_cast<QLabel*>(entry->widget.data())) {
        label->setText(entry->text);
    } else {
        entry->widget->update();
    }
}

void LWindow::MoveControlPixels(int id, int x, int y, int width, int height)
{
    LControlEntry* entry = _impl->Find(id);
    if (entry && entry->widget) {
        entry->widget->setGeometry(x, y, std::max(width, 0), std::max(height, 0));
        // A hidden widget hears of its new size only when shown; the control's size is
        // read by layouts and worker threads before that.
        if (entry->paint) {
            entry->paint->_SetSize(entry->widget->width(), entry->widget->height());
        }
    }
}

void LWindow::SetControlRoundedCorners(int id, int radius)
{
    LControlEntry* entry = _impl->Find(id);
    if (entry && entry->widget) {
        entry->cornerRadius = std::max(radius, 0);
        entry->widget->update();
    }
}

void LWindow::ShowControl(int id, bool show)
{
    LControlEntry* entry = _impl->Find(id);
    if (entry && entry->widget) {
        entry->widget->setVisible(show);
    }
}

void LWindow::EnableControl(int id, bool enable)
{
    LControlEntry* entry = _impl->Find(id);
    if (entry && entry->widget) {
        entry->widget->setEnabled(enable);
    }
}

void LWindow::EnableControlRange(int first, int last, bool enable)
{
    for (auto it = _impl->controls.lower_bound(first);
         it != _impl->controls.end() && it->first <= last; ++it) {
        if (it->second.widget) {
            it->second.widget->setEnabled(enable);
        }
    }
}

bool LWindow::IsControlValid(int id) const
{
    const LControlEntry* entry = _impl->Find(id);
    return entry && entry->widget;
}

QWidget* LWindow::GetControlHandle(int id) const
{
    const LControlEntry* entry = _impl->Find(id);
    return entry ? entry->widget.data() : nullptr;
}

int LWindow::GetControlValue(int id) const
{
    const LControlEntry* entry = _impl->Find(id);
    return entry ? entry->value : 0;
}

void LWindow::SetControlValue(int id, int value)
{
    LControlEntry* entry = _impl->Find(id);
    if (!entry || entry->value == value) {
        return;
    }
    entry->value = value;
    if (entry->paint) {
        entry->paint->Update();
    } else if (entry->widget) {
        entry->widget->update();
    }
}

LPaintControl* LWindow::GetPaintControl(int id) const
{
    const LControlEntry* entry = _impl->Find(id);
    return entry ? entry->paint : nullptr;
}

// ---- tips

void LWindow::AddTools(LWindow* tipOwner, const LToolTip* list, int count)
{
    LWindow* owner = tipOwner ? tipOwner : this;
    for (int i = 0; list && i < count; ++i) {
        QWidget* control = owner->GetControlHandle(list[i].id);
        if (control) {
            control->setToolTip(QString::fromUtf8(list[i].text ? list[i].text : ""));
        }
    }
}

void LWindow::BubbleTipHide()
{
    QToolTip::hideText();
}

// ---- repaint, commands

void LWindow::RedrawWindow()
{
    if (!_impl->widget) {
        return;
    }
    _impl->widget->update();
    for (auto& [id, entry] : _impl->controls) {
        if (entry.widget) {
            entry.widget->update();
        }
    }
}

void LWindow::SendCommand(int id)
{
    Command(id);
}

void LWindow::PostCommand(int id)
{
    if (_impl->queue) {
        _impl->queue->PostCommand(id);
    }
}

bool LWindow::IsEnabled() const
{
    return _impl->widget && _impl->widget->isEnabled();
}

int LWindow::GetClientWidth() const
{
    return _impl->widget ? _impl->widget->width() : 0;
}

int LWindow::GetClientHeight() const
{
    return _impl->widget ? _impl->widget->height() : 0;
}

// ---- embedded windows and dialogs

void LEmbeddedWindow::CreateEmbedded(LWindow* parent, int x, int y, int width, int height)
{
    _CreateEmbedded(parent, x, y, width, height);
    if (!GetWidget()) {
        return;
    }
    InitDialog();
    _GetImpl().onResize = [this](int w, int h) { LayoutControls(0, 0, w, h); };
    LayoutControls(0, 0, GetClientWidth(), GetClientHeight());
}

int LDialog::Open(LWindow* parent, const char* title, int width, int height)
{
    Impl& impl = _GetImpl();
    if (impl.widget && impl.widget->isVisible()) {
        return 0;  // already open: a dialog runs once at a time
    }
    impl.Reset();
    impl.MakeWidget(parent ? parent->GetWidget() : nullptr, true);
    impl.widget->setWindowTitle(QString::fromUtf8(title ? title : ""));
    impl.widget->resize(std::max(width, 1), std::max(height, 1));
    impl.result = 0;
    InitDialog();
    return _Run();
}

int LDialog::_Run()
{
    Impl& impl = _GetImpl();
    auto* box = qobject_cast<QDialog*>(impl.widget.data());
    if (!box) {
        return 0;
    }
    // The dialog may already have been closed from InitDialog.
    if (impl.destroyed) {
        return impl.result;
    }
    const std::shared_ptr<bool> alive = impl.alive;
    const int answer = box->exec();
    // Something inside the loop may have destroyed the dialog object; Qt's answer is then all
    // that is left.
    return *alive ? impl.result : answer;
}
