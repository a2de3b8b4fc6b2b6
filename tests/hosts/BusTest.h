// BusTest: a session bus of a test's own, on which the demo host can be started.
#pragma once

#include "hosts/QVAppleEvents.h"
#include "platform/posix/SessionBusTransport.h"
#include "platform/posix/SessionBusWorkspace.h"
#include "tests/support/ServiceTest.h"
#include "tests/timeline/Alerts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <regex>
#include <string>

namespace reelsweep::test {

/// A message bus as a desktop session has it, in a process of its own. It starts the demo host when
/// something is sent to it.
class PrivateBus {
public:
    explicit PrivateBus(const std::string& hostFolder)
        : data_("XDG_DATA_HOME", (services_ / "data").c_str()),
          runtime_("XDG_RUNTIME_DIR", services_.path().c_str()) {
        writeFile(services_ / "data/dbus-1/services/com.apple.FinalCutPro.service",
                  "[D-BUS Service]\nName=com.apple.FinalCutPro\nExec=" REELSWEEP_DEMO_HOST " " +
                      hostFolder + "\n");
        LaunchRequest request;
        request.path = "/usr/bin/dbus-daemon";
        request.arguments = {"--session", "--nofork", "--nopidfile", "--print-address",
                             "--address=unix:path=" + services_ / "bus"};
        request.output = ChildStream::pipe;
        daemon_ = PosixProcessLauncher().launch(request).child;
        if (!daemon_) throw std::runtime_error("no dbus-daemon");
        std::string address;
        while (!address.ends_with('\n')) {
            const auto chunk = daemon_->readAvailable();
            if (!chunk) throw std::runtime_error("dbus-daemon ended");
            address += chunk->bytes;
        }
        address.pop_back();
        address_ =
            std::make_unique<EnvironmentVariable>("DBUS_SESSION_BUS_ADDRESS", address.c_str());
    }
    ~PrivateBus() { stop(); }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    void stop() {
        if (!daemon_) return;
        daemon_->stopReading();
        daemon_->terminate();
        daemon_->waitUntilExit();
        daemon_.reset();
    }

private:
    TemporaryFolder services_;
    EnvironmentVariable data_;
    EnvironmentVariable runtime_;
    std::shared_ptr<reelsweep::ChildProcess> daemon_;
    std::unique_ptr<EnvironmentVariable> address_;
};

/// The demo host, which starts when it is first sent something, and the folder of its projects.
class HostOnABus {
public:
    HostOnABus() {
        Platform::current().workspace = std::make_unique<SessionBusWorkspace>();
        setTimeout(std::chrono::seconds(60));
    }

    static void setTimeout(std::chrono::milliseconds timeout) {
        SessionBusTransport::Settings settings;
        settings.everyTimeout = [timeout] { return timeout; };
        Platform::current().appleEvents = std::make_unique<SessionBusTransport>(settings);
    }

    std::string project(const std::string& name) const { return folder / name; }
    /// Writes a project file and has the host open it, which starts the host.
    std::string openProject(const std::string& name, const std::string& contents) const {
        const std::string path = project(name);
        writeFile(path, contents);
        Platform::current().workspace->openFileWithIdentifier(
            path, QVAppleEvents::finalCutProIdentifier, LaunchOption::async);
        EXPECT_TRUE(pumpUntil(
            [&] { return QVAppleEvents::isFCPRunning() && QVAppleEvents::isProjectOpen(path); }));
        return path;
    }
    /// How the host is to misbehave; see demo/DemoHost.h.
    void setFaults(const std::string& lines) const { writeFile(folder / "faults", lines); }
    std::string openedItems() const { return contentsOf(folder / "opened-items"); }

    TemporaryFolder folder;
    PrivateBus bus{folder.path()};
};

/// A text without what differs from run to run.
inline std::string withoutUuids(const std::string& text) {
    return std::regex_replace(text, std::regex("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"),
                              "UUID");
}

class BusTest : public testing::Test, protected HostOnABus {
protected:
    BusTest() {
        auto recording = std::make_unique<RecordingConsole>();
        console = recording.get();
        Platform::current().console = std::move(recording);
        shownAlerts().clear();
    }

    std::string openProject(const std::string& name, const std::string& contents) const {
        std::string path = HostOnABus::openProject(name, contents);
        console->take();
        return path;
    }

    RecordingConsole* console = nullptr;
};

}  // namespace reelsweep::test
