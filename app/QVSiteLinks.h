// QVSiteLinks: the web addresses of the Help menu.
//
// All lie below one root, the program's information value "QVSiteRoot". Without a root there are no
// addresses. Class operations without state. Thread rule: any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace reelsweep {

class QVSiteLinks {
public:
    using URL = std::optional<std::string>;
    using Text = std::optional<std::string>;

    static URL quorvaneURL();
    static URL cutbenchURL();
    static URL supportURLForAppName(std::string_view appName);
    /// With the version of this program.
    static URL bugReportURLWithAppName(std::string_view appName, const Text& subapp);
    /// `subapp` and `version` are left out where they are absent.
    static URL bugReportURLWithAppName(std::string_view appName, const Text& subapp,
                                       const Text& version);
    static URL featureRequestURLWithAppName(std::string_view appName, const Text& subapp);
};

}  // namespace reelsweep
