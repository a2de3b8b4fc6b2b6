#include "services/QVSoftwareUpdate.h"

#include "platform/ApplicationBundle.h"
#include "platform/Platform.h"
#include "platform/PropertyList.h"
#include "services/FileSystem.h"
#include "services/PrivateFolder.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"
#include "services/QVTaskEx.h"

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

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

constexpr std::string_view copyStart = "Quorvane Software Update";

/// True while a process runs out of the folder.
bool isInUse(const std::string& folder) {
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code none;
        const std::string program = fs::read_symlink(entry->path() / "exe", none).string();
        if (program.starts_with(folder + "/")) return true;
        // A process that ends meanwhile makes the read fail, which a stream keeps to itself.
        std::ostringstream line;
        line << std::ifstream(entry->path() / "cmdline", std::ios::binary).rdbuf();
        if (line.str().find(folder + "/") != std::string::npos) return true;
    }
    return false;
}

/// Removes the copies of earlier checks whose updater has ended. A young one may be about to start.
void removeOldCopies() {
    const fs::path temporary = QVLocalPaths::tempDirectory();
    for (const std::string& name : filesystem::namesIn(temporary.string())) {
        if (!name.starts_with(std::string(copyStart) + ".")) continue;
        const std::string folder = (temporary / name).string();
        struct stat status {};
        const bool own = ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
                         status.st_uid == ::geteuid();
        const bool old = std::time(nullptr) - status.st_mtim.tv_sec > 600;
        if (own && old && !isInUse(folder)) (void)filesystem::remove(folder);
    }
}

/// A copy of the updater in a folder of its own, which nobody else can touch. The updater may
/// outlive this program, so a later check removes it.
std::optional<std::string> copyOf(const fs::path& updater) {
    removeOldCopies();
    PrivateFolder folder{std::string(copyStart)};
    const fs::path copy = fs::path(folder.path()) / updaterName;
    std::error_code error = folder.error();
    if (!error)
        fs::copy(updater, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks,
                 error);
    if (error) {
        QVLog::appendLogAndPrint("Error: unable to copy software updater to %@: %@", copy.string(),
                                 error.message());
        return {};
    }
    folder.keep();
    return copy.string();
}

/// True when the item belongs to this user or to root and nobody else can change it.
bool isOwnAlone(const fs::path& item) {
    struct stat status {};
    if (::lstat(item.c_str(), &status) != 0) return false;
    if (status.st_uid != 0 && status.st_uid != ::geteuid()) return false;
    // In a folder like /tmp others add items, and change none that are not theirs.
    if (S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX)) return true;
    const bool ownGroup = status.st_gid == 0 || status.st_gid == ::getegid();
    return !(status.st_mode & S_IWOTH) && (ownGroup || !(status.st_mode & S_IWGRP));
}

/// The same of the program and every folder above it; else a line in the log.
bool mayStart(const std::string& program) {
    std::error_code error;
    fs::path item = fs::canonical(program, error);
    bool own = !error;
    for (; own && item != item.root_path(); item = item.parent_path()) own = isOwnAlone(item);
    if (!own)
        QVLog::appendLogAndPrint("Unable to launch Software Update - somebody else can change %@",
                                 program);
    return own;
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
    // A file beside others, not a path that leads elsewhere.
    const bool isName = text && !text->empty() && text->find('/') == std::string::npos;
    const std::string path = application + "/Contents/MacOS/" + (isName ? *text : "");
    std::error_code error;
    if (isName && fs::is_regular_file(path, error)) {
        if (mayStart(path)) return path;
        return {};
    }
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
    if (const auto program = ApplicationBundle::executablePath(*path);
        program && !mayStart(*program))
        return false;
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
