#include "xml/SplicedSave.h"

#include "tests/platform/TemporaryFolder.h"
#include "tests/xml/FullDisk.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <future>
#include <string>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view newBin =
    "<bin><name>New &amp;&#13;\n\"cut\"</name><children><sequence id=\"9\"/></children></bin>";

XMLDocument loaded(const std::string& path) {
    Result<XMLDocument> document = XMLDocument::load(path);
    EXPECT_TRUE(document) << path << ": " << document.failure().description();
    return document ? std::move(*document) : XMLDocument();
}

std::optional<SplicedSave> spliceFor(const std::string& path, const XMLDocument& document) {
    const XMLOutline* const outline = document.outline();
    if (!outline || outline->projectChildren.empty()) return {};
    return SplicedSave::ofFile(path, *outline, outline->projectChildren.front());
}

/// The document at `path` with the new bin, written to `to`; the head goes out on another thread.
Outcome saveSpliced(const std::string& path, const std::string& to) {
    const XMLDocument document = loaded(path);
    const std::optional<SplicedSave> splice = spliceFor(path, document);
    if (!splice) return Failure{FailureCode::internal, "not spliced", path, 0, 0, ""};
    AtomicFile output(to, Overwrite::always);
    if (Outcome opened = output.open(); !opened) return opened;
    auto head = std::async(std::launch::async, [&] { splice->writeHead(output); });
    const Result<XMLNode> bin = document.node().parseDetached(newBin);
    head.get();
    splice->writeChild(*bin, output);
    splice->writeTail(output);
    return output.commit();
}

/// The same tree by the other way: the document changed, and read in again.
std::string treeWithNewBin(const std::string& path) {
    const XMLDocument document = loaded(path);
    document.rootElement()
        .child("project")
        .child("children")
        .appendChild(*document.node().parseDetached(newBin));
    const Result<XMLDocument> again =
        XMLDocument::parse(document.serialise(XMLFormat::compact), "again");
    EXPECT_TRUE(again);
    return again->serialise(XMLFormat::compact);
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string withInsertion(std::string text, std::string_view place, std::string_view inserted) {
    const std::size_t at = text.find(place);
    EXPECT_NE(at, std::string::npos) << place;
    return text.insert(std::min(at, text.size()), inserted);
}

const std::string project = R"(<?xml version='1.0' encoding="UTF-8"?>
<!DOCTYPE xmeml>
<xmeml version='5'>
	<!-- kept -->
	<project>
		<name>A &#65; &quot;B&quot; é</name>
		<children>
			<bin ><name>old</name></bin>
			<sequence
 id='1'></sequence>
		</children>
	</project>
</xmeml>)";

/// The new bin on lines of its own.
std::string lines(const std::string& margin, const std::string& level,
                  const std::string& lineEnd = "\n") {
    const std::string deeper = margin + level;
    const std::string text = margin + "<bin>\n" + deeper +
                             "<name>New &amp;&#13;\n\"cut\"</name>\n" + deeper + "<children>\n" +
                             deeper + level + "<sequence id=\"9\" />\n" + deeper + "</children>\n" +
                             margin + "</bin>\n";
    return replaced(text, "\n", lineEnd);
}

struct Row {
    const char* what;
    std::string input;
    std::string_view place;  // what the new bytes stand before
    std::string inserted;
};

std::vector<Row> rows() {
    constexpr std::string_view endTag = "</children>";
    constexpr std::string_view endLine = "\t\t</children>";
    const std::string crlf = replaced(project, "\n", "\r\n");
    const std::string tabs = lines("\t\t\t", "\t");
    const std::string oneLine = "<xmeml><project><children><bin/></children></project></xmeml>";
    return {
        {"tabs", project, endLine, tabs},
        {"CRLF", crlf, endLine, lines("\t\t\t", "\t", "\r\n")},
        {"CR", replaced(project, "\n", "\r"), endLine, lines("\t\t\t", "\t", "\r")},
        {"byte order mark", "\xEF\xBB\xBF" + crlf, endLine, lines("\t\t\t", "\t", "\r\n")},
        {"two spaces", replaced(project, "\t", "  "), "    </children>", lines("      ", "  ")},
        {"odd margin", replaced(project, "\n\t\t\t", "\n \t  "), endLine, lines(" \t  ", "\t")},
        {"odd level", replaced(project, "\n\t\t\t", "\n\t\t   "), endLine, lines("\t\t   ", "   ")},
        {"lines without indentation", replaced(project, "\t", ""), endTag, lines("", "")},
        {"margin without levels", replaced(project, "\n\t\t\t", "\n\t\t"), endLine,
         lines("\t\t", "")},
        {"one line", oneLine, endTag, std::string(newBin)},
        {"one line with spaces", replaced(oneLine, "><", "> <"), endTag, std::string(newBin)},
        {"child behind the start tag",
         "<xmeml>\n\t<project>\n\t\t<children><bin/>\n\t\t</children></project></xmeml>", endLine,
         tabs},
        {"end tag behind the child",
         "<xmeml>\n\t<project>\n\t\t<children>\n\t\t\t<bin/></children></project></xmeml>", endTag,
         std::string(newBin)},
        {"no child, two lines",
         "<xmeml>\n\t<project>\n\t\t<children>\n\t\t</children>\n\t</project>\n</xmeml>", endLine,
         tabs},
        {"no child, one line of many",
         "<xmeml>\r\n    <project>\r\n        <children></children></project></xmeml>", endTag,
         "\r\n" + lines("            ", "    ", "\r\n") + "        "},
        {"no child, one line", "<xmeml><project><children></children></project></xmeml>", endTag,
         std::string(newBin)},
        {"blank lines",
         "<xmeml><project>\n\t\t<children>\n\n\t\t\t<bin/>\n \n\t\t</children></project></xmeml>",
         endLine, tabs},
        {"other children behind", replaced(project, endTag, "</children><children>\n</children>"),
         endLine, tabs},
    };
}

