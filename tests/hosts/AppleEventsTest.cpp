// The events that Final Cut Pro is sent, to the letter, and what is made of its replies.
#include "tests/hosts/BusTest.h"
#include "tests/hosts/FakeHost.h"
#include "tests/timeline/Timeline.h"

#include <future>
#include <memory>

namespace reelsweep::test {
namespace {

using Strings = std::vector<std::string>;

class AppleEvents : public testing::Test {
protected:
    FakeHost host;
};

TEST_F(AppleEvents, HaveTheParametersOfTheSuiteInOrder) {
    const TemporaryFolder folder;
    const std::string path =
        std::filesystem::canonical(folder.path()).string() + "/My film\xC3\xA9.fcp";
    writeFile(path, "");
    host.openProjects = {path};
    const std::string url =
        std::filesystem::canonical(folder.path()).string() + "/My%20film%C3%A9.fcp";
    const std::string file = "fcpP fsrf " + path + "\n";
    const std::string listed = "KeyG fcLP - fixed\n";
    struct Row {
        std::function<void()> operation;
        std::string events;
    };
    const Row rows[] = {
        {[] { QVAppleEvents::listOfOpenFCPProjects(); }, listed},
        {[&] { QVAppleEvents::sendXMLToFCP("<a>\xC3\xA9\r\n</a>", path); },
         "KeyG iXML 600 fixed\n" + file + "xmlD utf8 <a>&#233;&#13;\n</a>\n"},
        {[&] { QVAppleEvents::sendXMLToFCP("<a/>", ""); }, "KeyG iXML 600 fixed\nxmlD utf8 <a/>\n"},
        {[&] { QVAppleEvents::getProjectXML(path); }, listed + "KeyG eXML - fixed\n" + file},
        {[&] { QVAppleEvents::getItemXMLData("U1", path, false); },
         listed + "KeyG gXML - fixed\n" + file + "fcIU utf8 U1\n"},
        {[&] { QVAppleEvents::getTOC(path); }, listed + "KeyG eTCX - fixed\n" + file},
        {[&] { QVAppleEvents::openItem("U1", path, true); },
         listed + "KeyG fcOI - launch\n" + file + "fcIU utf8 U1\n"},
        {[&] { QVAppleEvents::saveProject(path); },
         "KeyG sfcP - fixed\n" + file + "fcpU furl " + url + "\nfsOF bool \x01\n"},
        {[&] { QVAppleEvents::closeProject(path, true); }, "KeyG cfcP - fixed\n" + file +
                                                               "fcpU furl " + url + "\nfcCF long " +
                                                               std::string(4, '\0') + "\n"},
        {[&] { QVAppleEvents::closeProject(path, false); },
         "KeyG cfcP - fixed\n" + file + "fcpU furl " + url + "\nfcCF long " + std::string(3, '\0') +
             "\x01\n"},
        // Without a file there is no reference, and nothing else is put but what is imported.
        {[&] { QVAppleEvents::sendXMLToFCP("<a/>", folder / "absent.fcp"); },
         "KeyG iXML 600 fixed\nxmlD utf8 <a/>\n"},
        {[&] { QVAppleEvents::getItemXML("U1", folder / "absent.fcp", true); },
         listed + "KeyG gXML - launch\n"},
        {[&] { QVAppleEvents::saveProject(""); }, "KeyG sfcP - fixed\n"},
    };
    for (const Row& row : rows) {
        row.operation();
        EXPECT_EQ(host.takeEvents(), row.events);
    }
}

TEST_F(AppleEvents, LaunchOnlyWhenAllowedAndAskTwiceAfterALaunch) {
    const TemporaryFolder folder;
    const std::string path = folder / "film.fcp";
    writeFile(path, "");
    const std::string notRunning = "Error: Final Cut Pro is not running.\n";
    const std::string notOpen = "Error: project is not open.\n";
    const std::string open = "open async " + path + "\n";
    const std::string quietly = "open withoutActivation " + path + "\n";
    struct Row {
        bool running;
        std::function<void()> operation;
        std::string requests;  ///< what the workspace was asked, and the events' identifiers
        std::string console;
    };
    const Row rows[] = {
        {false, [] { QVAppleEvents::listOfOpenFCPProjects(); }, "", notRunning},
        {false, [&] { QVAppleEvents::getProjectXML(path); }, "", ""},
        {false, [&] { QVAppleEvents::getProjectXML(path, true); }, open + open + "eXML\n",
         notRunning},
        {false, [&] { QVAppleEvents::getTOC(path); }, "", ""},
        {false, [&] { QVAppleEvents::getTOC(path, true); }, open + quietly + "eTCX\n", notRunning},
        {false, [&] { QVAppleEvents::saveProject(path); }, "", notRunning},
        {false, [&] { QVAppleEvents::closeProject(path, true); }, "", notRunning},
        {true, [&] { QVAppleEvents::getItemXML("U1", path); }, "fcLP\n", notOpen},
        {true, [&] { QVAppleEvents::openItem("U1", path, false); }, "fcLP\n", notOpen},
        {true, [&] { QVAppleEvents::openItem("U1", path, true); }, "fcLP\n" + open + "fcOI\n", ""},
        {true, [&] { QVAppleEvents::getTOC(path); }, "fcLP\n", ""},
        {true, [&] { QVAppleEvents::getTOC(path, true); }, "fcLP\n" + quietly + "eTCX\n", ""},
        // Only what a request opened itself is closed again, and never by the text form for items.
        {true, [&] { QVAppleEvents::getProjectXML(path, true, true); },
         "fcLP\n" + open + "eXML\ncfcP\n", ""},
        {true, [&] { QVAppleEvents::getItemXMLData("U1", path, true, true); },
         "fcLP\n" + open + "gXML\ncfcP\n", ""},
        {true, [&] { QVAppleEvents::getItemXML("U1", path, true, true); },
         "fcLP\n" + open + "gXML\n", ""},
    };
    for (const Row& row : rows) {
        host.running = row.running;
        row.operation();
        EXPECT_EQ(host.takeRequests(), row.requests);
        EXPECT_EQ(host.takeConsole(), row.console);
    }
    host.running = true;
    host.openProjects = {path};
    QVAppleEvents::getProjectXMLData(path, true, true);
    EXPECT_EQ(host.takeRequests(), "fcLP\neXML\n");
}

TEST_F(AppleEvents, ListProjectsUpToTheFirstThatCannotBeRead) {
    const auto record = [](AppleEventDescriptor reference) {
        return AppleEventDescriptor{"", "reco", "", {std::move(reference)}};
    };
    const AppleEventDescriptor a = record({"fcPf", "fsrf", "/a.fcp"});
    const AppleEventDescriptor noURL = record({"fcPf", "fsrf", "a.fcp"});
    const AppleEventDescriptor noReference = record({"fcPf", "utf8", "/b.fcp"});
    struct Row {
        AppleEventParameters reply;
        Strings paths;
    };
    const Row rows[] = {
        {{{"fcOP", "list", "", {a, noURL, a, noReference, a}}}, {"/a.fcp", "/a.fcp"}},
        {{{"fcOP", "list", "", {a, {"", "list", "", a.items}, a}}}, {"/a.fcp"}},
        {{{"fcOP", "reco", "", {a}}}, {}},
        {{{"fcOP", "list"}}, {}},
        {{}, {}},
    };
    for (const Row& row : rows) {
        host.reply = AppleEventReply{0, "", row.reply};
        EXPECT_EQ(QVAppleEvents::listOfOpenFCPProjects(), row.paths);
    }
}

TEST_F(AppleEvents, SayWhatIsTooLarge) {
    const TemporaryFolder folder;
    const std::string path = folder / "film.fcp";
    writeFile(path, "");
    host.openProjects = {path};
    host.limit = 0;
    EXPECT_FALSE(QVAppleEvents::sendXMLToFCP("<a/>", path));
    EXPECT_FALSE(QVAppleEvents::sendXMLToFCP("<a/>", ""));
    EXPECT_FALSE(QVAppleEvents::getProjectXML(path));
    EXPECT_FALSE(QVAppleEvents::saveProject(path));
    host.limit = path.size();
    EXPECT_FALSE(QVAppleEvents::getItemXML(std::string(5000, 'U'), path));
    EXPECT_EQ(host.takeConsole(),
              "Error creating project FSRef: -50\nError adding XML data to event: -50\n"
              "Error adding project file to AppleEvent query\n"
              "Error adding source project file to AppleEvent query\n"
              "Error adding destination project file to AppleEvent query\n");
}

TEST_F(AppleEvents, LogWhatIsThrown) {
    host.throwing = true;
    const LogCapture log;
    EXPECT_FALSE(QVAppleEvents::listOfOpenFCPProjects());
    EXPECT_FALSE(QVAppleEvents::sendXMLToFCP("<a/>", ""));
    QVAppleEvents::closeProject("", true);
    std::string lines;
    for (const std::string& line : log.lines()) lines += line + "\n";
    for (const char* const method :
         {"+[QVAppleEvents listOfOpenFCPProjects]", "+[QVAppleEvents sendXMLToFCP:projectPath:]",
          "+[QVAppleEvents closeProject:saveChanges:]"})
        EXPECT_NE(lines.find(method), std::string::npos) << lines;
}

class HostFaults : public BusTest {};

TEST_F(HostFaults, AreFailuresWithMessages) {
    const std::string xml = projectXML({sequenceXML("V1: A[0,9)")});
    const std::string path = openProject("film.fcp", xml);
    struct Event {
        const char* identifier;
        std::function<bool()> works;
        bool fetches;
    };
    const Event events[] = {
        {"fcLP", [] { return !QVAppleEvents::listOfOpenFCPProjects()->empty(); }, false},
        {"eXML", [&] { return QVAppleEvents::getProjectXML(path).has_value(); }, true},
        {"gXML", [&] { return QVAppleEvents::getItemXML("1234", path).has_value(); }, true},
        {"eTCX", [&] { return QVAppleEvents::getTOC(path).has_value(); }, true},
        {"iXML", [&] { return QVAppleEvents::sendXMLToFCP("<xmeml/>", path); }, false},
        {"sfcP", [&] { return QVAppleEvents::saveProject(path); }, false},
        {"fcOI", [&] { return QVAppleEvents::openItem("1234", path, false), false; }, false},
        {"cfcP", [&] { return QVAppleEvents::closeProject(folder / "absent", true), false; },
         false},
    };
    struct Fault {
        const char* lines;
        const char* reason;
        const char* fetchMessage;  ///< in place of a reason; empty when fetching works all the same
    };
    const Fault faults[] = {
        {"refuse", "it refused (-10000)", nullptr},
        {"drop", "no answer within 0.300 seconds (-1712)", nullptr},
        {"slow 30", "no answer within 0.300 seconds (-1712)", nullptr},
        {"foreign", "the answer does not have the form ia(ssv) (-1702)", nullptr},
        {"mistyped", nullptr, "Error getting XML information\n"},
        {"empty", nullptr, "Error getting XML information\n"},
        {"binary", nullptr, "Error retrieving XML data\n"},
        {"nul", nullptr, ""},
        {"blank", nullptr, ""},
    };
    for (const Event& event : events) {
        for (const Fault& fault : faults) {
            SCOPED_TRACE(std::string(event.identifier) + " " + fault.lines);
            setTimeout(fault.reason ? std::chrono::milliseconds(300) : std::chrono::seconds(60));
            setFaults(std::string(event.identifier) + " " + fault.lines);
            if (!fault.reason && !event.fetches) continue;
            const bool worked = event.works();
            const std::string said = console->take();
            if (fault.fetchMessage) {
                EXPECT_EQ(said, fault.fetchMessage);
                EXPECT_EQ(worked, said.empty());
                continue;
            }
            EXPECT_FALSE(worked);
            std::string expected =
                "Apple event " + std::string(event.identifier) + ": " + fault.reason + "\n";
            if (std::string_view(event.identifier) == "iXML")
                expected += "Error sending AppleEvent: " +
                            expected.substr(expected.rfind('(') + 1,
                                            expected.rfind(')') - expected.rfind('(') - 1) +
                            "\n";
            else if (std::string_view(event.identifier) != "fcLP")
                expected += "Error sending AppleEvent\n";
            EXPECT_EQ(said, expected);
        }
    }
    setFaults("gXML nul");
    setTimeout(std::chrono::seconds(60));
    EXPECT_EQ(QVAppleEvents::getItemXML("1234", path)->back(), '\n');
}

TEST_F(HostFaults, IncludeAHostThatDiesInTheMiddle) {
    for (const char* const event :
         {"fcLP", "eXML", "gXML", "eTCX", "iXML", "fcOI", "sfcP", "cfcP"}) {
        SCOPED_TRACE(event);
        setFaults("");
        const std::string path = openProject("film.fcp", projectXML({sequenceXML("V1: A[0,9)")}));
        setFaults(std::string(event) + " die");
        const bool list = std::string_view(event) == "fcLP";
        EXPECT_TRUE(!list || QVAppleEvents::listOfOpenFCPProjects()->empty());
        if (!list) {
            const AppleEventReply reply = Platform::current().appleEvents->send(
                {QVAppleEvents::finalCutProIdentifier, "KeyG", event});
            EXPECT_EQ(reply.error, appleEventError::connectionInvalid);
            EXPECT_EQ(reply.reason, "it went away without an answer");
        }
        EXPECT_TRUE(pumpUntil([] { return !QVAppleEvents::isFCPRunning(); }));
    }
}

TEST_F(HostFaults, LeaveALaunchedHostReadyForTheEventThatFollows) {
    const std::string path = project("film.fcp");
    writeFile(path, projectXML({sequenceXML("V1: A[0,9)")}));
    EXPECT_FALSE(QVAppleEvents::isFCPRunning());
    EXPECT_TRUE(QVAppleEvents::getItemXML("1234", path, true));
    EXPECT_TRUE(QVAppleEvents::isFCPRunning());
    EXPECT_TRUE(QVAppleEvents::isProjectOpen(path));
    EXPECT_TRUE(Platform::current()
                    .workspace->runningExecutable(QVAppleEvents::finalCutProIdentifier)
                    ->ends_with("reelsweep-demo-host"));
}

/// Answers once the main thread has done something for it.
class NeedsMainThread final : public AppleEventTransport {
public:
    AppleEventReply send(const AppleEvent&) override {
        const auto done = std::make_shared<std::promise<void>>();
        auto future = done->get_future();
        Platform::current().mainThread->post([done] { done->set_value(); });
        AppleEventReply reply;
        reply.parameters = {{"fcOP", "list"}};
        if (future.wait_for(std::chrono::seconds(10)) != std::future_status::ready)
            reply.error = appleEventError::timeout;
        return reply;
    }
    bool isAvailable() const override { return true; }
    std::size_t maximumBytes() const override { return 1000; }
};

TEST_F(AppleEvents, TheMainThreadGoesOnWhileAReplyIsAwaited) {
    Platform::current().appleEvents = std::make_unique<NeedsMainThread>();
    ASSERT_TRUE(Platform::current().mainThread->isMainThread());
    EXPECT_TRUE(QVAppleEvents::openFCPProjects());
    EXPECT_TRUE(QVAppleEvents::sendXMLToFCP("<xmeml/>", ""));
    auto elsewhere =
        std::async(std::launch::async, [] { return QVAppleEvents::sendXMLToFCP("<xmeml/>", ""); });
    EXPECT_TRUE(pumpUntil(
        [&] { return elsewhere.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_TRUE(elsewhere.get());
}

}  // namespace
}  // namespace reelsweep::test
