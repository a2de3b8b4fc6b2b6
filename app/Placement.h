// placeOver: where windows of the program open that belong to no document.
//
// Thread rule: main thread.
#pragma once

#include <QScreen>
#include <QWidget>

namespace reelsweep {

/// Puts a window that is not shown yet over the middle of another one, as far as the screen lets
/// it. Without another one it is placed by the desktop.
inline void placeOver(QWidget& window, const QWidget* other) {
    if (!other || !other->isVisible()) return;
    QRect frame(QPoint(), window.size());
    frame.moveCenter(other->frameGeometry().center());
    const QRect screen = other->screen()->availableGeometry();
    frame.moveLeft(
        qBound(screen.left(), frame.left(), qMax(screen.left(), screen.right() - frame.width())));
    frame.moveTop(
        qBound(screen.top(), frame.top(), qMax(screen.top(), screen.bottom() - frame.height())));
    window.move(frame.topLeft());
}

}  // namespace reelsweep
