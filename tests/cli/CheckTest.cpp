// What `check` prints and answers.
#include "tests/cli/Program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace reelsweep::test {
namespace {

TEST(Check, TellsEachFaultWithItsPlace) {
    const Workplace workplace(
        project({"S: {<rate><timebase>25</timebase></rate>} V1: A[0,100) B[-1,200)@0:100"}));
    const Ended ended = run(workplace, {"check", "in.xml"});
    EXPECT_EQ(ended.status, 6);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.output,
              "Reel 1: V1, transition to 00:00:08:00: B: It starts in a transition, but there is "
              "none before it.\n1 fault that an importer may stumble over.\n");
    const Ended json =
        run(workplace, {"check", "--json", "-"}, {.input = workplace.read("in.xml")});
    EXPECT_EQ(json.status, 6);
    EXPECT_EQ(nlohmann::json::parse(json.output), nlohmann::json::parse(R"({
        "file": "standard input", "faults": [{"kind": "edgeWithoutTransition",
        "sequence": "Reel 1", "track": "V1", "item": "B", "id": "B", "start": -1, "end": 200,
        "in": 0, "out": 100, "place": "V1, transition to 00:00:08:00",
        "text": "It starts in a transition, but there is none before it."}]})"));
}

TEST(Check, TellsThatAFileIsCleanOrNoneThatItCanRead) {
    const Workplace workplace(project({"V1: A[0,100)"}));
    const Ended clean = run(workplace, {"check", "in.xml"});
    EXPECT_EQ(clean.status, 0);
    EXPECT_EQ(clean.output, "Nothing that an importer would stumble over.\n");
    workplace.write("in.fcpxml", "<fcpxml/>");
    const Ended other = run(workplace, {"check", "in.fcpxml"});
    EXPECT_EQ(other.status, 2);
    EXPECT_EQ(other.output, "");
    EXPECT_NE(other.error.find("check reads XMEML files only"), std::string::npos) << other.error;
}

}  // namespace
}  // namespace reelsweep::test
