// How passes report progress, log and stop.
#include "tests/plain/PassPairs.h"
#include "tests/timeline/LogCapture.h"
#include "tests/timeline/Project.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
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
    ASSERT_EQ(std::size(rows), passPairs().size());
    for (const auto& [name, label] : rows) {
        SCOPED_TRACE(name);
        const Timeline timeline(busyTimeline);
        const std::string before = serialise(timeline.sequence);
        Project project;
        project.view.onLabel = [&](const std::string&) { project.document.cancelProgress(); };
        EXPECT_FALSE(passPair(name).product(project.document, timeline.sequence));
        EXPECT_EQ(project.view.events, Strings{label});
        EXPECT_EQ(serialise(timeline.sequence), before);
        // The same pass has something to do here.
        Project other;
        passPair(name).product(other.document, timeline.sequence);
        EXPECT_NE(serialise(timeline.sequence), before);
    }
}

TEST(Passes, KeepWhatWasDoneBeforeACancelInTheMiddle) {
    constexpr int clips = 4000;
    std::string text = "V1:";
    for (int i = 0; i < clips; ++i)
        text +=
            " !C" + std::to_string(i) + "[" + std::to_string(i) + "," + std::to_string(i + 1) + ")";
    const Timeline timeline(text);
    // A cancel from elsewhere comes at any moment: try until one comes in the middle.
    int pause = 1000;
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const XMLNode sequence = timeline.sequence.copy();
        Project project;
        std::thread canceller;
        project.view.onLabel = [&](const std::string&) {
            canceller = std::thread([&] {
                for (std::atomic<int> spin = 0; spin < pause;) ++spin;
                project.document.cancelProgress();
            });
        };
        const XMLNode result = project.document.removeDisabledClips(sequence, "video");
        canceller.join();
        const auto left = selectNodes(sequence, ".//clipitem");
        pause = result ? pause / 2 : pause * 2;
        if (result || left->size() == clips) continue;
        ASSERT_FALSE(left->empty());
        EXPECT_EQ(*left->front().attribute("id"), "C" + std::to_string(clips - left->size()));
        return;
    }
    FAIL() << "no cancel came in the middle";
}

TEST(Passes, LeaveASequenceWithoutTracksAlone) {
    const auto parsed = XMLDocument::parse(
        "<a><sequence><name>x</name></sequence><sequence><media><video/></media></sequence></a>");
    const LogCapture log;
    for (XMLNode s = parsed->rootElement().firstChild(); s; s = s.nextSibling()) {
        const std::string before = serialise(s);
        for (const PassPair& pass : passPairs()) {
            Project project;
            EXPECT_EQ(pass.product(project.document, s), s) << pass.name;
            EXPECT_EQ(serialise(s), before) << pass.name;
            EXPECT_FALSE(pass.product(project.document, XMLNode())) << pass.name;
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
        Project project;
        const LogCapture log;
        passPair(row.pass).product(project.document, timeline.sequence);
        EXPECT_EQ(log.lines(), row.lines);
    }
}

TEST(Passes, LogTheSlugAndTheClipsToDisable) {
    const Timeline timeline("V1: !A[60,90)");
    Project project;
    const LogCapture log;
    project.document.replaceGapsWithSlugs(timeline.sequence);
    Strings lines = log.lines();
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[3], "Gap from 0 to 60");
    EXPECT_TRUE(lines[4].starts_with("slug: <clipitem id=\"Slug\"><name>Slug</name>")) << lines[4];

    project.document.removeDisabledClips(timeline.sequence, "video");
    project.document.removeSilentAudioClips(timeline.sequence);
    lines = log.lines();
    ASSERT_GE(lines.size(), 7u);
    EXPECT_TRUE(lines[5].starts_with("Clips to disable: ")) << lines[5];
    EXPECT_NE(lines[5].find("A"), std::string::npos);
    // Silent clips are logged in the same words, and an empty list too.
    EXPECT_TRUE(lines.back().starts_with("Clips to disable: ")) << lines.back();
}

}  // namespace
}  // namespace reelsweep::test
