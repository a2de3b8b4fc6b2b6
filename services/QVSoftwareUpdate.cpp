#include "services/QVSoftwareUpdate.h"

#include "platform/Platform.h"
#include "platform/PropertyList.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"
#include "services/QVTaskEx.h"

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view updaterName = "Quorvane Software Update.app";

bool checksAtStartup() {
    const auto folder = QVLocalPaths::prefsDirectory(true);
    if (!folder) return true;
    const auto preferences =
        readPropertyList(QVLocalPaths::ensureTrailingSlash(*folder) + "com.quorvane.global.plist");
    const PropertyList* const value = preferences ? preferences->find("SUCheckAtStartup") : nullptr;
    // Only a number says no; a text such as "NO" is not an answer.
    const bool isNumber =
        value && (value->as<bool>() || value->as<std::int64_t>() || value->as<double>());
    return !isNumber || value->boolValue();
}

fs::path bundlePath() { return Platform::current().bundle->bundlePath().value_or(""); }

/// A copy of the updater in the temporary folder, made of nothing that was there before.
std::optional<std::string> copyOf(const fs::path& updater) {
    const fs::path copy = fs::path(QVLocalPaths::tempDirectory()) / updaterName;
    std::error_code error;
    fs::remove_all(copy, error);
    // Others may write to the folder too. What they put there in between must not be run.
    if (!error && !fs::create_directory(copy, error) && !error)
        error = std::make_error_code(std::errc::file_exists);
    if (!error)
        fs::copy(updater, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks,
                 error);
    if (!error) return copy.string();
    QVLog::appendLogAndPrint("Error: unable to copy software updater to %@: %@", copy.string(),
                             error.message());
    return {};
}

/// The program inside an application; empty, said in the log, when there is none.
std::optional<std::string> executableOf(const std::string& application) {
    const auto information = readPropertyList(application + "/Contents/Info.plist");
    if (!information) {
        QVLog::appendLogAndPrint("Unable to launch Software Update - updater bundle not found.");
        return {};
    }
    const PropertyList* const name = information->find("CFBundleExecutable");
    const auto* text = name ? name->as<std::string>() : nullptr;
    const std::string path = application + "/Contents/MacOS/" + (text ? *text : "");
    std::error_code error;
    if (text && !text->empty() && fs::is_regular_file(path, error)) return path;
    QVLog::appendLogAndPrint("Unable to launch Software Update - executable path doesn't exist");
    return {};
}

std::optional<std::string> updaterToLaunch() {
    auto path = QVSoftwareUpdate::updaterPath();
    if (!path) QVLog::appendLogAndPrint("Unable to launch Software Update - path doesn't exist");
    return path;
}

}  // namespace

void QVSoftwareUpdate::startup() {
    if (checksAtStartup()) check_ = std::jthread([] { automaticallyCheckForUpdates(); });
}

std::optional<std::string> QVSoftwareUpdate::updaterPath() {
    std::error_code error;
    if (const auto folder = QVLocalPaths::applicationDirectory(false)) {
        const fs::path installed = fs::path(*folder) / "Quorvane" / updaterName;
        if (fs::exists(installed, error)) return installed.string();
    }
    for (const char* const inside : {"Contents/Resources", "Contents/MacOS"}) {
        const fs::path own = bundlePath() / inside / updaterName;
        if (fs::exists(own, error)) return copyOf(own);
    }
    QVLog::appendLogAndPrint("Error: unable to find software updater");
    return {};
}

bool QVSoftwareUpdate::launchSoftwareUpdate() {
    const auto path = updaterToLaunch();
    if (!path) return false;
    if (Platform::current().workspace->openApplication(*path)) return true;
    QVLog::appendLogAndPrint("Unable to launch Software Update - executable path doesn't exist");
    return false;
}

void QVSoftwareUpdate::automaticallyCheckForUpdates() {
    const auto path = updaterToLaunch();
    const auto executable = path ? executableOf(*path) : std::nullopt;
    if (executable) QVTaskEx::runTaskAndReturn(*executable, {"-checkpath", bundlePath().string()});
}

}  // namespace reelsweep
