// Rules, presets and lists of passes on the command line.
#include "tests/cli/Program.h"

#include "tests/timeline/Timeline.h"
#include "tidy/TidyRules.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <regex>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

const std::string cut =
    project({"V1: A[0,50)+Sharpen+Color_Corrector V2: B[60,90)'VFX'Note "
             "V3: T[95,99){<labels><label2>Rose</label2></labels>}"});

TEST(RulesOfTidy, HoldInTheResultAndAreTold) {
    struct Row {
        std::vector<std::string> options;
        const char* after;
    };
    const char* const label = "{<labels><label2>Rose</label2></labels>}";
    const std::string collapsed =
        std::string("V1: A[0,50)+Sharpen+Color_Corrector B[60,90)'VFX'Note T[95,99)") + label;
    const Row rows[] = {
        {{"--exclude-track", "V3"},
         "V1: A[0,50)+Sharpen+Color_Corrector B[60,90)'VFX'Note "
         "V2: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--exclude-track", "v2-V3"},
         "V1: A[0,50)+Sharpen+Color_Corrector V2: B[60,90)'VFX'Note "
         "V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--exclude-clip=b*"},
         "V1: A[0,50)+Sharpen+Color_Corrector T[95,99){<labels><label2>Rose</label2></labels>} "
         "V2: B[60,90)'VFX'Note"},
        {{"--exclude-colour", "rose", "--exclude-color", "Iris*"},
         "V1: A[0,50)+Sharpen+Color_Corrector B[60,90)'VFX'Note "
         "V2: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--passes", "removeFilters", "--filters-keep", "color*"},
         "V1: A[0,50)+Color_Corrector V2: B[60,90)'VFX'Note "
         "V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--passes", "removeFilters,removeMarkers", "--filters-only=Sharp*", "--markers-keep",
          "vfx"},
         "V1: A[0,50)+Color_Corrector V2: B[60,90)'VFX "
         "V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--passes", "default,-collapseTracks,+removeMarkers"},
         "V1: A[0,50)+Sharpen+Color_Corrector V2: B[60,90) "
         "V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--passes=-collapseTracks,removeFilters"},
         "V1: A[0,50) V2: B[60,90)'VFX'Note "
         "V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--passes", "all,-collapseTracks,-replaceGaps,-removeFilters,-removeMarkers"},
         "V1: A[0,50)+Sharpen+Color_Corrector V2: B[60,90)'VFX'Note "
         "V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--preset", "Picture turnover"}, collapsed.c_str()},
        {{"--preset", "My titles"},
         "V1: A[0,50) V2: B[60,90)'VFX'Note "
         "V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--preset", "Older", "--passes=+removeMarkers"},
         "V1: A[0,50) V2: B[60,90) V3: T[95,99){<labels><label2>Rose</label2></labels>}"},
        {{"--preset-file", "turnover.json"},
         "V1: A[0,50)+Color_Corrector B[60,90)'VFX'Note "
         "V2: T[95,99){<labels><label2>Rose</label2></labels>}"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.options));
        const Workplace workplace(cut);
        workplace.write("turnover.json", R"({"name": "Turnover",
            "passes": ["default", "removeFilters"],
            "excludeColours": ["Rose"], "filtersKeep": ["Color*"]})");
        writeFile(workplace.home() + "/Library/Preferences/com.quorvane.Reelsweep.plist",
                  "<plist version='1.0'><dict><key>optionPresets</key><dict>"
                  "<key>My titles</key><dict><key>passes</key><array>"
                  "<string>removeFilters</string><string>collapseTracks</string></array>"
                  "<key>excludeTracks</key><array><string>V2-V9</string></array>"
                  "<key>filtersKeep</key><array/></dict>"
                  "<key>Older</key><array><string>removeFilters</string></array>"
                  "</dict></dict></plist>");
        std::vector<std::string> arguments{"tidy", "in.xml", "-o", "out.xml", "--report", "r"};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        const Ended ended = run(workplace, arguments);
        EXPECT_EQ(ended.status, 0) << ended.error;
        EXPECT_EQ(sequencesOf(workplace.read("out.xml")),
                  sequencesOf(cut) + "Reel 1-Tidied: " + row.after + "\n");
        // Whatever rule kept something says so.
        const Json sequence = Json::parse(workplace.read("r"))["documents"][0]["sequences"][0];
        const bool excludes = row.options.front().starts_with("--exclude");
        EXPECT_EQ(
            sequence["kept"].size() > 0 &&
                sequence["kept"][0]["reason"].get<std::string>().starts_with("kept: "),
            excludes || row.options.back() == "My titles" || row.options.back() == "turnover.json");
    }
}

