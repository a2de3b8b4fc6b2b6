#include "tests/timeline/LogCapture.h"
#include "tests/timeline/Timeline.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <cmath>
#include <stdexcept>

namespace reelsweep::test {
namespace {

using Strings = std::vector<std::string>;

XMLDocument parsed(const char* xml) {
    Result<XMLDocument> document = XMLDocument::parse(xml);
    EXPECT_TRUE(document) << xml;
    return std::move(*document);
}

TEST(QVXMLParser, AClipTakesItsTransitionsAndTheClipsTheyJoinWithIt) {
    struct Row {
        const char* timeline;
        const char* clip;
        const char* group;
        int start;
        int end;
    };
    const Row rows[] = {
        {"V1: A[100,200)", "A", "A", 100, 200},
        {"V1: A[40,-1) x[90,110) B[-1,300)", "B", "AxB", 40, 300},
        {"V1: A[40,-1) x[90,110) B[-1,300)", "A", "AxB", 40, 300},
        {"V1: A[40,90) x[90,110) B[-1,300)", "B", "xB", 90, 300},
        {"V1: A[40,-1) x[90,110) B[110,300)", "A", "Ax", 40, 110},
        {"V1: A[0,-1) x[90,110) B[-1,-1) x2[190,210) C[-1,300)", "B", "AxBx2C", 0, 300},
        {"V1: A[0,-1) B[-1,300)", "A", "AB", 0, 300},
        // Nothing follows: the walk runs off the track and the edge stays open.
        {"V1: A[0,-1)", "A", "A", 0, -1},
        {"V1: A[-1,50)", "A", "A", -1, 50},
        // A node without times ends the walk at frame 0, whatever it is.
        {"V1: e A[-1,50)", "A", "?A", 0, 50},
        {"V1: A[10,-1) # B[-1,90)", "A", "A?", 10, 0},
        {"V1: x[90,-1) B[-1,300)", "B", "xB", 90, 300},
        {"V1: A[0,-1.0) x[90,110) B[-1,300)", "B", "xB", 90, 300},
        {"V1: A[-1.0,9x)", "A", "A", -1, 9},
        {"V1: A[-,-)", "A", "A", 0, 0},
        {"V1: A[5|7,9)", "A", "A", 5, 9},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.timeline + std::string(" from ") + row.clip);
        const Timeline timeline(row.timeline);
        const auto clips =
            selectNodes(timeline.sequence, ".//*[@id='" + std::string(row.clip) + "']");
        ASSERT_EQ(clips->size(), 1u);
        Frames start{77};
        Frames end{77};
        std::string group;
        for (const XMLNode& node : QVXMLParser::affectedNodesForClip(clips->front(), &start, &end))
            group += node.attribute("id").value_or("?");
        EXPECT_EQ(group, row.group);
        EXPECT_EQ(start.count, row.start);
        EXPECT_EQ(end.count, row.end);
    }
}

TEST(QVXMLParser, TellsNoMatchFromAnEmptyText) {
    const XMLDocument document = parsed("<a><b/><b>2</b><c>x<d>y</d></c></a>");
    const XMLNode a = document.rootElement();
    EXPECT_EQ(QVXMLParser::stringValuesForQuery("./b", a), (Strings{"", "2"}));
    EXPECT_EQ(QVXMLParser::stringValueForQuery("./b", a), "");
    EXPECT_EQ(QVXMLParser::stringValueForQuery("./c", a), "xy");
    EXPECT_EQ(QVXMLParser::stringValuesForQuery("./z", a), std::nullopt);
    EXPECT_EQ(QVXMLParser::stringValueForQuery("./z", a), std::nullopt);
    EXPECT_EQ(QVXMLParser::stringValueForQuery("./[", a), std::nullopt);
    EXPECT_TRUE(QVXMLParser::nodesForQuery("./z", a)->empty());
    EXPECT_EQ(QVXMLParser::nodeForQuery("./c/d", a), a.child("c").child("d"));
}

TEST(QVXMLParser, LogsAQueryThatFailsAndGoesOn) {
    const XMLDocument document = parsed("<a><b id='1'/><c id='2'/><b id='3'/></a>");
    const XMLNode a = document.rootElement();
    const LogCapture log;
    EXPECT_EQ(QVXMLParser::nodesForQuery("./[", a), std::nullopt);
    const auto nodes = QVXMLParser::nodesFromQueries(a, {"./c", "./[", "./b[2]", "./*", "./b"});
    std::string ids;  // the order of first appearance, each once
    for (const XMLNode& node : nodes) ids += *node.attribute("id");
    EXPECT_EQ(ids, "231");
    EXPECT_EQ(log.lines().size(), 2u);

    const auto twice = QVXMLParser::queryNodes({a, a.child("b"), a}, "./b");
    EXPECT_EQ(twice.size(), 4u);
}

TEST(QVXMLParser, FindsNamesAndUuids) {
    struct Row {
        const char* xml;
        std::optional<std::string> name;
        std::optional<std::string> ownName;
        std::optional<std::string> uuid;
    };
    const Row rows[] = {
        {"<s id='i'><name>Cut</name><uuid>u1</uuid></s>", "Cut", "Cut", "u1"},
        {"<s id='i'><x><name>Below</name><uuid>u2</uuid></x></s>", "Below", {}, "u2"},
        {"<s id='i%41'><x/></s>", "iA", {}, {}},
        {"<s><name/></s>", {}, {}, {}},
        {"<s id='i'><name/><x><name>Below</name></x></s>", "Below", {}, {}},
        {"<s><name>a%20b%2Fc</name></s>", "a b/c", "a b/c", {}},
        // One bad escape, or one that is not ASCII, leaves the whole text alone.
        {"<s><name>a%20b 100%</name></s>", "a%20b 100%", "a%20b 100%", {}},
        {"<s><name>caf%C3%A9%20</name></s>", "caf%C3%A9%20", "caf%C3%A9%20", {}},
        {"<s><name><![CDATA[A & B]]></name></s>", "A & B", "A & B", {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.xml);
        const XMLDocument document = parsed(row.xml);
        const XMLNode s = document.rootElement();
        EXPECT_EQ(QVXMLParser::nameForNode(s), row.name);
        EXPECT_EQ(QVXMLParser::nameForNode(s, true), row.ownName);
        EXPECT_EQ(QVXMLParser::uuidForNode(s), row.uuid);
    }
    const XMLDocument document = parsed("<s id='a%20b'/>");
    EXPECT_EQ(QVXMLParser::idAttributeForNode(document.rootElement()), "a b");
    EXPECT_EQ(QVXMLParser::filenameFromPathURLString("file://localhost/Media%20A/b.mov"),
              "/Media A/b.mov");
    EXPECT_EQ(QVXMLParser::filenameFromPathURLString(std::nullopt), std::nullopt);
}

TEST(QVXMLParser, WalksToParentsAndOnwards) {
    const XMLDocument document = parsed("<a><b><c><d/></c></b><e/></a>");
    const XMLNode a = document.rootElement();
    const XMLNode d = a.child("b").child("c").child("d");
    EXPECT_EQ(QVXMLParser::parentWithName(d, "b"), a.child("b"));
    EXPECT_EQ(QVXMLParser::parentWithName(d, "d"), XMLNode());
    EXPECT_EQ(QVXMLParser::parentWithName(d, "a", {"b"}), XMLNode());
    EXPECT_EQ(QVXMLParser::parentWithName(d, "b", {"b"}), XMLNode());
    EXPECT_EQ(QVXMLParser::parentWithName(d, "b", {"a", "d"}), a.child("b"));
    EXPECT_EQ(QVXMLParser::nextSiblingForNode(d), a.child("e"));
    EXPECT_EQ(QVXMLParser::nextSiblingForNode(a.child("e")), XMLNode());
}

TEST(QVXMLParser, EscapesQueriesInTheFormThatXMLTextHolds) {
    const LogCapture log;
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"name", "name"},
        {"Salt &amp; Co", "Salt &amp; Co"},
        {"Salt & Company", "Salt &amp; Company"},
        {"caf\xC3\xA9", "caf&#233;"},
        {"\xC2\x9F\xC2\xA0", "\xC2\x9F&#160;"},
        {"\xF0\x9F\x8E\xAC", "&#55356;&#57260;"},
        {"a\tb\nc\rd", "abc&#13;d"},
        {"a\x13\x14", "a\x14"},      // below 20, not below 32
        {"&lt;abc", "&amp;lt;abc"},  // only &amp; counts as escaped already
        {"abcde&", "abcde&amp;"},
        {"abc&amp;", "abc&amp;"},
    };
    for (const auto& [text, escaped] : rows)
        EXPECT_EQ(QVXMLParser::escapeQueryString(text), escaped) << testing::PrintToString(text);
    EXPECT_EQ(log.lines().size(), 3u);
    // The bound wraps around for texts of less than four units: comparing then fails.
    EXPECT_THROW(QVXMLParser::escapeQueryString("a&b"), std::out_of_range);
    EXPECT_EQ(QVXMLParser::escapeQueryString("abc"), "abc");
}

