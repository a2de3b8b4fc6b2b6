// QVSoftwareUpdate: finds the separate updater program and starts it, quietly when this program
// starts and in the foreground when the user asks.
//
// An updater inside this program's own bundle is run from a fresh copy in the temporary folder,
// since it may replace the bundle. Failures are logged and printed; none is raised.
// Owner: the caller. Thread rule: an object belongs to one thread; the class operations run on any.
#pragma once

#include <optional>
#include <string>
#include <thread>

namespace reelsweep {

class QVSoftwareUpdate {
public:
    /// The interface that holds this object is loaded.
    void awakeFromNib() { startup(); }
    /// Checks for updates on a thread of its own, unless the preference file that all programs of
    /// the family share turns that off. The end of this object waits until the updater is started.
    void startup();
    /// The user asks for a check. False when there is no updater to start.
    static bool manualUpdateCheck() { return launchSoftwareUpdate(); }

    /// Where the updater is to be run from; empty when there is none.
    static std::optional<std::string> updaterPath();
    /// Starts the updater as an application and returns. False, said in the log, when it cannot be.
    static bool launchSoftwareUpdate();
    /// Starts the updater so that it looks for a newer version of this program, and returns.
    static void automaticallyCheckForUpdates();

private:
    std::jthread check_;
};

}  // namespace reelsweep
