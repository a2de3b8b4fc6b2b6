// FinalCutProHost: Final Cut Pro as the application that native projects are open in.
//
// Owner: the program. Thread rule: any thread; see EditingHost.
#pragma once

#include "documents/EditingHost.h"

namespace reelsweep {

class FinalCutProHost final : public EditingHost {
public:
    /// With `mayLaunch` Final Cut Pro may be started, and a project be opened in it, when that is
    /// needed.
    explicit FinalCutProHost(bool mayLaunch = true) : mayLaunch_(mayLaunch) {}
    void setMayLaunch(bool mayLaunch) { mayLaunch_ = mayLaunch; }

    std::optional<Listing> list(const std::string& project, const std::stop_token& stop) override;
    std::optional<std::string> fetch(const std::string& uuid, const std::string& project,
                                     const std::stop_token& stop) override;
    bool send(std::string_view xml, const std::string& project,
              const std::stop_token& stop) override;
    void open(const std::string& uuid, const std::string& project,
              const std::stop_token& stop) override;
    int xmemlVersion() override;

private:
    bool mayLaunch_;
};

/// The version of XMEML that the installed Final Cut Pro reads; the newest one where that cannot be
/// told.
int installedXMEMLVersion();

}  // namespace reelsweep
