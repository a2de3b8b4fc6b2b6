// A text that stands in its element's record must look and behave like any other node.
#include "xml/XMLDocument.h"
#include "xml/XMLNode.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <functional>
#include <string>

namespace reelsweep::test {
namespace {

constexpr const char* source =
    "<r><a>t</a><b>t<c/>u</b><d> <e>v</e></d><f> </f><g>w<!--x--></g>"
    "<h>&#32;<![CDATA[y]]></h><i>z<?p q?><j k='1'>l</j></i><m/><n>o<n>p</n></n></r>";

// What a reader can ask of a node, for it and all below it.
void look(XMLNode node, std::string& seen) {
    const auto add = [&](std::string_view text) { seen.append(text).append("|"); };
    add(std::to_string(static_cast<int>(node.kind())));
    add(node.isText() ? "text" : "other");
    add(node.name());
    add(node.value());
    add(node.stringValue());
    add(node.text());
    add(node.onlyText() ? node.onlyText() : "(not only)");
    add(node.firstText().value());
    add(std::to_string(node.index()));
    add(std::to_string(node.childCount()));
    add(serialise(node));
    add(serialise(node.copy()));
    add(node.parent().name());
    add(node.previousSibling().name());
    add(node.previousSibling().value());
    add(node.nextSibling().name());
    add(node.nextSibling().value());
    add(node.nextSibling("j").name());
    add(node.lastChild().value());
    add(node.child("n").name());
    EXPECT_EQ(node.top().kind(), XMLKind::document);
    for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
        EXPECT_EQ(child.parent(), node);
        EXPECT_NE(child.identity(), node.identity());
        const XMLNode next = child.nextSibling();
        if (next) {
            EXPECT_EQ(next.previousSibling(), child);
        }
        look(child, seen);
    }
}

std::string lookAt(const XMLDocument& document) {
    std::string seen;
    look(document.node(), seen);
    return seen;
}

XMLDocument parsed() { return std::move(*XMLDocument::parse(source, "texts")); }

// The same with a record of its own for each text, as queries want it.
XMLDocument separated() {
    XMLDocument document = parsed();
    EXPECT_EQ(selectNodes(document.node(), "//text()")->size(), 12U);
    return document;
}

struct Editing {
    const char* name;
    std::function<void(XMLNode root)> edit;
};

const Editing editings[] = {
    {"nothing", [](XMLNode) {}},
    {"detach a text", [](XMLNode r) { r.child("a").firstChild().detach(); }},
    {"detach one of many", [](XMLNode r) { r.child("b").firstChild().detach(); }},
    {"empty it", [](XMLNode r) { r.child("a").setText(""); }},
    {"empty it and set it",
     [](XMLNode r) {
         r.child("a").setText("");
         r.child("a").setText("again");
     }},
    {"set it", [](XMLNode r) { r.child("a").setText("another"); }},
    {"set it among others", [](XMLNode r) { r.child("i").setText("another"); }},
    {"set a text beside a section", [](XMLNode r) { r.child("h").setText("another"); }},
    {"prepend", [](XMLNode r) { r.child("a").prependChild(r.child("m")); }},
    {"append", [](XMLNode r) { r.child("a").appendChild(r.child("m")); }},
    {"insert before",
     [](XMLNode r) { r.child("a").insertBefore(r.child("m"), r.child("a").firstChild()); }},
    {"insert after",
     [](XMLNode r) { r.child("a").insertAfter(r.child("m"), r.child("a").firstChild()); }},
    {"insert at the front", [](XMLNode r) { r.child("b").insertChildAtIndex(r.child("m"), 0); }},
    {"insert behind it", [](XMLNode r) { r.child("b").insertChildAtIndex(r.child("m"), 1); }},
    {"move it", [](XMLNode r) { r.child("m").appendChild(r.child("b").firstChild()); }},
    {"copy it", [](XMLNode r) { r.child("m").appendCopy(r.child("b").firstChild()); }},
    {"copy its element", [](XMLNode r) { r.child("m").appendChild(r.child("b").copy()); }},
    {"separate and detach it",
     [](XMLNode r) {
         const XMLNode text = r.child("i").firstChild().separated();
         XMLNode(text).detach();
         r.child("m").appendChild(text);
     }},
};

TEST(EmbeddedText, LooksAndIsEditedLikeAnyOtherNode) {
    for (const Editing& editing : editings) {
        SCOPED_TRACE(editing.name);
        XMLDocument one = parsed();
        XMLDocument other = separated();
        editing.edit(one.rootElement());
        editing.edit(other.rootElement());
        EXPECT_EQ(lookAt(one), lookAt(other));
        EXPECT_EQ(one.serialise(XMLFormat::pretty), other.serialise(XMLFormat::pretty));
    }
}

// A list of texts outlives a query that was made meanwhile.
TEST(EmbeddedText, IsFoundThroughItsHandleAfterAQuery) {
    XMLDocument document = parsed();
    const XMLNode text = document.rootElement().child("b").firstChild();
    ASSERT_EQ(selectNodes(document.node(), ".//c")->size(), 1U);
    EXPECT_EQ(text.value(), "t");
    EXPECT_EQ(text.nextSibling().name(), "c");
    EXPECT_EQ(text.separated(), document.rootElement().child("b").firstChild());
}

// A document that was made by hand, and takes in parts of one that was loaded.
TEST(EmbeddedText, IsSeenByQueriesWhereverItWasCopied) {
    const XMLDocument loaded = parsed();
    XMLDocument made;
    made.node().appendCopy(loaded.rootElement());
    const auto found = selectNodes(made.node(), "./r/b[contains(., 'tu')]/text()");
    ASSERT_TRUE(found);
    ASSERT_EQ(found->size(), 2U);
    EXPECT_EQ(found->front().value(), "t");
    EXPECT_EQ(selectNodes(found->front(), "..")->front().name(), "b");
}

}  // namespace
}  // namespace reelsweep::test
