// Whatever was edited, a rollback gives everything back: the nodes, the ledger and the indexes that
// somebody holds.
#include "tests/plain/PlainPasses.h"
#include "tests/properties/Random.h"
#include "tests/properties/RandomCheck.h"
#include "tests/timeline/IndexAnswers.h"
#include "tests/timeline/Timeline.h"
#include "tidy/PassRun.h"
#include "timeline/Vocabulary.h"

#include <gtest/gtest.h>
#include <array>
#include <optional>
#include <stdexcept>

namespace reelsweep::test {
namespace {

// Edits a sequence at random, as passes do and as no pass would.
class Editor {
public:
    Editor(XMLNode sequence, std::uint64_t seed)
        : random_(seed), sequence_(sequence), edit_(sequence, ledger_) {
        for (const char* const type : {"video", "audio"})
            for (const XMLNode kind : childrenNamed(sequence.child("media"), type))
                for (const XMLNode track : childrenNamed(kind, "track")) tracks_.push_back(track);
        for (const XMLNode& track : tracks_) held_.push_back(&edit_.index(track));
        edit_.readItems();
    }

    TimelineEdit& edit() { return edit_; }

    /// Some edits, or a pass.
    void work() {
        edit_.beginStep("collapseTracks");
        if (random_.chance(40))
            runPass();
        else
            for (int edits = random_.upTo(1, 6); edits > 0; --edits) editOnce();
    }

    /// The same, under a checkpoint of its own that may be used.
    void workInside() {
        const TimelineEdit::Checkpoint inner = edit_.checkpoint();
        work();
        if (random_.chance(50)) edit_.rollback(inner);
    }

    /// The sequence, its nodes themselves, and what the ledger says.
    std::string state() const {
        std::string text = serialise(sequence_);
        sequence_.forEachDescendant({}, [&](XMLNode node) { text += identity(node); });
        for (const Change& change : ledger_.changes)
            text += "\n" + std::string(description(change.kind)) + identity(change.node) +
                    description(change.trackBefore) + ">" + description(change.trackAfter) + " " +
                    ledger_.reasonText(change);
        return text;
    }

    /// What a held index, and what is known of items, answers otherwise than a new one; empty when
    /// they agree.
    std::string indexFault() {
        SequenceLedger ledger;
        TimelineEdit fresh(sequence_, ledger);
        for (const TrackIndex* index : held_) {
            const std::string held = IndexAnswers::of(*index);
            const std::string made = IndexAnswers::of(fresh.index(index->track()));
            if (held != made) return "held " + held + "\n\nnew  " + made;
        }
        return itemsFault(edit_, sequence_);
    }

private:
    static std::string identity(XMLNode node) {
        return " " + std::to_string(reinterpret_cast<std::uintptr_t>(node.identity()));
    }

    void runPass() {
        const PassStep& step = passSteps()[random_.index(passSteps().size())];
        try {
            plainMergeClips(sequence_.copy());
        } catch (const std::length_error&) {
            return;  // merging would not end
        }
        edit_.beginStep(step.option);
        PassRun run{edit_, noEffects_, {}, noProgress_};
        EXPECT_TRUE(step.run(run)) << step.option;
    }

    void editOnce() {
        const XMLNode track = random_.one(tracks_);
        if (!track.parent()) return;
        const TrackIndex& to = *held_[random_.index(held_.size())];
        if (!to.track().parent()) return;
        const auto place = static_cast<std::size_t>(random_.upTo(0, 8));
        const int verb = random_.upTo(1, 100);
        const std::vector<XMLNode> items = itemsOf(track);
        if (verb <= 2) return edit_.detachTrack(track, "a track");
        if (items.empty()) return;
        const XMLNode item = random_.one(items);
        const auto [start, end] = item.firstChildren({"start", "end"});
        const XMLNode edge = random_.chance(50) ? start : end;
        if (verb <= 15) return edit_.detach(item, "an item " + std::to_string(verb));
        if (verb <= 25) return edit_.detach(edge, "an edge");
        if (verb <= 50) return edit_.move(item, to, place);
        if (verb <= 65) return edit_.trim(item, {time(), time(), time(), {}});
        if (verb <= 75) edit_.split(item, {Frames{20}, Frames{30}}, {Frames{30}, {}, {}, {}});
        if (verb > 75 && verb <= 85) return edit_.insertItem(to, item.copy(), place);
        if (verb <= 85 || !edge) return;
        const std::string text = random_.chance(40) ? "-1" : time()->text();
        if (random_.chance(50)) return edit_.setText(edge, text);
        edit_.rewrite(item, std::array{TimelineEdit::Rewrite{edge, text}}, "an edge is mended");
    }

    static std::vector<XMLNode> itemsOf(XMLNode track) {
        std::vector<XMLNode> items;
        for (XMLNode node = track.firstChild(); node; node = node.nextSibling())
            if (isTimelineItem(node)) items.push_back(node);
        return items;
    }
    std::optional<Frames> time() { return Frames{random_.upTo(-1, 40) * 10}; }

    Random random_;
    XMLNode sequence_;
    SequenceLedger ledger_;
    TimelineEdit edit_;
    std::vector<XMLNode> tracks_;
    std::vector<const TrackIndex*> held_;
    const std::vector<std::string> noEffects_;
    const std::function<void(const std::string&)> noProgress_;
};

TEST(Property, ARollbackGivesNodesLedgerAndIndexesBack) {
    expectOnRandomTimelines([](const std::string& text, const std::string& part) -> Fault {
        const std::uint64_t seed =
            part.empty() ? std::hash<std::string>()(text) : std::stoull(part);
        const Timeline timeline(text);
        Editor editor(timeline.sequence, seed);
        const std::string source = editor.state();
        const auto fault = [&](const std::string& what) {
            return Fault{std::to_string(seed), what};
        };
        const TimelineEdit::Checkpoint first = editor.edit().checkpoint();
        for (int round = 1; round <= 3; ++round) {
            editor.work();
            editor.workInside();
            if (const auto wrong = editor.indexFault(); !wrong.empty())
                return fault("after edits: " + wrong);
            const std::string before = editor.state();
            const TimelineEdit::Checkpoint second = editor.edit().checkpoint();
            for (int again = 1; again <= 2; ++again) {
                editor.work();
                editor.workInside();
                editor.edit().rollback(second);
                if (editor.state() != before)
                    return fault("went back to\n" + editor.state() + "\nnot to\n" + before);
                if (const auto wrong = editor.indexFault(); !wrong.empty())
                    return fault("after a rollback: " + wrong);
            }
        }
        editor.edit().rollback(first);
        if (editor.state() != source) return fault("the beginning is not what it was");
        const std::string wrong = editor.indexFault();
        return wrong.empty() ? Fault{} : fault("back at the beginning: " + wrong);
    });
}

}  // namespace
}  // namespace reelsweep::test
