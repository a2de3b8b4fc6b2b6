// The picture of a tidy from the command line.
#include "tests/cli/Program.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

TEST(PictureCommand, DrawsBeforeAndAfterAndLeavesTheFileAlone) {
    const std::string film = project({"V1: Wide[0,50) !Spare[50,90)", "V1: Other[0,9)"});
    const Workplace workplace(film);
    const Ended drawn =
        run(workplace, {"picture", "in.xml", "--sequence", "Reel 1", "-o", "out.svg"});
    EXPECT_EQ(drawn.status, 0) << drawn.error;
    EXPECT_EQ(drawn.output, "Wrote out.svg\n");
    const std::string svg = workplace.read("out.svg");
    EXPECT_NE(svg.find("1 removed"), std::string::npos) << svg;
    EXPECT_NE(svg.find(">Spare<"), std::string::npos);
    EXPECT_EQ(svg.find(">Other<"), std::string::npos);
    EXPECT_EQ(workplace.read("in.xml"), film);

    const Ended again = run(workplace, {"picture", "in.xml", "-o", "out.svg"});
    EXPECT_NE(again.status, 0);
    EXPECT_EQ(workplace.read("out.svg"), svg);
    EXPECT_EQ(run(workplace, {"picture", "in.xml", "-o", "out.svg", "--force"}).status, 0);
    EXPECT_NE(workplace.read("out.svg").find(">Other<"), std::string::npos);

    const Ended kept = run(workplace, {"picture", "in.xml", "-o", "kept.svg", "--keep", "Spare"});
    EXPECT_EQ(kept.status, 0) << kept.error;
    EXPECT_EQ(workplace.read("kept.svg").find("1 removed"), std::string::npos);
    const Ended misspelt =
        run(workplace, {"picture", "in.xml", "-o", "other.svg", "--keep", "Spar"});
    EXPECT_EQ(misspelt.status, 2);
    EXPECT_EQ(misspelt.error, "reelsweep-cli: in.xml: --keep Spar: no clip has this id or name\n");

    const Ended piped =
        run(workplace, {"picture", "-", "-o", "-", "--passes", "replaceGaps"}, {.input = film});
    EXPECT_EQ(piped.status, 0) << piped.error;
    EXPECT_EQ(piped.output.substr(0, 5), "<?xml");
    EXPECT_NE(piped.output.find("nothing changes"), std::string::npos);
}

TEST(PictureCommand, SaysWhatIsWrong) {
    const Workplace workplace("<fcpxml><project><sequence/></project></fcpxml>");
    workplace.write("broken.xml", "<xmeml version=\"5\">\n<sequence>\n");
    struct Row {
        std::vector<std::string> arguments;
        int status;
        const char* said;
    };
    const Row rows[] = {
        {{"picture", "in.xml", "-o", "out.svg"}, 2, "in.xml: picture draws XMEML files only"},
        {{"picture", "in.xml"}, 2, "--output is required"},
        {{"picture", "broken.xml", "-o", "out.svg"}, 3, "broken.xml"},
        {{"picture", "in.xml", "-o", "out.svg", "--passes", "nonsense"}, 2, "unknown pass"},
        {{"picture", "in.xml", "-o", "no/such/out.svg"}, 4, "no/such"},
    };
    for (const Row& row : rows) {
        const Ended ended = run(workplace, row.arguments);
        EXPECT_EQ(ended.status, row.status) << row.said;
        EXPECT_NE(ended.error.find(row.said), std::string::npos) << ended.error;
    }
    EXPECT_EQ(workplace.listing(), "broken.xml in.xml");
}

}  // namespace
}  // namespace reelsweep::test
