#include "xml/QuickCheck.h"

#include "tests/xml/Pieces.h"
#include "xml/StrictCheck.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

namespace reelsweep::test {
namespace {

using namespace std::string_literals;

std::string nested(int depth, const std::string& innermost) {
    std::string xml;
    for (int i = 0; i < depth; ++i) xml += "<a>";
    xml += innermost;
    for (int i = 0; i < depth; ++i) xml += "</a>";
    return xml;
}

std::string attributes(int count) {
    std::string xml = "<a";
    for (int i = 0; i < count; ++i)
        xml += " b" + std::to_string(i) + "='" + std::to_string(i) + "'";
    return xml + "/>";
}

enum class Answer {
    accepts,
    asks,        // and the strict check refuses
    asksThough,  // the strict check accepts: only slower
};

struct Row {
    const char* what;
    std::string xml;
    Answer answer;
};

std::vector<Row> documents() {
    using enum Answer;
    const std::string longName(300, 'n');
    return {
        {"plain", "<a><b>1</b>\n\t<c d=\"e\" f='g'/>\n</a>\n", accepts},
        {"one element", "<a/>", accepts},
        {"prolog",
         "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone='no' ?>\n<!DOCTYPE a >\n<a/>",
         accepts},
        {"byte order mark", "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?><a/>", accepts},
        {"byte order mark alone", "\xEF\xBB\xBF<a/>", accepts},
        {"second byte order mark", "\xEF\xBB\xBF\xEF\xBB\xBF<a/>", asks},
        {"half a byte order mark", "\xEF\xBB<a/>", asks},
        {"comments and instructions around", "<!-- - -> --><?p?><a/><?q  r?s ?\?><!---->", accepts},
        {"space in tags", "<a\n b = 'c'\t><d\r\n/></a >", accepts},
        {"names", "<a:b.c-d_1 _e:f='g'></a:b.c-d_1>", accepts},
        {"names of 7, 8, 15, 16 and 17 bytes",
         "<a><nnnnnnn></nnnnnnn><nnnnnnnn></nnnnnnnn><nnnnnnnnnnnnnnn></nnnnnnnnnnnnnnn>"
         "<nnnnnnnnnnnnnnnn></nnnnnnnnnnnnnnnn><nnnnnnnnnnnnnnnnn></nnnnnnnnnnnnnnnnn ></a>",
         accepts},
        {"long names in each other",
         "<" + longName + "><" + longName + "2></" + longName + "2></" + longName + ">", accepts},
        {"references", "<a b='&lt;&#x1F3ac;&#0065;'>&amp;&gt;&quot;&apos;&#10;&#x9;</a>", accepts},
        {"brackets in text", "<a>]] > ]>]]&gt;</a>", accepts},
        {"CDATA", "<a><![CDATA[<b>&c;]] ]>]]]]></a>", accepts},
        {"characters",
         "<a>\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBD"
         "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF</a>",
         accepts},
        {"deepest", nested(1000, ""), accepts},
        {"many attributes", attributes(64), accepts},

        {"nothing", "", asks},
        {"text alone", "text", asks},
        {"end of CDATA in text", "<a>]]></a>", asks},
        {"end of CDATA behind a bracket", "<a>]]]></a>", asks},
        {"two dashes in a comment", "<!-- -- --><a/>", asks},
        {"comment that ends in three", "<a><!-- ---></a>", asks},
        {"duplicate attribute", "<a b='1' c='2' b='3'/>", asks},
        {"attributes without space", "<a b='1'c='2'/>", asks},
        {"attribute without value", "<a b/>", asks},
        {"attribute without quotes", "<a b=1/>", asks},
        {"less-than in an attribute", "<a b='<'/>", asks},
        {"number of no character", "<a>&#0;</a>", asks},
        {"number of a control character", "<a>&#x1F;</a>", asks},
        {"number of a surrogate", "<a>&#xD800;</a>", asks},
        {"number beyond all characters", "<a>&#x110000;</a>", asks},
        {"number of U+FFFE", "<a>&#xFFFE;</a>", asks},
        {"number that does not fit", "<a>&#x100000041;</a>", asks},
        {"number without digits", "<a>&#x;</a>", asks},
        {"number in capitals", "<a>&#X41;</a>", asks},
        {"undeclared entity", "<a>&nbsp;</a>", asks},
        {"undeclared entity in an attribute", "<a b='&nbsp;'/>", asks},
        {"ampersand alone", "<a>& </a>", asks},
        {"surrogates in UTF-8", "<a>\xED\xA0\x80\xED\xB0\x80</a>", asks},
        {"overlong 2", "<a>\xC0\xBC</a>", asks},
        {"overlong 3", "<a>\xE0\x9F\xBF</a>", asks},
        {"overlong 4", "<a>\xF0\x8F\xBF\xBF</a>", asks},
        {"beyond Unicode", "<a>\xF4\x90\x80\x80</a>", asks},
        {"five bytes", "<a>\xF8\x88\x80\x80\x80</a>", asks},
        {"cut character", "<a>\xE2\x82</a>", asks},
        {"stray continuation", "<a>\x80</a>", asks},
        {"cut character in an attribute", "<a b='\xE2\x82'/>", asks},
        {"cut character in a comment", "<!--\xE2\x82--><a/>", asks},
        {"U+FFFE", "<a>\xEF\xBF\xBE</a>", asks},
        {"U+FFFF in CDATA", "<a><![CDATA[\xEF\xBF\xBF]]></a>", asks},
        {"control character", "<a>\x01</a>", asks},
        {"control character in an attribute", "<a b='\x1F'/>", asks},
        {"control character in an instruction", "<?p \x02?><a/>", asks},
        {"NUL in text", "<a>\0</a>"s, asks},
        {"NUL in a tag", "<a\0/>"s, asks},
        {"NUL behind the root", "<a/>\0"s, asks},
        {"NUL in a name", "<ab></a\0>"s, asks},
        {"second root", "<a/>\n<b/>", asks},
        {"text behind the root", "<a/>b", asks},
        {"text before the root", "b<a/>", asks},
        {"reference behind the root", "<a/>&#65;", asks},
        {"CDATA behind the root", "<a/><![CDATA[b]]>", asks},
        {"CDATA before the root", "<![CDATA[b]]><a/>", asks},
        {"late declaration", " <?xml version='1.0'?><a/>", asks},
        {"declaration inside", "<a><?xml version='1.0'?></a>", asks},
        {"instruction named XML", "<a/><?XmL b?>", asks},
        {"declaration without version", "<?xml encoding='UTF-8'?><a/>", asks},
        {"odd order", "<?xml version='1.0' standalone='yes' encoding='UTF-8'?><a/>", asks},
        {"odd standalone", "<?xml version='1.0' standalone='maybe'?><a/>", asks},
        {"no space in the declaration", "<?xml version='1.0'encoding='UTF-8'?><a/>", asks},
        {"unknown encoding", "<?xml version='1.0' encoding='UTF-88'?><a/>", asks},
        {"DOCTYPE behind the root", "<a/><!DOCTYPE a>", asks},
        {"two DOCTYPEs", "<!DOCTYPE a><!DOCTYPE a><a/>", asks},
        {"declared entity", "<!DOCTYPE a [<!ENTITY b 'c'>]><a/>", asks},
        {"element that starts with a digit", "<1/>", asks},
        {"attribute that starts with a dash", "<a -b=''/>", asks},
        {"mismatched end", "<a><b></a></b>", asks},
        {"end that goes on", "<a></ab>", asks},
        {"end that stops short", "<ab></a>", asks},
        {"long end that goes on", "<" + longName + "></" + longName + "n>", asks},
        {"end alone", "</a>", asks},
        {"attribute in an end", "<a></a b='c'>", asks},
        {"too deep", nested(1001, ""), asks},
        {"too deep by an element without content", nested(1000, "<b/>"), asks},
        {"UTF-16 without a mark", "<\0a\0/\0>\0"s, asksThough},
        {"Latin", "<?xml version='1.0'?><a>caf\xE9</a>", asks},
        {"unterminated tag", "<a", asks},
        {"unterminated attribute", "<a b='c", asks},
        {"unterminated comment", "<a/><!-- -", asks},
        {"unterminated instruction", "<a/><?b ?", asks},
        {"unterminated CDATA", "<a><![CDATA[ ]]", asks},
        {"unterminated reference", "<a>&am", asks},
        {"unterminated element", "<a><b/>", asks},
        {"unterminated declaration", "<?xml version='1.0'", asks},
        {"unterminated DOCTYPE", "<!DOCTYPE a", asks},

        {"other version", "<?xml version='1.1'?><a/>", asksThough},
        {"declared Latin", "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>", asksThough},
        {"UTF-16", "\xFF\xFE<\0a\0/\0>\0"s, asksThough},
        {"name beyond ASCII", "<caf\xC3\xA9/>", asksThough},
        {"DOCTYPE with declarations", "<!DOCTYPE a [<!ELEMENT a ANY>]><a/>", asksThough},
        {"DOCTYPE elsewhere", "<!DOCTYPE a SYSTEM 'a>b.dtd'><a/>", asksThough},
        {"more attributes", attributes(65), asksThough},
        {"long tag", "<a b='" + std::string(70'000, 'c') + "'/>", asksThough},
    };
}

TEST(QuickCheck, AcceptsOnlyWhatTheStrictCheckAcceptsHoweverItIsCut) {
    for (const Row& row : documents()) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(checkWellFormed(row.xml, "input").ok(), row.answer != Answer::asks);
        const auto whole = outlineInPieces(row.xml, row.xml.size());
        EXPECT_EQ(whole.has_value(), row.answer == Answer::accepts);
        for (const std::size_t piece : {1u, 2u, 3u, 7u}) {
            if (row.xml.size() > 50'000 && piece < 7) continue;
            SCOPED_TRACE(piece);
            EXPECT_EQ(outlineInPieces(row.xml, piece), whole);
        }
    }
}

// Every word of three symbols, in every place that a document has.
TEST(QuickCheck, AcceptsNoShortTextThatTheStrictCheckRefuses) {
    constexpr std::array<std::string_view, 20> symbols = {"<", ">", "/", "a",   "-",    "!",   "?",
                                                          "&", ";", "]", "'",   "=",    " ",   "#",
                                                          "1", "[", "x", "amp", "\xC3", "\xA9"};
    struct Place {
        std::string_view before, after;
    };
    constexpr std::array<Place, 12> places{{{"<a>", "</a>"},
                                            {"", "<a/>"},
                                            {"<a/>", ""},
                                            {"<a", "/>"},
                                            {"<a b='", "'/>"},
                                            {"<!--", "--><a/>"},
                                            {"<a><![CDATA[", "]]></a>"},
                                            {"<a>&", ";</a>"},
                                            {"<?", "?><a/>"},
                                            {"<!DOCTYPE", "><a/>"},
                                            {"<a></", ">"},
                                            {"<a>]", "</a>"}}};
    for (const Place& place : places) {
        int accepted = 0;
        for (std::size_t word = 0; word < 20u * 20u * 20u; ++word) {
            std::string xml(place.before);
            for (const std::size_t divisor : {1u, 20u, 400u}) xml += symbols[word / divisor % 20];
            xml += place.after;
            if (!quickOutline(xml)) continue;
            ++accepted;
            ASSERT_TRUE(checkWellFormed(xml, "input")) << xml;
        }
        EXPECT_GT(accepted, 0) << place.before;
    }
}

std::vector<std::string_view> cut(std::string_view xml, const auto& elements) {
    std::vector<std::string_view> parts;
    for (const ElementBytes& element : elements)
        parts.push_back(xml.substr(element.begin, element.end - element.begin));
    return parts;
}

TEST(QuickCheck, NotesWhereTheOuterElementsAndTheSequencesStand) {
    using Parts = std::vector<std::string_view>;
    constexpr std::string_view inner = "<sequence id='2'> </sequence>";
    constexpr std::string_view outer = "<sequence><x><sequence id='2'> </sequence></x></sequence>";
    constexpr std::string_view bin = "<bin><children><sequence id='3'/></children></bin>";
    const std::string first =
        "<children >" + std::string(outer) + "\n" + std::string(bin) + "-" + "<!--x--></children>";
    const std::string project = "<project><name/>" + first + "<children/></project>";
    const std::string root = "<xmeml version='5'>" + project +
                             "\r\n<sequences/><y><children/></y><project><children>\n"
                             "</children></project></xmeml>";
    const std::string xml = "\xEF\xBB\xBF<!DOCTYPE xmeml>\n" + root + "\n";
    for (const std::size_t piece : {std::size_t{1}, std::size_t{5}, xml.size()}) {
        SCOPED_TRACE(piece);
        const auto outline = outlineInPieces(xml, piece);
        ASSERT_TRUE(outline);
        EXPECT_TRUE(outline->byteOrderMark);
        EXPECT_TRUE(outline->carriageReturns);
        EXPECT_EQ(cut(xml, std::array{outline->root}), Parts{root});
        EXPECT_EQ(xml.substr(outline->root.contentBegin, 9), "<project>");
        EXPECT_EQ(xml.substr(outline->root.contentEnd), "</xmeml>\n");
        EXPECT_EQ(cut(xml, outline->rootChildren),
                  (Parts{project, "<sequences/>", "<y><children/></y>",
                         "<project><children>\n</children></project>"}));
        EXPECT_EQ(cut(xml, outline->sequences), (Parts{outer, inner, "<sequence id='3'/>"}));

        EXPECT_EQ(cut(xml, outline->projectChildren),
                  (Parts{first, "<children/>", "<children>\n</children>"}));
        const std::vector<ParentBytes>& parents = outline->projectChildren;
        EXPECT_EQ(cut(xml, std::array{parents[0].lastChild}), Parts{bin});
        EXPECT_TRUE(parents[1].selfClosed());
        EXPECT_FALSE(parents[1].hasChild());
        EXPECT_FALSE(parents[2].selfClosed());
        EXPECT_FALSE(parents[2].hasChild());
        EXPECT_EQ(xml.substr(parents[2].contentBegin, 1), "\n");
    }
    EXPECT_FALSE(quickOutline("<a>\n</a>")->carriageReturns);
    EXPECT_FALSE(quickOutline("<a>\n</a>")->byteOrderMark);
}

}  // namespace
}  // namespace reelsweep::test
