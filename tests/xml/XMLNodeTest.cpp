#include "xml/XMLDocument.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <string>

namespace reelsweep::test {
namespace {

class XMLNodeTest : public testing::Test {
protected:
    void SetUp() override {
        Result<XMLDocument> parsed =
            XMLDocument::parse("<r><a id='1'><c>x</c></a><!--n--><b id='2'/><d id='3'/></r>");
        ASSERT_TRUE(parsed);
        document_ = std::move(*parsed);
        root_ = document_.rootElement();
    }
    std::string text() const { return serialise(root_); }

    XMLDocument document_;
    XMLNode root_;
};

TEST_F(XMLNodeTest, ADetachedNodeStandsAlone) {
    XMLNode a = root_.child("a");
    XMLNode b = root_.child("b");
    a.detach();
    b.detach();
    for (const XMLNode& node : {a, b}) {
        EXPECT_FALSE(node.parent());
        EXPECT_FALSE(node.previousSibling());
        EXPECT_FALSE(node.nextSibling());
        EXPECT_EQ(node.index(), 0u);
    }
    EXPECT_EQ(text(), "<r><!--n--><d id=\"3\"/></r>");
    EXPECT_EQ(serialise(a), "<a id=\"1\"><c>x</c></a>");
    EXPECT_EQ(document_.serialise(XMLFormat::compact), text());

    // No query from elsewhere reaches a detached node, none from it reaches the document.
    for (const char* query : {"//a", "//*[@id=1]", "//c"}) {
        EXPECT_TRUE(selectNodes(root_, query)->empty()) << query;
        EXPECT_TRUE(selectNodes(b, query)->empty()) << query;
    }
    for (const char* query : {"..", "//d", "following-sibling::*", "preceding-sibling::*"})
        EXPECT_TRUE(selectNodes(a, query)->empty()) << query;
    EXPECT_EQ(selectNodes(a, "./c")->size(), 1u);

    a.detach();  // once more is nothing
    root_.insertChildAtIndex(a, 1);
    EXPECT_EQ(text(), "<r><!--n--><a id=\"1\"><c>x</c></a><d id=\"3\"/></r>");
    EXPECT_EQ(a.nextSibling(), root_.child("d"));
}

TEST_F(XMLNodeTest, AHandleOutlivesManyMovesAndItsDetachedParent) {
    XMLNode a = root_.child("a");
    XMLNode c = a.child("c");
    for (int i = 0; i < 1000; ++i) {
        a.detach();
        c.detach();
        a.appendChild(c);
        root_.prependChild(a);
    }
    EXPECT_EQ(text(), "<r><a id=\"1\"><c>x</c></a><!--n--><b id=\"2\"/><d id=\"3\"/></r>");
    a.detach();
    c.detach();
    EXPECT_EQ(serialise(a), "<a id=\"1\"/>");
    EXPECT_EQ(c.stringValue(), "x");
}

TEST_F(XMLNodeTest, MovesNodesToTheAskedPlace) {
    XMLNode a = root_.child("a");
    XMLNode b = root_.child("b");
    XMLNode d = root_.child("d");
    const auto order = [&] {
        std::string names;
        for (XMLNode n = root_.firstChild(); n; n = n.nextSibling())
            names += n.isElement() ? std::string(n.name()) : "#";
        return names;
    };
    EXPECT_EQ(order(), "a#bd");
    root_.insertChildAtIndex(d, 0);
    EXPECT_EQ(order(), "da#b");
    root_.insertAfter(a, b);
    EXPECT_EQ(order(), "d#ba");
    root_.insertBefore(a, d);
    EXPECT_EQ(order(), "ad#b");
    root_.insertChildAtIndex(b, b.index());
    EXPECT_EQ(order(), "ad#b");
    root_.insertChildAtIndex(a, 99);  // past the end appends
    EXPECT_EQ(order(), "d#ba");
    EXPECT_EQ(root_.childAtIndex(1).kind(), XMLKind::comment);
    EXPECT_EQ(root_.childCount(), 4u);
}

TEST_F(XMLNodeTest, ACopyIsDeepAndStandsAlone) {
    XMLNode a = root_.child("a");
    XMLNode copy = a.copy();
    EXPECT_FALSE(copy.parent());
    copy.child("c").setText("y");
    EXPECT_EQ(serialise(copy), "<a id=\"1\"><c>y</c></a>");
    EXPECT_EQ(serialise(a), "<a id=\"1\"><c>x</c></a>");
}

TEST_F(XMLNodeTest, SetsTextsAndAttributes) {
    XMLNode a = root_.child("a");
    a.setText("<5>");
    EXPECT_EQ(serialise(a), "<a id=\"1\">&lt;5&gt;</a>");
    a.setAttribute("id", "\"q\"");
    a.setAttribute("z", "1");
    a.setOnlyAttribute("id", *a.attribute("id"));
    EXPECT_EQ(serialise(a), "<a id=\"&quot;q&quot;\">&lt;5&gt;</a>");
    XMLNode none = root_.child("absent");
    none.setText("x");
    none.setOnlyAttribute("id", "x");
    none.detach();
    EXPECT_EQ(none.child("y").parent().stringValue(), "");
}

TEST_F(XMLNodeTest, ParsesExactlyOneElementIntoItsDocument) {
    Result<XMLNode> bin = root_.parseDetached("<bin><n>&#233;</n>\n <m> </m></bin>");
    ASSERT_TRUE(bin);
    EXPECT_FALSE(bin->parent());
    root_.appendChild(*bin);
    EXPECT_EQ(serialise(root_.lastChild()), "<bin><n>\xC3\xA9</n><m> </m></bin>");
    const std::string before = text();
    for (const char* bad : {"", "text", "<a/><b/>", "<a>", "<a>&x;</a>", "<a/>trailing"}) {
        const Result<XMLNode> refused = root_.parseDetached(bad);
        ASSERT_FALSE(refused) << bad;
        EXPECT_EQ(refused.failure().code, FailureCode::inputInvalid);
    }
    EXPECT_EQ(text(), before);
}

}  // namespace
}  // namespace reelsweep::test
