#include "platform/posix/SessionBusWorkspace.h"

#include "platform/ApplicationBundle.h"
#include "platform/PercentEscapes.h"
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

SessionBusWorkspace::SessionBusWorkspace() = default;
SessionBusWorkspace::~SessionBusWorkspace() = default;

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

std::optional<std::string> SessionBusWorkspace::runningExecutable(
    std::string_view identifier) const {
    const pid_t process = SessionBus().ownerOf(identifier);
    if (process <= 0) return {};
    std::error_code error;
    const fs::path path = fs::read_symlink("/proc/" + std::to_string(process) + "/exe", error);
    return error ? std::nullopt : std::optional(path.string());
}

bool SessionBusWorkspace::openFileWithIdentifier(const std::string& path,
                                                 std::string_view identifier, LaunchOption option) {
    const std::lock_guard lock(mutex_);
    if (!launching_ || sd_bus_is_open(launching_->get()) <= 0)
        launching_ = std::make_unique<SessionBus>();
    if (!launching_->knows(identifier))
        return Workspace::openFileWithIdentifier(path, identifier, option);
    std::error_code error;
    const std::string uri = "file://" + percentEscapedPath(fs::absolute(path, error).string());
    const BusMessage request = launching_->methodCall(identifier, applicationObjectPath(identifier),
                                                      "org.freedesktop.Application", "Open");
    const int activate = option == LaunchOption::async ? 1 : 0;
    return request.get() &&
           sd_bus_message_append(request.get(), "asa{sv}", 1, uri.c_str(), 1, "activate", "b",
                                 activate) >= 0 &&
           sd_bus_message_set_expect_reply(request.get(), 0) >= 0 &&
           sd_bus_send(launching_->get(), request.get(), nullptr) >= 0 &&
           sd_bus_flush(launching_->get()) >= 0;
}

}  // namespace reelsweep
