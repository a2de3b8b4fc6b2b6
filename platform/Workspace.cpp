#include "platform/Workspace.h"

#include "platform/Platform.h"
#include "platform/posix/DesktopTrash.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace reelsweep {

bool Workspace::isFilePackage(const std::string& path) const {
    namespace fs = std::filesystem;
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
