#include "hosts/QVPremiere.h"

#include "platform/ApplicationBundle.h"
#include "platform/Platform.h"
#include "services/QVFileManager.h"
#include "services/QVLocalPaths.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLDocument.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;
using Versions = QVPremiere::Versions;

constexpr const char* premierePrefix = "Adobe Premiere ";

bool startsWithAnyCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
}

// What lies in a folder under a name with the prefix, sorted.
std::vector<fs::path> entriesWithPrefix(const std::string& folder, std::string_view prefix) {
    std::vector<fs::path> entries;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
        if (startsWithAnyCase(entry->path().filename().string(), prefix))
            entries.push_back(entry->path());
    std::sort(entries.begin(), entries.end());
    return entries;
}

// The version that an application's folder states in its configuration file.
struct Configuration {
    bool exists = false;
    std::optional<std::string> version;
};

Configuration configurationOf(const fs::path& applicationFolder) {
    const std::string path = applicationFolder / "Configuration/XManConfig.xml";
    std::error_code error;
    if (!fs::exists(path, error)) return {};
    const Result<XMLDocument> document = XMLDocument::load(path);
    if (!document) return {true, {}};
    return {true,
            QVXMLParser::stringValueForQuery(
                "./Configuration/VariableForExMan/Data[@key='ProductVersion']", document->node())};
}

template <class VersionsIn>
Versions fromBothPlaces(VersionsIn versionsIn) {
    Versions versions;
    if (const auto path = Platform::current().workspace->applicationPath(QVPremiere::identifier))
        versions = versionsIn(fs::path(*path).parent_path().parent_path().string());
    const auto applications = QVLocalPaths::applicationDirectory(false);
    if (!applications) return versions;
    for (std::string& version : versionsIn(*applications))
        if (std::find(versions.begin(), versions.end(), version) == versions.end())
            versions.push_back(std::move(version));
    return versions;
}

}  // namespace

Versions QVPremiere::premiereVersions() { return versionsForAppName(premierePrefix); }

Versions QVPremiere::versionsForAppName(const std::string& prefix) {
    return fromBothPlaces(
        [&](const std::string& folder) { return versionsForAppName(prefix, folder); });
}

Versions QVPremiere::versionsForAppName(const std::string& prefix, const std::string& folder) {
    Versions versions;
    for (const fs::path& applicationFolder : entriesWithPrefix(folder, prefix)) {
        const std::string bundle =
            applicationFolder / (applicationFolder.filename().string() + ".app");
        std::error_code error;
        auto version = fs::is_directory(bundle, error)
                           ? ApplicationBundle::infoValue(bundle, "CFBundleVersionString")
                           : configurationOf(applicationFolder).version;
        if (!version) version = ApplicationBundle::infoValue(bundle, "CFBundleVersion");
        if (version) versions.push_back(*version);
    }
    return versions;
}

Versions QVPremiere::suiteVersions() { return fromBothPlaces(suiteVersionsInFolder); }

Versions QVPremiere::suiteVersionsInFolder(const std::string& folder) {
    Versions versions;
    for (const fs::path& applicationFolder : entriesWithPrefix(folder, premierePrefix)) {
        if (const Configuration configuration = configurationOf(applicationFolder);
            configuration.exists) {
            if (configuration.version) versions.push_back(*configuration.version);
            continue;
        }
        const auto bundles = QVFileManager::filesMatchingWildcardPath(applicationFolder /
                                                                      "Adobe Premiere Pro *.app");
        if (bundles.empty()) continue;
        if (const auto version = ApplicationBundle::infoValue(bundles.front(), "CFBundleVersion"))
            versions.push_back(twoParts(*version));
    }
    return versions;
}

std::string QVPremiere::twoParts(const std::string& version) {
    const std::size_t first = version.find('.');
    return first == std::string::npos ? version : version.substr(0, version.find('.', first + 1));
}

std::string QVPremiere::suiteNumber(const std::string& version) {
    return version.ends_with(".0") ? version.substr(0, version.size() - 2) : version;
}

}  // namespace reelsweep
