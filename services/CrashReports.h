// crashReportFolders: where the system keeps the reports of programs that crashed.
#pragma once

#include "services/QVLocalPaths.h"

#include <string>
#include <vector>

namespace reelsweep {

/// The folders in the order in which they are searched, in the user's logs or the machine's. They
/// need not exist. Any thread.
inline std::vector<std::string> crashReportFolders(bool user) {
    const auto logs = QVLocalPaths::logDirectory(user);
    if (!logs) return {};
    return {*logs + "/CrashReporter", *logs + "/DiagnosticReports"};
}

}  // namespace reelsweep
