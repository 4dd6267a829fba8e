// The self-drawn control widget: paint dispatch with the pre-paint rules, and mouse dispatch
// by the capture rule.
#include "ui/LMouseHandler.h"
#include "ui/LPaintControl.h"
#include "ui/LWindowImpl.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr int kWheelNotch = 120;     // wheel units a notch
constexpr qreal kDimmedAlpha = 0.5;  // alpha of a disabled control that asks for it
constexpr qreal kHalfPixel = 0.5;

int _Floor(qreal v)
{
    return static_cast<int>(std::floor(v));
}

// Moves whole notches out of `remainder` after adding `delta`; answers them in wheel units.
int _TakeNotches(int& remainder, int delta)
{
    remainder += delta;
    const int notches = remainder / kWheelNotch;
    remainder -= notches * kWheelNotch;
    return notches * kWheelNotch;
}

}  // namespace

LControlWidget::LControlWidget(LWindow* window, int id, QWidget* parent)
    : QWidget(parent), _window(window), _id(id)
{
    setMouseTracking(true);
}

LControlEntry* LControlWidget::_Entry() const
{
    if (!_window) {
        return nullptr;
    }
    LWindow::Impl& impl = _window->_GetImpl();
    return impl.dying ? nullptr : impl.Find(_id);
}

LMouseCapture* LControlWidget::_Mouse() const
{
    LControlEntry* entry = _Entry();
    return entry ? entry->mouse : nullptr;
}

bool LControlWidget::_Reaches(const LMouseCapture& mouse, int x, int y) const
{
    return mouse.IsCaptured() || rect().contains(x, y);
}

void LControlWidget::paintEvent(QPaintEvent* event)
{
    LControlEntry* entry = _Entry();
    if (!entry || !entry->paint) {
        return;
    }
    QPainter painter(this);
    const bool dim = entry->paint->GetDimWhenDisabled() && !isEnabled();
    painter.setOpacity(dim ? kDimmedAlpha : 1.0);
    painter.setRenderHint(QPainter::Antialiasing, false);
    if (entry->cornerRadius > 0) {
        QPainterPath clip;
        const qreal r = entry->cornerRadius;
        clip.addRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), r, r);
        painter.setClipPath(clip);
    }
    painter.translate(kHalfPixel, kHalfPixel);
    PaintData data;
    data.context = &painter;
    const QRect area = event->rect();
    data.x = static_cast<float>(area.x());
    data.y = static_cast<float>(area.y());
    data.width = static_cast<float>(area.width());
    data.height = static_cast<float>(area.height());
    entry->paint->_PaintNow(data);
}

void LControlWidget::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (LControlEntry* entry = _Entry(); entry && entry->paint) {
        entry->paint->_SetSize(width(), height());
    }
}

void LControlWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (LControlEntry* entry = _Entry(); entry && entry->paint) {
        entry->paint->EvShow(true);
    }
}

void LControlWidget::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    if (LControlEntry* entry = _Entry(); entry && entry->paint) {
        entry->paint->EvShow(false);
    }
}

void LControlWidget::mousePressEvent(QMouseEvent* event)
{
    LMouseCapture* mouse = _Mouse();
    if (!mouse) {
        return;
    }
    const int x = _Floor(event->position().x()), y = _Floor(event->position().y());
    if (event->button() == Qt::LeftButton) {
        mouse->EvLButtonDown(x, y);
    } else if (event->button() == Qt::RightButton) {
        mouse->EvRButtonDown(x, y);
    }
}

void LControlWidget::mouseDoubleClickEvent(QMouseEvent* event)
{
    LMouseCapture* mouse = _Mouse();
    if (!mouse) {
        return;
    }
    const int x = _Floor(event->position().x()), y = _Floor(event->position().y());
    if (event->button() == Qt::LeftButton) {
        mouse->EvDoubleClick(x, y);
    } else if (event->button() == Qt::RightButton) {
        mouse->EvRButtonDown(x, y);
    }
}

void LControlWidget::mouseReleaseEvent(QMouseEvent* event)
{
    LMouseCapture* mouse = _Mouse();
    if (!mouse) {
        return;
    }
    const int x = _Floor(event->position().x()), y = _Floor(event->position().y());
    QPointer<LControlWidget> self(this);
    if (_Reaches(*mouse, x, y)) {
        if (event->button() == Qt::LeftButton) {
            mouse->EvLButtonUp(x, y);
        } else if (event->button() == Qt::RightButton) {
            mouse->EvRButtonUp(x, y);
        }
    }
    // Any button-up ends the capture, so a control never stays captured. The handler may have
    // removed the window or unbound the handler, so look it up again.
    if (self) {
        if (LMouseCapture* still = _Mouse()) {
            still->SetCapture(false);
        }
    }
}

void LControlWidget::mouseMoveEvent(QMouseEvent* event)
{
    LMouseCapture* mouse = _Mouse();
    if (!mouse) {
        return;
    }
    const int x = _Floor(event->position().x()), y = _Floor(event->position().y());
    if (_Reaches(*mouse, x, y)) {
        mouse->EvMouseMove(x, y);
    }
}

void LControlWidget::wheelEvent(QWheelEvent* event)
{
    LMouseCapture* mouse = _Mouse();
    if (!mouse) {
        event->ignore();
        return;
    }
    const int x = _Floor(event->position().x()), y = _Floor(event->position().y());
    // Touchpads send fractions of a notch; they are gathered until whole notches are reached.
    const int vertical = _TakeNotches(_wheelRemainder, event->angleDelta().y());
    const int horizontal = _TakeNotches(_hwheelRemainder, event->angleDelta().x());
    QPointer<LControlWidget> self(this);
    if (vertical != 0) {
        mouse->EvMouseWheel(x, y, vertical);
    }
    if (horizontal != 0 && self && (mouse = _Mouse())) {
        mouse->EvMouseHWheel(x, y, horizontal);
    }
    event->accept();
}

void LControlWidget::enterEvent(QEnterEvent* event)
{
    QWidget::enterEvent(event);
    if (LMouseCapture* mouse = _Mouse()) {
        mouse->EvMouseIn();
    }
}

void LControlWidget::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    if (LMouseCapture* mouse = _Mouse()) {
        mouse->EvMouseOut();
    }
}
