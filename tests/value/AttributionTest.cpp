// Which edits of a run made a difference.
#include "tests/value/Values.h"
#include "timeline/ChangeAttribution.h"
#include "timeline/TimelineEdit.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

// A copy of a sequence, edited, and what the proof and the ledger say of it.
class EditedCopy {
public:
    explicit EditedCopy(const char* notation)
        : source_(notation), copy_(source_.sequence.copy()), edit_(copy_, ledger_) {}

    XMLNode item(const char* id) const {
        XMLNode found;
        copy_.forEachDescendant({"clipitem", "transitionitem"}, [&](XMLNode node) {
            if (node.attribute("id") == id) found = node;
        });
        return found;
    }
    TimelineEdit& edit() { return edit_; }

    /// Each difference with the changes behind it: "lost: removed A".
    std::string text() const {
        const auto catalogue = MediaCatalogue::of(source_.document.node());
        const PictureDifference difference(reelsweep::Timeline::of(source_.sequence, catalogue),
                                           reelsweep::Timeline::of(copy_, catalogue));
        const ChangeAttribution attribution(ledger_);
        std::string text;
        for (const Difference& one : difference.differences(MediaType::video)) {
            text += (text.empty() ? "" : "; ") + std::string(description(one.kind)) + ":";
            for (const Change* change : attribution.of(one)) {
                const bool isItem = change->countsAsItem;
                text += " " + std::string(description(change->kind)) + " " +
                        (isItem ? change->id() : change->name() + " of " + change->holderId());
            }
        }
        return text;
    }

private:
    Timeline source_;
    XMLNode copy_;
    SequenceLedger ledger_;
    TimelineEdit edit_;
};

TEST(ChangeAttribution, NamesTheEditsBehindADifference) {
    EditedCopy copy("V1: A[0,10) B[20,30)%60 C[40,50) D[60,70) E[80,90) V2: F[100,110)");
    copy.edit().detach(copy.item("A"), "disabled");
    copy.edit().detach(copy.item("B").child("filter"), "all filters");
    copy.edit().trim(copy.item("C"), {.start = {}, .end = Frames{45}, .in = {}, .out = {}});
    // What was moved in sync, and what was trimmed elsewhere, made no difference.
    copy.edit().move(copy.item("F"), copy.edit().index(copy.item("B").parent()), 1);
    EXPECT_EQ(copy.text(), "lost: removed A; other look: removed Opacity of B; lost: trimmed C");
}

TEST(ChangeAttribution, FindsTheClipThatNowHidesAnother) {
    EditedCopy copy("V1: A[0,10) B[0,10) V2: !C[0,10)");
    copy.edit().setText(copy.item("C").child("enabled"), "TRUE");
    EXPECT_EQ(copy.text(), "revealed: changed  of C");
}

TEST(ChangeAttribution, FindsTheTransitionThatIsGone) {
    EditedCopy copy("V1: A[0,-1) x[5,15) B[-1,20)");
    copy.edit().detach(copy.item("x"), "all transitions");
    copy.edit().trim(copy.item("A"), {.start = {}, .end = Frames{10}, .in = {}, .out = {}});
    copy.edit().trim(copy.item("B"), {.start = Frames{10}, .end = {}, .in = Frames{5}, .out = {}});
    EXPECT_EQ(copy.text(), "transition: removed x trimmed A; transition: removed x trimmed B");
}

}  // namespace
}  // namespace reelsweep::test
