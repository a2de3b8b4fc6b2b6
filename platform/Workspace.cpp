#include "platform/Workspace.h"

#include "platform/ApplicationBundle.h"
#include "platform/Platform.h"
#include "platform/posix/DesktopTrash.h"
#include "platform/posix/SessionBusApplications.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

bool launch(const std::string& application, const std::vector<std::string>& arguments) {
    const auto program = ApplicationBundle::executablePath(application);
    if (!program) return false;
    LaunchRequest request;
    request.path = *program;
    request.arguments = arguments;
    return Platform::current().processLauncher->launch(request).child != nullptr;
}

}  // namespace

std::optional<std::string> Workspace::runningExecutable(std::string_view identifier) const {
    return executableOnSessionBus(identifier);
}

bool Workspace::openFile(const std::string&) { return false; }

bool Workspace::openFile(const std::string& path, const std::string& application) {
    return launch(application, {path});
}

bool Workspace::openFileWithIdentifier(const std::string& path, std::string_view identifier,
                                       LaunchOption option) {
    if (openFileOverSessionBus(path, identifier, option)) return true;
    const auto application = applicationPath(identifier);
    return application && openFile(path, *application);
}

bool Workspace::openApplication(const std::string& application) { return launch(application, {}); }

bool Workspace::isFilePackage(const std::string& path) const {
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

std::error_code Workspace::recycle(const std::string& path) {
    return moveToDesktopTrash(path, Platform::current().folders->homeDirectory());
}

}  // namespace reelsweep
