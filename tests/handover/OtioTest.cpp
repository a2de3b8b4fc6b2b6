// OpenTimelineIO documents: what stands in which track, and where it comes from.
#include "report/Otio.h"
#include "tests/handover/Handover.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

namespace reelsweep::test {
namespace {

using Json = nlohmann::json;

std::string number(const Json& time) { return std::to_string(time.at("value").get<int>()); }

// "A 25+50 @1000+500", "gap 10", "x 5/5".
std::string childText(const Json& child) {
    const std::string schema = child.at("OTIO_SCHEMA");
    if (schema == "Transition.1")
        return "x " + number(child.at("in_offset")) + "/" + number(child.at("out_offset"));
    const Json& range = child.at("source_range");
    if (schema == "Gap.1") return "gap " + number(range.at("duration"));
    std::string text = child.at("name").get<std::string>() + " " + number(range.at("start_time")) +
                       "+" + number(range.at("duration"));
    if (!child.at("enabled").get<bool>()) text = "!" + text;
    if (schema == "Stack.1")
        return text + " of " + std::to_string(child.at("children").size()) + " tracks";
    const Json& media = child.at("media_references").at("DEFAULT_MEDIA");
    if (media.contains("available_range") && !media.at("available_range").is_null())
        text += " @" + number(media.at("available_range").at("start_time")) + "+" +
                number(media.at("available_range").at("duration"));
    for (const Json& effect : child.at("effects"))
        if (effect.contains("time_scalar"))
            text += " *" + std::to_string(effect.at("time_scalar").get<double>()).substr(0, 4);
    for (const Json& marker : child.at("markers"))
        text += " '" + marker.at("name").get<std::string>() + " " +
                number(marker.at("marked_range").at("start_time"));
    return text;
}

std::string tracksText(const Json& document) {
    std::string text;
    for (const Json& track : document.at("tracks").at("children")) {
        text += (text.empty() ? "" : " ") + track.at("name").get<std::string>() + ":";
        std::string separator = " ";
        for (const Json& child : track.at("children")) {
            text += separator + childText(child);
            separator = " | ";
        }
    }
    return text;
}

void collectSchemas(const Json& value, std::set<std::string>& found) {
    if (value.is_object() && value.contains("OTIO_SCHEMA")) found.insert(value["OTIO_SCHEMA"]);
    if (value.is_structured())
        for (const Json& child : value) collectSchemas(child, found);
}

TEST(Otio, HasTracksOfClipsGapsAndTransitions) {
    const std::string reverse =
        "{<filter><effect><name>Time Remap</name><effectid>timeremap</effectid><parameter>"
        "<parameterid>speed</parameterid><value>-200</value></parameter></effect></filter>}";
    struct Row {
        std::string timeline;
        std::string tracks;
        std::size_t leftOut = 0;
    };
    const std::vector<Row> rows = {
        {"V1: A[10,60)@25:75" + file("a", 500, 1000) + " !B[60,90) A1: S[0,9)",
         "V1: gap 10 | A 1025+50 @1000+500 | !B 0+30 A1: S 0+9"},
        {"V1: A[0,-1)@0:110 x[90,110) B[-1,200)@50:160", "V1: A 0+100 | x 10/10 | B 60+100"},
        {"V1: x[0,25) A[-1,100)", "V1: gap 0 | x 0/25 | A 0+100"},
        {"V1: A[0,50)@0:50" + reverse, "V1: A 0+50 *-2.0"},
        {"V1: A[0,50)@20:70'M" + file("a", 500, 1000), "V1: A 1020+50 @1000+500 'M 1000"},
        {"V1: A[0,50) B[10,20) C[40,75)", "V1: A 0+50 | C 10+25", 1},
        {"V1: N[0,50){<sequence id=\"n\"><name>Nest</name><rate><timebase>25</timebase></rate>"
         "<media><video><track><clipitem><start>0</start><end>80</end><in>0</in><out>80</out>"
         "</clipitem></track><track/></video></media></sequence>}",
         "V1: N 0+50 of 2 tracks"},
    };
    std::set<std::string> schemas;
    for (const Row& row : rows) {
        TextSink sink;
        const WrittenOtio written = writeOtio(timelineOf(row.timeline), "Reel", sink);
        const Json document = Json::parse(sink.text);
        EXPECT_EQ(tracksText(document), row.tracks) << row.timeline;
        EXPECT_EQ(written.leftOut, row.leftOut);
        collectSchemas(document, schemas);
    }
    // Versions that readers from 0.15 on know.
    const std::set<std::string> known = {"Timeline.1",
                                         "Stack.1",
                                         "Track.1",
                                         "Clip.2",
                                         "Gap.1",
                                         "Transition.1",
                                         "Marker.2",
                                         "LinearTimeWarp.1",
                                         "Effect.1",
                                         "ExternalReference.1",
                                         "RationalTime.1",
                                         "TimeRange.1",
                                         "FreezeFrame.1",
                                         "MissingReference.1",
                                         "GeneratorReference.1"};
    for (const std::string& schema : schemas) EXPECT_TRUE(known.contains(schema)) << schema;
}

}  // namespace
}  // namespace reelsweep::test
