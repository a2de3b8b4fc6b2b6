// How passes report progress, log and stop.
#include "tests/plain/PassPairs.h"
#include "tests/plain/SinglePass.h"
#include "tests/timeline/LogCapture.h"
#include "tests/timeline/Timeline.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <atomic>
#include <regex>
#include <thread>

namespace reelsweep::test {
namespace {

using Strings = std::vector<std::string>;

// A timeline in which every pass has something to do.
constexpr const char* busyTimeline =
    "S: {<marker/>} V1: !A[5,20)&FALSE B[30,60)+Blur x[50,60) V2: !C[30,60) D[70,75) V3: "
    "A1: !E[0,9)*0 x[5,9)";

TEST(Passes, ShowTheirLabelsAndStopThereWhenCancelled) {
    const std::pair<const char*, const char*> rows[] = {
        {"disabled video", "Removing disabled video clips..."},
        {"disabled audio", "Removing disabled audio clips..."},
        {"silent", "Removing silent audio clips..."},
        {"obscured", "Collapsing tracks..."},  // the collapse pass follows at once
        {"collapse reverse", "Collapsing tracks..."},
        {"collapse forward", "Collapsing tracks..."},
        {"merge", "Merging clips..."},
        {"multiclips", "Collapsing multiclips..."},
        {"tracks", "Removing empty tracks..."},
        {"gaps", "Replacing gaps with slugs..."},
        {"filters", "Removing filters..."},
        {"markers", "Removing markers..."},
        // The label has never named the type.
        {"video transitions", "Removing audio transitions..."},
        {"audio transitions", "Removing audio transitions..."},
    };
    for (const PassPair& pair : passPairs()) {
        const auto isOfPair = [&](const auto& row) { return row.first == pair.name; };
        EXPECT_TRUE(std::any_of(std::begin(rows), std::end(rows), isOfPair))
            << "\"" << pair.name << "\" has no row here";
    }
    for (const auto& [name, label] : rows) {
        SCOPED_TRACE(name);
        const Timeline timeline(busyTimeline);
        const std::string before = serialise(timeline.sequence);
        Strings labels;
        SinglePass stopped;
        stopped.progress = [&](const std::string& text) {
            labels.push_back(text);
            stopped.stop.request_stop();
        };
        const Outcome done = stopped.run(passPair(name).product, timeline.sequence);
        ASSERT_FALSE(done);
        EXPECT_EQ(done.failure().code, FailureCode::cancelled);
        EXPECT_EQ(labels, Strings{label});
        EXPECT_EQ(serialise(timeline.sequence), before);
        // The same pass has something to do here.
        EXPECT_TRUE(SinglePass().run(passPair(name).product, timeline.sequence));
        EXPECT_NE(serialise(timeline.sequence), before);
    }
}

// The changes of a run, and whether the tree shows them.
Strings changesMade(const SequenceLedger& ledger) {
    Strings made;
    for (const Change& change : ledger.changes) {
        made.push_back(std::string(description(change.kind)) + " " + change.id());
        EXPECT_EQ(bool(change.node.parent()), change.kind != ChangeKind::removed) << made.back();
        if (change.kind == ChangeKind::trimmed || change.kind == ChangeKind::moved) {
            EXPECT_EQ(ItemTimes::of(change.node), change.after) << made.back();
        }
    }
    return made;
}

TEST(Passes, KeepWhatWasDoneBeforeACancelInTheMiddle) {
    // %s is the number of a clip.
    struct Row {
        const char* pass;
        const char* lower;
        const char* upper;
    };
    const Row rows[] = {
        {"disabled video", "!A%s[%s0,%s9)", ""},
        {"collapse forward", "", "B%s[%s0,-1) x%s[%s5,%s6) C%s[-1,%s9)"},
        {"obscured", "A%s[%s2,%s4)", "B%s[%s0,%s9)"},
        {"merge", "A%s[%s0,%s9)", "B%s[%s2,%s4)"},
    };
    const auto clips = [](const std::string& text) {
        std::string all;
        for (int i = 1; i < 1500; ++i)
            all += " " + std::regex_replace(text, std::regex("%s"), std::to_string(i));
        return all;
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.pass);
        const Timeline timeline("V1:" + clips(row.lower) + " V2:" + clips(row.upper));
        const PassFunction pass = passPair(row.pass).product;
        SinglePass whole;
        ASSERT_TRUE(whole.run(pass, timeline.sequence.copy()));
        const Strings all = changesMade(whole.ledger);

        // A cancel from elsewhere comes at any moment: try until one comes in the middle.
        int pause = 1000;
        bool stopped = false;
        for (int attempt = 0; attempt < 1000 && !stopped; ++attempt) {
            SinglePass single;
            std::thread canceller;
            single.progress = [&](const std::string&) {
                canceller = std::thread([&] {
                    for (std::atomic<int> spin = 0; spin < pause;) ++spin;
                    single.stop.request_stop();
                });
            };
            const Outcome done = single.run(pass, timeline.sequence.copy());
            canceller.join();
            pause = done ? pause / 2 : pause * 2;
            const Strings some = changesMade(single.ledger);
            stopped = !done && !some.empty() && some.size() < all.size();
            if (stopped) {
                EXPECT_TRUE(std::equal(some.begin(), some.end(), all.begin()));
            }
        }
        EXPECT_TRUE(stopped) << "no cancel came in the middle";
    }
}

TEST(Passes, LeaveASequenceWithoutTracksAlone) {
    const auto parsed = XMLDocument::parse(
        "<a><sequence><name>x</name></sequence><sequence><media><video/></media></sequence></a>");
    const LogCapture log;
    for (XMLNode s = parsed->rootElement().firstChild(); s; s = s.nextSibling()) {
        const std::string before = serialise(s);
        for (const PassPair& pass : passPairs()) {
            EXPECT_TRUE(SinglePass().run(pass.product, s)) << pass.name;
            EXPECT_EQ(serialise(s), before) << pass.name;
        }
    }
    const Strings lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "No video tracks found"), 2);
}

