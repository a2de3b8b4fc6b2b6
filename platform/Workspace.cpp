#include "platform/Workspace.h"

#include "platform/Platform.h"
#include "platform/PropertyList.h"
#include "platform/posix/DesktopTrash.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

/// The program of an application; empty when there is none.
fs::path programOf(const fs::path& application) {
    std::error_code error;
    if (fs::is_regular_file(application, error)) return application;
    fs::path program = application.stem();
    if (const auto info = readPropertyList((application / "Contents/Info.plist").string()))
        if (const PropertyList* const name = info->find("CFBundleExecutable"))
            if (const auto* text = name->as<std::string>()) program = *text;
    program = application / "Contents/MacOS" / program.filename();
    return fs::is_regular_file(program, error) ? program : fs::path();
}

}  // namespace

bool Workspace::openFile(const std::string&) { return false; }

bool Workspace::openFile(const std::string& path, const std::string& application) {
    LaunchRequest request;
    request.path = programOf(application).string();
    request.arguments = {path};
    if (request.path.empty()) return false;
    return Platform::current().processLauncher->launch(request).child != nullptr;
}

bool Workspace::openFileWithIdentifier(const std::string& path, std::string_view identifier) {
    const auto application = applicationPath(identifier);
    return application && openFile(path, *application);
}

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