TEST(QVXMLParser, EscapedQueriesFindWhatTheyWereMadeFrom) {
    const XMLDocument document = parsed("<a><n>caf\xC3\xA9 &amp; \xF0\x9F\x8E\xAC</n></a>");
    EXPECT_TRUE(QVXMLParser::nodeForQuery("./n[text()=\"caf\xC3\xA9 & \xF0\x9F\x8E\xAC\"]",
                                          document.rootElement()));
}

TEST(QVXMLParser, OrdersItemsByStart) {
    const Timeline timeline("V1: A[-1,10) B[5.9,10) C[5,9)");
    const XMLNode a = timeline.firstVideoTrack().firstChild();
    EXPECT_EQ(sortXMLArrayByStart(a, a.nextSibling()), -1);
    EXPECT_EQ(sortXMLArrayByStart(a.nextSibling(), a), 1);
    EXPECT_EQ(sortXMLArrayByStart(a.nextSibling(), a.nextSibling().nextSibling()), 0);
}

TEST(Frames, ReadsTheLeadingIntegerAndPredicatesReadNumbers) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    struct Row {
        const char* text;
        std::int64_t integer;
        double number;
    };
    const Row rows[] = {
        {"100", 100, 100},
        {"-1", -1, -1},
        {"", 0, nan},
        {"abc", 0, nan},
        {"1055.0", 1055, 1055},
        {" \n7 ", 7, 7},
        {"+5", 5, nan},
        {"12x", 12, nan},
        {"-", 0, nan},
        {"--3", 0, nan},
        {"1e3", 1, nan},
        {"-.5", 0, -0.5},
        {"3.", 3, 3},
        {".", 0, nan},
        {"1 2", 1, nan},
        {"- 1", 0, nan},
        {"9223372036854775808", most, 9223372036854775808.0},
        {"-99999999999999999999", least, -99999999999999999999.0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(leadingFrames(row.text).count, row.integer);
        const double number = xpathNumber(row.text);
        EXPECT_TRUE(std::isnan(row.number) ? std::isnan(number) : number == row.number) << number;
        // The queries read numbers in the same way.
        const Timeline timeline("V1: {<clipitem><start>" + std::string(row.text) +
                                "</start></clipitem>}");
        const auto least1 = selectNodes(timeline.sequence, ".//clipitem[start[1]>=-99]");
        EXPECT_EQ(!least1->empty(), row.number >= -99);
    }
    EXPECT_EQ((Frames{most} + Frames{1}).count, least);
}

}  // namespace
}  // namespace reelsweep::test
