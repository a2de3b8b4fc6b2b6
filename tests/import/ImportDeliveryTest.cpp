// Ids and definitions in what is delivered, of one copy and of several.
#include "tests/import/ImportRun.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

std::string clip(const std::string& id, const std::string& content, bool enabled = true) {
    return "<clipitem id=\"" + id + "\"><name>Clip</name><enabled>" + (enabled ? "TRUE" : "FALSE") +
           "</enabled>" + content + "</clipitem>";
}
std::string sequence(const std::string& id, const std::string& items) {
    return "<sequence id=\"" + id + "\"><uuid>U</uuid><name>" + id +
           "</name><media><video><track>" + items + "</track></video></media></sequence>";
}
std::string file(const std::string& id, const std::string& name) {
    return "<file id=\"" + id + "\"><name>" + name + "</name></file>";
}
std::string reference(const std::string& element, const std::string& id) {
    return "<" + element + " id=\"" + id + "\"/>";
}

// The tracks' content of a delivered copy.
std::string itemsOf(XMLNode copy) {
    std::string items;
    const XMLNode track = copy.child("media").child("video").child("track");
    for (XMLNode item = track.firstChild(); item; item = item.nextSibling())
        items += serialise(item);
    return items;
}

struct Row {
    const char* what;
    std::vector<std::string> sequences;
    bool intoDocument;
    std::vector<std::string> copies;  // their tracks
};

TEST(ImportDelivery, DefinesEachThingOnce) {
    const std::string fileF = file("f", "F");
    const std::string ref = reference("file", "f");
    const std::string nested = sequence("in", clip("n", fileF));
    const std::vector<Row> rows = {
        {"in the document, the source defines it",
         {sequence("s", clip("a", fileF) + clip("b", ref))},
         true,
         {clip("a-Tidied", ref) + clip("b-Tidied", ref)}},
        {"alone, what was defined in a clip that went",
         {sequence("s", clip("z", fileF, false) + clip("a", ref) + clip("b", ref))},
         false,
         {clip("a", fileF) + clip("b", ref)}},
        {"alone, the second copy refers to the first",
         {sequence("s", clip("a", fileF)), sequence("t", clip("b", ref))},
         false,
         {clip("a", fileF), clip("b", ref)}},
        {"alone, the first copy gets what a later one defined",
         {sequence("s", clip("a", ref)), sequence("t", clip("b", fileF))},
         false,
         {clip("a", fileF), clip("b", ref)}},
        {"two files with one id: the second gets another",
         {sequence("s", clip("a", fileF)),
          sequence("t", clip("b", file("f", "G")) + clip("c", ref))},
         false,
         {clip("a", fileF), clip("b", file("f-2", "G")) + clip("c", reference("file", "f-2"))}},
        {"the same in the document",
         {sequence("s", clip("a", fileF)),
          sequence("t", clip("b", file("f", "G")) + clip("c", ref))},
         true,
         {clip("a-Tidied", ref),
          clip("b-Tidied", file("f-2", "G")) + clip("c-Tidied", reference("file", "f-2"))}},
        {"alone, copies that share ids",
         {sequence("s", clip("a", fileF)), sequence("t", clip("a", ref) + clip("b", ref))},
         false,
         {clip("a", fileF), clip("a-Tidied", ref) + clip("b-Tidied", ref)}},
        {"a nested sequence that is copied too: its clips' ids are in use",
         {sequence("s", clip("a", nested))},
         false,
         {clip("a", nested), clip("n-Tidied", ref)}},
        {"in the document, the nested one is not defined anew",
         {sequence("s", clip("a", nested))},
         true,
         {clip("a-Tidied", reference("sequence", "in")), clip("n-Tidied", ref)}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Result<XMLDocument> document = XMLDocument::parse(projectXML(row.sequences));
        ASSERT_TRUE(document);
        ImportRun run(*document, namedSequences(*document), {"removeDisabledVideoClips"});
        run.makeSafe(row.intoDocument);
        for (std::size_t i = 0; i < row.copies.size(); ++i)
            EXPECT_EQ(itemsOf(run.copy(i)), row.copies[i]);
        const auto before = importFaults(document->node());
        EXPECT_EQ(newFaults(before, importFaults(run.deliver(row.intoDocument).node())), "");
    }
}

TEST(ImportDelivery, ANestedSequenceThatPassesChangedIsAnotherOne) {
    const std::string nested = sequence("in", clip("n", "<filter/>"));
    const Result<XMLDocument> document = XMLDocument::parse(
        projectXML({sequence("s", clip("a", nested) + clip("b", reference("sequence", "in")))}));
    ASSERT_TRUE(document);
    ImportRun run(*document, {namedSequences(*document).front()}, {"removeFilters"});
    run.makeSafe(true);
    const XMLNode track = run.copy().child("media").child("video").child("track");
    const XMLNode first = track.firstChild().child("sequence");
    EXPECT_EQ(first.attribute("id"), "in-2");
    EXPECT_NE(first.child("uuid").stringValue(), "U");
    EXPECT_EQ(serialise(track.lastChild().child("sequence")), reference("sequence", "in-2"));
    EXPECT_EQ(faultCounts(importFaults(run.deliver(true).node())), "");
}

TEST(ImportDelivery, RunsAgainOnItsOwnResult) {
    const Result<XMLDocument> document =
        XMLDocument::parse(projectXML({sequence("s", clip("a", file("f", "F")))}));
    ASSERT_TRUE(document);
    ImportRun first(*document, namedSequences(*document), {});
    first.makeSafe(true);
    const XMLDocument once = first.deliver(true);
    ImportRun second(once, {namedSequences(once).front()}, {});
    second.makeSafe(true);
    EXPECT_EQ(second.copy().attribute("id"), "s-Tidied-2");
    EXPECT_EQ(itemsOf(second.copy()), clip("a-Tidied-2", reference("file", "f")));
    EXPECT_EQ(faultCounts(importFaults(second.deliver(true).node())), "");
}

}  // namespace
}  // namespace reelsweep::test
