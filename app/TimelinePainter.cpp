#include "app/TimelinePainter.h"

#include "app/Text.h"
#include "report/PictureLabel.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>

namespace reelsweep {

namespace {

constexpr int narrowestLabel = 28;
constexpr int narrowestMark = 6;
constexpr double markSpacing = 110;

QColor seeThrough(Colour colour, int alpha) {
    QColor result = toQColor(colour);
    result.setAlpha(alpha);
    return result;
}

}  // namespace

ClipFate weightiest(std::uint8_t fates) {
    ClipFate found = ClipFate::same;
    for (const ClipFate fate : {ClipFate::changed, ClipFate::trimmed, ClipFate::moved,
                                ClipFate::added, ClipFate::removed})
        if ((fates >> static_cast<unsigned>(fate)) & 1U) found = fate;
    return found;
}

TimelineGeometry::TimelineGeometry(const TimelinePicture& picture, const QFont& font) {
    const QFontMetrics metrics(font);
    letter_ = metrics.height();
    gutter_ = metrics.horizontalAdvance(QStringLiteral("V000"));
    int y = 0;
    for (const PictureSide side : {PictureSide::before, PictureSide::after}) {
        const auto index = static_cast<std::size_t>(side);
        headings_[index] = y;
        rows_[index] = picture.side(side).rows.size();
        y += headingHeight() + static_cast<int>(rows_[index]) * rowPitch() + letter_ / 3;
    }
    contentHeight_ = y;
}

std::optional<TimelineGeometry::Row> TimelineGeometry::rowAt(int y) const {
    for (const PictureSide side : {PictureSide::before, PictureSide::after}) {
        const int below = y - rowTop(side, 0);
        if (below < 0) continue;
        const auto row = static_cast<std::size_t>(below / rowPitch());
        if (row < rows_[static_cast<std::size_t>(side)] && below % rowPitch() < rowHeight())
            return Row{side, row};
    }
    return std::nullopt;
}

QRect TimelinePainter::boxOf(const ClipBox& box, const QRect& lane) const {
    const double from = std::max(box.x, -2.0);
    const double to = std::min(box.x + box.width, state_.view.width + 2);
    const int left = lane.left() + static_cast<int>(std::floor(from));
    const int right = lane.left() + static_cast<int>(std::floor(to));
    return {left, lane.top(), std::max(right - left - 1, 2), lane.height() - 1};
}

QRect TimelinePainter::rectangleOf(ClipPlace place, const QRect& area) const {
    const DrawnClip& clip = picture_.at(place);
    const QRect lane(area.left() + geometry_.gutter(),
                     area.top() + geometry_.rulerHeight() - state_.scrolled +
                         geometry_.rowTop(place.side, clip.row),
                     static_cast<int>(state_.view.width), geometry_.rowHeight());
    const double x = state_.view.x(clip.range.start);
    return boxOf({place.clip, x, state_.view.x(clip.range.end) - x}, lane);
}

void TimelinePainter::paint(QPainter& painter, const QRect& area,
                            const std::vector<std::uint8_t>& overview) {
    painter.fillRect(area, toQColor(colours_.background));
    const QRect content = area.adjusted(0, geometry_.rulerHeight(), 0, -geometry_.overviewHeight());
    painter.save();
    painter.setClipRect(content);
    paintSide(painter, area, PictureSide::before);
    if (state_.showsAfter) paintSide(painter, area, PictureSide::after);
    painter.setClipRect(content.adjusted(geometry_.gutter(), 0, 0, 0));
    const ClipPlace pointed = state_.hovered.isSomewhere() ? state_.hovered : state_.selected;
    if (pointed.isSomewhere() && state_.showsAfter) paintArrow(painter, area, pointed);
    if (state_.selected.isSomewhere()) paintSelection(painter, area);
    painter.restore();
    paintRuler(painter, area);
    paintOverview(painter, area, overview);
}

void TimelinePainter::paintRuler(QPainter& painter, const QRect& area) const {
    const QRect ruler(area.left() + geometry_.gutter(), area.top(),
                      area.width() - geometry_.gutter(), geometry_.rulerHeight());
    painter.save();
    painter.setClipRect(ruler);
    for (const RulerMark& mark : rulerMarks(picture_.timecode(), state_.view, markSpacing)) {
        const int x = ruler.left() + static_cast<int>(state_.view.x(mark.frame));
        painter.setPen(toQColor(colours_.line));
        painter.drawLine(x, ruler.top() + 2, x, ruler.bottom());
        painter.setPen(toQColor(colours_.quiet));
        painter.drawText(QRect(x + 4, ruler.top(), ruler.width(), ruler.height()),
                         Qt::AlignVCenter | Qt::AlignLeft, toQString(mark.text));
    }
    painter.restore();
}

void TimelinePainter::paintSide(QPainter& painter, const QRect& area, PictureSide side) {
    const int top = area.top() + geometry_.rulerHeight() - state_.scrolled;
    QFont bold = painter.font();
    bold.setBold(true);
    const QFont plain = painter.font();
    painter.setFont(bold);
    painter.setPen(toQColor(colours_.text));
    const bool isBefore = side == PictureSide::before;
    painter.drawText(QRect(area.left() + 4, top + geometry_.headingTop(side), area.width(),
                           geometry_.headingHeight()),
                     Qt::AlignVCenter | Qt::AlignLeft,
                     isBefore ? QCoreApplication::translate("TimelineView", "Before")
                              : QCoreApplication::translate("TimelineView", "After"));
    const std::vector<DrawnRow>& rows = picture_.side(side).rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const int y = top + geometry_.rowTop(side, i);
        if (y + geometry_.rowHeight() < area.top() || y > area.bottom()) continue;
        painter.setFont(bold);
        painter.setPen(toQColor(colours_.quiet));
        painter.drawText(QRect(area.left(), y, geometry_.gutter() - 6, geometry_.rowHeight()),
                         Qt::AlignVCenter | Qt::AlignRight, toQString(description(rows[i].label)));
        painter.setFont(plain);
        paintRow(painter,
                 {area.left() + geometry_.gutter(), y, area.width() - geometry_.gutter(),
                  geometry_.rowHeight()},
                 side, rows[i]);
    }
}

