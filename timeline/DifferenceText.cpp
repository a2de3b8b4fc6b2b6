#include "timeline/DifferenceText.h"

#include "timeline/MediaUse.h"

#include <array>
#include <vector>

namespace reelsweep {

namespace {

std::string nameOf(const Item& item) {
    if (!item.name.empty()) return std::string(item.name);
    if (item.media && !item.media->name.empty()) return std::string(item.media->name);
    return "a clip without a name";
}

// A moment on a timeline in words.
struct Words {
    MediaType type;
    Frames at;

    std::string contributor(const Contributor& c) const { return contributorText(c, at); }
    std::string was() const { return type == MediaType::video ? "was visible" : "was heard"; }
    std::string wasNot() const {
        return type == MediaType::video ? "was not visible" : "was not heard";
    }
    std::string isNow() const { return type == MediaType::video ? "now visible" : "now heard"; }
    // What there is when a clip is gone.
    std::string nothing(const Difference& difference) const {
        if (!difference.after.empty()) return "gone";
        return type == MediaType::video ? "black" : "silent";
    }
};

std::string amountText(std::string_view what, const Amount& amount) {
    std::string text(what);
    return amount.isConstant() ? text + " " + std::string(amount.value) : text + " with keyframes";
}

void addFilters(std::vector<std::string>& parts, const FilterStack& stack, MediaType type) {
    for (const Filter& filter : stack.filters) {
        const bool concerns =
            type == MediaType::video ? filter.concernsPicture : filter.concernsSound;
        if (filter.isNeutral || !concerns || filter.meaning == FilterMeaning::speed) continue;
        if (filter.meaning == FilterMeaning::opacity)
            parts.push_back(amountText("opacity", stack.opacity));
        else if (filter.meaning == FilterMeaning::level)
            parts.push_back(amountText("level", stack.level));
        else
            parts.emplace_back(filter.name.empty() ? filter.effectId : filter.name);
    }
}

// "opacity 60 and Blur", "no filters".
std::string lookText(const Contributor& contributor) {
    const Item& item = *contributor.item;
    const MediaType type = contributor.track->type;
    std::vector<std::string> parts;
    if (!item.compositeMode.empty())
        parts.push_back("composite mode " + std::string(item.compositeMode));
    if (type == MediaType::video && !item.alphaType.empty() && item.alphaType != "none")
        parts.push_back("alpha " + std::string(item.alphaType));
    if (type == MediaType::audio && contributor.track->outputChannel > 0)
        parts.push_back("channel " + std::to_string(contributor.track->outputChannel));
    addFilters(parts, *item.filters, type);
    addFilters(parts, *contributor.track->filters, type);
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i)
        text += (i == 0 ? "" : i + 1 < parts.size() ? ", " : " and ") + parts[i];
    return text.empty() ? "no filters" : text;
}

std::string otherLookText(const Difference& difference) {
    if (!difference.was || !difference.is) return "had other filters";
    const std::string before = lookText(*difference.was);
    const std::string after = lookText(*difference.is);
    return "had " + before + "; now " + (before == after ? "with other values" : after);
}

std::string transitionName(const Item& item) {
    const std::string_view effect = item.transition->effect;
    return effect.empty() ? "transition" : std::string(effect);
}

std::string transitionText(const Difference& difference, const Words& words) {
    const Contributor* const was = difference.was ? &*difference.was : nullptr;
    const Contributor* const is = difference.is ? &*difference.is : nullptr;
    if (!was || !was->transition)
        return words.was() + "; now in a " + transitionName(*is->transition);
    const std::string name = transitionName(*was->transition);
    const std::string side =
        was->side == TransitionSide::outgoing ? "the outgoing side" : "the incoming side";
    if (!is || !isSameMedia(is->media(), was->media()))
        return "was " + side + " of a " + name + "; now gone";
    if (!is->transition) return "was in a " + name + "; now without it";
    return "was in a " + name + "; now in another " + transitionName(*is->transition);
}

std::string sourceFrameText(const Difference& difference, const Words& words) {
    const Item& was = *difference.was->item;
    const Item& is = *difference.is->item;
    std::string text =
        words.was() + "; now source " + sourceTimecode(is, difference.is->sourceFrame(words.at));
    const Speed& speed = is.filters->speed;
    if (was.filters->speed == speed) return text;
    return text + (speed.kind == Speed::Kind::remapped
                       ? " at a varying speed"
                       : " at " + std::string(speed.reversed ? "backward " : "") +
                             std::string(speed.percent) + " %");
}

std::string whatHappened(const Difference& difference, const Words& words) {
    using Kind = DifferenceKind;
    const bool isOnlyAfter = !difference.was;
    switch (difference.kind) {
        case Kind::lost:
            return words.was() + "; now " +
                   (difference.is ? words.contributor(*difference.is) : words.nothing(difference));
        case Kind::revealed:
        case Kind::added:
            if (!isOnlyAfter)
                return words.was() + "; now hidden by " + words.contributor(*difference.is);
            return (difference.kind == Kind::revealed ? words.wasNot() : "was not there") + "; " +
                   words.isNow();
        case Kind::otherMedia:
            if (difference.was->media().nested && difference.is->media().nested)
                return words.was() + "; now shows something else inside";
            return words.was() + "; now " + words.contributor(*difference.is);
        case Kind::otherSourceFrame: return sourceFrameText(difference, words);
        case Kind::otherLook: return otherLookText(difference);
        case Kind::otherOrder: return "stood in another order of layers";
        case Kind::transition: return transitionText(difference, words);
        case Kind::edgeWithoutPlace: break;
    }
    const bool isStart = difference.is->item->startPlace == EdgePlace::nowhere;
    return (isOnlyAfter ? words.wasNot() : words.was()) + "; now nothing says where it " +
           (isStart ? "starts" : "ends");
}

}  // namespace

std::string groupedNumber(Frames number) {
    std::string digits = number.text();
    const std::size_t first = digits.front() == '-' ? 1 : 0;
    for (std::size_t at = digits.size(); at > first + 3;) digits.insert(at -= 3, 1, ',');
    return digits;
}

std::string sumText(const PictureDifference& difference, MediaType type) {
    return groupedNumber(difference.same(type)) + " of " + groupedNumber(difference.frames()) +
           (type == MediaType::video ? " frames show the same picture"
                                     : " frames have the same sound");
}

std::string sourceTimecode(const Item& item, Frames own) {
    return mediaTimecode(item, mediaFrame(item, own));
}

std::string contributorText(const Contributor& contributor, Frames frame) {
    return description(*contributor.track) + ": " + nameOf(*contributor.item) + ", source " +
           sourceTimecode(*contributor.item, contributor.sourceFrame(frame));
}

std::string differenceText(const Difference& difference, const SequenceTimecode& timecode) {
    const Words words{difference.type, difference.range.start};
    const std::optional<Contributor>& subject = difference.was ? difference.was : difference.is;
    return timecode.text(difference.range.start) + " to " + timecode.text(difference.range.end) +
           ", " + words.contributor(*subject) + ", " + whatHappened(difference, words);
}

}  // namespace reelsweep
