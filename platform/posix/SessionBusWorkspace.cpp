#include "platform/posix/SessionBusWorkspace.h"

#include "platform/ApplicationBundle.h"
#include "platform/Platform.h"
#include "platform/posix/DesktopTrash.h"
#include "platform/posix/SessionBus.h"
#include "platform/posix/SessionBusApplications.h"

#include <algorithm>
#include <array>
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

bool launch(const std::string& application, const std::vector<std::string>& arguments) {
    const auto program = ApplicationBundle::executablePath(application);
    if (!program) return false;
    LaunchRequest request;
    request.path = *program;
    request.arguments = arguments;
    return Platform::current().processLauncher->launch(request).child != nullptr;
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

std::optional<std::string> SessionBusWorkspace::runningExecutable(
    std::string_view identifier) const {
    return executableOnSessionBus(identifier);
}

bool SessionBusWorkspace::openFile(const std::string& path, const std::string& application) {
    return launch(application, {path});
}

bool SessionBusWorkspace::openFileWithIdentifier(const std::string& path,
                                                 std::string_view identifier, LaunchOption option) {
    if (openFileOverSessionBus(path, identifier, option)) return true;
    const auto application = applicationPath(identifier);
    return application && openFile(path, *application);
}

bool SessionBusWorkspace::openApplication(const std::string& application) {
    return launch(application, {});
}

bool SessionBusWorkspace::isFilePackage(const std::string& path) const {
    constexpr std::array<std::string_view, 8> packages{
        ".app", ".bundle", ".framework", ".kext", ".plugin", ".prefPane", ".fcpbundle", ".rtfd"};
    std::error_code error;
    fs::path folder(path);
    if (!folder.has_filename()) folder = folder.parent_path();
    if (!fs::is_directory(folder, error)) return false;
    return std::find(packages.begin(), packages.end(), folder.extension().string()) !=
               packages.end() ||
           fs::exists(folder / "Contents/Info.plist", error);
}

std::error_code SessionBusWorkspace::recycle(const std::string& path) {
    return moveToDesktopTrash(path, Platform::current().folders->homeDirectory());
}

std::error_code SessionBusWorkspace::recycleBy(const std::string& path, const TrashName& name,
                                               const Mover& move) {
    return moveToDesktopTrash(path, Platform::current().folders->homeDirectory(), name, move);
}

}  // namespace reelsweep
