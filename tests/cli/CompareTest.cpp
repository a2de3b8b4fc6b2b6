// Two cuts beside each other: what they show, and what changed.
#include "tests/cli/Program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

TEST(Compare, FindsAnInjectedFrameAndSaysWhere) {
    const Workplace workplace;
    const char* const cut = "S: {<rate><timebase>25</timebase></rate>} V1: A[0,50) B[50,90) ";
    workplace.write("a.xml", project({cut}));
    struct Row {
        const char* what;
        const char* timeline;
        int status;
        std::vector<const char*> said;
        const char* diff;
    };
    const std::string rate = "S: {<rate><timebase>25</timebase></rate>} ";
    const Row rows[] = {
        {"the same on another track",
         "V1: A[0,50) V2: B[50,90)",
         0,
         {"90 of 90 frames show the same picture"},
         "moved"},
        {"a clip shorter by a frame",
         "V1: A[0,50) B[50,89)",
         6,
         {"89 of 90 frames show the same picture", "00:00:03:14", "B, source", "now black"},
         "trimmed"},
        {"another source frame",
         "V1: A[0,50) B[50,90)@1:41",
         6,
         {"50 of 90 frames", "00:00:02:00 to 00:00:03:15"},
         "slipped"},
        {"a clip less", "V1: A[0,50)", 6, {"50 of 90 frames", "now black"}, "removed"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        workplace.write("b.xml", project({rate + row.timeline}));
        const Ended verify = run(workplace, {"verify", "a.xml", "b.xml"});
        EXPECT_EQ(verify.status, row.status) << verify.error;
        for (const char* const text : row.said)
            EXPECT_NE(verify.output.find(text), std::string::npos) << verify.output;
        const Json json =
            Json::parse(run(workplace, {"verify", "a.xml", "b.xml", "--json"}).output);
        EXPECT_EQ(json[0]["same"], row.status == 0);
        const Ended diff = run(workplace, {"diff", "a.xml", "b.xml"});
        EXPECT_EQ(diff.status, 6);
        EXPECT_NE(diff.output.find(row.diff), std::string::npos) << diff.output;
    }
}

TEST(Compare, PairsSequencesByNameOrAsItIsTold) {
    const Workplace workplace;
    workplace.write("in.xml", project({"V1: A[0,50) !B[50,90)", "V1: C[0,9)"}));
    EXPECT_EQ(run(workplace, {"verify", "in.xml"}).status, 2);
    EXPECT_EQ(run(workplace, {"verify", "in.xml", "in.xml"}).status, 0);
    EXPECT_EQ(run(workplace, {"verify", "in.xml", "--sequence", "1=2"}).status, 6);
    EXPECT_EQ(run(workplace, {"tidy", "in.xml", "-o", "out.xml"}).status, 0);
    const Ended tidied = run(workplace, {"verify", "out.xml"});
    EXPECT_EQ(tidied.status, 0) << tidied.output;
    EXPECT_NE(tidied.output.find("Reel 1 | Reel 1-Tidied"), std::string::npos);
    EXPECT_EQ(run(workplace, {"verify", "missing.xml"}).status, 3);
}

TEST(Compare, AStrictTidyWritesNothingThatShowsAnotherPicture) {
    const Workplace workplace(
        project({"V1: A[10,40) V2: B[0,90){<alphatype>straight</alphatype>}"}));
    const Ended literal = run(workplace, {"tidy", "in.xml", "--literal", "--strict"});
    EXPECT_EQ(literal.status, 6);
    EXPECT_NE(literal.error.find("30 of 90 frames show another picture"), std::string::npos)
        << literal.error;
    EXPECT_EQ(workplace.listing(), "in.xml");
    const Ended careful = run(workplace, {"tidy", "in.xml", "--strict"});
    EXPECT_EQ(careful.status, 0) << careful.error;
    EXPECT_NE(careful.error.find("1 clip was left alone to keep the picture"), std::string::npos)
        << careful.error;
}

}  // namespace
}  // namespace reelsweep::test