void TimelinePainter::paintRow(QPainter& painter, const QRect& lane, PictureSide side,
                               const DrawnRow& row) {
    painter.fillRect(lane, toQColor(colours_.lane));
    const DrawnSide& drawn = picture_.side(side);
    layOutRow(drawn, row, state_.view, layout_);
    // Transitions lie over the clips that they join.
    std::stable_partition(layout_.boxes.begin(), layout_.boxes.end(), [&](const ClipBox& box) {
        return drawn.clips[box.clip].kind != ItemKind::transition;
    });
    painter.save();
    painter.setClipRect(lane, Qt::IntersectClip);
    paintCrowds(painter, lane);
    paintBoxes(painter, lane, drawn);
    paintHatching(painter, lane, drawn);
    paintLabels(painter, lane, side);
    paintMarks(painter, lane, side);
    painter.restore();
}

// Many narrow clips: what stays is low, what changes reaches to the top.
void TimelinePainter::paintCrowds(QPainter& painter, const QRect& lane) const {
    if (layout_.crowds.empty()) return;
    // Two lines of pixels, drawn out to the height of the track: far cheaper than a thousand
    // rectangles.
    QImage pixels(lane.width(), 2, QImage::Format_ARGB32_Premultiplied);
    pixels.fill(Qt::transparent);
    auto* const upper = reinterpret_cast<QRgb*>(pixels.scanLine(0));
    auto* const lower = reinterpret_cast<QRgb*>(pixels.scanLine(1));
    for (const ClipCrowd& crowd : layout_.crowds) {
        const ClipFate fate = weightiest(crowd.fates);
        const QRgb colour = toQColor(colours_.of(fate).outline).rgb();
        const int end = std::min(crowd.x + crowd.width, lane.width());
        for (int x = crowd.x; x < end; ++x) {
            lower[x] = colour;
            if (fate != ClipFate::same) upper[x] = colour;
        }
    }
    painter.drawImage(lane.adjusted(0, 1, 0, -1), pixels);
}

// Boxes of one colour are painted together.
void TimelinePainter::paintBoxes(QPainter& painter, const QRect& lane, const DrawnSide& side) {
    const auto paint = [&](const ClipColours& colours, Qt::PenStyle line, auto&& matches) {
        rects_.clear();
        for (const ClipBox& box : layout_.boxes)
            if (matches(side.clips[box.clip])) rects_.push_back(boxOf(box, lane));
        if (rects_.empty()) return;
        painter.setPen(QPen(toQColor(colours.outline), 1, line));
        painter.setBrush(toQColor(colours.fill));
        painter.drawRects(rects_.data(), static_cast<int>(rects_.size()));
    };
    const auto isGrey = [](const DrawnClip& clip) {
        return clip.isSlug && clip.fate != ClipFate::removed;
    };
    for (std::size_t i = 0; i < clipFateCount; ++i) {
        const auto fate = static_cast<ClipFate>(i);
        paint(colours_.of(fate), fate == ClipFate::added ? Qt::DashLine : Qt::SolidLine,
              [&](const DrawnClip& clip) { return clip.fate == fate && !isGrey(clip); });
    }
    paint(colours_.slug, Qt::DashLine, isGrey);
}

