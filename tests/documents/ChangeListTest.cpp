// What windows and exports say of a run's changes.
#include "report/ChangeCSV.h"
#include "report/ChangeListing.h"
#include "tests/timeline/Interchange.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace reelsweep::test {
namespace {

const char* const timeline =
    "S: {<rate><timebase>25</timebase></rate>}{<timecode><frame>90000</frame></timecode>}"
    " V1: A[0,100) !B[100,150) V2: C[150,200)";

// A run over two sequences: in each a disabled clip goes and a clip moves down.
struct ListedRun {
    ListedRun()
        : file({timeline, timeline}),
          tidied(tidy(file.document, {.passes = {"removeDisabledVideoClips", "collapseTracks"},
                                      .delivery = Delivery::none,
                                      .importSafe = false})) {}
    const ChangeLedger& ledger() const { return tidied->ledger(); }

    Interchange file;
    Result<Tidied> tidied;
};

std::string listed(const ChangeListing& listing) {
    std::string text;
    for (const ChangeListing::Group& group : listing.groups()) {
        text += std::to_string(group.sequence) + " " + std::string(group.title) + ":";
        for (std::size_t row = 0; row < group.changes.size(); ++row) {
            const ChangeTexts texts =
                ChangeTexts::of(listing.sequence(group.sequence), listing.change(group, row));
            text += " " + std::string(texts.kind) + " " + texts.item + " (" + texts.before + ") (" +
                    texts.after + ")";
        }
        text += "\n";
    }
    return text;
}

TEST(ChangeListing, ListsChangesBySequenceAndPassWithTheSequencesTimecode) {
    const ListedRun run;
    const ChangeListing listing(run.ledger());
    const std::string removed =
        " Remove disabled video clips: removed B (V1  01:00:04:00 - 01:00:06:00) ()\n";
    const std::string moved =
        " Collapse tracks: moved C (V2  01:00:06:00 - 01:00:08:00)"
        " (V1  01:00:06:00 - 01:00:08:00)\n";
    EXPECT_EQ(listed(listing), "0" + removed + "0" + moved + "1" + removed + "1" + moved);
    EXPECT_EQ(listing.total(), 4u);
    EXPECT_EQ(listing.groupsOfSequence(1), (std::pair<std::size_t, std::size_t>{2, 4}));
}

TEST(ChangeListing, FiltersByWhatAPersonSees) {
    const ListedRun run;
    ChangeListing listing(run.ledger());
    const struct {
        const char* filter;
        std::size_t shown;
        std::size_t groups;
    } rows[] = {{"", 4, 4},         {"REMOVED", 2, 2}, {"v2", 2, 2},      {"disabled video", 2, 2},
                {"clipitem", 4, 4}, {"B", 2, 2},       {"no such", 0, 0}, {"moved\nC", 2, 2}};
    for (const auto& row : rows) {
        listing.setFilter(row.filter);
        EXPECT_EQ(listing.shown(), row.shown) << row.filter;
        EXPECT_EQ(listing.groups().size(), row.groups) << row.filter;
        EXPECT_EQ(listing.total(), 4u);
    }
}

class TextSink final : public ByteSink {
public:
    bool write(std::string_view bytes) override {
        text += bytes;
        return true;
    }
    std::string text;
};

TEST(ChangeCSV, WritesALineAChangeAndQuotesWhatNeedsIt) {
    Interchange file(
        {"S: {<rate><timebase>25</timebase></rate>} V1: A[0,100)+Blur !B[100,-1)@5:90"});
    const auto tidied =
        tidy(file.document,
             {.passes = {"removeDisabledVideoClips", "removeFilters"}, .delivery = Delivery::none});
    ASSERT_TRUE(tidied);
    ChangeLedger ledger = tidied->ledger();
    ledger.sequences.front().title = "Reel \"1\", cut\n2";
    TextSink sink;
    ASSERT_TRUE(writeChangesCSV(ledger, sink));
    const std::size_t line = sink.text.find("\r\n") + 2;
    const std::string reel = "\"Reel \"\"1\"\", cut\n2\",";
    EXPECT_EQ(sink.text.substr(line),
              reel +
                  "removeDisabledVideoClips,removed,clipitem,B,B,,,"
                  "V1,100,-1,5,90,00:00:04:00,transition,,,,,,,,disabled\r\n" +
                  reel +
                  "removeFilters,removed,filter,Blur,,A,A,"
                  "V1,0,100,0,100,00:00:00:00,00:00:04:00,,,,,,,,all filters are removed\r\n");
    const auto commas = [](std::string_view text) {
        return std::count(text.begin(), text.end(), ',');
    };
    EXPECT_EQ(commas(sink.text.substr(0, line)), 22);
}

}  // namespace
}  // namespace reelsweep::test
