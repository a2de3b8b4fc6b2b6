#include "xml/XMLDocument.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <string>

namespace reelsweep::test {
namespace {

std::string idsOf(XMLNode context, std::string_view query) {
    const auto found = selectNodes(context, query);
    if (!found) return "failed: " + found.failure().message;
    std::string ids;
    for (const XMLNode& node : *found) ids += node.attribute("id").value_or("?");
    return ids;
}

TEST(XMLQuery, UnionsAsAStepSelectInDocumentOrder) {
    const auto document = XMLDocument::parse(
        "<track id='t'><generatoritem id='a'/><clipitem id='b'><generatoritem id='c'/><filter/>"
        "</clipitem><transitionitem id='d'/><clipitem id='e'/><other id='f'/></track>");
    ASSERT_TRUE(document);
    const XMLNode track = document->rootElement();
    const std::pair<const char*, const char*> rows[] = {
        {"./(clipitem | generatoritem)", "abe"},
        {"./(clipitem|generatoritem | transitionitem)", "abde"},
        {"./(clipitem | generatoritem)[last()]", "e"},
        {"./(clipitem | transitionitem)[2]", "d"},
        {"./(clipitem | generatoritem)[@id!='e'][last()]", "b"},
        {"./(clipitem | generatoritem)/filter/..", "b"},
        {".//clipitem | .//generatoritem", "abce"},
        {".//(generatoritem | clipitem)", "abce"},
        {"/track/(clipitem | other)", "bef"},
        {"(clipitem | generatoritem)[1]", "a"},
        {"./clipitem[last()]/preceding-sibling::*", "abd"},
    };
    for (const auto& [query, ids] : rows) EXPECT_EQ(idsOf(track, query), ids) << query;
}

TEST(XMLQuery, ComparesElementTextsAsNumbers) {
    const auto document = XMLDocument::parse(
        "<t><i id='a'><s>-1</s></i><i id='b'><s>90</s><s>500</s></i><i id='c'><s>+95</s></i>"
        "<i id='d'><s>12x</s></i><i id='e'><s></s></i><i id='f'/><i id='g'><s> 99.5 </s></i>"
        "<i id='h'><s>9223372036854775807</s></i></t>");
    ASSERT_TRUE(document);
    const std::pair<const char*, const char*> rows[] = {
        {"./i[s[1]>=90]", "bgh"}, {"./i[s[1]=-1]", "a"},        {"./i[s[1]<100]", "abg"},
        {"./i[s>400]", "bh"},     {"./i[s[1]>99]", "gh"},       {"./i[s[1]!=0]", "abcdegh"},
        {"./i[s[1]<=90]", "ab"},  {"./i[s>-1 and s<=90]", "b"},
    };
    for (const auto& [query, ids] : rows)
        EXPECT_EQ(idsOf(document->rootElement(), query), ids) << query;
}

TEST(XMLQuery, ReferencesInLiteralsStandForTheirCharacters) {
    const auto document = XMLDocument::parse(
        "<t><n id='a'>caf\xC3\xA9</n><n id='b'>A &amp; B</n><n id='c'>\xF0\x9F\x8E\xAC</n>"
        "<n id='d'>say \"it's\"</n><n id='e'>&amp;amp;</n><n id='f'>&amp;x;</n></t>");
    ASSERT_TRUE(document);
    const std::pair<const char*, const char*> rows[] = {
        {"./n[text()=\"caf&#233;\"]", "a"},
        {"./n[text()=\"caf&#xE9;\"]", "a"},
        {"./n[text()=\"A &amp; B\"]", "b"},
        {"./n[text()=\"A & B\"]", "b"},
        {"./n[text()=\"&#55356;&#57260;\"]", "c"},
        {"./n[text()=\"&#127916;\"]", "c"},
        {"./n[text()=\"say &quot;it&apos;s&quot;\"]", "d"},
        {"./n[text()=\"&amp;amp;\"]", "e"},
        {"./n[text()=\"&x;\"]", "f"},
        {"./n[text()=\"&#;\"]", ""},
    };
    for (const auto& [query, ids] : rows)
        EXPECT_EQ(idsOf(document->rootElement(), query), ids) << query;
}

TEST(XMLQuery, FailsOnWhatSelectsNoNodes) {
    const auto document = XMLDocument::parse("<t a='5'>x</t>");
    ASSERT_TRUE(document);
    const XMLNode t = document->rootElement();
    for (const char* query : {"./[", "count(./a)", "./n[text()=\"x]", ""}) {
        const auto found = selectNodes(t, query);
        ASSERT_FALSE(found) << query;
        EXPECT_EQ(found.failure().code, FailureCode::usage);
    }
    EXPECT_TRUE(selectNodes(XMLNode(), "./a")->empty());
    ASSERT_EQ(selectNodes(t, "./@a")->size(), 1u);
    EXPECT_EQ(selectNodes(t, "./@a")->front().stringValue(), "5");
    EXPECT_EQ(selectNodes(t, "./text()")->front().kind(), XMLKind::text);
}

}  // namespace
}  // namespace reelsweep::test
