// A project with a new bin keeps the bytes that it was read from.
#include "documents/Document.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/timeline/Timeline.h"
#include "tests/xml/InsertedBytes.h"
#include "timeline/PictureDifference.h"

#include <gtest/gtest.h>
#include <filesystem>
#include <regex>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

// As somebody with an editor and habits of his own would write it.
const std::string project =
    "<?xml version='1.0' encoding='UTF-8' ?>\n<!DOCTYPE xmeml>\n"
    "<!-- by hand -->\n<xmeml  version = '5'>\n\t<project>\n"
    "\t\t<name>&#72;arbour &quot;é&quot; &gt;</name>\n\t\t<children>\n"
    "\t\t\t" +
    sequenceXML("V1: !A[0,9) B[9,20)") + "\n\t\t</children>\n\t</project>\n</xmeml>\n\n";

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

class SplicedDelivery : public testing::Test {
protected:
    std::string written(const std::string& xml) const {
        writeFile(input_, xml);
        return input_;
    }
    /// Tidied, with what the options say; the document stays open.
    Tidied tidied(const DocumentRequest& request) {
        auto opened = openDocument(input_);
        EXPECT_TRUE(opened) << opened.failure().description();
        document_ = std::move(*opened);
        return again(request);
    }
    Tidied again(const DocumentRequest& request) {
        auto result = tidy(*document_, request);
        EXPECT_TRUE(result) << result.failure().description();
        return result ? std::move(*result) : Tidied();
    }
    std::string saved(const Tidied& tidied) const {
        const Outcome outcome = tidied.save(output_);
        EXPECT_TRUE(outcome) << outcome.failure().description();
        return contentsOf(output_);
    }

    const TemporaryFolder folder_;
    const std::string input_ = folder_ / "in.xml";
    const std::string output_ = folder_ / "out.xml";
    std::unique_ptr<Document> document_;
};

