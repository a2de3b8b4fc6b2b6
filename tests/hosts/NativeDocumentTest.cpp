// Native projects: listed, fetched, tidied, sent back and opened in a host on a real bus.
#include "hosts/QVFCPProjectLoader.h"
#include "tests/hosts/BusTest.h"
#include "tests/timeline/LogCapture.h"
#include "tests/timeline/Project.h"
#include "timeline/QVXMLParser.h"

#include <sys/xattr.h>

namespace reelsweep::test {
namespace {

using Strings = std::vector<std::string>;

std::string reel(const std::string& name, const std::string& uuid, const std::string& timeline) {
    std::string xml = sequenceXML(timeline);
    xml.replace(xml.find(">1234<"), 6, ">" + uuid + "<");
    return xml.replace(xml.find(">Harbour<"), 9, ">" + name + "<");
}

const std::string threeReels =
    projectXML({reel("One \xF0\x9F\x8E\xAC caf\xC3\xA9", "U1", "V1: A[0,9) !B[9,20)"),
                reel("Two", "U2", "V1: !C[0,9) V2: D[0,9)'M"), reel("Three", "U3", "V1: E[0,5)")});

/// The last bin of a project's file, without what differs from run to run.
std::string binOf(const std::string& xml) {
    const Result<XMLDocument> document = XMLDocument::parse(xml);
    if (!document) return document.failure().description();
    return withoutUuids(
        serialise(document->rootElement().child("project").child("children").lastChild()));
}

class NativeDocument : public BusTest {
protected:
    /// A document of the project, listed.
    std::unique_ptr<Project> document(const std::string& path) const {
        auto made = std::make_unique<Project>();
        EXPECT_TRUE(made->document.readFromURL(path));
        made->document.waitUntilPopulated();
        console->take();
        return made;
    }
    /// Final Cut Pro in that version.
    void installHost(const std::string& version) const {
        class HostAt final : public SessionBusWorkspace {
        public:
            explicit HostAt(std::string path) : path_(std::move(path)) {}
            std::optional<std::string> applicationPath(std::string_view) const override {
                return path_;
            }

        private:
            std::string path_;
        };
        const PropertyList::Dictionary info{{"CFBundleShortVersionString", version}};
        EXPECT_FALSE(writePropertyList(folder / "Final Cut Pro.app/Contents/Info.plist", info));
        Platform::current().workspace = std::make_unique<HostAt>(folder / "Final Cut Pro.app");
    }
    static std::string run(Project& native, const OptionList& options) {
        native.document.process(options);
        native.document.waitUntilProcessed();
        std::string alerts;
        for (const std::string& alert : std::exchange(shownAlerts(), {})) alerts += alert + "\n";
        return alerts;
    }
};

const std::string complete =
    "Processing complete: A duplicate of the sequence has been added to the Reelsweep bin.\n";

TEST_F(NativeDocument, GetsANewBinWithItsCopiesOpened) {
    const std::string path = openProject("film.fcp", threeReels);
    openProject("other.fcp", threeReels);
    const auto native = document(path);
    EXPECT_TRUE(native->document.isFCPProject());
    ASSERT_EQ(native->document.sequenceArray()->size(), 3U);
    EXPECT_TRUE(native->record(0).isPlaceholder);
    EXPECT_FALSE(native->source(0).child("media"));
    native->document.setSelected(0, true);
    native->document.setSelected(1, true);
    native->view.events.clear();
    const LogCapture log;
    EXPECT_EQ(run(*native, {"removeDisabledVideoClips", "collapseTracks"}), complete);
    EXPECT_EQ(console->take(), "");
    EXPECT_TRUE(native->document.runResult().delivered);
    EXPECT_EQ(openedItems(),
              "film.fcp: One \xF0\x9F\x8E\xAC caf\xC3\xA9-Tidied\nfilm.fcp: Two-Tidied\n");
    const Strings labels = native->view.events;
    EXPECT_EQ(labels.at(2), "Fetching XML from Final Cut Pro...");
    EXPECT_EQ(Strings(labels.end() - 4, labels.end()),
              (Strings{"Sending to Final Cut Pro...", "end", "reload", "end"}));
    const Strings lines = log.lines();
    EXPECT_EQ(Strings(lines.end() - 2, lines.end()),
              (Strings{"Data sent to FCP successfully. Opening new sequences in FCP...",
                       "Processing complete"}));
    // The list is new, and nothing in it is ticked.
    ASSERT_EQ(native->document.sequenceArray()->size(), 5U);
    EXPECT_EQ(native->record(4).title, "Two-Tidied");
    for (const auto& record : *native->document.sequenceArray()) EXPECT_FALSE(record->selected);

    EXPECT_EQ(contentsOf(path), threeReels);
    ASSERT_TRUE(QVAppleEvents::saveProject(path));
    const std::string saved = contentsOf(path);
    EXPECT_NE(binOf(saved).find("Two-Tidied"), std::string::npos);
    EXPECT_EQ(contentsOf(project("other.fcp")), threeReels);
    // There is no file to save: Final Cut Pro owns the project.
    EXPECT_FALSE(native->document.saveToURL(path));
    EXPECT_EQ(contentsOf(path), saved);
}

TEST_F(NativeDocument, GoesOnWithTheNextSequenceWhenOneCannotBeFetched) {
    const std::string path = openProject("film.fcp", threeReels);
    struct Row {
        const char* fault;
        std::string alert;
    };
    const Row rows[] = {
        {"refuse",
         "Unable to get XML data: Reelsweep could not get XML data for the sequence \"Two\"."},
        {"drop",
         "Unable to get XML data: Reelsweep could not get XML data for the sequence \"Two\"."},
        {"binary",
         "Unable to get XML data: Reelsweep could not get XML data for the sequence \"Two\"."},
        {"blank", "Unable to load XML data: Two:1"},
        {"hollow", "Unable to load sequence data"},
    };
    std::string listed =
        "<sequence id=\"sequence-1\" "
        "explodedTracks=\"true\"><uuid>U2</uuid><name>Two</name></sequence>";
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const auto native = document(path);
        native->document.setSelected(1, true);
        native->document.setSelected(2, true);
        setTimeout(std::chrono::seconds(1));
        setFaults(std::string("gXML ") + row.fault);
        int fetched = 0;
        native->view.onLabel = [&](const std::string& label) {
            if (label.starts_with("Fetching") && ++fetched == 2) setFaults("");
        };
        const LogCapture log;
        const std::string alerts = run(*native, {"removeMarkers"});
        EXPECT_EQ(alerts.substr(0, row.alert.size()), row.alert);
        EXPECT_TRUE(alerts.ends_with("\n" + complete)) << alerts;
        EXPECT_EQ(native->document.runResult().failures.size(), 1U);
        EXPECT_TRUE(native->document.runResult().delivered);
        const std::string logged = row.alert.substr(0, row.alert.find(':'));
        const Strings lines = log.lines();
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(),
                                [&](const std::string& line) { return line.starts_with(logged); }));
        // What could not be fetched goes into the bin as it was listed.
        ASSERT_TRUE(QVAppleEvents::saveProject(path));
        const std::string bin = binOf(contentsOf(path));
        EXPECT_NE(bin.find(listed), std::string::npos) << bin;
        EXPECT_NE(bin.find("Three-Tidied"), std::string::npos);
    }
}