void TimelinePainter::paintHatching(QPainter& painter, const QRect& lane, const DrawnSide& side) {
    painter.setPen(Qt::NoPen);
    rects_.clear();
    for (const ClipBox& box : layout_.boxes)
        if (side.clips[box.clip].isOff) rects_.push_back(boxOf(box, lane));
    painter.setBrush(QBrush(seeThrough(colours_.text, 110), Qt::BDiagPattern));
    painter.drawRects(rects_.data(), static_cast<int>(rects_.size()));
    rects_.clear();
    for (const ClipBox& box : layout_.boxes)
        for (const FrameRange& hidden : side.hiddenOf(side.clips[box.clip])) {
            const double x = state_.view.x(hidden.start);
            const double width = state_.view.x(hidden.end) - x;
            if (width >= 2 && x < state_.view.width && x + width > 0)
                rects_.push_back(boxOf({box.clip, x, width}, lane));
        }
    painter.setBrush(QBrush(seeThrough(colours_.text, 90), Qt::DiagCrossPattern));
    painter.drawRects(rects_.data(), static_cast<int>(rects_.size()));
}

void TimelinePainter::paintLabels(QPainter& painter, const QRect& lane, PictureSide side) const {
    const QFontMetrics metrics(painter.font());
    const DrawnSide& drawn = picture_.side(side);
    painter.setPen(toQColor(colours_.text));
    QFont struck = painter.font();
    struck.setStrikeOut(true);
    const QFont plain = painter.font();
    for (const ClipBox& box : layout_.boxes) {
        const DrawnClip& clip = drawn.clips[box.clip];
        if (clip.kind == ItemKind::transition || box.width < narrowestLabel) continue;
        QRect rect = boxOf(box, lane).adjusted(5, 0, -3, 0);
        rect.setLeft(std::max({rect.left(), lane.left() + 4,
                               lane.left() + static_cast<int>(state_.view.x(clip.clearFrom)) + 3}));
        if (clip.kept != noEntry) rect.setRight(rect.right() - lane.height() * 3 / 4);
        // A name that is much too long is cut before it is measured.
        const auto most = static_cast<qsizetype>(rect.width() / std::max(1, metrics.xHeight() / 3));
        if (rect.width() < narrowestLabel / 2 || most < 2) continue;
        const QString label = toQString(clipLabel(picture_, {side, box.clip})).left(most);
        painter.setFont(clip.fate == ClipFate::removed ? struck : plain);
        painter.drawText(rect, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                         metrics.elidedText(label, Qt::ElideRight, rect.width()));
    }
    painter.setFont(plain);
}

void TimelinePainter::paintMarks(QPainter& painter, const QRect& lane, PictureSide side) const {
    const DrawnSide& drawn = picture_.side(side);
    for (const ClipBox& box : layout_.boxes) {
        const DrawnClip& clip = drawn.clips[box.clip];
        const bool isMarked = clip.fate != ClipFate::same || clip.kept != noEntry ||
                              clip.kind == ItemKind::transition;
        if (isMarked && box.width >= narrowestMark)
            paintMark(painter, boxOf(box, lane), {side, box.clip});
    }
}

void TimelinePainter::paintMark(QPainter& painter, const QRect& box, ClipPlace place) const {
    const DrawnClip& clip = picture_.at(place);
    const QColor ink = toQColor(colours_.text);
    painter.setPen(ink);
    if (clip.kind == ItemKind::transition) {
        painter.drawLine(box.topLeft(), box.bottomRight());
        painter.drawLine(box.bottomLeft(), box.topRight());
    }
    const ClipPlace other = picture_.partnerOf(place);
    const auto edge = [&](int x) { painter.fillRect(x, box.top(), 3, box.height() + 1, ink); };
    switch (clip.fate) {
        case ClipFate::removed:
            painter.drawLine(box.left(), box.center().y(), box.right(), box.center().y());
            break;
        case ClipFate::moved:
            painter.fillRect(box.left(), box.bottom() - 1, box.width() + 1, 3, ink);
            break;
        case ClipFate::trimmed:
            if (!other.isSomewhere() || picture_.at(other).range.start != clip.range.start)
                edge(box.left());
            if (!other.isSomewhere() || picture_.at(other).range.end != clip.range.end)
                edge(box.right() - 2);
            break;
        case ClipFate::changed:
            painter.setBrush(ink);
            painter.drawEllipse(QPoint(box.right() - 5, box.top() + 5), 2, 2);
            break;
        case ClipFate::same:
        case ClipFate::added: break;
    }
    if (clip.kept != noEntry && box.width() > box.height()) paintBadge(painter, box);
}

