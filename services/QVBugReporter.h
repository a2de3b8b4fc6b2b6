// QVBugReporter: notices at the start of a program that its last run did not end as it should, and
// hands the system's report of the crash to the program that sends such reports.
//
// A launch record holds the dates of the last start ("launch") and of the last clean end ("exit"):
// in the program's user defaults, or in a property list at a path. A run that ends without
// stopBugReporter leaves the exit older than the launch, which the next start takes for a crash.
// Stateless. Nothing is thrown; failures are logged. Thread rule: any thread; a program calls start
// and stop once each.
#pragma once

#include <optional>
#include <string>

namespace reelsweep {

/// Whoever wants to hear of a crash of the last run.
class BugReporterDelegate {
public:
    virtual ~BugReporterDelegate() = default;
    /// The report is the path of a file. Main thread.
    virtual void applicationDidCrashWithLog(const std::string& report) = 0;
};

class QVBugReporter {
public:
    using Text = std::optional<std::string>;

    /// Checks for a crash of the last run (see checkForCrashes), tells the delegate of a report,
    /// without waiting, and records the launch. The delegate must live until the main thread has
    /// handled what is queued. A record that cannot be written is logged.
    static void startBugReporter(const Text& name = {}, const Text& plistPath = {},
                                 BugReporterDelegate* delegate = nullptr);
    static void startBugReporterWithDelegate(BugReporterDelegate* delegate);

    /// Records a clean exit.
    static void stopBugReporter(const Text& plistPath = {});

    /// The newest report of a crash of the last run, which is handed over to the reporter unless
    /// the preference file of the family has "disable-crash-reporter"; nothing when the last run
    /// ended cleanly, was the first one or left no report. Reports are those of the crash report
    /// folders whose names start with the name and an underscore, in upper or lower case; none
    /// given, the program's own.
    static Text checkForCrashes(const Text& name = {}, const Text& plistPath = {});

    /// Gives a file in somebody's home folder to that person: root may have written it.
    static void chownPlist(const std::string& path);
};

}  // namespace reelsweep
