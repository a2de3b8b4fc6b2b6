// What a pass holds across an edit stays right: an index of a track, and the entries in it.
#include "tests/timeline/IndexAnswers.h"
#include "tests/timeline/Timeline.h"
#include "timeline/TimelineEdit.h"

#include <gtest/gtest.h>
#include <functional>

namespace reelsweep::test {
namespace {

// A sequence whose tracks a pass has looked at.
struct Held {
    Held() : edit(timeline.sequence, ledger) {
        edit.readItems();
        for (XMLNode track = timeline.firstVideoTrack(); track; track = track.nextSibling("track"))
            indexes.push_back(&edit.index(track));
        for (const TrackIndex* index : indexes)
            for (std::size_t place = 0; place < index->childCount(); ++place)
                entries.push_back(&index->entry(index->entryAt(place)));
    }

    XMLNode item(const char* id) const {
        XMLNode found;
        timeline.sequence.forEachDescendant({}, [&](XMLNode node) {
            if (node.attribute("id") == id) found = node;
        });
        return found;
    }

    void expectRightEntries() const {
        for (const TrackEntry* entry : entries) {
            const TrackEntry now = TrackEntry::of(entry->node);
            EXPECT_EQ(entry->start, now.start) << description(entry->node);
            EXPECT_EQ(entry->end, now.end) << description(entry->node);
            EXPECT_EQ(entry->startInTransition, now.startInTransition) << description(entry->node);
            EXPECT_EQ(entry->endInTransition, now.endInTransition) << description(entry->node);
            EXPECT_EQ(entry->isPlain, now.isPlain) << description(entry->node);
        }
    }
    void expectRightAnswers() {
        EXPECT_EQ(itemsFault(edit, timeline.sequence), "");
        SequenceLedger ignored;
        TimelineEdit fresh(timeline.sequence, ignored);
        for (const TrackIndex* index : indexes)
            EXPECT_EQ(IndexAnswers::of(*index), IndexAnswers::of(fresh.index(index->track())));
    }

    Timeline timeline{
        "V1: A[0,-1) x[90,110) B[-1,200) e C[200,300){<file id='f'/>} V2: "
        "D[300,400){<file id='g'><name>n</name></file>} !E[500,600){<filter/>}"};
    SequenceLedger ledger;
    TimelineEdit edit;
    std::vector<const TrackIndex*> indexes;
    std::vector<const TrackEntry*> entries;
};

struct Edit {
    const char* name;
    std::function<void(Held&)> make;
};

const Edit edits[] = {
    {"detach an item", [](Held& h) { h.edit.detach(h.item("B"), "x"); }},
    {"detach an edge", [](Held& h) { h.edit.detach(h.item("A").child("end"), "x"); }},
    {"detach an edge's text",
     [](Held& h) { h.edit.detach(h.item("A").child("end").firstChild(), "x"); }},
    {"detach a track", [](Held& h) { h.edit.detachTrack(h.indexes[1]->track(), "x"); }},
    {"move down", [](Held& h) { h.edit.move(h.item("D"), *h.indexes[0], 1); }},
    {"move along the track", [](Held& h) { h.edit.move(h.item("A"), *h.indexes[0], 3); }},
    {"move, having been edited while out",
     [](Held& h) {
         const XMLNode item = h.item("D");
         h.edit.detach(item, "x");
         h.edit.trim(item, {Frames{5}, Frames{9}, {}, {}});
         h.edit.move(item, *h.indexes[0], 0);
     }},
    {"trim",
     [](Held& h) {
         h.edit.trim(h.item("C"), {Frames{210}, Frames{220}, {}, {}});
     }},
    {"split",
     [](Held& h) {
         h.edit.split(h.item("C"), {Frames{220}, Frames{230}}, {Frames{230}, {}, {}, {}});
     }},
    {"insert", [](Held& h) { h.edit.insertItem(*h.indexes[1], h.item("C").copy(), 1); }},
    {"set the text of a start", [](Held& h) { h.edit.setText(h.item("B").child("start"), "100"); }},
    {"rewrite an edge and an attribute",
     [](Held& h) {
         const XMLNode item = h.item("C");
         const TimelineEdit::Rewrite rewrites[] = {{item.child("end"), "-1"}, {item, "c2", "id"}};
         h.edit.rewrite(item, rewrites, "x");
     }},
    {"define a file", [](Held& h) { h.edit.define(h.item("f"), h.item("g"), "x"); }},
    {"refer to a file", [](Held& h) { h.edit.refer(h.item("g"), "x"); }},
    {"set the text of a setting",
     [](Held& h) { h.edit.setText(h.indexes[0]->track().child("enabled"), "FALSE"); }},
    {"detach a filter", [](Held& h) { h.edit.detach(h.item("E").child("filter"), "x"); }},
    {"switch on", [](Held& h) { h.edit.setText(h.item("E").child("enabled"), "TRUE"); }},
    {"set the text of an item", [](Held& h) { h.edit.setText(h.item("C"), "nothing more"); }},
    {"set the text of a track", [](Held& h) { h.edit.setText(h.indexes[0]->track(), "no more"); }},
};

TEST(TimelineEdit, KeepsIndexesAndEntriesThatAPassHoldsRight) {
    for (const Edit& edit : edits) {
        SCOPED_TRACE(edit.name);
        Held held;
        const std::string before = serialise(held.timeline.sequence);
        const TimelineEdit::Checkpoint checkpoint = held.edit.checkpoint();
        edit.make(held);
        EXPECT_NE(serialise(held.timeline.sequence), before);
        held.expectRightEntries();
        held.expectRightAnswers();
        held.edit.rollback(checkpoint);
        EXPECT_EQ(serialise(held.timeline.sequence), before);
        EXPECT_TRUE(held.ledger.changes.empty());
        held.expectRightEntries();
        held.expectRightAnswers();
    }
}

TEST(TimelineEdit, MakesAnIndexRightAgainThatALaterPassAsks) {
    for (const Edit& edit : edits) {
        SCOPED_TRACE(edit.name);
        Held held;
        held.edit.beginStep("collapseTracks");  // which does not look at any track
        edit.make(held);
        held.expectRightAnswers();
        held.expectRightEntries();
    }
}

TEST(TimelineEdit, GoesBackToAnEarlierCheckpointAndThenToALaterOne) {
    Held held;
    const std::string before = serialise(held.timeline.sequence);
    const TimelineEdit::Checkpoint outer = held.edit.checkpoint();
    held.edit.detach(held.item("A"), "first");
    const TimelineEdit::Checkpoint inner = held.edit.checkpoint();
    held.edit.detach(held.item("B"), "second");
    held.edit.rollback(outer);
    held.edit.rollback(inner);  // there is nothing left to undo
    EXPECT_EQ(serialise(held.timeline.sequence), before);
    EXPECT_TRUE(held.ledger.changes.empty());
    held.edit.detach(held.item("C"), "third");
    EXPECT_EQ(held.ledger.reasonText(held.ledger.changes.at(0)), "third");
}

}  // namespace
}  // namespace reelsweep::test