void TimelinePainter::paintBadge(QPainter& painter, const QRect& box) const {
    const int size = box.height() * 2 / 3;
    const QRect badge(box.right() - size - 2, box.center().y() - size / 2, size, size);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(toQColor(colours_.badge));
    painter.drawEllipse(badge);
    QFont font = painter.font();
    font.setBold(true);
    font.setPixelSize(std::max(size * 3 / 4, 6));
    painter.setFont(font);
    painter.setPen(toQColor(colours_.onBadge));
    // The first letter of "kept".
    painter.drawText(badge, Qt::AlignCenter, QCoreApplication::translate("TimelineView", "K"));
    painter.restore();
}

// From where a clip was to where it is.
void TimelinePainter::paintArrow(QPainter& painter, const QRect& area, ClipPlace place) const {
    const ClipPlace other = picture_.partnerOf(place);
    const ClipFate fate = picture_.at(place).fate;
    if (!other.isSomewhere() || (fate != ClipFate::moved && fate != ClipFate::trimmed)) return;
    const bool isBefore = place.side == PictureSide::before;
    const QRect was = rectangleOf(isBefore ? place : other, area);
    const QRect is = rectangleOf(isBefore ? other : place, area);
    const QPointF from(was.center().x(), was.bottom());
    const QPointF to(is.center().x(), is.top());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(toQColor(colours_.background), 6));
    painter.drawLine(from, to);
    painter.setPen(QPen(toQColor(colours_.text), 2));
    painter.drawLine(from, to);
    const double angle = std::atan2(to.y() - from.y(), to.x() - from.x());
    const auto wing = [&](double turn) {
        return to - QPointF(10 * std::cos(angle + turn), 10 * std::sin(angle + turn));
    };
    painter.setBrush(toQColor(colours_.text));
    painter.drawPolygon(QPolygonF({to, wing(0.4), wing(-0.4)}));
    painter.restore();
}

void TimelinePainter::paintSelection(QPainter& painter, const QRect& area) const {
    painter.setBrush(Qt::NoBrush);
    for (const ClipPlace place : {state_.selected, picture_.partnerOf(state_.selected)}) {
        if (!place.isSomewhere()) continue;
        if (place.side == PictureSide::after && !state_.showsAfter) continue;
        const bool isOwn = place == state_.selected;
        painter.setPen(QPen(toQColor(colours_.text), isOwn ? 3 : 2,
                            isOwn && state_.hasFocus ? Qt::SolidLine : Qt::DotLine));
        painter.drawRect(rectangleOf(place, area));
    }
}

// Each fate has a line of its own, so that none hides another.
void TimelinePainter::paintFates(QPainter& painter, const QRect& lane,
                                 const std::vector<std::uint8_t>& fates) const {
    constexpr auto lines = std::to_array({ClipFate::removed, ClipFate::moved, ClipFate::trimmed,
                                          ClipFate::added, ClipFate::changed});
    if (fates.empty()) return;
    QImage pixels(static_cast<int>(fates.size()), static_cast<int>(lines.size()),
                  QImage::Format_ARGB32_Premultiplied);
    pixels.fill(Qt::transparent);
    for (std::size_t line = 0; line < lines.size(); ++line) {
        const QRgb colour = toQColor(colours_.of(lines[line]).outline).rgb();
        auto* const row = reinterpret_cast<QRgb*>(pixels.scanLine(static_cast<int>(line)));
        for (std::size_t x = 0; x < fates.size(); ++x)
            if ((fates[x] >> static_cast<unsigned>(lines[line])) & 1U) row[x] = colour;
    }
    painter.drawImage(lane, pixels);
}

// The whole length: where something changes, and what of it is in view.
void TimelinePainter::paintOverview(QPainter& painter, const QRect& area,
                                    const std::vector<std::uint8_t>& overview) const {
    const QRect strip(area.left() + geometry_.gutter(),
                      area.bottom() + 1 - geometry_.overviewHeight(),
                      area.width() - geometry_.gutter(), geometry_.overviewHeight());
    painter.fillRect(QRect(area.left(), strip.top(), area.width(), strip.height()),
                     toQColor(colours_.background));
    const QRect lane = strip.adjusted(0, 3, 0, -3);
    painter.fillRect(lane, toQColor(colours_.lane));
    paintFates(painter, lane, overview);
    const PictureView whole = PictureView::fitting(picture_.range(), strip.width());
    const FrameRange seen = state_.view.range();
    const int from = static_cast<int>(std::clamp(whole.x(seen.start), 0.0, whole.width));
    const int to = static_cast<int>(std::clamp(whole.x(seen.end), 0.0, whole.width));
    painter.setPen(QPen(toQColor(colours_.text), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(QRect(strip.left() + from, strip.top() + 2, std::max(to - from, 4) - 1,
                           strip.height() - 4));
}

}  // namespace reelsweep
