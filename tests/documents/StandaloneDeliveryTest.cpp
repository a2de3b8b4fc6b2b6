// A standalone document defines whatever its sequences refer to, once, at the first use.
#include "tests/timeline/Interchange.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <map>

namespace reelsweep::test {
namespace {

std::string clip(const std::string& id, const std::string& content, const char* enabled = "TRUE") {
    return "<clipitem id=\"" + id + "\"><name>" + id + "</name><enabled>" + enabled + "</enabled>" +
           content + "</clipitem>";
}

// A sequence with one video track.
std::string sequence(const std::string& id, const std::string& items) {
    return "<sequence id=\"" + id + "\"><name>" + id + "</name><media><video><track>" + items +
           "</track></video></media></sequence>";
}

std::string file(const std::string& id) {
    return "<file id=\"" + id + "\"><name>" + id + ".mov</name></file>";
}
std::string fileReference(const std::string& id) { return "<file id=\"" + id + "\"/>"; }
std::string masterClip(const std::string& id, const std::string& content) {
    return "<clip id=\"" + id + "\"><name>" + id + "</name>" + content + "</clip>";
}

// Tidies the rows and answers what stands in the standalone bin. Sequences keep their names there,
// so that expectations stay short.
std::string delivered(const std::string& content, const std::vector<std::size_t>& rows) {
    Interchange file = Interchange::ofXML("<xmeml version=\"5\">" + content + "</xmeml>");
    const std::string before = file.xml();
    const auto tidied = tidy(file.document, {.passes = {"removeDisabledVideoClips"},
                                             .sequences = rows,
                                             .delivery = Delivery::standalone,
                                             .importSafe = false});
    if (!tidied) return tidied.failure().description();
    EXPECT_EQ(file.xml(), before);
    const std::string text = tidied->document()->serialise(XMLFormat::compact);
    EXPECT_TRUE(XMLDocument::parse(text));
    EXPECT_TRUE(
        text.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE xmeml>"
                         "<xmeml version=\"5\"><bin><uuid>"));
    std::string children;
    const XMLNode bin = tidied->document()->rootElement().child("bin");
    for (XMLNode c = bin.child("children").firstChild(); c; c = c.nextSibling())
        children += serialise(c);
    for (std::size_t at; (at = children.find("-Tidied")) != std::string::npos;)
        children.erase(at, 7);
    return children;
}

TEST(StandaloneDelivery, DefinesFilesAtTheirFirstUse) {
    struct Row {
        const char* what;
        std::string content;
        std::vector<std::size_t> rows;
        std::string delivered;
    };
    const std::string plain = sequence("s", clip("a", file("f")) + clip("b", fileReference("f")));
    const Row rows[] = {
        {"nothing is missing", plain, {0}, plain},
        {"defined in an item that was removed",
         sequence("s", clip("a", file("f"), "FALSE") + clip("b", fileReference("f")) +
                           clip("c", fileReference("f"))),
         {0},
         sequence("s", clip("b", file("f")) + clip("c", fileReference("f")))},
        {"defined in a sequence that is not delivered",
         sequence("s", clip("a", file("f"))) + sequence("t", clip("b", fileReference("f"))),
         {1},
         sequence("t", clip("b", file("f")))},
        {"used by two delivered sequences",
         sequence("r", clip("a", file("f"))) + sequence("s", clip("b", fileReference("f"))) +
             sequence("t", clip("c", fileReference("f"))),
         {1, 2},
         sequence("s", clip("b", file("f"))) + sequence("t", clip("c", fileReference("f")))},
        {"another file of that id, in a nested sequence",
         sequence("s", clip("n", "<sequence id=\"t\"/>") + clip("a", file("f"))) +
             sequence("t", clip("b", "<file id=\"f\"><name>other.mov</name></file>")),
         {0},
         sequence(
             "s",
             clip("n", sequence("t", clip("b", "<file id=\"f\"><name>other.mov</name></file>"))) +
                 clip("a", file("f")))},
        {"nothing but blanks",
         sequence("s", clip("a", "<file id=\"f\">\n</file>")) + sequence("t", clip("b", file("f"))),
         {0},
         sequence("s", clip("a", file("f")))},
        {"defined nowhere",
         sequence("s", clip("a", fileReference("f"))),
         {0},
         sequence("s", clip("a", fileReference("f")))},
        {"a nested sequence with a file of its own",
         sequence("n", clip("a", file("f"))) +
             sequence("s", clip("b", "<sequence id=\"n\"/>") + clip("c", fileReference("f")) +
                               clip("d", "<sequence id=\"n\"/>")),
         {1},
         sequence("s", clip("b", sequence("n", clip("a", file("f")))) +
                           clip("c", fileReference("f")) + clip("d", "<sequence id=\"n\"/>"))},
        {"a nested sequence whose file is defined elsewhere",
         sequence("r", clip("z", file("f"))) + sequence("n", clip("a", fileReference("f"))) +
             sequence("s", clip("b", "<sequence id=\"n\"/>")),
         {2},
         sequence("s", clip("b", sequence("n", clip("a", file("f")))))},
        {"defined twice",
         sequence("s", clip("a", file("f")) + clip("b", file("f"))),
         {0},
         sequence("s", clip("a", file("f")) + clip("b", fileReference("f")))},
        {"two things under one id",
         sequence("s",
                  clip("a", file("f")) + clip("b", "<file id=\"f\"><name>other</name></file>")),
         {0},
         sequence("s",
                  clip("a", file("f")) + clip("b", "<file id=\"f\"><name>other</name></file>"))},
        {"a master clip that uses another",
         "<bin><children>" + masterClip("m", "<masterclipid>u</masterclipid>") +
             masterClip("u", "x") + "</children></bin>" +
             sequence("s", clip("a", "<masterclipid>m</masterclipid>")),
         {0},
         masterClip("u", "x") + masterClip("m", "<masterclipid>u</masterclipid>") +
             sequence("s", clip("a", "<masterclipid>m</masterclipid>"))},
        {"a master clip, before the first sequence that uses it",
         "<bin><children>" + masterClip("m", file("f")) + masterClip("u", "") +
             "</children></bin>" + sequence("s", clip("a", fileReference("g"))) +
             sequence("t", clip("b", "<masterclipid>m</masterclipid>" + fileReference("f"))),
         {0, 1},
         sequence("s", clip("a", fileReference("g"))) + masterClip("m", file("f")) +
             sequence("t", clip("b", "<masterclipid>m</masterclipid>" + fileReference("f")))},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(delivered(row.content, row.rows), row.delivered);
    }
}

// The deepest element of a document, the root being 1.
int depthOf(XMLNode root) {
    int deepest = 0;
    root.forEachDescendant({}, [&](XMLNode element) {
        int depth = 0;
        for (; element.isElement(); element = element.parent()) ++depth;
        deepest = std::max(deepest, depth);
    });
    return deepest;
}

TEST(StandaloneDelivery, FollowsReferencesHoweverLongTheirChain) {
    const auto number = [](int i) { return std::to_string(i); };
    std::string masterClips = "<bin><children>";
    for (int i = 0; i < 30'000; ++i)
        masterClips +=
            masterClip("m" + number(i), "<masterclipid>m" + number(i + 1) + "</masterclipid>");
    masterClips += "</children></bin>";
    const std::string all =
        delivered(masterClips + sequence("s", clip("a", "<masterclipid>m0</masterclipid>")), {0});
    EXPECT_TRUE(all.starts_with("<clip id=\"m29999\">")) << all.substr(0, 100);
    EXPECT_TRUE(all.ends_with(masterClip("m0", "<masterclipid>m1</masterclipid>") +
                              sequence("s", clip("a", "<masterclipid>m0</masterclipid>"))));
}

TEST(StandaloneDelivery, NestsNoDeeperThanCanBeLoaded) {
    constexpr int count = 600;
    const auto name = [](int i) { return "n" + std::to_string(i); };
    std::string content;
    for (int i = 0; i < count; ++i)
        content += sequence(name(i), clip("c" + name(i), "<sequence id=\"" + name(i + 1) + "\"/>"));
    const Interchange file = Interchange::ofXML("<xmeml version=\"5\">" + content + "</xmeml>");
    const std::vector<XMLNode> first{file.tree->rootElement().firstChild()};
    const auto output = standaloneDocument(*file.tree, first, newestXMEMLVersion, {});
    ASSERT_TRUE(output);
    EXPECT_LE(depthOf(output->rootElement()), XMLDocument::maximumDepth);
    const auto again = XMLDocument::parse(output->serialise(XMLFormat::pretty));
    ASSERT_TRUE(again) << again.failure().description();
    // Each is defined once, before it is used outside its definition.
    std::map<std::string, int> defined;
    again->node().forEachDescendant({"sequence"}, [&](XMLNode element) {
        const std::string id(*element.attribute("id"));
        if (element.firstChild()) {
            ++defined[id];
        } else if (id != name(count)) {
            EXPECT_EQ(defined[id], 1) << id;
        }
    });
    EXPECT_EQ(defined.size(), std::size_t{count});
    for (const auto& [id, times] : defined) EXPECT_EQ(times, 1) << id;

    // A sequence that is too deep by itself.
    std::string deep;
    for (int i = 0; i < 996; ++i) deep = "<a>" + deep + "</a>";
    const Interchange deepest = Interchange::ofXML("<sequence>" + deep + "<media/></sequence>");
    const auto refused = standaloneDocument(
        *deepest.tree, std::vector<XMLNode>{deepest.tree->rootElement()}, newestXMEMLVersion, {});
    EXPECT_TRUE(refused);
    const Interchange beyond =
        Interchange::ofXML("<sequence><a>" + deep + "</a><media/></sequence>");
    EXPECT_FALSE(standaloneDocument(*beyond.tree, std::vector<XMLNode>{beyond.tree->rootElement()},
                                    newestXMEMLVersion, {}));
}

TEST(StandaloneDelivery, AnswersNothingAfterAStop) {
    const Interchange file = Interchange::ofXML(sequence("s", ""));
    const XMLDocument& xml = *file.tree;
    const std::vector<XMLNode> sequences{xml.rootElement()};
    std::stop_source stop;
    EXPECT_TRUE(standaloneDocument(xml, sequences, newestXMEMLVersion, stop.get_token()));
    stop.request_stop();
    const auto output = standaloneDocument(xml, sequences, newestXMEMLVersion, stop.get_token());
    ASSERT_FALSE(output);
    EXPECT_EQ(output.failure().code, FailureCode::cancelled);
}

}  // namespace
}  // namespace reelsweep::test