TEST_F(NativeDocument, IsSentWhenTheCancelComesTooLate) {
    const auto native = document(openProject("film.fcp", threeReels));
    native->document.setSelected(0, true);
    native->view.onEnd = [&] { native->document.cancelProgress(); };
    EXPECT_EQ(run(*native, {"removeMarkers"}), complete);
    EXPECT_TRUE(native->document.runResult().delivered);
    EXPECT_FALSE(native->document.runResult().cancelled);
}

TEST_F(NativeDocument, IsNotGivenAnotherSequenceForOneWithoutAUuid) {
    std::string reels = threeReels;
    reels.erase(reels.find("<uuid>U2</uuid>"), 15);
    const auto native = document(openProject("film.fcp", reels));
    native->document.setSelected(1, true);
    EXPECT_EQ(
        run(*native, {"removeMarkers"}),
        "Unable to get XML data: Reelsweep could not get XML data for the sequence \"Two\".\n" +
            complete);
}

TEST_F(NativeDocument, SaysThatTheResultCouldNotBeSent) {
    const std::string path = openProject("film.fcp", threeReels);
    for (const char* const fault : {"refuse", "drop", "foreign", "die"}) {
        SCOPED_TRACE(fault);
        setFaults("");
        openProject("film.fcp", threeReels);
        const auto native = document(path);
        native->document.setLaunchesFCP(false);
        native->document.setSelected(2, true);
        setTimeout(std::chrono::seconds(1));
        setFaults(std::string("iXML ") + fault);
        native->view.events.clear();
        const LogCapture log;
        EXPECT_EQ(run(*native, {}), "Processing failed: Could not send data to Final Cut Pro.\n");
        EXPECT_FALSE(native->document.runResult().delivered);
        EXPECT_EQ(native->document.runResult().failures.size(), 1U);
        const Strings lines = log.lines();
        EXPECT_EQ(Strings(lines.end() - 2, lines.end()),
                  (Strings{"Could not send data to FCP", "Processing complete"}));
        EXPECT_EQ(openedItems(), "");
        EXPECT_EQ(contentsOf(path), threeReels);
    }
}

TEST_F(NativeDocument, SendsNothingWhenCancelled) {
    const std::string path = openProject("film.fcp", threeReels);
    const auto native = document(path);
    native->document.setSelected(0, true);
    native->view.onLabel = [&](const std::string& label) {
        if (label.starts_with("Fetching")) native->document.cancelProgress();
    };
    EXPECT_EQ(run(*native, {"removeMarkers"}), "");
    EXPECT_TRUE(native->document.runResult().cancelled);
    EXPECT_EQ(QVAppleEvents::sequencesInProject(path)->sequences.size(), 3U);

    // Sent by itself, without a run: the sequence as it was listed.
    native->view.onLabel = nullptr;
    native->document.setSelected(2, true);
    native->document.sendToFCP();
    EXPECT_EQ(QVAppleEvents::sequencesInProject(path)->sequences.size(), 5U);
}