TEST(Passes, LogWhatTheyDo) {
    struct Row {
        const char* pass;
        const char* timeline;
        Strings lines;
    };
    const Row rows[] = {
        {"collapse reverse",
         "V1: A[0,100) V2: e B[100,200)",
         {"Collapsing tracks...", "Reversed", "Total tracks to process: 2",
          "Lower track 0 is empty at: 100 to 200", "upper clip count1: 2", "lower clip count1: 1",
          "upper clip count2: 1", "lower clip count2: 2"}},
        {"collapse forward",
         "V1: A[0,9) V2: x[20,30) B[-1,-1) x2[50,60) C[60,70)",
         {"Collapsing tracks...", "Total tracks to process: 2",
          "Lower track 0 is empty at: 20 to 60", "upper clip count1: 4", "lower clip count1: 1",
          "upper clip count2: 1", "lower clip count2: 4", "Lower track 0 is empty at: 60 to 70",
          "upper clip count1: 1", "lower clip count1: 4", "upper clip count2: 0",
          "lower clip count2: 5"}},
        {"collapse forward",
         "V1: A[0,100)",
         {"Collapsing tracks...", "Total tracks to process: 1"}},
        {"obscured",
         "V1: A[120,180) V2: V3: V4: C[0,9)",
         {"Removing obscured clips...", "Total tracks to process: 4"}},
        {"obscured",
         "V1: A[120,180) V2: C[100,200)",
         {"Removing obscured clips...", "Total tracks to process: 2",
          "Lower track 0 has fully obscured clip(s) 100-200"}},
        {"merge",
         "V1: V2: A[0,150) V3: C[100,200)",
         {"Merging clips...", "Total tracks to process: 3",
          "Lower track 1 has partially obscured clip(s) below 100,200"}},
        {"tracks",
         "V1: V2: V3: A[0,9) V4:",
         {"Empty track at index: 1", "Empty track at index: 2"}},
        {"gaps",
         "V1: A[0,50) B[_50,-1) x[70,80)",
         {"clip start: 0", "range start: 0", "range end: 50", "clip start:  50", "range start: 50",
          "range end: 80"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.pass) + ": " + row.timeline);
        const Timeline timeline(row.timeline);
        const LogCapture log;
        EXPECT_TRUE(SinglePass().run(passPair(row.pass).product, timeline.sequence));
        EXPECT_EQ(log.lines(), row.lines);
    }
}

TEST(Passes, LogTheSlugAndTheClipsToDisable) {
    const Timeline timeline("V1: !A[60,90)");
    const LogCapture log;
    EXPECT_TRUE(SinglePass().run(passPair("gaps").product, timeline.sequence));
    Strings lines = log.lines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[3], "Gap from 0 to 60");
    EXPECT_TRUE(lines[4].starts_with("slug: <clipitem id=\"Slug\"><name>Slug</name>")) << lines[4];

    for (const char* pass : {"disabled video", "silent"})
        EXPECT_TRUE(SinglePass().run(passPair(pass).product, timeline.sequence));
    lines = log.lines();
    ASSERT_GE(lines.size(), 7u);
    EXPECT_TRUE(lines[5].starts_with("Clips to disable: ")) << lines[5];
    EXPECT_NE(lines[5].find("A"), std::string::npos);
    // Silent clips are logged in the same words, and an empty list too.
    EXPECT_TRUE(lines.back().starts_with("Clips to disable: ")) << lines.back();
}

}  // namespace
}  // namespace reelsweep::test
