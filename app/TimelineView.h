// TimelineView: a sequence before and after a tidy, one above the other, to be looked around in.
//
// Both scroll and zoom as one. Ctrl and the wheel, or two fingers, zoom; the wheel scrolls. The
// arrow keys go from clip to clip, with Ctrl from change to change; + and - zoom and 0 shows all.
// Owner: the panel. Thread rule: main thread.
#pragma once

#include "app/TimelinePainter.h"

#include <QAbstractScrollArea>

#include <cstdint>
#include <memory>
#include <vector>

namespace reelsweep {

class TimelineView final : public QAbstractScrollArea {
    Q_OBJECT

public:
    explicit TimelineView(QWidget* parent = nullptr);

    /// Shows a picture, or nothing for null. With `keepsPlace` the part in view stays, as far as
    /// the picture goes; else all of it is shown. Without `showsAfter` there is only the sequence
    /// as it is.
    void setPicture(std::shared_ptr<const TimelinePicture> picture, bool keepsPlace,
                    bool showsAfter);
    const TimelinePicture* picture() const { return picture_.get(); }

    /// Selects a clip and brings it into view.
    void select(ClipPlace place);
    ClipPlace selected() const { return state_.selected; }
    /// Brings frames into view.
    void showRange(FrameRange range);
    /// Selects the next clip that changes, or the one before for -1.
    void selectChange(int step);
    /// Zooms by a factor around the middle.
    void zoom(double factor);
    /// Shows all.
    void fit();

    const PictureView& view() const { return state_.view; }
    /// The frame at a distance from the left edge of the viewport.
    Frames frameAt(int x) const { return state_.view.frameAt(x - geometry_.gutter()); }
    /// The clip at a point of the viewport.
    ClipPlace clipAt(QPoint point) const;
    QRect rectangleOf(ClipPlace place) const;

signals:
    /// Another clip is selected, whoever did that.
    void selectionChanged();
    /// Somebody selected another clip here.
    void clipSelected();
    /// Somebody asked what can be done with the selected clip; the point is of the screen.
    void menuRequested(QPoint point);
    /// The part in view has changed.
    void viewChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    void zoomAround(double factor, double pixel);
    void setView(double first, double pixelsPerFrame);
    void layOut();
    void updateScrollBars();
    void choose(ClipPlace place);
    void moveSelection(int clips, int rows);
    ClipPlace neighbourInRow(int step) const;
    ClipPlace nearestInRow(PictureSide side, std::size_t row, Frames frame) const;
    void scrollOverview(int x);
    bool isInOverview(QPoint point) const;
    bool pinch(QEvent* event);
    void hover(QPoint point);
    QString tipAt(QPoint point) const;
    double trackWidth() const;
    double leastScale() const;
    const PictureColours& colours() const;

    std::shared_ptr<const TimelinePicture> picture_;
    TimelineGeometry geometry_;
    TimelinePainter::State state_;
    std::vector<std::uint8_t> overview_;
    bool fits_ = true;  ///< all is in view, and stays so when the window grows
    bool dragsOverview_ = false;
    std::vector<ClipPlace> changed_;  ///< in time order
};

}  // namespace reelsweep