TEST_F(NativeDocument, OpensWithoutSequencesWhenTheHostIsNotThere) {
    writeFile(project("film.FCP"), threeReels);
    writeFile(project("typed"), threeReels);
    const char code[] = "FCPFKeyG";
    const bool keepsCodes =
        ::setxattr(project("typed").c_str(), "user.com.apple.FinderInfo", code, 8, 0) == 0;
    for (const char* const name : {"film.FCP", "typed"}) {
        if (!keepsCodes && std::string_view(name) == "typed") continue;
        Project native;
        native.document.setLaunchesFCP(false);
        EXPECT_TRUE(native.document.readFromURL(project(name)));
        native.document.waitUntilPopulated();
        EXPECT_TRUE(native.document.isFCPProject());
        EXPECT_TRUE(native.document.sequenceArray()->empty());
        EXPECT_EQ(native.document.listFailure()->code, FailureCode::inputUnreadable);
    }
    // Launched, opened and listed in one go.
    const auto native = document(project("film.FCP"));
    EXPECT_EQ(native->document.sequenceArray()->size(), 3U);
    EXPECT_FALSE(native->document.listFailure());
}

TEST_F(NativeDocument, OfAnOldHostAreListedInFull) {
    const std::string path = openProject("film.fcp", threeReels);
    installHost("6.0.6");
    const auto native = document(path);
    ASSERT_EQ(native->document.sequenceArray()->size(), 3U);
    EXPECT_FALSE(native->record(1).isPlaceholder);
    native->document.setSelected(1, true);
    setFaults("gXML refuse");
    EXPECT_EQ(run(*native, {"removeMarkers"}), complete);
}

TEST_F(NativeDocument, AreSentInTheNewestFormThatTheHostReads) {
    struct Row {
        const char* version;
        int major;
        int xmeml;
    };
    const Row rows[] = {
        {"7.0.3", 7, 5}, {"6.0.6", 6, 4}, {"5.1.2", 5, 3},  {"5.1.1", 5, 2}, {"5.1", 5, 2},
        {"5.0", 5, 3},   {"4.5", 4, 1},   {"10.0.1", 1, 5},  // a second digit is never read
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.version);
        installHost(row.version);
        EXPECT_EQ(QVAppleEvents::finalCutProMajorVersion(), row.major);
        EXPECT_EQ(QVAppleEvents::maximumXMEMLVersion(), row.xmeml);
    }
    // Such versions never shipped; the run ends with a failure.
    const auto native = document(openProject("film.fcp", threeReels));
    native->document.setSelected(0, true);
    for (const char* const version : {"7", ""}) {
        installHost(version);
        EXPECT_EQ(QVAppleEvents::finalCutProMajorVersion(), 7);
        run(*native, {"removeMarkers"});
        EXPECT_FALSE(native->document.runResult().delivered);
        EXPECT_EQ(native->document.runResult().failures.back().code, FailureCode::internal);
    }
    std::filesystem::remove(folder / "Final Cut Pro.app/Contents/Info.plist");
    EXPECT_EQ(QVAppleEvents::finalCutProVersionString(), "7.0");
}

TEST_F(NativeDocument, LoadIntoAController) {
    const std::string path = openProject("film.fcp", threeReels);
    QVFCPProjectController controller;
    EXPECT_TRUE(controller.loadXMLFromFCP(path));
    EXPECT_TRUE(controller.nodeWithUUID("U3", "sequence").child("media"));
    EXPECT_TRUE(controller.loadTOCFromFCP(path));
    EXPECT_FALSE(controller.nodeWithUUID("U3", "sequence").child("media"));
    const auto held = controller.xmlDoc();
    EXPECT_FALSE(controller.loadXMLFromFCP(folder / "absent.fcp"));
    setFaults("* blank");
    EXPECT_FALSE(controller.loadXMLFromFCP(path));
    EXPECT_FALSE(controller.loadTOCFromFCP(path));
    EXPECT_EQ(controller.xmlDoc(), held);
    setFaults("eTCX mistyped");
    EXPECT_FALSE(controller.loadTOCFromFCP(path));
    EXPECT_EQ(controller.xmlDoc(), held);
}

TEST_F(NativeDocument, AreOfferedForOpeningWhileTheHostRuns) {
    EXPECT_FALSE(QVFCPProjectLoader().canOpen());
    const std::string a = openProject("a.fcp", threeReels);
    const std::string b = openProject("b.fcp", threeReels);
    const QVFCPProjectLoader loader;
    EXPECT_TRUE(loader.canOpen());
    Strings opened;
    const auto failures = loader.openProjects({1, 7, 0}, [&](const std::string& path) -> Outcome {
        opened.push_back(path);
        if (path == b) return Failure{FailureCode::inputUnreadable, "no", path, 0, 0, ""};
        return Done{};
    });
    EXPECT_EQ(opened, (Strings{a, b}));
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_EQ(failures[0].file, b);
}

}  // namespace
}  // namespace reelsweep::test
