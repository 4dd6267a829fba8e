#pragma once

// Mouse events sent straight to a control widget, as the window system would deliver them.

#include <QCoreApplication>
#include <QEnterEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

inline void SendMouse(QWidget* widget, QEvent::Type type, int x, int y,
                      Qt::MouseButton button = Qt::LeftButton)
{
    const QPointF local(x, y);
    const Qt::MouseButtons held =
        type == QEvent::MouseButtonRelease || type == QEvent::MouseMove ? Qt::NoButton : button;
    QMouseEvent event(type, local, widget->mapToGlobal(local), button, held, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}

inline void SendWheel(QWidget* widget, int x, int y, QPoint angleDelta, QPoint pixelDelta = {})
{
    const QPointF local(x, y);
    QWheelEvent event(local, widget->mapToGlobal(local), pixelDelta, angleDelta, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(widget, &event);
}

inline void SendEnter(QWidget* widget)
{
    QEnterEvent event(QPointF(1, 1), QPointF(1, 1), widget->mapToGlobal(QPointF(1, 1)));
    QCoreApplication::sendEvent(widget, &event);
}

inline void SendLeave(QWidget* widget)
{
    QEvent event(QEvent::Leave);
    QCoreApplication::sendEvent(widget, &event);
}
