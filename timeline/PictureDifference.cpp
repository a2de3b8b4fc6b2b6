#include "timeline/PictureDifference.h"

#include "timeline/ContributorMatch.h"
#include "timeline/DifferenceKinds.h"
#include "timeline/IntervalPairs.h"

#include <algorithm>
#include <utility>

namespace reelsweep {

namespace {

using List = std::span<const Contributor>;

bool areOfOneClip(const std::optional<Contributor>& a, const std::optional<Contributor>& b) {
    return bool(a) == bool(b) && (!a || a->item == b->item);
}

// Filters of the whole picture or the whole mix, and the size of the frame.
bool isWholeTheSame(const Timeline& source, const Timeline& copy, MediaType type) {
    if (type == MediaType::audio) return source.mixFilters().soundKey == copy.mixFilters().soundKey;
    return source.pictureFilters().pictureKey == copy.pictureFilters().pictureKey &&
           (source.size() == copy.size() || !source.size().known() || !copy.size().known());
}

bool hasNoWholeFilters(const Timeline& timeline, MediaType type) {
    return type == MediaType::audio ? timeline.mixFilters().soundKey.empty()
                                    : timeline.pictureFilters().pictureKey.empty();
}

// Goes over source and copy and lists where they differ.
class Comparison {
public:
    Comparison(const Intervals& source, const Intervals& copy, PictureOptions asked,
               const Timeline* without)
        : source_(source), copy_(copy), type_(source.type()) {
        const Timeline& after = copy.timeline();
        isWholeSame_ = isWholeTheSame(source.timeline(), after, type_);
        const bool isAnythingAsked = asked.ignoreFilters || asked.ignoreTransitions;
        mayBeAsked_ = isAnythingAsked &&
                      (isWholeSame_ || (asked.ignoreFilters && hasNoWholeFilters(after, type_)));
        // A clip whose transition was left alone has lost its filters all the same.
        if (asked.ignoreFilters && asked.ignoreTransitions) {
            ways_.push_back({{.ignoreFilters = true, .ignoreTransitions = false}});
            ways_.push_back({{.ignoreFilters = false, .ignoreTransitions = true}});
        }
        ways_.push_back({asked});
        if (!without) return;
        mayBeAsked_ = isWholeSame_ || isWholeTheSame(*without, after, type_);
        if (asked.ignoreTransitions) ways_.push_back({{}, without});
        ways_.push_back({asked, without});
    }

    std::vector<Difference> differences() {
        forEachStretch(source_.list(), copy_.list(), [&](FrameRange range, List a, List b) {
            if (!isWholeSame_) return addUnlike(range, a, b);
            for (const FrameRange part : match_.unlike(a, b, range)) addUnlike(part, a, b);
        });
        return std::move(found_);
    }

private:
    // Part of what differs may be as expected.
    void addUnlike(FrameRange range, List before, List after) {
        const Judged plain{before, {}, source_.timeline(), copy_.timeline(), match_};
        if (!mayBeAsked_) return add(range, before, after, false, plain);
        judge(range, before, after, 0, plain);
    }

    // What is not as one way to do what was asked would have it may be as another.
    void judge(FrameRange range, List before, List after, std::size_t number, const Judged& plain) {
        Way& way = ways_[number];
        if (!way.expected)
            way.expected.emplace(way.without ? *way.without : source_.timeline(), type_, allFrames,
                                 way.options);
        forEachWithin(way.expected->list(), range, [&](FrameRange here, List list) {
            const Judged asExpected{list, way.options, source_.timeline(), copy_.timeline(),
                                    match_};
            Frames at = here.start;
            for (const FrameRange unlike : match_.unlikeExpected(list, after, here, way.options)) {
                add({at, unlike.start}, before, after, true, plain);
                if (number + 1 < ways_.size())
                    judge(unlike, before, after, number + 1, plain);
                else
                    add(unlike, before, after, false, asExpected);
                at = unlike.end;
            }
            add({at, here.end}, before, after, true, plain);
        });
    }

