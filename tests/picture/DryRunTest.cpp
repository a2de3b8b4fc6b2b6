// A dry run does what the run will do, and touches nothing.
#include "base/Log.h"
#include "documents/TidiedCopy.h"
#include "tests/picture/Drawn.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

constexpr const char* film =
    "V1: A[0,-1) x[90,110) B[-1,200) !C[200,220)+Blur D[240,300)'M "
    "V2: E[20,40) F[210,260){<alphatype>straight</alphatype>} V3: V4: G[400,450) "
    "A1: H[0,100)*0 I[100,200)";

class LineCount final : public LogSink {
public:
    void append(std::string_view, std::span<const FormatArgument>, Urgency) override { ++count; }
    int count = 0;
};

std::string changesText(const SequenceLedger& ledger) {
    std::string text;
    for (const Change& change : ledger.changes)
        text += std::string(change.pass) + " " + std::string(description(change.kind)) + " " +
                change.name() + " " + description(change.trackAfter) + "\n";
    for (const KeptItem& item : ledger.kept) text += "kept " + item.name() + "\n";
    return text;
}

TEST(DryRun, ShowsWhatTheRunDelivers) {
    for (const bool keepsPicture : {false, true}) {
        const Timeline timeline(film);
        const TidyRequest request{.passes = allPasses(), .keepPicture = keepsPicture};
        const std::string before = serialise(timeline.document.node());
        const auto dry =
            dryRun(std::span(&timeline.sequence, 1), {request, true, timeline.document.node()});
        ASSERT_TRUE(dry);
        EXPECT_EQ(serialise(timeline.document.node()), before);

        std::vector<std::unique_ptr<CopyInWork>> copies;
        auto copy = CopyInWork::begin(SourceSequence::of(timeline.sequence), request, {});
        ASSERT_TRUE(copy);
        copies.push_back(std::move(*copy));
        ASSERT_TRUE(makeImportSafe(copies, &timeline.document, {}));
        const SequenceLedger ledger = copies.front()->finish().ledger;
        EXPECT_FALSE(ledger.changes.empty());
        EXPECT_EQ(changesText(dry->front().ledger), changesText(ledger));
    }
}

TEST(DryRun, SaysNothingToTheLogAndStopsWhenItIsTold) {
    const Timeline timeline(film);
    LineCount lines;
    Log::setSink(&lines);
    drawn(timeline, allPasses());
    EXPECT_EQ(lines.count, 0);
    // The same work as a run does log.
    EXPECT_TRUE(tidiedCopy(SourceSequence::of(timeline.sequence), {.passes = allPasses()}, {}));
    Log::setSink(nullptr);
    EXPECT_GT(lines.count, 0);
    std::stop_source stop;
    stop.request_stop();
    const auto stopped = dryRun(std::span(&timeline.sequence, 1), {}, stop.get_token());
    ASSERT_FALSE(stopped);
    EXPECT_EQ(stopped.failure().code, FailureCode::cancelled);
}

}  // namespace
}  // namespace reelsweep::test
