// FakeHost: an application that exists only as the ports see it, and writes down what it is asked.
#pragma once

#include "hosts/QVAppleEvents.h"
#include "platform/posix/SessionBusWorkspace.h"
#include "tests/support/ServiceTest.h"
#include "tests/timeline/LogCapture.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace reelsweep::test {

/// Thread rule: one thread.
struct FakeHost {
    FakeHost() {
        Platform::current().appleEvents = std::make_unique<Transport>(*this);
        Platform::current().workspace = std::make_unique<Applications>(*this);
        auto recording = std::make_unique<RecordingConsole>();
        console = recording.get();
        Platform::current().console = std::move(recording);
    }

    /// Since the last call: events with their time-outs and parameters, one a line.
    std::string takeEvents() {
        requests.clear();
        return std::exchange(events, {});
    }
    /// Since the last call: what was opened and which events were sent.
    std::string takeRequests() {
        events.clear();
        return std::exchange(requests, {});
    }
    std::string takeConsole() const { return console->take(); }

    bool running = true;
    bool throwing = false;
    std::size_t limit = 1000000;
    std::vector<std::string> openProjects;
    std::optional<AppleEventReply> reply;
    std::string events;
    std::string requests;
    RecordingConsole* console = nullptr;

private:
    class Transport final : public AppleEventTransport {
    public:
        explicit Transport(FakeHost& host) : host_(host) {}
        AppleEventReply send(const AppleEvent& event) override {
            if (host_.throwing) throw std::runtime_error("no transport");
            host_.requests += event.eventID + "\n";
            const auto seconds = event.timeout ? event.timeout->count() / 1000 : 0;
            host_.events += event.eventClass + " " + event.eventID + " " +
                            (event.timeout ? std::to_string(seconds) : "-") +
                            (event.launchTarget ? " launch\n" : " fixed\n");
            for (const auto& p : event.parameters)
                host_.events += p.keyword + " " + p.type + " " + p.data + "\n";
            if (host_.reply) return *host_.reply;
            if (event.eventID != "fcLP") return {0, "", {{"xmlD", "utf8", "<xmeml/>"}}};
            AppleEventDescriptor list{"fcOP", "list"};
            for (const std::string& path : host_.openProjects)
                list.items.push_back({"", "reco", "", {{"fcPf", "fsrf", path}}});
            return {0, "", {list}};
        }
        bool isAvailable() const override { return true; }
        std::size_t maximumBytes() const override { return host_.limit; }

    private:
        FakeHost& host_;
    };

    class Applications final : public SessionBusWorkspace {
    public:
        explicit Applications(FakeHost& host) : host_(host) {}
        std::vector<std::string> runningApplicationIdentifiers() const override {
            if (host_.throwing) throw std::runtime_error("no applications");
            return host_.running ? std::vector<std::string>{QVAppleEvents::finalCutProIdentifier}
                                 : std::vector<std::string>{};
        }
        std::optional<std::string> applicationPath(std::string_view) const override { return {}; }
        bool openFileWithIdentifier(const std::string& path, std::string_view,
                                    LaunchOption option) override {
            host_.requests +=
                option == LaunchOption::async ? "open async " : "open withoutActivation ";
            host_.requests += path + "\n";
            return true;
        }

    private:
        FakeHost& host_;
    };
};

}  // namespace reelsweep::test
