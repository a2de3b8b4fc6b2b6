// Events over a real bus, and what may not come in over it.
#include "platform/posix/AppleEventWire.h"
#include "platform/posix/SessionBus.h"
#include "tests/hosts/BusTest.h"
#include "tests/timeline/Timeline.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <future>

namespace reelsweep::test {
namespace {

const AppleEvent listEvent{QVAppleEvents::finalCutProIdentifier, "KeyG", "fcLP"};

class Transport : public BusTest {};

TEST_F(Transport, SaysThatNobodyIsThere) {
    SessionBusTransport transport;
    EXPECT_TRUE(transport.isAvailable());
    EXPECT_EQ(transport.send(listEvent).error, appleEventError::notRunning);
    EXPECT_FALSE(QVAppleEvents::isFCPRunning());
    AppleEvent launching = listEvent;
    launching.target = "com.quorvane.Nobody";
    launching.launchTarget = true;
    EXPECT_EQ(transport.send(launching).reason, "it does not run");
    launching.target = "not a name";
    EXPECT_EQ(transport.send(launching).error, appleEventError::paramError);

    bus.stop();
    EXPECT_FALSE(transport.isAvailable());
    EXPECT_EQ(transport.send(listEvent).reason, "there is no session bus");
    EXPECT_FALSE(QVAppleEvents::isFCPRunning());
    EXPECT_FALSE(Platform::current().workspace->openFileWithIdentifier(
        "/film.fcp", QVAppleEvents::finalCutProIdentifier, LaunchOption::async));
    EXPECT_FALSE(QVAppleEvents::sendXMLToFCP("<xmeml/>", ""));
    EXPECT_EQ(console->take(), "Error creating AEDescription: -609\n");
}

TEST_F(Transport, CarriesMuchDataUpToItsLimit) {
    std::string xml = projectXML({sequenceXML("V1: A[0,9)")});
    const std::string path = openProject("film.fcp", xml);
    const std::size_t bytes = std::size_t{6} << 20;
    std::string large = "<xmeml version=\"5\"><bin><name>";
    large.resize(bytes, 'n');
    large += "</name></bin></xmeml>";
    ASSERT_TRUE(QVAppleEvents::sendXMLToFCP(large, path));
    const auto all = QVAppleEvents::getProjectXML(path);
    ASSERT_TRUE(all);
    const std::size_t name = large.find("<name>");
    EXPECT_NE(all->find(large.substr(name, large.find("</bin>") - name)), std::string::npos);

    SessionBusTransport::Settings settings;
    settings.maximumBytes = bytes;
    AppleEvent fetch{listEvent.target, "KeyG", "eXML", {{"fcpP", "fsrf", path}}};
    const AppleEventReply reply = SessionBusTransport(settings).send(fetch);
    EXPECT_EQ(reply.error, appleEventError::corruptData);
    EXPECT_EQ(reply.reason, "the answer is larger than the limit");
    EXPECT_TRUE(reply.parameters.empty() || reply.parameters[0].data.empty());
}

TEST_F(Transport, WaitsNoLongerThanSomebodyWants) {
    openProject("film.fcp", projectXML({sequenceXML("V1: A[0,9)")}));
    setFaults("fcLP drop");
    SessionBusTransport::Settings settings;
    settings.everyTimeout = [] { return std::chrono::milliseconds(50); };
    EXPECT_EQ(SessionBusTransport(settings).send(listEvent).error, appleEventError::timeout);

    std::stop_source stop;
    AppleEvent event = listEvent;
    event.stop = stop.get_token();
    const auto asked = std::chrono::steady_clock::now();
    auto reply = std::async(std::launch::async, [&] { return SessionBusTransport().send(event); });
    stop.request_stop();
    EXPECT_EQ(reply.get().error, appleEventError::userCancelled);
    EXPECT_EQ(SessionBusTransport().send(event).error, appleEventError::userCancelled);
    EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(30));
}

TEST_F(Transport, TakesOnlyWhatKeepsTheRules) {
    const SessionBus session;
    ASSERT_TRUE(session);
    const auto deep = [](int levels) {
        AppleEventDescriptor descriptor{"", "list"};
        for (int i = 1; i < levels; ++i) descriptor = {"", "list", "", {descriptor}};
        return AppleEventParameters{descriptor};
    };
    const AppleEventParameters everything = {
        {"fcOP", "list", "", {{"", "reco", "", {{"fcPf", "fsrf", "/a"}, {"none", "utf8", ""}}}}},
        {"xmlD", "utf8", std::string(inlineDataBytes + 1, 'x')}};
    struct Row {
        AppleEventParameters parameters;
        std::string problem;
    };
    const Row rows[] = {
        {{}, ""},
        {everything, ""},
        {deep(maximumDescriptorDepth - 1), ""},
        {deep(maximumDescriptorDepth), "nests too deeply"},
        {{{"xmlD", "text", ""}, {"xml", "utf8", ""}}, "holds a code that has not four characters"},
        {{{"xmlD", "utf\xC3\xA9", ""}}, "holds a code that has not four characters"},
        {{{"xmlD", "utf8", std::string(3000000, 'x')}}, "is larger than the limit"},
        {AppleEventParameters(100000, {"xmlD", "utf8", ""}), "is larger than the limit"},
    };
    const auto message = [&](const auto& append) {
        BusMessage made = session.methodCall("a.b", "/", "a.b", "C");
        EXPECT_GE(append(made.get()), 0);
        EXPECT_GE(sd_bus_message_seal(made.get(), 1, 0), 0);
        EXPECT_GE(sd_bus_message_rewind(made.get(), 1), 0);
        return made;
    };
    for (const Row& row : rows) {
        const BusMessage made =
            message([&](sd_bus_message* m) { return appendParameters(m, row.parameters); });
        AppleEventParameters read;
        EXPECT_EQ(readParameters(made.get(), 2000000, read), row.problem);
        if (!row.problem.empty()) continue;
        ASSERT_EQ(read.size(), row.parameters.size());
        for (std::size_t i = 0; i < read.size(); ++i)
            EXPECT_EQ(read[i].data, row.parameters[i].data);
    }

    const int unsealed = ::memfd_create("unsealed", MFD_CLOEXEC);
    const std::pair<BusMessage, const char*> foreign[] = {
        {message([](auto* m) {
             return sd_bus_message_append(m, "a(ssv)", 1, "xmlD", "utf8", "s", "x");
         }),
         "holds content of the type s"},
        {message([](auto* m) {
             return sd_bus_message_append(m, "a(ssv)", 1, "fcOP", "list", "ay", 0);
         }),
         "says list of content of another kind"},
        {message([](auto* m) {
             return sd_bus_message_append(m, "a(ssv)", 1, "xmlD", "utf8", "a(ssv)", 0);
         }),
         "says utf8 of content of another kind"},
        {message([](auto* m) { return sd_bus_message_append(m, "as", 1, "xmlD"); }),
         "does not have the form a(ssv)"},
        {message([&](auto* m) {
             return sd_bus_message_append(m, "a(ssv)", 1, "xmlD", "utf8", "h", unsealed);
         }),
         "hands over a file that is not a sealed memory file"},
    };
    for (const auto& [made, problem] : foreign) {
        AppleEventParameters read;
        EXPECT_EQ(readParameters(made.get(), 2000000, read), problem);
    }
    ::close(unsealed);
}

}  // namespace
}  // namespace reelsweep::test
