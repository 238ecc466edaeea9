#pragma once

#include <QCoreApplication>
#include <QMouseEvent>
#include <QWidget>

/// \file
/// What a mouse would send, which cannot be had off screen.

inline void sendMouse(QWidget& widget, QEvent::Type type, const QPoint& point, Qt::KeyboardModifiers keys)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, point, widget.mapToGlobal(point), button, held, keys);
    QCoreApplication::sendEvent(&widget, &event);
}

inline void drag(QWidget& widget, const QPoint& from, const QPoint& to, Qt::KeyboardModifiers keys)
{
    sendMouse(widget, QEvent::MouseButtonPress, from, keys);
    sendMouse(widget, QEvent::MouseMove, (from + to) / 2, keys);
    sendMouse(widget, QEvent::MouseMove, to, keys);
    sendMouse(widget, QEvent::MouseButtonRelease, to, keys);
}