TEST(RulesOfTidy, AreRefusedWhenTheyFitNothing) {
    struct Row {
        std::vector<std::string> options;
        const char* error;
    };
    const Row rows[] = {
        {{"--exclude-track", "V9"}, "in.xml: --exclude-track V9: no track goes by this name"},
        {{"--exclude-clip", "Slate"}, "in.xml: --exclude-clip Slate: no clip goes by this name"},
        {{"--exclude-colour", "Iris"}, "in.xml: --exclude-colour Iris: no clip has this label"},
        {{"--preset", "Sound turnvoer"},
         "no preset \"Sound turnvoer\"; did you mean \"Sound turnover\"?"},
        {{"--preset-file", "a.json"}, "a.json:3: is no valid JSON"},
        {{"--preset-file", "b.json"}, "b.json:2: unknown key \"excludeTrack\""},
        {{"--preset-file", "c.json"}, "c.json:1: \"passes\" must be a list of texts"},
        {{"--preset-file", "d.json"}, "d.json: unknown pass \"collapseTrack\""},
        {{"--preset-file", "missing.json"}, "missing.json: No such file"},
        {{"--preset", "Everything", "--preset-file", "c.json"},
         "--preset and --preset-file exclude each other"},
        {{"--passes", "default,-colapseTracks"}, "unknown pass \"colapseTracks\"; did you mean"},
        {{"--sequence", "harbor"}, "in.xml: no sequence \"harbor\"; did you mean \"Harbour at"},
        {{"--sequence", "Rel*"}, "in.xml: no sequence \"Rel*\""},
    };
    std::string contents = cut;
    contents.replace(contents.find("Reel 1"), 6, "Harbour at Work");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.error);
        const Workplace workplace(contents);
        workplace.write("a.json", "{\n\"passes\": [],\n}");
        workplace.write("b.json", "{\"passes\": [],\n\"excludeTrack\": []}");
        workplace.write("c.json", "{\"passes\": \"all\"}");
        workplace.write("d.json", "{\"passes\": [\"collapseTrack\"]}");
        std::vector<std::string> arguments{"tidy", "in.xml"};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        const Ended ended = run(workplace, arguments);
        EXPECT_TRUE(ended.status == 2 || ended.status == 3) << ended.status;
        EXPECT_EQ(ended.error.find(std::string("reelsweep-cli: ") + row.error), 0U) << ended.error;
        EXPECT_FALSE(workplace.has("in-Tidied.xml"));
    }
}

TEST(RulesOfTidy, TakeSequencesByPatternAndLeaveTidiedCopiesOut) {
    const Workplace workplace(project({"V1: A[0,9)'M", "V1: B[0,9)'M"}));
    const std::vector<std::string> first{"tidy", "in.xml", "--passes", "removeMarkers",
                                         "--in-place"};
    EXPECT_EQ(run(workplace, first).status, 0);
    const std::string twice = sequencesOf(workplace.read("in.xml"));
    // The ids of the items get numbers, which do not matter here.
    const auto added = [&] {
        return std::regex_replace(sequencesOf(workplace.read("in-Tidied.xml")).substr(twice.size()),
                                  std::regex("-Tidied(-2)?\\["), "[");
    };
    const auto addedFor = [&](const std::string& sequence) {
        const Ended ended = run(workplace, {"tidy", "in.xml", "--passes", "removeMarkers",
                                            "--force", "--sequence", sequence});
        EXPECT_EQ(ended.status, 0) << ended.error;
        return added();
    };
    EXPECT_EQ(addedFor("reel*"), "Reel 1-Tidied: V1: A[0,9)\nReel 2-Tidied: V1: B[0,9)\n");
    EXPECT_EQ(addedFor("* 2"), "Reel 2-Tidied: V1: B[0,9)\n");
    EXPECT_EQ(addedFor("*1-Tidied"), "Reel 1-Tidied-Tidied: V1: A[0,9)\n");
    const Ended again = run(workplace, {"tidy", "in.xml", "--force"});
    EXPECT_NE(again.error.find("2 tidied copies were left out"), std::string::npos);
    EXPECT_EQ(added(), "Reel 1-Tidied: V1: A[0,9)'M\nReel 2-Tidied: V1: B[0,9)'M\n");
}

}  // namespace
}  // namespace reelsweep::test
