#include "timeline/DifferenceText.h"

#include <cstdlib>

namespace reelsweep {

namespace {

std::string framesText(Frames frames) {
    const Frames count = frames < Frames{0} ? Frames{0} - frames : frames;
    return groupedNumber(count) + (count == Frames{1} ? " frame" : " frames");
}

std::string speedText(const Speed& speed) {
    if (speed.kind == Speed::Kind::remapped) return "a varying speed";
    return std::string(speed.percent) + " %" + (speed.reversed ? " backward" : "");
}

std::string mediaText(const Media& media) {
    return std::string(media.path.empty() ? media.name : media.path);
}

// A change with what its clip was and is, where it was and is.
struct Changed {
    const Item& before;
    const Item& after;
    const Track& trackBefore;
    const Track& trackAfter;
    const SequenceTimecode& timecodeBefore;

    std::string moved() const {
        std::string text = "from";
        if (description(trackBefore) != description(trackAfter))
            text += " " + description(trackBefore);
        if (before.cut.start != after.cut.start)
            text += " " + timecodeBefore.text(before.cut.start);
        return text;
    }

    // By how much each end moved within the source.
    std::string trimmed() const {
        const Frames in = after.line.at(after.cut.start) - before.line.at(before.cut.start);
        const Frames out = after.line.at(after.cut.end) - before.line.at(before.cut.end);
        std::string text;
        if (in != Frames{0})
            text = "starts " + framesText(in) + (in > Frames{0} ? " later" : " earlier");
        if (out != Frames{0})
            text += std::string(text.empty() ? "" : ", ") + "ends " + framesText(out) +
                    (out > Frames{0} ? " later" : " earlier");
        return text;
    }

    std::string slipped() const {
        const Frames by = after.line.at(after.cut.start) - before.line.at(before.cut.start);
        return framesText(by) + (by > Frames{0} ? " later" : " earlier") + " in its source";
    }

    std::string changed() const {
        if (before.enabled != after.enabled) return after.enabled ? "now enabled" : "now disabled";
        return "other filters or modes";
    }
};

std::string detail(CutChangeKind kind, const Changed& changed) {
    using Kind = CutChangeKind;
    switch (kind) {
        case Kind::moved: return " " + changed.moved();
        case Kind::trimmed: return ": " + changed.trimmed();
        case Kind::slipped: return ": " + changed.slipped();
        case Kind::retimed:
            return " from " + speedText(changed.before.filters->speed) + " to " +
                   speedText(changed.after.filters->speed);
        case Kind::relinked: return " from " + mediaText(*changed.before.media);
        case Kind::changed: return ": " + changed.changed();
        case Kind::added:
        case Kind::removed: break;
    }
    return {};
}

}  // namespace

std::string cutChangeText(const CutDifference& difference, const CutChange& change) {
    const Timeline& cut = change.after ? difference.after() : difference.before();
    const Item& item = change.after ? *change.after : *change.before;
    const SequenceTimecode& timecode = cut.timecode();
    const Contributor asItStands{&item, &cut.trackOf(item), nullptr, TransitionSide::none, false};
    std::string text = timecode.text(item.cut.start) + " to " + timecode.text(item.cut.end) + ", " +
                       contributorText(asItStands, item.cut.start) + ", " +
                       std::string(description(change.kind));
    if (!change.before || !change.after) return text;
    const Changed changed{*change.before, *change.after,
                          difference.before().trackOf(*change.before), cut.trackOf(item),
                          difference.before().timecode()};
    return text + detail(change.kind, changed);
}

}  // namespace reelsweep
