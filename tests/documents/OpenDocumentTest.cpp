// Opening a file of each kind, tidying it, and what there is to save and to read afterwards.
#include "tests/platform/TemporaryFolder.h"
#include "tests/timeline/Interchange.h"

#include <gtest/gtest.h>
#include <filesystem>
#include <stdexcept>

namespace reelsweep::test {
namespace {

using Strings = std::vector<std::string>;

// An editing application that has a project of two sequences open.
class TwoSequenceHost final : public EditingHost {
public:
    std::optional<Listing> list(const std::string&, const std::stop_token&) override {
        if (!answers) return {};
        auto tree = std::make_shared<XMLDocument>(std::move(
            *XMLDocument::parse("<x><sequence><uuid>1</uuid><name>One</name></sequence>"
                                "<sequence><uuid>2</uuid><name>Two</name></sequence></x>")));
        Listing listing{tree, {}, true};
        for (XMLNode s = tree->rootElement().firstChild(); s; s = s.nextSibling())
            listing.sequences.push_back(s);
        return listing;
    }
    std::optional<std::string> fetch(const std::string& uuid, const std::string&,
                                     const std::stop_token&) override {
        if (giveUp("fetch") || uuid == "2") return {};
        return "<xmeml>" + sequenceXML("V1: !A[0,9) B[9,20)") + "</xmeml>";
    }
    bool send(std::string_view xml, const std::string&, const std::stop_token&) override {
        if (giveUp("send")) return false;
        sent += xml;
        return true;
    }
    void open(const std::string& uuid, const std::string&, const std::stop_token&) override {
        opened.push_back(uuid);
    }
    int xmemlVersion() override { return 4; }

    // Somebody loses patience while this call goes on.
    bool giveUp(const std::string& call) {
        if (stopDuring.first == call) stopDuring.second->request_stop();
        return stopDuring.first == call;
    }

    bool answers = true;
    std::pair<std::string, std::stop_source*> stopDuring;
    std::string sent;
    Strings opened;
};

class OpenDocument : public testing::Test {
protected:
    std::string file(const std::string& name, const std::string& content) const {
        writeFile(folder_ / name, content);
        return folder_ / name;
    }
    std::string project(const Strings& timelines) const {
        Strings sequences;
        for (const std::string& timeline : timelines) sequences.push_back(sequenceXML(timeline));
        return file("cut.xml", projectXML(sequences));
    }
    Strings namesInFolder() const {
        Strings names;
        for (const auto& entry : std::filesystem::directory_iterator(folder_ / ""))
            names.push_back(entry.path().filename());
        return names;
    }

