// QVTroubleshootingUtils: collects what helps to find out why something went wrong, and shows logs.
//
// Stateless. Nothing is thrown. What happened is told in alerts, which wait for the user, unless an
// operation is silent; the troubles of single files go to the system console.
// Thread rule: any thread; one gathering at a time.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

class QVTroubleshootingUtils {
public:
    using Names = std::vector<std::string>;
    using Paths = std::vector<std::string>;

    /// No name is false; else as for a list of the one name.
    static bool gatherLogsForAppWithName(const std::optional<std::string>& name);

    /// Makes an archive on the Desktop, named after the first program, of the logs, the crash
    /// reports and the preference files of the programs, the user's and the machine's, and of
    /// additional files. In the archive every file keeps its whole path. A file that cannot be read
    /// is left out, and named in the alert and on the console. True when the archive was made;
    /// false when there is nothing to gather. An archive that is there stays; the new one then gets
    /// the time in its name.
    static bool gatherLogsForAppsWithNames(const Names& names, bool silent = false,
                                           const Paths& additionalFiles = {});

    /// Opens the program's current log with the desktop's application for it. False when that was
    /// not possible; an alert says so when there is no log.
    static bool viewLogForApp(const std::string& name);
    /// The same for the log that is kept while the program runs as a task of another one.
    static bool viewTaskLogForApp(const std::string& name);
};

}  // namespace reelsweep
