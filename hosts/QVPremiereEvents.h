// QVPremiereEvents: commands to Premiere Pro, each a script that the ExtendScript Toolkit forwards.
//
// Class operations without state. Nothing is answered: what goes wrong before the toolkit runs is a
// line in the application log, and what Premiere Pro makes of a command shows in its results only.
// A path goes into the script as it stands; one with a single quote or a backslash breaks it.
// Thread rule: any thread; a command blocks it for half a minute and more.
#pragma once

#include <optional>
#include <string>

namespace reelsweep {

class QVPremiereEvents {
public:
    static void openProject(const std::string& path, bool shouldLaunch = true);
    /// Exports the open project as interchange XML; returns 5 seconds after the script ran, when
    /// Premiere Pro has begun to write.
    static void exportFCPXML(const std::string& path, bool shouldLaunch = true);
    static void openFCPXML(const std::string& path, bool shouldLaunch = true);

    /// Has Premiere Pro run one statement. With shouldLaunch it is started when it does not run.
    static void executeScript(const std::string& statement, bool shouldLaunch);
    /// Makes the file that each installed Premiere Pro wants for being scripted.
    static void createQeObject();
    /// The first two parts of the version that runs; nothing when none does or it cannot be read.
    static std::optional<std::string> runningPremiereVersion();

    /// The text of the script that has the version run the statement.
    static std::string scriptText(const std::string& statement, const std::string& version);
};

}  // namespace reelsweep