TEST(SplicedSave, AddsAChildInTheWayOfItsNeighboursAndTouchesNothingElse) {
    const TemporaryFolder folder;
    const std::string input = folder / "in.xml";
    const std::string output = folder / "out.xml";
    for (const Row& row : rows()) {
        SCOPED_TRACE(row.what);
        writeFile(input, row.input);
        const Outcome saved = saveSpliced(input, output);
        ASSERT_TRUE(saved) << saved.failure().description();
        EXPECT_EQ(contentsOf(output), withInsertion(row.input, row.place, row.inserted));
        EXPECT_EQ(loaded(output).serialise(XMLFormat::compact), treeWithNewBin(input));
        EXPECT_EQ(contentsOf(input), row.input);
    }
    // Over itself, and what is added once is a neighbour the next time.
    writeFile(input, project);
    ASSERT_TRUE(saveSpliced(input, input));
    const std::string added = lines("\t\t\t", "\t");
    const std::string once = contentsOf(input);
    ASSERT_TRUE(saveSpliced(input, input));
    EXPECT_EQ(contentsOf(input), withInsertion(once, "\t\t</children>\n\t</project>", added));
}

TEST(SplicedSave, LeavesToTheWholeSaveWhatBytesAloneDoNotSay) {
    const TemporaryFolder folder;
    const std::string input = folder / "in.xml";
    for (const std::string& xml : {
             replaced(project, "<!DOCTYPE xmeml>", "<!DOCTYPE xmeml SYSTEM 'x'>"),
             replaced(replaced(project, "UTF-8", "ISO-8859-1"), "é", "\xE9"),
             replaced(project, "\t\t</children>", "<!-- last -->\n</children>"),
             replaced(project, "</children>", "text</children>"),
             replaced(project, "\t\t</children>", std::string(5000, ' ') + "</children>"),
             std::string("<xmeml><project><children/></project></xmeml>"),
             std::string("<xmeml><project><children>text</children></project></xmeml>"),
             std::string("<xmeml><sequence/></xmeml>"),
         }) {
        SCOPED_TRACE(xml);
        writeFile(input, xml);
        EXPECT_FALSE(spliceFor(input, loaded(input)));
    }
    writeFile(input, project);
    const XMLDocument document = loaded(input);
    ASSERT_TRUE(spliceFor(input, document));
    writeFile(input, project + "\n");
    EXPECT_FALSE(spliceFor(input, document));
    fs::remove(input);
    EXPECT_FALSE(spliceFor(input, document));
    ASSERT_EQ(mkfifo(input.c_str(), 0600), 0);
    EXPECT_FALSE(spliceFor(input, document));
}

TEST(SplicedSave, RefusesWhenTheInputChangesBeforeTheEnd) {
    const TemporaryFolder folder;
    const std::string input = folder / "in.xml";
    const std::string output = folder / "out.xml";
    for (const std::string& changed : {project + "\n", project.substr(0, 200), std::string()}) {
        SCOPED_TRACE(changed.size());
        writeFile(input, project);
        const XMLDocument document = loaded(input);
        const std::optional<SplicedSave> splice = spliceFor(input, document);
        ASSERT_TRUE(splice);
        AtomicFile file(output, Overwrite::always);
        ASSERT_TRUE(file.open());
        splice->writeHead(file);
        splice->writeChild([](const XMLLayout&, ByteSink& sink) { sink.write("<bin/>\n"); }, file);
        writeFile(input, changed);
        splice->writeTail(file);
        const Outcome outcome = file.commit();
        ASSERT_FALSE(outcome);
        EXPECT_EQ(
            outcome.failure().description(),
            input + ": was changed by another program since it was read; nothing was written");
        EXPECT_FALSE(fs::exists(output));
    }
}

TEST(SplicedSave, LeavesNothingBehindWhenTheDiskIsFull) {
    const TemporaryFolder folder;
    const std::string input = folder / "in.xml";
    const std::string output = folder / "out.xml";
    const std::string padding = "<!--" + std::string(10'000, 'x') + "-->";
    struct Full {
        const char* where;
        std::string xml;
        std::size_t limit;
    };
    const Full rows[] = {{"head", replaced(project, "<!-- kept -->", padding), 4096},
                         {"child", project, project.size()},
                         {"tail", project + padding, 4096}};
    for (const auto& [where, xml, limit] : rows) {
        SCOPED_TRACE(where);
        writeFile(input, xml);
        writeFile(output, "old");
        const Outcome outcome = [&] {
            const FullDisk fullDisk(limit);
            return saveSpliced(input, output);
        }();
        ASSERT_FALSE(outcome);
        EXPECT_NE(outcome.failure().message.find("could not be written"), std::string::npos);
        EXPECT_EQ(contentsOf(output), "old");
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()),
                  2);
    }
}

TEST(SplicedSave, KeepsTheBundledProjectByteForByte) {
    const TemporaryFolder folder;
    const std::string sample = REELSWEEP_SOURCE_FOLDER "/resources/sample/harbour.xml";
    ASSERT_TRUE(saveSpliced(sample, folder / "out.xml"));
    std::string before = contentsOf(sample);
    before.insert(before.rfind("\t\t</children>"), lines("\t\t\t", "\t"));
    EXPECT_TRUE(contentsOf(folder / "out.xml") == before);
}

}  // namespace
}  // namespace reelsweep::test
