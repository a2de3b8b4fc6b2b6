#include "platform/posix/SessionBusWorkspace.h"

#include "platform/ApplicationBundle.h"
#include "platform/Platform.h"
#include "platform/posix/SessionBus.h"

#include <filesystem>

namespace reelsweep {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
        entries.push_back(entry->path());
    return entries;
}

std::optional<std::string> findBundle(const fs::path& folder, std::string_view identifier,
                                      bool lookBelow) {
    for (const fs::path& entry : entriesOf(folder)) {
        if (entry.extension() == ".app") {
            if (ApplicationBundle::infoValue(entry, "CFBundleIdentifier") == identifier)
                return entry.string();
        } else if (lookBelow) {
            if (auto found = findBundle(entry, identifier, false)) return found;
        }
    }
    return {};
}

}  // namespace

std::vector<std::string> SessionBusWorkspace::runningApplicationIdentifiers() const {
    return SessionBus().ownedNames();
}

std::optional<std::string> SessionBusWorkspace::applicationPath(std::string_view identifier) const {
    for (const FolderDomain domain : {FolderDomain::user, FolderDomain::local}) {
        const auto folder =
            Platform::current().folders->path(StandardDirectory::applications, domain);
        // An application may stand in a folder of its own, or in that of its suite.
        if (folder)
            if (auto found = findBundle(*folder, identifier, true)) return found;
    }
    return {};
}

}  // namespace reelsweep
