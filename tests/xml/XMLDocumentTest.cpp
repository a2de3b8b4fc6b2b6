#include "tests/platform/TemporaryFolder.h"
#include "xml/XMLDocument.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <string>
#include <vector>

namespace reelsweep::test {
namespace {

XMLDocument parsed(std::string_view xml) {
    Result<XMLDocument> document = XMLDocument::parse(xml);
    EXPECT_TRUE(document) << xml << ": " << document.failure().description();
    return document ? std::move(*document) : XMLDocument();
}

TEST(XMLDocument, KeepsWhatWasReadThroughSavingAndLoading) {
    struct Row {
        const char* what;
        std::string xml;
        std::string expected;  // empty: as it was
    };
    const Row rows[] = {
        {"carriage return as a reference", "<a>x&#13;y</a>", ""},
        {"line ends of other systems", "<a>x\r\ny\rz</a>", "<a>x\ny\nz</a>"},
        {"CDATA", "<a><![CDATA[a < b && c]]></a>", ""},
        {"blank CDATA", "<a><![CDATA[ ]]></a>", ""},
        {"white space beside CDATA", "<a>\n  <![CDATA[x]]>\t<![CDATA[y]]>\n</a>", ""},
        {"white space beside CDATA, with line ends of other systems", "<a>\r\n<![CDATA[x]]>\r</a>",
         "<a>\n<![CDATA[x]]>\n</a>"},
        {"white space beside CDATA and nowhere else",
         "<a> <b>\n<![CDATA[x]]> <c/> </b><d> x <![CDATA[y]]>> <![CDATA[z]]></d></a>",
         "<a><b>\n<![CDATA[x]]> <c/></b><d> x <![CDATA[y]]>&gt; <![CDATA[z]]></d></a>"},
        {"white space beside what only looks like CDATA",
         "<a><!-- <![CDATA[ --><b/> <?p <![CDATA[ ]]> ?><![CDATA[x]]>\n</a>",
         "<a><!-- <![CDATA[ --><b/><?p <![CDATA[ ]]> ?><![CDATA[x]]>\n</a>"},
        {"comments around and inside", "<!--1--><a><!-- 2 --><b/></a><!--3-->", ""},
        {"DOCTYPE",
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE xmeml><xmeml version=\"5\"/>", ""},
        {"DOCTYPE with declarations", "<!--x--><!DOCTYPE a [<!-- ]> --><!ELEMENT a ANY>]><a/>", ""},
        {"processing instructions", "<?one  two?><a><?three?></a>", "<?one two?><a><?three?></a>"},
        {"standalone declaration", "<?xml version=\"1.0\" standalone=\"yes\"?><a/>", ""},
        {"blank text as only content", "<a> \n </a>", ""},
        {"blank text between elements", "<a>\n  <b>\t</b>\n  <c/>\n</a>", "<a><b>\t</b><c/></a>"},
        {"text beside elements", "<a>x <b/> y</a>", ""},
        {"references", "<a>&lt;&amp;&gt;&quot;&apos;&#x41;&#233;</a>",
         "<a>&lt;&amp;&gt;\"'A\xC3\xA9</a>"},
        {"end of CDATA in text", "<a>]]&gt;</a>", ""},
        {"attribute white space", "<a b=\"1&#09;2&#10;3&#13;4&quot;&lt;\"/>", ""},
        {"attribute line feed", "<a b='1\n2'/>", "<a b=\"1 2\"/>"},
        {"element without content", "<a></a>", "<a/>"},
        {"characters beyond 16 bits", "<a b=\"\xF0\x9F\x8E\xAC\">\xE6\x97\xA5\xF0\x9F\x8E\xAC</a>",
         ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const XMLDocument document = parsed(row.xml);
        const std::string expected = row.expected.empty() ? row.xml : row.expected;
        EXPECT_EQ(document.serialise(XMLFormat::compact), expected);
        // White space that pretty printing adds is never content.
        const std::string pretty = document.serialise(XMLFormat::pretty);
        EXPECT_EQ(parsed(pretty).serialise(XMLFormat::compact), expected) << pretty;
        EXPECT_EQ(parsed(pretty).serialise(XMLFormat::pretty), pretty);
    }
}

TEST(XMLDocument, PrettyPrintsOneElementALine) {
    EXPECT_EQ(parsed("<a><b><c>1</c><!--n--></b><d> </d></a>").serialise(XMLFormat::pretty),
              "<a>\n\t<b>\n\t\t<c>1</c>\n\t\t<!--n-->\n\t</b>\n\t<d> </d>\n</a>\n");
}

struct Text final : ByteSink {
    std::string text;
    bool write(std::string_view bytes) override {
        text += bytes;
        return true;
    }
};

TEST(XMLDocument, LaysANodeOutAsAskedHoweverLargeItIs) {
    std::string xml = "<a>";
    for (int i = 0; i < 60'000; ++i) xml += "<b><c>1</c><d><e/></d></b>";
    const XMLDocument document = parsed(xml + "</a>");
    const std::string pretty = document.serialise(XMLFormat::pretty);
    ASSERT_GT(pretty.size(), 2'000'000u);  // in several pieces
    for (const XMLLayout& layout : {XMLLayout{"\r\n", "   ", "\t"}, XMLLayout{"\n", "\t ", ""},
                                    XMLLayout{"\r\n", "", "  "}, XMLLayout{"\n", "    ", "  "}}) {
        SCOPED_TRACE(layout.margin + "|" + layout.indentation + "|" + layout.lineEnd);
        std::string expected;
        for (std::size_t at = 0; at < pretty.size();) {
            const std::size_t text = pretty.find_first_not_of('\t', at);
            const std::size_t end = pretty.find('\n', text);
            expected += layout.margin;
            for (; at < text; ++at) expected += layout.indentation;
            expected.append(pretty, text, end - text).append(layout.lineEnd);
            at = end + 1;
        }
        Text written;
        serialise(document.rootElement(), layout, written);
        EXPECT_TRUE(written.text == expected);
    }
}

std::string utf16(std::string_view ascii, bool bigEndian) {
    std::string bytes;
    for (const char c : ascii) {
        if (bigEndian) bytes += '\0';
        bytes += c;
        if (!bigEndian) bytes += '\0';
    }
    return bytes;
}

TEST(XMLDocument, ReadsTheEncodingsOfEditingSystems) {
    const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?><a>caf\xE9</a>";
    const std::string wide = "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a>caf";
    const std::string rows[] = {
        "<a>caf\xC3\xA9</a>",
        "\xEF\xBB\xBF<a>caf\xC3\xA9</a>",
        latin,
        "\xFF\xFE" + utf16(wide, false) + std::string("\xE9\x00", 2) + utf16("</a>", false),
        "\xFE\xFF" + utf16(wide, true) + std::string("\x00\xE9", 2) + utf16("</a>", true),
    };
    const TemporaryFolder folder;
    for (const std::string& bytes : rows) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        writeFile(folder / "in.xml", bytes);
        const Result<XMLDocument> loaded = XMLDocument::load(folder / "in.xml");
        ASSERT_TRUE(loaded) << loaded.failure().description();
        EXPECT_EQ(loaded->rootElement().stringValue(), "caf\xC3\xA9");
        const std::string saved = loaded->serialise(XMLFormat::compact);
        EXPECT_EQ(parsed(saved).rootElement().stringValue(), "caf\xC3\xA9");
        EXPECT_EQ(saved.find("ISO"), std::string::npos);
        EXPECT_EQ(saved.find("UTF-16"), std::string::npos);
    }
}

TEST(XMLDocument, KeepsWhiteSpaceBesideCDataWhereverTheDocumentComesFrom) {
    const std::string text = "<value>\r\n  <![CDATA[data]]>\n</value>";
    const std::string kept = "<value>\n  <![CDATA[data]]>\n</value>";
    const TemporaryFolder folder;
    for (const std::string& bytes :
         {text, "\xFF\xFE" + utf16(text, false), "\xFE\xFF" + utf16(text, true)}) {
        writeFile(folder / "in.xml", bytes);
        const Result<XMLDocument> loaded = XMLDocument::load(folder / "in.xml");
        ASSERT_TRUE(loaded) << loaded.failure().description();
        const XMLNode value = loaded->rootElement();
        EXPECT_EQ(serialise(value), kept);
        EXPECT_EQ(serialise(value.copy()), kept);
        // A reader looks for the data.
        EXPECT_EQ(value.text(), "data");
        EXPECT_EQ(value.firstText().value(), "data");
    }
    const XMLDocument other = parsed("<a/>");
    const Result<XMLNode> detached = other.node().parseDetached(text);
    ASSERT_TRUE(detached);
    EXPECT_EQ(serialise(*detached), kept);
}

TEST(XMLDocument, RefusesWhatIsNotAWellFormedDocumentWithLineAndColumn) {
    const auto nested = [](int depth) {
        std::string xml;
        for (int i = 0; i < depth; ++i) xml += "<a>";
        for (int i = 0; i < depth; ++i) xml += "</a>";
        return xml;
    };
    struct Row {
        std::string xml;
        const char* place;
        const char* message;
    };
    const Row rows[] = {
        {"", "1", "the file is empty"},
        {"just text", "1:1", "syntax error"},
        {"<a>\n<b>\n</a>", "3:3", "mismatched tag"},
        {"<a>\n<b/>", "2:5", "the file ends too early"},
        {"<a/>\n<b/>", "2:1", "junk after document element"},
        {"<a b='1' b='2'/>", "1:10", "duplicate attribute"},
        {"<a>\n x &nbsp; y</a>", "2:4", "undefined entity"},
        {"<!DOCTYPE a SYSTEM 'a.dtd'><a>\n&nbsp;</a>", "2", "undeclared entity \"nbsp\""},
        {"<!DOCTYPE a SYSTEM 'a.dtd'><a>\n<b c='&amp;&#65;'/><b c='&lt;&nbsp;'/></a>", "2",
         "undeclared entity \"nbsp\""},
        {"<!DOCTYPE a [\n<!ENTITY b 'c'>]><a>&b;</a>", "2", "declares the entity \"b\""},
        {"<!DOCTYPE a [\n<!ENTITY % b 'c'>]><a/>", "2", "declares the entity \"b\""},
        {"<!DOCTYPE a [\n<!ENTITY b SYSTEM '/etc/passwd'>]><a>&b;</a>", "2", "declares the entity"},
        {"<a>\xFF</a>", "1:4", "invalid token"},
        {"<a>\x01</a>", "1:4", "invalid token"},
        {"<a>\n&#1;</a>", "2:1", "invalid character number"},
        {std::string("<a>\0</a>", 8), "1:4", "invalid token"},
        {"<a>]]></a>", "1", "invalid token"},
        {nested(1001), "1", "nested more than 1000 deep"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.xml.substr(0, 60));
        const Result<XMLDocument> document = XMLDocument::parse(row.xml, "cut.xml");
        ASSERT_FALSE(document);
        EXPECT_EQ(document.failure().code, FailureCode::inputInvalid);
        EXPECT_EQ(document.failure().column > 0, !row.xml.empty());
        const std::string text = document.failure().description();
        EXPECT_TRUE(text.starts_with("cut.xml:" + std::string(row.place) + ":")) << text;
        EXPECT_NE(text.find(row.message), std::string::npos) << text;
    }
    EXPECT_TRUE(XMLDocument::parse(nested(1000)));
}

TEST(XMLDocument, FindsTheBadLineOfALargeFile) {
    const TemporaryFolder folder;
    std::string xml = "<a>\n";
    for (int i = 0; i < 200'000; ++i) xml += "<b>12345</b>\n";
    writeFile(folder / "good.xml", xml + "</a>\n");
    const Result<XMLDocument> good = XMLDocument::load(folder / "good.xml");
    ASSERT_TRUE(good) << good.failure().description();
    EXPECT_EQ(good->rootElement().childCount(), 200'000u);
    EXPECT_EQ(good->loadedFile(), FileIdentity::ofFile(folder / "good.xml"));

    writeFile(folder / "bad.xml", xml + "<c></a>\n");
    const Result<XMLDocument> bad = XMLDocument::load(folder / "bad.xml");
    ASSERT_FALSE(bad);
    EXPECT_EQ(bad.failure().line, 200'002);
    EXPECT_EQ(bad.failure().file, folder / "bad.xml");
}

TEST(XMLDocument, KnowsWhereThingsStandInTheFileThatItIs) {
    const TemporaryFolder folder;
    const std::string large = "<a>" + std::string(2'000'000, ' ') + "<sequence/></a>";
    for (const std::string& xml : {std::string("<a>\n<sequence/></a>"), large}) {
        SCOPED_TRACE(xml.size());
        writeFile(folder / "in.xml", xml);
        Result<XMLDocument> loaded = XMLDocument::load(folder / "in.xml", Verification::deferred);
        ASSERT_TRUE(loaded);
        const XMLOutline* const outline = loaded->outline();
        ASSERT_NE(outline, nullptr);
        EXPECT_EQ(outline->file, FileIdentity::ofFile(folder / "in.xml"));
        EXPECT_EQ(outline->root.end, xml.size());
        EXPECT_EQ(outline->sequences.at(0).begin, xml.find("<sequence/>"));
        writeFile(folder / "out.xml", "<a/>");
        loaded->setLoadedFile(FileIdentity::ofFile(folder / "out.xml"));
        EXPECT_EQ(loaded->outline(), nullptr);
    }
    writeFile(folder / "in.xml", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>");
    const Result<XMLDocument> latin = XMLDocument::load(folder / "in.xml");
    ASSERT_TRUE(latin);
    EXPECT_EQ(latin->outline(), nullptr);
    EXPECT_EQ(parsed("<a/>").outline(), nullptr);
}

TEST(XMLDocument, FindsItsSequencesByTheirPlaces) {
    const struct {
        const char* what;
        std::string xml;
        std::size_t count;
    } rows[] = {
        {"none", "<xmeml><a/><b>sequence</b></xmeml>", 0},
        {"the root", "<sequence><a/></sequence>", 1},
        {"first, last and between",
         "<x><sequence/><quiet/><sequence>t</sequence><b/><sequence/></x>", 3},
        {"within one another",
         "<x><quiet/><sequence><a><sequence><b/></sequence></a><c><sequence/></c>"
         "</sequence><d><e><sequence/></e></d><f/></x>",
         4},
        {"deep in last children", "<x><quiet/><a><b/><c><d/><e><sequence/></e></c></a></x>", 1},
        {"other line ends",
         "\xEF\xBB\xBF<?xml version=\"1.0\"?>\r\n<x>\r\n<a b='>'>\r\n\r\n"
         "<sequence id='1'/>\r\n</a>\r\n<sequence>\r\n</sequence></x>\r\n",
         2},
        {"beside what looks like one",
         "<x><!-- <sequence/> --><![CDATA[<sequence/>]]> <sequences/><?sequence?><a "
         "s='&lt;sequence/>'/><sequence/>&lt;sequence/></x>",
         1},
    };
    const TemporaryFolder folder;
    const std::string path = folder / "in.xml";
    const XMLDocument late = parsed("<sequence/>");
    std::size_t byPlaces = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        writeFile(path, row.xml);
        Result<XMLDocument> document = XMLDocument::load(path);
        ASSERT_TRUE(document) << document.failure().description();
        std::vector<XMLNode> walked;
        document->node().forEachDescendant({"sequence"},
                                           [&](XMLNode found) { walked.push_back(found); });
        EXPECT_EQ(walked.size(), row.count);
        EXPECT_EQ(document->loadedSequences(), walked);
        XMLNode quiet = document->rootElement().child("quiet");
        if (!quiet) continue;
        // Nobody looks where no sequence was.
        ++byPlaces;
        quiet.appendCopy(late.rootElement());
        EXPECT_EQ(document->loadedSequences(), walked);
    }
    EXPECT_EQ(byPlaces, 3U);
}

TEST(XMLDocument, ReportsFilesThatCannotBeRead) {
    const TemporaryFolder folder;
    for (const std::string& path : {folder.path(), folder / "absent.xml"}) {
        const Result<XMLDocument> document = XMLDocument::load(path);
        ASSERT_FALSE(document);
        EXPECT_EQ(document.failure().code, FailureCode::inputUnreadable);
        EXPECT_EQ(document.failure().file, path);
    }
}

}  // namespace
}  // namespace reelsweep::test
