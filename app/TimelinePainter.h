// TimelinePainter: paints a TimelinePicture, before above after, as a window shows it.
//
// Owner: the view. Thread rule: main thread.
#pragma once

#include "report/PictureColours.h"
#include "report/PictureLayout.h"
#include "report/TimelinePicture.h"

#include <QColor>
#include <QFont>
#include <QRect>

#include <optional>
#include <vector>

class QPainter;

namespace reelsweep {

/// Where things are in the view, in pixels. The ruler stays at the top and the overview at the
/// bottom; what is between is scrolled.
///
///   gutter | ruler
///          | Before
///       V2 |      [insert]
///       V1 | [wide]
///          | After
///       V1 | [wide][insert]
///          | overview
class TimelineGeometry {
public:
    TimelineGeometry() = default;
    TimelineGeometry(const TimelinePicture& picture, const QFont& font);

    int gutter() const { return gutter_; }
    int rulerHeight() const { return letter_ * 3 / 2; }
    int overviewHeight() const { return letter_ * 3 / 2; }
    int rowHeight() const { return letter_ * 8 / 5; }
    /// Of both sides with their headings.
    int contentHeight() const { return contentHeight_; }
    int headingTop(PictureSide side) const { return headings_[static_cast<std::size_t>(side)]; }
    int headingHeight() const { return letter_ * 3 / 2; }
    /// The top of a track in the content.
    int rowTop(PictureSide side, std::size_t row) const {
        return headingTop(side) + headingHeight() + static_cast<int>(row) * rowPitch();
    }
    int rowPitch() const { return rowHeight() + std::max(2, letter_ / 6); }
    /// The track at a height of the content, if any.
    struct Row {
        PictureSide side = PictureSide::before;
        std::size_t row = 0;
    };
    std::optional<Row> rowAt(int y) const;

private:
    int letter_ = 16;  ///< the height of a line of text
    int gutter_ = 0;
    int contentHeight_ = 0;
    std::array<int, 2> headings_{};
    std::array<std::size_t, 2> rows_{};
};

class TimelinePainter {
public:
    struct State {
        PictureView view;  ///< right of the gutter
        int scrolled = 0;  ///< how much of the content is above the view
        ClipPlace selected;
        ClipPlace hovered;
        bool hasFocus = false;
        bool showsAfter = true;
    };

    TimelinePainter(const TimelinePicture& picture, const TimelineGeometry& geometry,
                    const State& state, const PictureColours& colours)
        : picture_(picture), geometry_(geometry), state_(state), colours_(colours) {}

    /// `overview` is what overview() answers for the width of the view.
    void paint(QPainter& painter, const QRect& area, const std::vector<std::uint8_t>& overview);

    /// Where a clip is in the view; at least a few pixels wide.
    QRect rectangleOf(ClipPlace place, const QRect& area) const;

private:
    void paintRuler(QPainter& painter, const QRect& area) const;
    void paintSide(QPainter& painter, const QRect& area, PictureSide side);
    void paintRow(QPainter& painter, const QRect& lane, PictureSide side, const DrawnRow& row);
    void paintCrowds(QPainter& painter, const QRect& lane) const;
    void paintBoxes(QPainter& painter, const QRect& lane, const DrawnSide& side);
    void paintHatching(QPainter& painter, const QRect& lane, const DrawnSide& side);
    void paintMarks(QPainter& painter, const QRect& lane, PictureSide side) const;
    void paintMark(QPainter& painter, const QRect& box, ClipPlace place) const;
    void paintLabels(QPainter& painter, const QRect& lane, PictureSide side) const;
    void paintBadge(QPainter& painter, const QRect& box) const;
    void paintArrow(QPainter& painter, const QRect& area, ClipPlace place) const;
    void paintSelection(QPainter& painter, const QRect& area) const;
    void paintFates(QPainter& painter, const QRect& lane,
                    const std::vector<std::uint8_t>& fates) const;
    void paintOverview(QPainter& painter, const QRect& area,
                       const std::vector<std::uint8_t>& overview) const;
    QRect boxOf(const ClipBox& box, const QRect& lane) const;

    const TimelinePicture& picture_;
    const TimelineGeometry& geometry_;
    const State& state_;
    const PictureColours& colours_;
    RowLayout layout_;          // of the row that is being painted
    std::vector<QRect> rects_;  // used again for each row
};

/// The fate that stands for several: what is gone before what is new, and so on.
ClipFate weightiest(std::uint8_t fates);

inline QColor toQColor(Colour colour) { return QColor(QRgb(colour | 0xff000000U)); }

}  // namespace reelsweep