    const TemporaryFolder folder_;
};

// "removed A, removed B"
std::string changesOf(const Tidied& tidied) {
    std::string text;
    for (const Change& change : tidied.ledger())
        text += (text.empty() ? "" : ", ") + std::string(description(change.kind)) + " " +
                (change.id().empty() ? std::string(change.node.name()) : change.id());
    return text;
}

TEST_F(OpenDocument, TidiesAnXMEMLProjectIntoABinOfIts) {
    const std::string path = project({"V1: !A[0,9) B[9,20)", "V1: C[0,9)", "V1: !D[0,9)"});
    const std::string source = contentsOf(path);
    const auto document = openDocument(path);
    ASSERT_TRUE(document);
    EXPECT_EQ((*document)->format(), DocumentFormat::xmeml);
    EXPECT_EQ((*document)->sequences().size(), 3u);
    EXPECT_EQ((*document)->sequences().front().title, "Harbour");

    Strings shown;
    const auto tidied =
        tidy(**document, {.passes = {"removeDisabledVideoClips"}, .importSafe = false},
             {.progress = [&](const std::string& text) { shown.push_back(text); }});
    ASSERT_TRUE(tidied);
    // One text a sequence, and the empty ledger between two others is passed over.
    EXPECT_EQ(shown, Strings(3, "Removing disabled video clips..."));
    EXPECT_EQ(changesOf(*tidied), "removed A, removed D");
    EXPECT_EQ(tidied->delivery(), Delivery::project);
    EXPECT_EQ(contentsOf(path), source);

    ASSERT_TRUE(tidied->save(folder_ / "out.xml"));
    EXPECT_FALSE(tidied->save(folder_ / "out.xml", Overwrite::never));
    const auto saved = openDocument(folder_ / "out.xml");
    ASSERT_TRUE(saved);
    ASSERT_EQ((*saved)->sequences().size(), 6u);
    EXPECT_EQ((*saved)->sequences()[3].title, "Harbour-Tidied");
    EXPECT_EQ(notation((*saved)->sequences()[3].node), "V1: B[9,20)");
}

TEST_F(OpenDocument, TidiesSomeSequencesIntoADocumentOfTheirOwn) {
    const auto document = openDocument(project({"V1: !A[0,9)", "V1: !B[0,9) C[9,20)"}));
    ASSERT_TRUE(document);
    const auto tidied = tidy(**document, {.passes = {"removeDisabledVideoClips"},
                                          .sequences = {{1}},
                                          .delivery = Delivery::standalone,
                                          .xmemlVersion = 4});
    ASSERT_TRUE(tidied);
    EXPECT_EQ(changesOf(*tidied), "removed B");
    const XMLNode root = tidied->document()->rootElement();
    EXPECT_EQ(root.attribute("version"), "4");
    EXPECT_EQ(notation(root.child("bin").child("children").child("sequence")), "V1: C[9,20)");
}

TEST_F(OpenDocument, TakesABlankAloneInATrackForLayout) {
    const std::string blank = "<track>\n\t</track>";
    std::string xml = projectXML({sequenceXML("V1: A[0,9)")});
    xml.insert(xml.find("<track>"), blank);
    const auto document = openDocument(file("cut.xml", xml));
    ASSERT_TRUE(document);
    const auto tidied =
        tidy(**document, {.passes = {"collapseTracks", "removeUnusedTracks"}, .importSafe = false});
    ASSERT_TRUE(tidied);
    const std::string result = tidied->document()->serialise(XMLFormat::compact);
    EXPECT_NE(result.find(blank), std::string::npos);
    XMLNode copy;
    tidied->document()->node().forEachDescendant({"sequence"},
                                                 [&](XMLNode sequence) { copy = sequence; });
    const XMLNode track = copy.child("media").child("video").child("track");
    EXPECT_TRUE(track.firstChild().isElement("clipitem")) << serialise(copy);
    EXPECT_EQ(notation(copy), "V1: A[0,9)");
}

TEST_F(OpenDocument, TidiesAnFCPXMLFileAsAWhole) {
    const std::string path = file(
        "in.fcpxml", "<fcpxml><project name='P'><sequence><marker/></sequence></project></fcpxml>");
    const auto document = openDocument(path);
    ASSERT_TRUE(document);
    EXPECT_EQ((*document)->format(), DocumentFormat::fcpxml);
    EXPECT_TRUE((*document)->sequences().empty());
    const auto tidied = tidy(**document, {.passes = allPasses()});
    ASSERT_TRUE(tidied);
    EXPECT_EQ(changesOf(*tidied), "removed marker");
    EXPECT_EQ(tidied->delivery(), Delivery::document);
    ASSERT_TRUE(tidied->save(folder_ / "out.fcpxml"));
    EXPECT_EQ(contentsOf(folder_ / "out.fcpxml").find("marker"), std::string::npos);
}

TEST_F(OpenDocument, TidiesANativeProjectThroughItsHost) {
    TwoSequenceHost host;
    const auto document = openDocument(file("film.fcp", ""), {.host = &host});
    ASSERT_TRUE(document);
    EXPECT_EQ((*document)->format(), DocumentFormat::nativeProject);
    ASSERT_EQ((*document)->sequences().size(), 2u);
    EXPECT_TRUE((*document)->sequences().front().isShortForm);
    const auto tidied = tidy(**document, {.passes = {"removeDisabledVideoClips"}});
    ASSERT_TRUE(tidied);
    EXPECT_EQ(changesOf(*tidied), "removed A");
    EXPECT_EQ(tidied->delivery(), Delivery::host);
    // The other sequence could not be had. That ends its part alone.
    ASSERT_EQ(tidied->failures().size(), 1u);
    EXPECT_NE(tidied->failures()[0].description().find("Two"), std::string::npos);
    EXPECT_EQ(tidied->document(), nullptr);
    EXPECT_FALSE(tidied->save(folder_ / "out.xml"));
    const auto sent = XMLDocument::parse(host.sent);
    ASSERT_TRUE(sent);
    EXPECT_EQ(sent->rootElement().attribute("version"), "4");
    const XMLNode bin = sent->rootElement().child("bin");
    const XMLNode copy = bin.child("children").child("sequence");
    EXPECT_EQ(notation(copy), "V1: B[9,20)");
    EXPECT_EQ(host.opened, Strings{copy.child("uuid").stringValue()});
}

TEST_F(OpenDocument, GivesAHostUpWhenItIsToldTo) {
    TwoSequenceHost host;
    for (const char* const waiting : {"fetch", "send"}) {
        SCOPED_TRACE(waiting);
        const auto document = openDocument(file("film.fcp", ""), {.host = &host});
        ASSERT_TRUE(document);
        std::stop_source stop;
        host.stopDuring = {waiting, &stop};
        const auto tidied = tidy(**document, {}, {.stop = stop.get_token()});
        ASSERT_FALSE(tidied);
        EXPECT_EQ(tidied.failure().code, FailureCode::cancelled);
        EXPECT_TRUE(host.opened.empty());
    }
}

TEST_F(OpenDocument, SaysWhyAFileCannotBeOpened) {
    TwoSequenceHost deaf;
    deaf.answers = false;
    struct Row {
        std::string path;
        EditingHost* host;
        FailureCode code;
        int line;
    };
    const Row rows[] = {
        {folder_ / "absent.xml", nullptr, FailureCode::inputUnreadable, 0},
        {file("broken.xml", "<xmeml>\n<sequence>\n</xmeml>"), nullptr, FailureCode::inputInvalid,
         3},
        {file("page.xml", "<html/>"), nullptr, FailureCode::inputInvalid, 0},
        {file("event.fcpxml", "<fcpxml><event/></fcpxml>"), nullptr, FailureCode::inputInvalid, 0},
        {file("film.fcp", ""), nullptr, FailureCode::inputUnreadable, 0},
        {file("film.fcp", ""), &deaf, FailureCode::inputUnreadable, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        const auto opened = openDocument(row.path, {.host = row.host});
        ASSERT_FALSE(opened);
        EXPECT_EQ(opened.failure().code, row.code);
        EXPECT_EQ(opened.failure().file, row.path);
        EXPECT_EQ(opened.failure().line, row.line);
        EXPECT_FALSE(opened.failure().message.empty());
    }
}

TEST_F(OpenDocument, LeavesEverythingAsItWasWhenATidyFails) {
    // Clips that end before they start double what lies below them.
    std::string endless = "V1: A[0,1000) V2:";
    for (int i = 0; i < 40; ++i) endless += " B[200,100)";
    std::stop_source stopped;
    stopped.request_stop();
    TwoSequenceHost host;
    struct Row {
        const char* what;
        std::string path;
        DocumentRequest request;
        FailureCode code;
        std::stop_token stop = {};
    };
    const Row rows[] = {
        {"stopped before it began",
         project({"V1: !A[0,9)"}),
         {},
         FailureCode::cancelled,
         stopped.get_token()},
        {"FCPXML, stopped before it began",
         file("in.fcpxml", "<fcpxml><project><sequence><marker/></sequence></project></fcpxml>"),
         {.passes = {"removeMarkers"}},
         FailureCode::cancelled,
         stopped.get_token()},
        {"native, stopped before it began",
         file("film.fcp", ""),
         {},
         FailureCode::cancelled,
         stopped.get_token()},
        {"no such sequence", folder_ / "cut.xml", {.sequences = {{0, 1}}}, FailureCode::usage},
        {"no project to put a bin into",
         file("loose.xml", "<xmeml>" + sequenceXML("V1: A[0,9)") + "</xmeml>"),
         {.delivery = Delivery::project},
         FailureCode::processing},
        {"a native project saves no file",
         folder_ / "film.fcp",
         {.delivery = Delivery::standalone},
         FailureCode::usage},
        {"clips are split without end",
         file("endless.xml", projectXML({sequenceXML(endless)})),
         {.passes = {"collapseTracks", "collapseUncompositedClips"}, .keepPicture = false},
         FailureCode::processing},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto document = openDocument(row.path, {.host = &host});
        ASSERT_TRUE(document);
        const auto sequencesOf = [&] {
            Strings all;
            for (const SourceSequence& sequence : (*document)->sequences())
                all.push_back(serialise(sequence.node));
            return all;
        };
        const Strings before = sequencesOf();
        const std::string bytes = contentsOf(row.path);
        const Strings names = namesInFolder();
        const auto tidied = tidy(**document, row.request, {.stop = row.stop});
        ASSERT_FALSE(tidied);
        EXPECT_EQ(tidied.failure().code, row.code) << tidied.failure().description();
        if (row.code != FailureCode::usage) {
            EXPECT_EQ(sequencesOf(), before);
        }
        EXPECT_EQ(contentsOf(row.path), bytes);
        EXPECT_EQ(namesInFolder(), names);
        EXPECT_TRUE(host.sent.empty());
        // A document is as good as new after it.
        if (row.stop.stop_requested()) {
            EXPECT_TRUE(
                tidy(**document, {.passes = {"removeMarkers"}, .delivery = Delivery::none}));
        }
    }
}

TEST_F(OpenDocument, MakesNothingToSaveWhenNothingIsDelivered) {
    for (const std::string& path :
         {project({"V1: !A[0,9)"}),
          file("in.fcpxml",
               "<fcpxml><project><sequence><marker/></sequence></project></fcpxml>")}) {
        const auto document = openDocument(path);
        ASSERT_TRUE(document);
        const auto tidied = tidy(**document, {.passes = allPasses(), .delivery = Delivery::none});
        ASSERT_TRUE(tidied) << path;
        EXPECT_FALSE(changesOf(*tidied).empty());
        EXPECT_EQ(tidied->document(), nullptr);
        const Outcome saved = tidied->save(folder_ / "out.xml");
        ASSERT_FALSE(saved);
        EXPECT_EQ(saved.failure().code, FailureCode::outputFailed);
    }
}

}  // namespace
}  // namespace reelsweep::test
