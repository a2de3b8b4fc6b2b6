#include "hosts/QVFCPProjectLoader.h"

#include "hosts/QVAppleEvents.h"

#include <algorithm>
#include <utility>

namespace reelsweep {

QVFCPProjectLoader::QVFCPProjectLoader(const std::stop_token& stop) {
    const QVAppleEvents::Stoppable stoppable(stop);
    if (auto projects = QVAppleEvents::listOfOpenFCPProjects()) projects_ = std::move(*projects);
}

std::vector<Failure> QVFCPProjectLoader::openProjects(
    std::vector<std::size_t> rows,
    const std::function<Outcome(const std::string& path)>& openDocument) const {
    std::sort(rows.begin(), rows.end());
    std::vector<Failure> failures;
    for (const std::size_t row : rows) {
        if (row >= projects_.size()) continue;
        if (const Outcome opened = openDocument(projects_[row]); !opened)
            failures.push_back(opened.failure());
    }
    return failures;
}

}  // namespace reelsweep
