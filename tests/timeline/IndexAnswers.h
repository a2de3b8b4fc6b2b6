// What a track's index answers to every question, as text: two indexes of one track agree when
// their texts do.
#pragma once

#include "timeline/TimelineEdit.h"
#include "timeline/TrackIndex.h"

#include <string>
#include <vector>

namespace reelsweep::test {

/// Entries are called by their position on the track; "-" is none.
class IndexAnswers {
public:
    static std::string of(const TrackIndex& index) { return IndexAnswers(index).text_; }

private:
    using Id = TrackIndex::Id;

    explicit IndexAnswers(const TrackIndex& index) : index_(index) {
        for (std::size_t place = 0; place <= index.childCount(); ++place)
            all_.push_back(index.entryAt(place));
        text_ = std::to_string(index.childCount()) + " children";
        for (const Id id : all_) say(id);
        text_ += "\nitems:";
        for (const Id id : index.items()) say(id);
        all_.pop_back();  // past the end
        for (const Id id : all_) ask(id);
    }

    void say(Id id) { text_ += id == TrackIndex::none ? " -" : " " + number(index_.position(id)); }
    void say(FrameRange range) {
        text_ += " [" + range.start.text() + "," + range.end.text() + ")";
    }
    template <class T>
    static std::string number(T value) {
        return std::to_string(value);
    }

    void ask(Id id) {
        const TrackEntry& entry = index_.entry(id);
        text_ += "\n" + number(index_.position(id)) + " " + description(entry.node) + ":";
        say(FrameRange{entry.start, entry.end});
        say(entry.wholeTexts);
        text_ += " " + number(entry.startNumber) + " " + number(entry.endNumber) + " " +
                 number(entry.smallestEnd) + " " + number(entry.largestEnd) +
                 (entry.isPlain ? " plain" : "") + (entry.stopsBackwardWalk ? " <|" : "") +
                 (entry.stopsForwardWalk ? " |>" : "") + (index_.holds(id) ? "" : " not here");
        say(index_.previous(id));
        say(index_.next(id));
        const TrackIndex::Group group = index_.group(id);
        text_ += "\n  group";
        say(group.first);
        say(group.last);
        say(group.range);
        const TrackIndex::Stretch stretch = index_.stretch(id);
        text_ += "\n  stretch" + std::string(stretch.isChain ? " chain" : "");
        say(stretch.first);
        say(stretch.last);
        say(stretch.range);
        for (const FrameRange range : {group.range, FrameRange{entry.start, entry.end},
                                       FrameRange{entry.end, entry.end + Frames{25}}}) {
            text_ += "\n  in";
            say(range);
            for (const Id from : {TrackIndex::none, id}) {
                say(index_.firstInTheWay(range, from));
                say(index_.firstInside(range, from));
            }
            say(index_.firstOverlapping(range, id));
            say(index_.lastEndingBy(range.start));
        }
    }

    const TrackIndex& index_;
    std::vector<Id> all_;
    std::string text_;
};

/// What an edit knows of items and lists otherwise than a new one does; empty when they agree.
inline std::string itemsFault(TimelineEdit& held, XMLNode sequence) {
    SequenceLedger ledger;
    TimelineEdit fresh(sequence, ledger);
    std::string fault;
    for (const std::string_view name : {"start", "filter", "file", "clipitem"}) {
        const std::vector<XMLNode> now = fresh.elementsNamed(name);
        if (held.elementsNamed(name) != now) fault += "another list of " + std::string(name) + "\n";
        for (const XMLNode& node : now) {
            const ItemFacts* const known = fresh.factsWithFilter(node);
            const ItemFacts* const before = held.factsWithFilter(node);
            if (known && !(before && *before == *known && *known == ItemFacts::of(node)))
                fault += "other facts of " + description(node) + "\n";
            if (node.hasDescendant("clipitem") && !held.mayHoldItems(node))
                fault += "knows nothing of what " + description(node) + " holds\n";
        }
    }
    return fault;
}

}  // namespace reelsweep::test