    void add(FrameRange range, List before, List after, bool asked, const Judged& judged) {
        if (range.end <= range.start) return;
        Difference difference;
        difference.type = type_;
        difference.range = range;
        difference.asked = asked;
        difference.before = before;
        difference.after = after;
        classify(difference, judged);
        if (!found_.empty() && goesOn(found_.back(), difference))
            found_.back().range.end = range.end;
        else
            found_.push_back(difference);
    }

    static bool goesOn(const Difference& before, const Difference& next) {
        return before.range.end == next.range.start && before.kind == next.kind &&
               before.asked == next.asked && areOfOneClip(before.was, next.was) &&
               areOfOneClip(before.is, next.is);
    }

    const Intervals& source_;
    const Intervals& copy_;
    const MediaType type_;
    bool isWholeSame_ = true;
    bool mayBeAsked_ = false;
    // The pictures that may stand in place of the source's, the fullest last; each is made when it
    // is first needed.
    struct Way {
        PictureOptions options;
        const Timeline* without = nullptr;  ///< in place of the source
        std::optional<Intervals> expected = {};
    };
    std::vector<Way> ways_;
    ContributorMatch match_;
    std::vector<Difference> found_;
};

Frames firstFrame(const Intervals& intervals) {
    return intervals.list().empty() ? Frames{} : intervals.list().front().range.start;
}

// Begins at once what is worth a thread, and does at once what is not: one takes as long to start
// as it takes to go over some hundred clips.
template <class Work>
auto begin(std::size_t itemCount, Work work) {
    constexpr std::size_t fewItems = 2000;
    const bool isLarge = itemCount > fewItems;
    const auto policy =
        isLarge ? std::launch::async | std::launch::deferred : std::launch::deferred;
    auto result = std::async(policy, std::move(work)).share();
    if (!isLarge) result.wait();
    return result;
}

}  // namespace

ShownAndPlayed::ShownAndPlayed(const Timeline& timeline)
    : timeline_(timeline), both_(begin(timeline.items().size(), [timeline] {
          return Both{picture(timeline), sound(timeline)};
      })) {}

std::shared_ptr<const PictureDifference::Half> PictureDifference::compared(
    const ShownAndPlayed& source, const Timeline& copy, MediaType type, Asked asked,
    const Timeline* without) {
    auto half = std::make_shared<Half>(Half{Intervals(copy, type, allFrames, {}), {}, {}, {}});
    const PictureOptions options{.ignoreFilters = asked.filters,
                                 .ignoreTransitions = type == MediaType::video
                                                          ? asked.videoTransitions
                                                          : asked.audioTransitions};
    half->differences = Comparison(source.of(type), half->copy, options, without).differences();
    for (const Difference& difference : half->differences) {
        Frames& sum = difference.asked ? half->asked : half->changed;
        sum = sum + (difference.range.end - difference.range.start);
    }
    return half;
}

PictureDifference::HalfToCome PictureDifference::compare(
    MediaType type, Asked asked, const std::optional<Timeline>& without) const {
    return begin(source().items().size() + copy_.items().size(),
                 [source = source_, copy = copy_, type, asked, without] {
                     return compared(source, copy, type, asked, without ? &*without : nullptr);
                 });
}

PictureDifference::PictureDifference(const ShownAndPlayed& source, const Timeline& copy,
                                     Asked asked, const std::optional<Timeline>& without)
    : source_(source),
      copy_(copy),
      picture_(compare(MediaType::video, asked, without)),
      sound_(compare(MediaType::audio, asked, without)) {}

Frames PictureDifference::frames() const {
    Frames first;
    for (const MediaType type : {MediaType::video, MediaType::audio})
        for (const Intervals* const intervals : {&source_.of(type), &of(type).copy})
            first = std::min(first, firstFrame(*intervals));
    return std::max(source().end(), copy_.end()) - first;
}

bool PictureDifference::isSame() const {
    return of(MediaType::video).differences.empty() && of(MediaType::audio).differences.empty();
}

bool PictureDifference::isAsAsked() const {
    return of(MediaType::video).changed == Frames{0} && of(MediaType::audio).changed == Frames{0};
}

}  // namespace reelsweep
