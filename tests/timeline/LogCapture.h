// LogCapture: a fresh log, and what was written to it.
#pragma once

#include "support/QVLog.h"
#include "tests/platform/TemporaryFolder.h"

#include <sstream>
#include <string>
#include <vector>

namespace reelsweep::test {

/// Thread rule: one at a time in a process.
class LogCapture {
public:
    LogCapture() { QVLog::createNewLog("reelsweep-test", true); }

    /// The texts of the lines so far that start with one of the openings; no opening: of all lines.
    std::vector<std::string> lines(const std::vector<std::string>& openings = {}) const {
        QVLog::finishWriting();
        std::istringstream log(contentsOf(QVLog::availableLogs().at(0)));
        std::vector<std::string> found;
        for (std::string line; std::getline(log, line);) {
            const std::size_t text = line.find(" - ");
            if (text == std::string::npos) continue;
            line.erase(0, text + 3);
            bool wanted = openings.empty();
            for (const std::string& opening : openings)
                wanted = wanted || line.starts_with(opening);
            if (wanted) found.push_back(line);
        }
        return found;
    }
};

}  // namespace reelsweep::test
