#include "tidy/ClipVeto.h"

#include "base/Text.h"
#include "timeline/ChangeLedger.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <string_view>

namespace reelsweep {

namespace {

bool isNamedBy(XMLNode clip, const std::string& wanted) {
    return clip.attribute("id") == wanted || answersTo(clip.child("name").stringValue(), wanted);
}

std::string nameOf(XMLNode track) {
    if (const std::string name = track.child("name").stringValue(); !name.empty()) return name;
    return std::string(track.attribute("MZ.TrackName").value_or(""));
}

// "V3" in any letter case.
std::optional<TrackLabel> labelOf(std::string_view text) {
    if (text.size() < 2) return {};
    const int letter = std::toupper(static_cast<unsigned char>(text[0]));
    TrackLabel label{letter == 'V', 0};
    const auto [end, error] =
        std::from_chars(text.data() + 1, text.data() + text.size(), label.number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if ((letter != 'V' && letter != 'A') || !isNumber || label.number < 1) return {};
    return label;
}

// "V3", "A1-A4", or a pattern for the label or the name.
bool isTrackNamedBy(XMLNode track, const TrackLabel& label, const std::string& wanted) {
    const std::size_t dash = wanted.find('-');
    const auto first = labelOf(std::string_view(wanted).substr(0, dash));
    const auto last =
        dash == wanted.npos ? first : labelOf(std::string_view(wanted).substr(dash + 1));
    if (first && last && first->video == last->video)
        return label.video == first->video && label.number >= first->number &&
               label.number <= last->number;
    return answersTo(description(label), wanted) || answersTo(nameOf(track), wanted);
}

// The label of the clip, and that of what it was made of; versions of the format differ in which of
// them they write.
std::vector<std::string> labelNames(XMLNode clip) {
    std::vector<std::string> names;
    for (const XMLNode label : clip.child("labels").firstChildren({"label2", "label"}))
        if (const std::string text = label.stringValue(); !trimmed(text).empty())
            names.emplace_back(trimmed(text));
    return names;
}

}  // namespace

class ClipVeto::Builder {
public:
    Builder(ClipVeto& veto, const std::vector<std::string>& keep, const TidyRules& rules)
        : veto_(veto), keep_(keep), rules_(rules) {
        veto_.unusedKeeps_ = keep;
        addUnused("track ", rules.tracks);
        addUnused("clip ", rules.clips);
        addUnused("colour ", rules.colours);
    }

    void addTrack(XMLNode track, const TrackLabel& label) {
        const std::size_t reason = trackReason(track, label);
        if (reason != asked) veto_.tracks_.insert(track);
        for (XMLNode item = track.firstChild(); item; item = item.nextSibling())
            if (isClip(item)) addClip(item, reason);
    }

    bool excludedEverything() const {
        return everything_ && (!veto_.excluded_.empty() || !veto_.tracks_.empty());
    }

private:
    void addUnused(const char* kind, const std::vector<std::string>& patterns) {
        for (const std::string& pattern : patterns) veto_.unusedRules_.push_back(kind + pattern);
    }

    // The number of a reason.
    std::size_t reasonFor(std::string text) {
        std::vector<std::string>& reasons = veto_.reasons_;
        const auto known = std::find(reasons.begin(), reasons.end(), text);
        const auto number = static_cast<std::size_t>(known - reasons.begin());
        if (known == reasons.end()) reasons.push_back(std::move(text));
        return number;
    }

    std::size_t trackReason(XMLNode track, const TrackLabel& label) {
        std::size_t reason = asked;
        for (const std::string& wanted : rules_.tracks) {
            if (!isTrackNamedBy(track, label, wanted)) continue;
            std::erase(veto_.unusedRules_, "track " + wanted);
            if (reason == asked)
                reason = reasonFor("kept: track " + description(label) + " is left alone");
        }
        return reason;
    }

    std::size_t clipReason(XMLNode clip) {
        std::size_t reason = asked;
        for (const std::string& wanted : rules_.clips) {
            if (!isNamedBy(clip, wanted)) continue;
            std::erase(veto_.unusedRules_, "clip " + wanted);
            reason = reasonFor("kept: clips named " + wanted + " are left alone");
        }
        if (rules_.colours.empty()) return reason;
        for (const std::string& label : labelNames(clip))
            for (const std::string& wanted : rules_.colours) {
                if (!answersTo(label, wanted)) continue;
                std::erase(veto_.unusedRules_, "colour " + wanted);
                reason = reasonFor("kept: clips labelled " + label + " are left alone");
            }
        return reason;
    }

    void addClip(XMLNode clip, std::size_t trackReason) {
        const std::size_t own = clipReason(clip);
        const std::size_t reason = trackReason != asked ? trackReason : own;
        if (reason != asked) {
            veto_.clips_.emplace(clip, reason);
            veto_.excluded_.push_back(clip);
        }
        everything_ = everything_ && reason != asked;
        for (const std::string& name : keep_) {
            if (!isNamedBy(clip, name)) continue;
            veto_.clips_.emplace(clip, asked);
            std::erase(veto_.unusedKeeps_, name);
        }
    }

    ClipVeto& veto_;
    const std::vector<std::string>& keep_;
    const TidyRules& rules_;
    bool everything_ = true;
};

ClipVeto::ClipVeto(XMLNode sequence, const std::vector<std::string>& keep, const TidyRules& rules)
    : reasons_{"you asked to leave it alone"} {
    if (keep.empty() && !rules.excludesAnything()) return;
    Builder builder(*this, keep, rules);
    for (const MediaType type : {MediaType::video, MediaType::audio}) {
        TrackLabel label{type == MediaType::video, 0};
        for (const XMLNode& track : mainTracks(sequence, type)) {
            ++label.number;
            builder.addTrack(track, label);
        }
    }
    excludesEverything_ = builder.excludedEverything();
}

XMLNode ClipVeto::firstOf(std::span<const XMLNode> nodes) const {
    const auto found = std::find_if(nodes.begin(), nodes.end(),
                                    [&](XMLNode node) { return clips_.contains(node); });
    return found == nodes.end() ? XMLNode() : *found;
}

const std::string& ClipVeto::reason(XMLNode clip) const {
    const auto found = clips_.find(clip);
    return reasons_[found == clips_.end() ? asked : found->second];
}

bool ClipVeto::excludesAny(std::span<const XMLNode> nodes) const {
    return std::any_of(nodes.begin(), nodes.end(), [&](XMLNode node) {
        const auto found = clips_.find(node);
        return found != clips_.end() && found->second != asked;
    });
}

}  // namespace reelsweep
