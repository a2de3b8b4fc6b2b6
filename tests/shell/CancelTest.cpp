// A cancel that comes before the run has done anything is no less a cancel.
#include "shell/QVFCPXDoc.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/timeline/Alerts.h"
#include "tests/timeline/Project.h"

#include <gtest/gtest.h>
#include <thread>

namespace reelsweep::test {
namespace {

// A cancel from this thread, or from another.
void cancel(auto& document, bool here) {
    if (here) return document.cancelProgress();
    std::thread([&] { document.cancelProgress(); }).join();
}

TEST(CancelAtOnce, DeliversNothingIntoAProject) {
    for (const bool here : {true, false}) {
        Project project({"V1: !A[0,9)"});
        const std::string before = project.xml();
        shownAlerts().clear();
        project.document.process({"removeDisabledVideoClips"});
        cancel(project.document, here);
        project.document.waitUntilProcessed();
        EXPECT_TRUE(project.document.runResult().cancelled);
        EXPECT_FALSE(project.document.runResult().delivered);
        EXPECT_TRUE(project.document.changeLedger().sequences.empty());
        EXPECT_EQ(project.xml(), before);
        EXPECT_TRUE(shownAlerts().empty());
    }
}

TEST(CancelAtOnce, LeavesNoResultOfAnFCPXMLFile) {
    const TemporaryFolder folder;
    writeFile(folder / "in.fcpxml",
              "<fcpxml><project name='P'><sequence><marker/></sequence></project></fcpxml>");
    for (const bool here : {true, false}) {
        RecordingView view;
        QVFCPXDoc document(view);
        ASSERT_TRUE(document.readFromURL(folder / "in.fcpxml"));
        document.process({"removeMarkers"});
        cancel(document, here);
        document.waitUntilProcessed();
        EXPECT_TRUE(document.runResult().cancelled);
        EXPECT_FALSE(document.runResult().delivered);
        EXPECT_FALSE(document.xmlDoc());
        EXPECT_TRUE(document.changeLedger().sequences.empty());
    }
}

TEST(CancelAtOnce, StopsARunWhoseThreadHasNotBegun) {
    // The second run waits for the first one's thread; the cancel comes meanwhile, and is its own.
    for (const bool here : {true, false}) {
        Project project({"V1: !A[0,9)"});
        std::string afterTheFirst;
        project.view.onEnd = [&] {
            if (!afterTheFirst.empty()) return;
            afterTheFirst = project.xml();
            EXPECT_TRUE(project.document.runResult().delivered);
            cancel(project.document, here);
        };
        project.document.process({"removeDisabledVideoClips"});
        project.document.process({"removeFilters"});
        project.document.waitUntilProcessed();
        EXPECT_TRUE(project.document.runResult().cancelled);
        EXPECT_FALSE(project.document.runResult().delivered);
        EXPECT_EQ(project.xml(), afterTheFirst);
    }
}

}  // namespace
}  // namespace reelsweep::test
