// LogCapture: a fresh log, and what was written to it. Without one, tests log nothing.
#pragma once

#include "services/QVLog.h"
#include "tests/platform/TemporaryFolder.h"

#include <sstream>
#include <string>
#include <vector>

namespace reelsweep::test {

/// Thread rule: one at a time in a process.
class LogCapture {
public:
    LogCapture() {
        QVLog::sharedController().setLoggingDisabled(false);
        QVLog::createNewLog("reelsweep-test", true);
        header_ = allLines().size();
    }

    ~LogCapture() {
        QVLog::finishWriting();
        QVLog::sharedController().setLoggingDisabled(true);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The texts of the lines that were logged since.
    std::vector<std::string> lines() const {
        std::vector<std::string> lines = allLines();
        lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(header_));
        return lines;
    }

private:
    static std::vector<std::string> allLines() {
        QVLog::finishWriting();
        std::istringstream log(contentsOf(QVLog::availableLogs().at(0)));
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);)
            if (const auto date = line.find(" - "); date != std::string::npos)
                lines.push_back(line.substr(date + 3));
        return lines;
    }

    std::size_t header_ = 0;
};

}  // namespace reelsweep::test
