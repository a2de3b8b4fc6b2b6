// The passes as a document's operations: each does what the pass of a run does.
#include "platform/Platform.h"
#include "tests/timeline/Project.h"
#include "tidy/passes/Passes.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

// A timeline in which every pass has something to do.
constexpr const char* busyTimeline =
    "S: {<marker/>} V1: !A[5,20)&FALSE C[22,28) B[30,60)+Blur x[50,60) F[80,90) V2: !C[20,70) "
    "D[90,95) V3: A1: !E[0,9)*0 x[5,9)";

TEST(DocumentPasses, DoWhatThePassesOfARunDo) {
    using D = QVFCPDoc;
    using N = XMLNode;
    struct Row {
        std::function<N(D&, N)> operation;
        PassFunction pass;
    };
    const Row rows[] = {
        {[](D& d, N s) { return d.removeDisabledClips(s, "video"); },
         passes::removeDisabledVideoClips},
        {[](D& d, N s) { return d.removeDisabledClips(s, "audio"); },
         passes::removeDisabledAudioClips},
        {&D::removeSilentAudioClips, passes::removeSilentAudio},
        {&D::removeObscuredClips, passes::removeObscuredClips},
        {[](D& d, N s) { return d.collapseTracks(s); }, passes::collapseTracksFromTheTop},
        {[](D& d, N s) { return d.collapseTracks(s, false); }, passes::collapseTracksFromTheBottom},
        {&D::mergeClips, passes::mergeClips},
        {&D::collapseMulticlips, passes::collapseMultiClips},
        {&D::removeUnusedTracks, passes::removeUnusedTracks},
        {&D::replaceGapsWithSlugs, passes::replaceGaps},
        {&D::removeFilters, passes::removeFilters},
        {&D::removeMarkers, passes::removeMarkers},
        {&D::removeVideoTransitions, passes::removeVideoTransitions},
        {&D::removeAudioTransitions, passes::removeAudioTransitions},
        {[](D& d, N s) { return d.removeTransitions(s, "video"); }, passes::removeVideoTransitions},
        {[](D& d, N s) { return d.removeTransitions(s, "audio"); }, passes::removeAudioTransitions},
    };
    const std::vector<std::string> noEffects;
    const std::function<void(const std::string&)> noProgress;
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        const Timeline timeline(busyTimeline);
        const std::string before = serialise(timeline.sequence);
        const N expected = timeline.sequence.copy();
        SequenceLedger ledger;
        TimelineEdit edit(expected, ledger);
        PassRun run{edit, noEffects, {}, noProgress};
        ASSERT_TRUE(row.pass(run));
        Project project;
        const N answer = row.operation(project.document, timeline.sequence);
        EXPECT_EQ(answer, timeline.sequence);
        EXPECT_EQ(serialise(answer), serialise(expected));
        EXPECT_NE(serialise(answer), before);
        EXPECT_EQ(project.document.changeLedger().sequences.front().changes.size(),
                  ledger.changes.size());
        EXPECT_FALSE(row.operation(project.document, N()));

        Project stopped;
        stopped.view.onLabel = [&](const std::string&) { stopped.document.cancelProgress(); };
        EXPECT_FALSE(row.operation(stopped.document, Timeline(busyTimeline).sequence));
        EXPECT_EQ(stopped.view.labels, 1);
    }
}

TEST(DocumentPasses, CallEffectsTransparentByPreferenceAndByTheDocument) {
    Project project;
    const auto isTransparent = [&](const char* timeline) {
        const Timeline parsed(timeline);
        return project.document.isClipTransparent(parsed.firstVideoTrack().firstChild());
    };
    UserDefaults& defaults = *Platform::current().userDefaults;
    const auto names = [](const char* name) {
        return PropertyList(PropertyList::Array{std::string(name)});
    };
    // The list of filters to spare is another one and does not reach this test.
    ASSERT_FALSE(defaults.setObject("ignoredFilters", names("Blur")));
    EXPECT_FALSE(isTransparent("V1: A[0,9)+Blur"));
    ASSERT_FALSE(defaults.setObject("ignoredEffects", names("Blur")));
    EXPECT_TRUE(isTransparent("V1: A[0,9)+Blur"));
    EXPECT_FALSE(isTransparent("V1: A[0,9)+Glow"));
    project.document.setExtraIgnoredEffects({"Glow"});
    EXPECT_TRUE(isTransparent("V1: A[0,9)+Glow"));
    defaults.removeObject("ignoredEffects");
    defaults.removeObject("ignoredFilters");
}

}  // namespace
}  // namespace reelsweep::test
