// StandardFolders: where the system keeps things, and whose process this is.
//
// Owner: Platform. Thread rule: any thread, as long as nobody changes the environment meanwhile.
#pragma once

#include <optional>
#include <string>

namespace reelsweep {

enum class StandardDirectory {
    applications,
    adminApplications,
    documents,
    library,
    caches,
    applicationSupport,
    movies,
    desktop,
    documentation,
};

enum class FolderDomain {
    user,    ///< the user's home folder
    local,   ///< this machine, for all its users
    system,  ///< what came with the system
};

class StandardFolders {
public:
    virtual ~StandardFolders() = default;

    /// The absolute path of the folder, which need not exist; empty when the domain has no such
    /// folder or the user has no home.
    virtual std::optional<std::string> path(StandardDirectory directory,
                                            FolderDomain domain) const = 0;

    /// The home folder of the current user, without a trailing slash; empty when unknown.
    virtual std::string homeDirectory() const = 0;
    /// The folder for the process's temporary files.
    virtual std::string temporaryDirectory() const = 0;
    /// The user's login name; empty when unknown.
    virtual std::string userName() const = 0;
    /// The user identifier that the process acts as; 0 is root.
    virtual unsigned userIdentifier() const = 0;
};

}  // namespace reelsweep
