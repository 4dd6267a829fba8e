#include "ui/LMouseHandler.h"

#include "ui/LWindow.h"
#include "ui/LWindowImpl.h"

#include <QCursor>
#include <QGuiApplication>
#include <QWidget>

namespace {

Qt::CursorShape _ToQt(LCursorShape shape)
{
    switch (shape) {
    case LCursorShape::kPointingHand:
        return Qt::PointingHandCursor;
    case LCursorShape::kResizeHorizontal:
        return Qt::SizeHorCursor;
    case LCursorShape::kArrow:
        break;
    }
    return Qt::ArrowCursor;
}

QWidget* _Control(LWindow* window, int id)
{
    return window ? window->GetControlHandle(id) : nullptr;
}

}  // namespace

void LGuiCursor::SetCursor(LWindow* window, int controlId, LCursorShape shape)
{
    if (QWidget* control = _Control(window, controlId)) {
        control->setCursor(_ToQt(shape));
    }
}

// ---- LMouseCapture

LMouseCapture::~LMouseCapture()
{
    DestroyMouseCapture();
}

void LMouseCapture::InitMouseCapture(LWindow* window, int id)
{
    DestroyMouseCapture();
    LControlEntry* entry = window ? window->_GetImpl().Find(id) : nullptr;
    if (!entry) {
        return;
    }
    _window = window;
    _id = id;
    entry->mouse = this;
}

void LMouseCapture::DestroyMouseCapture()
{
    ShowPointer(true);
    _captured = false;
    if (!_window) {
        return;
    }
    LControlEntry* entry = _window->_GetImpl().Find(_id);
    if (entry && entry->mouse == this) {
        entry->mouse = nullptr;
    }
    _window = nullptr;
}

void LMouseCapture::_WindowGone()
{
    ShowPointer(true);
    _window = nullptr;
    _captured = false;
}

void LMouseCapture::SetCursor(LCursorShape shape)
{
    LGuiCursor::SetCursor(_window, _id, shape);
}

void LMouseCapture::ShowPointer(bool show)
{
    // The override cursor holds for the whole program, also while the pointer has left the
    // control during a drag; each hide is undone by exactly one restore.
    if (show == !_pointerHidden || !QGuiApplication::instance()) {
        return;
    }
    if (show) {
        QGuiApplication::restoreOverrideCursor();
    } else {
        QGuiApplication::setOverrideCursor(QCursor(Qt::BlankCursor));
    }
    _pointerHidden = !show;
}

void LMouseCapture::MovePointer(int x, int y)
{
    // Native Wayland refuses to move the pointer; the call then changes nothing.
    if (QWidget* control = _Control(_window, _id)) {
        QCursor::setPos(control->mapToGlobal(QPoint(x, y)));
    }
}

void LMouseCapture::TakeFocus()
{
    if (QWidget* control = _Control(_window, _id)) {
        control->setFocus(Qt::OtherFocusReason);
    }
}

// ---- LMouseClickRegions

int LMouseClickRegions::_RegionAt(int x, int y) const
{
    for (size_t i = 0; i < _regions.size(); ++i) {
        const Region& r = _regions[i];
        if (x >= r.x && y >= r.y && x < r.x + r.width && y < r.y + r.height) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

void LMouseClickRegions::EvMouseMove(int x, int y)
{
    const int region = _RegionAt(x, y);
    if (region == _current) {
        return;
    }
    _current = region;
    SetCursor(region >= 0 ? LCursorShape::kPointingHand : LCursorShape::kArrow);
    LWindow* window = GetMouseWindow();
    if (region >= 0 && window && _regions[region].enterCommand > 0) {
        window->PostCommand(_regions[region].enterCommand);
    }
}

void LMouseClickRegions::EvLButtonDown(int x, int y)
{
    const int region = _RegionAt(x, y);
    LWindow* window = GetMouseWindow();
    if (region >= 0 && window && _regions[region].pressCommand > 0) {
        window->PostCommand(_regions[region].pressCommand);
    }
}

void LMouseClickRegions::EvMouseOut()
{
    _current = -1;
    SetCursor(LCursorShape::kArrow);
}
