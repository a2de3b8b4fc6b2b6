#include "app/TimelineView.h"

#include "app/Text.h"

#include <QAccessible>
#include <QScrollBar>

#include <algorithm>

namespace reelsweep {

namespace {

constexpr double largestScale = 40;     // pixels a frame
constexpr int scrollUnits = 1'000'000;  // of the scroll bar, for the whole length

// Clips that a tidy does something to, in time order: the removed ones before, the others after.
std::vector<ClipPlace> changedClips(const TimelinePicture& picture) {
    std::vector<ClipPlace> places;
    const auto add = [&](PictureSide side, auto matches) {
        const auto& clips = picture.side(side).clips;
        for (std::uint32_t i = 0; i < clips.size(); ++i)
            if (matches(clips[i])) places.push_back({side, i});
    };
    add(PictureSide::before, [](const DrawnClip& clip) { return clip.fate == ClipFate::removed; });
    add(PictureSide::after, [](const DrawnClip& clip) { return clip.fate != ClipFate::same; });
    std::stable_sort(places.begin(), places.end(), [&](ClipPlace a, ClipPlace b) {
        return picture.at(a).range.start < picture.at(b).range.start;
    });
    return places;
}

}  // namespace

TimelineView::TimelineView(QWidget* parent) : QAbstractScrollArea(parent) {
    setObjectName(QStringLiteral("timelineView"));
    setAccessibleName(tr("Timeline, before and after"));
    setAccessibleDescription(
        tr("The arrow keys go from clip to clip, with Ctrl from change to "
           "change. Plus and minus zoom, 0 shows all."));
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setMouseTracking(true);
    viewport()->grabGesture(Qt::PinchGesture);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    horizontalScrollBar()->setAccessibleName(tr("Time"));
    verticalScrollBar()->setAccessibleName(tr("Tracks"));
}

QSize TimelineView::sizeHint() const {
    const int letter = fontMetrics().height();
    return {letter * 60, letter * 20};
}

// Below that there is no room for the tracks of one of the two.
QSize TimelineView::minimumSizeHint() const {
    const int letter = fontMetrics().height();
    return {letter * 20, letter * 13};
}

const PictureColours& TimelineView::colours() const {
    return palette().color(QPalette::Base).lightness() < 128 ? darkColours : lightColours;
}

void TimelineView::setPicture(std::shared_ptr<const TimelinePicture> picture, bool keepsPlace,
                              bool showsAfter) {
    picture_ = std::move(picture);
    state_.selected = state_.hovered = {};
    state_.showsAfter = showsAfter;
    changed_ = picture_ ? changedClips(*picture_) : std::vector<ClipPlace>();
    if (picture_ && picture_->range().end <= picture_->range().start) picture_.reset();
    if (!keepsPlace) fits_ = true;
    layOut();
}

double TimelineView::trackWidth() const {
    return std::max(viewport()->width() - geometry_.gutter(), 1);
}

double TimelineView::leastScale() const {
    return PictureView::fitting(picture_->range(), trackWidth()).pixelsPerFrame;
}

void TimelineView::layOut() {
    if (picture_) {
        geometry_ = TimelineGeometry(*picture_, font());
        overview_ = overview(*picture_, static_cast<int>(trackWidth()));
        setView(fits_ ? 0 : state_.view.first, fits_ ? 0 : state_.view.pixelsPerFrame);
    }
    updateScrollBars();
    viewport()->update();
}

void TimelineView::setView(double first, double pixelsPerFrame) {
    if (!picture_) return;
    const double least = leastScale();
    const double scale = std::clamp(pixelsPerFrame, least, std::max(least, largestScale));
    const double width = trackWidth();
    const auto start = static_cast<double>(picture_->range().start.count);
    const auto end = static_cast<double>(picture_->range().end.count);
    fits_ = scale <= least;
    state_.view = {std::clamp(first, start, std::max(start, end - width / scale)), scale, width};
    updateScrollBars();
    viewport()->update();
    emit viewChanged();
}

void TimelineView::updateScrollBars() {
    const QSignalBlocker horizontal(horizontalScrollBar());
    const QSignalBlocker vertical(verticalScrollBar());
    if (!picture_) {
        horizontalScrollBar()->setRange(0, 0);
        verticalScrollBar()->setRange(0, 0);
        return;
    }
    const auto length =
        static_cast<double>((picture_->range().end - picture_->range().start).count);
    const double seen = state_.view.width / state_.view.pixelsPerFrame;
    const int page = std::clamp(static_cast<int>(seen / length * scrollUnits), 1, scrollUnits);
    horizontalScrollBar()->setRange(0, scrollUnits - page);
    horizontalScrollBar()->setPageStep(page);
    horizontalScrollBar()->setSingleStep(std::max(page / 20, 1));
    const auto start = static_cast<double>(picture_->range().start.count);
    horizontalScrollBar()->setValue(
        static_cast<int>((state_.view.first - start) / length * scrollUnits));
    const int height = viewport()->height() - geometry_.rulerHeight() - geometry_.overviewHeight();
    verticalScrollBar()->setRange(0, std::max(0, geometry_.contentHeight() - height));
    verticalScrollBar()->setPageStep(std::max(height, 1));
    verticalScrollBar()->setSingleStep(geometry_.rowPitch());
    state_.scrolled = verticalScrollBar()->value();
}

void TimelineView::scrollContentsBy(int dx, int) {
    if (!picture_) return;
    state_.scrolled = verticalScrollBar()->value();
    if (dx != 0) {
        const auto start = static_cast<double>(picture_->range().start.count);
        const auto length =
            static_cast<double>((picture_->range().end - picture_->range().start).count);
        setView(start + length * horizontalScrollBar()->value() / scrollUnits,
                state_.view.pixelsPerFrame);
    }
    viewport()->update();
}

void TimelineView::fit() { setView(0, 0); }

void TimelineView::zoom(double factor) { zoomAround(factor, state_.view.width / 2); }

// The frame under the pixel stays there.
void TimelineView::zoomAround(double factor, double pixel) {
    if (!picture_) return;
    const double scale = std::clamp(state_.view.pixelsPerFrame * factor, leastScale(),
                                    std::max(leastScale(), largestScale));
    const double frame = state_.view.first + pixel / state_.view.pixelsPerFrame;
    setView(frame - pixel / scale, scale);
}

void TimelineView::showRange(FrameRange range) {
    if (!picture_) return;
    const double from = state_.view.x(range.start);
    const double to = state_.view.x(range.end);
    if (from >= 0 && to <= state_.view.width) return;
    const double middle =
        (static_cast<double>(range.start.count) + static_cast<double>(range.end.count)) / 2;
    setView(middle - state_.view.width / state_.view.pixelsPerFrame / 2,
            state_.view.pixelsPerFrame);
}

// Selecting

void TimelineView::select(ClipPlace place) {
    state_.selected = place;
    if (picture_ && place.isSomewhere()) {
        showRange(picture_->at(place).range);
        const int top = geometry_.rowTop(place.side, picture_->at(place).row);
        const int height = verticalScrollBar()->pageStep();
        if (top < state_.scrolled || top + geometry_.rowHeight() > state_.scrolled + height)
            verticalScrollBar()->setValue(top - height / 3);
        const std::vector<std::string> lines = clipLines(*picture_, place);
        QStringList texts;
        for (const std::string& line : lines) texts += toQString(line);
        setAccessibleDescription(texts.join(QStringLiteral(". ")));
        QAccessibleEvent changed(this, QAccessible::DescriptionChanged);
        QAccessible::updateAccessibility(&changed);
    }
    viewport()->update();
    emit selectionChanged();
}

void TimelineView::choose(ClipPlace place) {
    if (place == state_.selected) return;
    select(place);
    emit clipSelected();
}

void TimelineView::selectChange(int step) {
    if (!picture_ || changed_.empty()) return;
    const auto current = std::find(changed_.begin(), changed_.end(), state_.selected);
    const auto count = static_cast<std::ptrdiff_t>(changed_.size());
    std::ptrdiff_t next = step > 0 ? 0 : count - 1;
    if (current != changed_.end()) next = (current - changed_.begin() + step + count) % count;
    choose(changed_[static_cast<std::size_t>(next)]);
}

ClipPlace TimelineView::nearestInRow(PictureSide side, std::size_t row, Frames frame) const {
    const DrawnSide& drawn = picture_->side(side);
    if (row >= drawn.rows.size() || drawn.rows[row].count == 0) return {};
    const DrawnRow& track = drawn.rows[row];
    const auto clips = drawn.clipsOf(track);
    auto past = std::partition_point(clips.begin(), clips.end(), [&](const DrawnClip& clip) {
        return clip.range.start <= frame;
    });
    if (past != clips.begin()) --past;
    return {side, track.first + static_cast<std::uint32_t>(past - clips.begin())};
}

ClipPlace TimelineView::neighbourInRow(int step) const {
    const DrawnRow& row = picture_->rowOf(state_.selected);
    const auto next = static_cast<std::int64_t>(state_.selected.clip) + step;
    if (next < row.first || next >= std::int64_t{row.first} + row.count) return state_.selected;
    return {state_.selected.side, static_cast<std::uint32_t>(next)};
}

void TimelineView::moveSelection(int clips, int rows) {
    if (!picture_) return;
    const int beforeRows = static_cast<int>(picture_->before().rows.size());
    const int all = beforeRows + static_cast<int>(picture_->after().rows.size());
    const auto sideOf = [&](int row) {
        return row < beforeRows ? PictureSide::before : PictureSide::after;
    };
    int row = -1;
    Frames frame = state_.view.frameAt(0);
    if (state_.selected.isSomewhere()) {
        if (clips != 0) return choose(neighbourInRow(clips));
        row = static_cast<int>(picture_->at(state_.selected).row) +
              (state_.selected.side == PictureSide::before ? 0 : beforeRows);
        frame = picture_->at(state_.selected).range.start;
    }
    // Tracks without clips are passed over.
    const int step = rows < 0 ? -1 : 1;
    for (row += step; row >= 0 && row < all; row += step) {
        const PictureSide side = sideOf(row);
        const int inSide = side == PictureSide::before ? row : row - beforeRows;
        const ClipPlace place = nearestInRow(side, static_cast<std::size_t>(inSide), frame);
        if (place.isSomewhere()) return choose(place);
    }
}

ClipPlace TimelineView::clipAt(QPoint point) const {
    if (!picture_ || point.x() < geometry_.gutter() || point.y() < geometry_.rulerHeight() ||
        isInOverview(point))
        return {};
    const auto row = geometry_.rowAt(point.y() - geometry_.rulerHeight() + state_.scrolled);
    if (!row || (row->side == PictureSide::after && !state_.showsAfter)) return {};
    const DrawnSide& side = picture_->side(row->side);
    const Frames frame = state_.view.frameAt(point.x() - geometry_.gutter());
    return {row->side, side.clipAt(side.rows[row->row], frame)};
}

QRect TimelineView::rectangleOf(ClipPlace place) const {
    TimelinePainter painter(*picture_, geometry_, state_, colours());
    return painter.rectangleOf(place, viewport()->rect());
}

}  // namespace reelsweep
