#include "platform/ApplicationBundle.h"

#include "platform/PropertyList.h"

#include <filesystem>

namespace reelsweep {

namespace fs = std::filesystem;

std::optional<std::string> ApplicationBundle::infoValue(const std::string& bundlePath,
                                                        const std::string& key) {
    const auto info = readPropertyList(bundlePath + "/Contents/Info.plist");
    const PropertyList* const value = info ? info->find(key) : nullptr;
    const std::string* const text = value ? value->as<std::string>() : nullptr;
    return text ? std::optional(*text) : std::nullopt;
}

std::optional<std::string> ApplicationBundle::executablePath(const std::string& bundlePath) {
    std::error_code error;
    if (fs::is_regular_file(bundlePath, error)) return bundlePath;
    const fs::path bundle(bundlePath);
    const fs::path name =
        infoValue(bundlePath, "CFBundleExecutable").value_or(bundle.stem().string());
    const fs::path path = bundle / "Contents/MacOS" / name.filename();
    if (!fs::is_regular_file(path, error)) return {};
    return path.string();
}

}  // namespace reelsweep
