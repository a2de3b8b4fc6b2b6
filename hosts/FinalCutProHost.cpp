#include "hosts/FinalCutProHost.h"

#include "documents/OutputBin.h"
#include "hosts/QVAppleEvents.h"

#include <stdexcept>

namespace reelsweep {

std::optional<EditingHost::Listing> FinalCutProHost::list(const std::string& project,
                                                          const std::stop_token& stop) {
    const QVAppleEvents::Stoppable stoppable(stop);
    const auto listing = QVAppleEvents::sequencesInProject(project, mayLaunch_);
    if (!listing) return {};
    // Before version 7 it lists whole sequences.
    const bool areShortForms = QVAppleEvents::finalCutProMajorVersion() > 6;
    return Listing{listing->document, listing->sequences, areShortForms};
}

std::optional<std::string> FinalCutProHost::fetch(const std::string& uuid,
                                                  const std::string& project,
                                                  const std::stop_token& stop) {
    const QVAppleEvents::Stoppable stoppable(stop);
    return QVAppleEvents::getItemXMLData(uuid, project, mayLaunch_);
}

bool FinalCutProHost::send(std::string_view xml, const std::string& project,
                           const std::stop_token& stop) {
    const QVAppleEvents::Stoppable stoppable(stop);
    return QVAppleEvents::sendXMLToFCP(xml, project);
}

void FinalCutProHost::open(const std::string& uuid, const std::string& project,
                           const std::stop_token& stop) {
    const QVAppleEvents::Stoppable stoppable(stop);
    QVAppleEvents::openItem(uuid, project, mayLaunch_);
}

int FinalCutProHost::xmemlVersion() { return QVAppleEvents::maximumXMEMLVersion(); }

int installedXMEMLVersion() {
    try {
        return QVAppleEvents::maximumXMEMLVersion();
    } catch (const std::out_of_range&) {
        return newestXMEMLVersion;
    }
}

}  // namespace reelsweep
