// What the timeline does with the mouse, the wheel, fingers and keys.
#include "app/Text.h"
#include "app/TimelineView.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QNativeGestureEvent>
#include <QPainter>
#include <QPinchGesture>
#include <QScrollBar>
#include <QToolTip>
#include <QWheelEvent>

#include <cmath>

namespace reelsweep {

namespace {

constexpr double zoomStep = 1.25;

}  // namespace

// Events

void TimelineView::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    if (picture_) {
        TimelinePainter(*picture_, geometry_, state_, colours())
            .paint(painter, viewport()->rect(), overview_);
        return;
    }
    painter.fillRect(viewport()->rect(), toQColor(colours().background));
    painter.setPen(toQColor(colours().quiet));
    painter.drawText(viewport()->rect(), Qt::AlignCenter, tr("No timeline to show."));
}

void TimelineView::resizeEvent(QResizeEvent*) { layOut(); }

void TimelineView::wheelEvent(QWheelEvent* event) {
    const QPoint turn = event->angleDelta();
    if (event->modifiers() & Qt::ControlModifier) {
        zoomAround(std::pow(zoomStep, turn.y() / 120.0),
                   event->position().x() - geometry_.gutter());
    } else {
        const bool isSideways = event->modifiers() & Qt::ShiftModifier;
        const int across = isSideways && turn.x() == 0 ? turn.y() : turn.x();
        const double frames = -across / 120.0 * state_.view.width / 10;
        if (across != 0)
            setView(state_.view.first + frames / state_.view.pixelsPerFrame,
                    state_.view.pixelsPerFrame);
        if (!isSideways && turn.y() != 0) {
            // Where all tracks are in view the wheel goes along the time.
            QScrollBar& bar = *verticalScrollBar();
            if (bar.maximum() > 0)
                bar.setValue(bar.value() - turn.y() * geometry_.rowPitch() / 120);
            else
                setView(state_.view.first -
                            turn.y() / 120.0 * state_.view.width / 10 / state_.view.pixelsPerFrame,
                        state_.view.pixelsPerFrame);
        }
    }
    event->accept();
}

void TimelineView::keyPressEvent(QKeyEvent* event) {
    const bool jumps = event->modifiers() & Qt::ControlModifier;
    switch (event->key()) {
        case Qt::Key_Left: jumps ? selectChange(-1) : moveSelection(-1, 0); break;
        case Qt::Key_Right: jumps ? selectChange(1) : moveSelection(1, 0); break;
        case Qt::Key_Up: moveSelection(0, -1); break;
        case Qt::Key_Down: moveSelection(0, 1); break;
        case Qt::Key_Plus:
        case Qt::Key_Equal: zoom(zoomStep); break;
        case Qt::Key_Minus: zoom(1 / zoomStep); break;
        case Qt::Key_0: fit(); break;
        case Qt::Key_Home:
            if (picture_) setView(0, state_.view.pixelsPerFrame);
            break;
        case Qt::Key_End:
            if (picture_)
                setView(static_cast<double>(picture_->range().end.count),
                        state_.view.pixelsPerFrame);
            break;
        default: QAbstractScrollArea::keyPressEvent(event);
    }
}

bool TimelineView::isInOverview(QPoint point) const {
    return point.y() >= viewport()->height() - geometry_.overviewHeight();
}

void TimelineView::scrollOverview(int x) {
    const PictureView whole = PictureView::fitting(picture_->range(), trackWidth());
    const double frame = whole.first + (x - geometry_.gutter()) / whole.pixelsPerFrame;
    setView(frame - state_.view.width / state_.view.pixelsPerFrame / 2, state_.view.pixelsPerFrame);
}

void TimelineView::mousePressEvent(QMouseEvent* event) {
    if (!picture_ || event->button() != Qt::LeftButton) return;
    dragsOverview_ = isInOverview(event->pos());
    if (dragsOverview_)
        scrollOverview(event->pos().x());
    else
        choose(clipAt(event->pos()));
}

void TimelineView::mouseMoveEvent(QMouseEvent* event) {
    if (!picture_) return;
    if (dragsOverview_ && event->buttons() & Qt::LeftButton)
        scrollOverview(event->pos().x());
    else
        hover(event->pos());
}

void TimelineView::contextMenuEvent(QContextMenuEvent* event) {
    if (!picture_) return;
    if (event->reason() == QContextMenuEvent::Mouse) choose(clipAt(event->pos()));
    if (!state_.selected.isSomewhere()) return;
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const QPoint middle = rectangleOf(state_.selected).center();
    emit menuRequested(isByKey ? viewport()->mapToGlobal(middle) : event->globalPos());
}

void TimelineView::hover(QPoint point) {
    const ClipPlace place = clipAt(point);
    if (place == state_.hovered) return;
    state_.hovered = place;
    viewport()->update();
}

QString TimelineView::tipAt(QPoint point) const {
    const ClipPlace place = clipAt(point);
    if (!place.isSomewhere()) return {};
    QStringList lines;
    for (const std::string& line : clipLines(*picture_, place))
        lines += toQString(line).toHtmlEscaped();
    return QStringLiteral("<qt>") + lines.join(QStringLiteral("<br>")) + QStringLiteral("</qt>");
}

bool TimelineView::pinch(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        const auto* const native = static_cast<QNativeGestureEvent*>(event);
        if (native->gestureType() != Qt::ZoomNativeGesture) return false;
        zoomAround(1 + native->value(), native->position().x() - geometry_.gutter());
        return true;
    }
    auto* const gestures = static_cast<QGestureEvent*>(event);
    const auto* const fingers =
        static_cast<const QPinchGesture*>(gestures->gesture(Qt::PinchGesture));
    if (!fingers) return false;
    const QPointF middle = viewport()->mapFromGlobal(fingers->centerPoint());
    zoomAround(fingers->scaleFactor(), middle.x() - geometry_.gutter());
    return true;
}

bool TimelineView::viewportEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::ToolTip: {
            const auto* const help = static_cast<QHelpEvent*>(event);
            QToolTip::showText(help->globalPos(), tipAt(help->pos()), viewport());
            return true;
        }
        case QEvent::NativeGesture:
        case QEvent::Gesture:
            if (picture_ && pinch(event)) return true;
            break;
        case QEvent::Leave: hover({-1, -1}); break;
        default: break;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void TimelineView::focusInEvent(QFocusEvent* event) {
    state_.hasFocus = true;
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void TimelineView::focusOutEvent(QFocusEvent* event) {
    state_.hasFocus = false;
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

void TimelineView::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange) layOut();
}

}  // namespace reelsweep
