#include "platform/posix/BuildBundle.h"

#include <filesystem>

namespace reelsweep {

std::optional<std::string> BuildBundle::identifier() const { return "com.quorvane.Reelsweep"; }

std::optional<std::string> BuildBundle::infoValue(std::string_view key) const {
    if (key == "CFBundleName") return "Reelsweep";
    if (key == "CFBundleIdentifier") return identifier();
    if (key == "CFBundleVersion" || key == "CFBundleShortVersionString") return REELSWEEP_VERSION;
    if (key == "QVSiteRoot") return REELSWEEP_SITE_ROOT;
    if (key == "QVQCCollectionSite") return REELSWEEP_QC_COLLECTION_SITE;
    if (key == "QVQCInformationSite") return REELSWEEP_QC_INFORMATION_SITE;
    return {};
}

std::optional<std::string> BuildBundle::executablePath() const {
    std::error_code error;
    const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return {};
    return path.string();
}

std::optional<std::string> BuildBundle::bundlePath() const {
    const auto executable = executablePath();
    if (!executable) return {};
    return std::filesystem::path(*executable).parent_path().string();
}

std::optional<std::string> BuildBundle::resourcePath(std::string_view name,
                                                     std::string_view type) const {
    const auto folder = bundlePath();
    if (!folder) return {};
    std::string path = *folder + "/" + std::string(name);
    if (!type.empty()) path += "." + std::string(type);
    std::error_code error;
    if (!std::filesystem::exists(path, error)) return {};
    return path;
}

}  // namespace reelsweep
