// QVFCPProjectLoader: what stands behind the dialog that opens projects of Final Cut Pro.
//
// Owner: the dialog. Thread rule: the dialog's thread.
#pragma once

#include "base/Failure.h"

#include <cstddef>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace reelsweep {

class QVFCPProjectLoader {
public:
    /// Asks Final Cut Pro for its open projects, once. A stop ends the wait for the answer.
    explicit QVFCPProjectLoader(const std::stop_token& stop = {});

    /// Their paths, a row each. None when Final Cut Pro does not run.
    const std::vector<std::string>& projects() const { return projects_; }
    /// Whether there is anything to open.
    bool canOpen() const { return !projects_.empty(); }

    /// Opens the projects of the rows through the function, the lowest row first, and answers what
    /// failed. Rows that there are not are left out.
    std::vector<Failure> openProjects(
        std::vector<std::size_t> rows,
        const std::function<Outcome(const std::string& path)>& openDocument) const;

private:
    std::vector<std::string> projects_;
};

}  // namespace reelsweep