TEST_F(SplicedDelivery, KeepsEveryByteOfTheInputAroundTheNewBin) {
    const DocumentRequest careful{.passes = {"removeDisabledVideoClips"}};
    const DocumentRequest literal{.passes = allPasses(), .keepPicture = false, .importSafe = false};
    struct Row {
        const char* what;
        std::string xml;
        const char* lineEnd;
        const char* margin;
    };
    const std::string crlf = replaced(project, "\n", "\r\n");
    const Row rows[] = {
        {"tabs", project, "\n", "\t\t\t"},
        {"CRLF", crlf, "\r\n", "\t\t\t"},
        {"byte order mark", "\xEF\xBB\xBF" + crlf, "\r\n", "\t\t\t"},
        {"two spaces", replaced(project, "\t", "  "), "\n", "      "},
        {"odd indentation", replaced(project, "\n\t\t\t", "\n \t  "), "\n", " \t  "},
        {"one line", replaced(project, "\n", " "), "", ""},
        {"character references", replaced(project, "Harbour", "Ha&#x72;bour&#13;&#xE9;"), "\n",
         "\t\t\t"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        for (const DocumentRequest& request : {careful, literal}) {
            written(row.xml);
            const Tidied result = tidied(request);
            const std::string output = saved(result);
            const auto bin = insertedBytes(row.xml, output);
            ASSERT_TRUE(bin) << output;
            // The stretch may begin anywhere in white space that input and bin have in common.
            const std::string lineStart = std::string(row.lineEnd) + row.margin;
            EXPECT_NE(output.find(lineStart + "<bin>"), std::string::npos) << output;
            EXPECT_NE(output.find(lineStart + "</bin>" + row.lineEnd), std::string::npos);
            const auto readAgain = XMLDocument::load(output_);
            ASSERT_TRUE(readAgain) << readAgain.failure().description();
            EXPECT_TRUE(readAgain->serialise(XMLFormat::compact) ==
                        result.document()->serialise(XMLFormat::compact));
        }
    }
}

TEST_F(SplicedDelivery, WritesTheWholeDocumentWhereThereIsMoreOrOtherThanOneNewBin) {
    const auto isWhole = [&](const Tidied& result) {
        return saved(result) == result.document()->serialise(XMLFormat::pretty);
    };
    const DocumentRequest request{.passes = {"removeDisabledVideoClips"}};
    written(replaced(replaced(project, "UTF-8", "ISO-8859-1"), "é", "\xE9"));
    EXPECT_TRUE(isWhole(tidied(request)));
    written("<xmeml><project><children/></project>" + sequenceXML("V1: A[0,9)") + "</xmeml>");
    EXPECT_TRUE(isWhole(tidied(request)));
    written(replaced(project, "<!DOCTYPE xmeml>", "<!DOCTYPE xmeml SYSTEM 'x'>"));
    EXPECT_TRUE(isWhole(tidied(request)));
    written(project);
    EXPECT_TRUE(isWhole(tidied({.passes = request.passes, .delivery = Delivery::standalone})));

    // A second run, or a file that has changed since.
    const Tidied first = tidied(request);
    EXPECT_FALSE(isWhole(first));
    const Tidied second = again(request);
    EXPECT_TRUE(isWhole(first));
    EXPECT_TRUE(isWhole(second));
    const Tidied early = tidied(request);
    written(project + "\n");
    EXPECT_TRUE(isWhole(early));
}

TEST_F(SplicedDelivery, ReplacesItsInputAndThenAddsToWhatItWrote) {
    written(project);
    const DocumentRequest request{.passes = {"removeDisabledVideoClips"}};
    ASSERT_TRUE(tidied(request).save(input_));
    const std::string once = contentsOf(input_);
    EXPECT_TRUE(insertedBytes(project, once));
    ASSERT_TRUE(tidied(request).save(input_));
    const std::string twice = contentsOf(input_);
    EXPECT_TRUE(insertedBytes(once, twice));
    EXPECT_EQ(twice.substr(0, twice.find("\t\t\t<bin>")),
              project.substr(0, project.find("\t\t</c")));
}

// Uuids are fresh in each run.
std::string withoutUUIDs(const std::string& text) {
    static const std::regex uuid("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}");
    return std::regex_replace(text, uuid, "UUID");
}

std::string reportOf(const Tidied& tidied) {
    std::string text;
    for (const SequenceLedger& sequence : tidied.ledger().sequences) {
        text += sequence.title + ' ' + sequence.uuid + ' ' +
                std::to_string(sequence.changes.size()) + " changes, " +
                std::to_string(sequence.looseClips.size()) + " loose";
        for (const MediaType type : {MediaType::video, MediaType::audio})
            text += ' ' + sequence.picture->same(type).text() + '/' +
                    sequence.picture->changed(type).text();
        text += '\n';
    }
    return text;
}

TEST_F(SplicedDelivery, IsTheSameWhenTheDocumentIsUsedUp) {
    const std::string inputs[] = {
        contentsOf(REELSWEEP_SOURCE_FOLDER "/resources/sample/harbour.xml"),
        project,
        projectXML({sequenceXML("V2: B[20,60)\nV1: !A[0,-1) x[10,20) C[-1,90) D[-1,120)"),
                    sequenceXML("V2: A[0,50) !G[60,70)\nV1: E[5,40) F[40,90)")}),
    };
    for (const std::string& xml : inputs) {
        for (const bool keepPicture : {false, true}) {
            DocumentRequest request{
                .passes = allPasses(), .keepPicture = keepPicture, .importSafe = false};
            written(xml);
            const Tidied copied = tidied(request);
            const std::string expected = saved(copied);
            request.usesUpDocument = true;
            const Tidied result = tidied(request);
            EXPECT_EQ(result.document(), nullptr);
            EXPECT_TRUE(withoutUUIDs(saved(result)) == withoutUUIDs(expected));
            EXPECT_EQ(reportOf(result), reportOf(copied));
            const auto third = tidy(*document_, request);
            ASSERT_FALSE(third);
            EXPECT_EQ(third.failure().message, "was used up by an earlier run");
        }
    }
}

TEST_F(SplicedDelivery, WritesNothingWhenAUsedUpFileHasChanged) {
    written(project);
    const Tidied result = tidied({.passes = {"removeDisabledVideoClips"},
                                  .keepPicture = false,
                                  .importSafe = false,
                                  .usesUpDocument = true});
    written(project + "\n");
    const Outcome outcome = result.save(output_);
    ASSERT_FALSE(outcome);
    EXPECT_NE(outcome.failure().message.find("was changed by another program"), std::string::npos);
    EXPECT_FALSE(fs::exists(output_));
}

}  // namespace
}  // namespace reelsweep::test
