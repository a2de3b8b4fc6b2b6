#include "services/QVTroubleshootingUtils.h"

#include "base/Text.h"
#include "services/ConsoleLog.h"
#include "services/CrashReports.h"
#include "services/FileSystem.h"
#include "services/QVAlert.h"
#include "services/QVFileManager.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <utility>

#include <sys/stat.h>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

void tell(bool silent, std::string_view messageText, std::string_view informativeText) {
    if (!silent) QVAlert::alertSheet(messageText, informativeText, WindowRef{});
}

/// The folder that files are gathered in. It stays when gathering is given up, as it is then.
class Gathering {
public:
    Gathering()
        : folder_(QVLocalPaths::stripTrailingSlash(QVLocalPaths::tempDirectory()) +
                  "/QV_App_Logs") {}

    const std::string& folder() const { return folder_; }
    std::size_t count() const { return count_; }

    bool start() const {
        if (const std::error_code error = filesystem::remove(folder_)) {
            consoleLog("Error removing existing folder: %@", error.message());
            return false;
        }
        std::error_code error;
        fs::create_directories(fs::path(folder_).parent_path(), error);
        // The temporary folder may be everybody's: nobody else reads the logs, and a folder that
        // somebody put there in between is not used.
        if (!error && ::mkdir(folder_.c_str(), 0700) != 0) error = {errno, std::generic_category()};
        if (error) consoleLog("Error creating temp folder: %@", error.message());
        return !error;
    }

    /// Copies what there is for the programs in the user's folders or in the machine's.
    bool gatherDomain(const std::vector<std::string>& names, bool user) {
        if (const auto library = QVLocalPaths::libraryDirectory(user))
            if (!gatherMatching(*library + "/Logs/Quorvane", names, "", ".log")) return false;
        for (const std::string& reports : crashReportFolders(user))
            if (!gatherMatching(reports, names, "_", ".crash")) return false;
        const auto preferences = QVLocalPaths::prefsDirectory(user);
        return !preferences || gatherPreferences(*preferences, names);
    }

    bool gatherAdditional(const std::string& path) {
        // A path that climbs must not lead out of the folder.
        std::error_code error;
        const fs::path source =
            QVLocalPaths::stripTrailingSlash(fs::absolute(path, error).lexically_normal().string());
        const std::string target = folder_ + source.parent_path().string();
        if (!error && !filesystem::itemExists(target) &&
            !QVFileManager::createDirectory(target, false))
            error = std::make_error_code(std::errc::not_a_directory);
        const std::string copy = target + "/" + source.filename().string();
        // What is there already came from the same place.
        if (!error && !filesystem::itemExists(copy)) error = filesystem::copy(path, copy);
        if (error) {
            consoleLog("Unable to copy file: %@", path + ": " + error.message());
            return false;
        }
        ++count_;
        return true;
    }

private:
    bool gatherMatching(const std::string& folder, const std::vector<std::string>& names,
                        std::string_view separator, std::string_view ending) {
        for (const std::string& item : filesystem::namesIn(folder)) {
            const bool wanted = std::any_of(names.begin(), names.end(), [&](const auto& name) {
                return item.starts_with(name) &&
                       std::string_view(item).substr(name.size()).starts_with(separator);
            });
            if (wanted && item.ends_with(ending) && !gather(folder, item)) return false;
        }
        return true;
    }

    bool gatherPreferences(const std::string& folder, const std::vector<std::string>& names) {
        for (std::string name : names) {
            std::erase(name, ' ');
            std::string lower = name;
            std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
                return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            });
            for (const std::string& spelling : {name, lower}) {
                const std::string item = "com.quorvane." + spelling + ".plist";
                if (!filesystem::itemExists(fs::path(folder) / item)) continue;
                if (!gather(folder, item)) return false;
                break;
            }
        }
        return true;
    }

    bool gather(const std::string& folder, const std::string& item) {
        std::string source = folder + "/" + item;
        const std::string target = folder_ + folder + "/" + item;
        if (filesystem::itemExists(target)) return true;
        std::error_code error;
        if (QVFileManager::isSymbolicLinkAtPath(source))
            if (const fs::path destination = fs::canonical(source, error); !error)
                source = destination.string();
        error.clear();
        fs::create_directories(folder_ + folder, error);
        if (!error) error = filesystem::copy(source, target);
        if (error) {
            consoleLog("Unable to copy log: %@", source + ": " + error.message());
            return false;
        }
        ++count_;
        return true;
    }

    const std::string folder_;
    std::size_t count_ = 0;
};

/// Where the archive goes: an earlier one stays.
std::optional<std::string> archiveFor(const std::string& name) {
    const auto desktop = QVLocalPaths::desktopDirectory();
    if (!desktop) return {};
    // Not every desktop has the folder; what is wrong with it shows when the archive is made.
    (void)QVFileManager::createDirectory(*desktop, false);
    const std::string path = *desktop + "/" + name + " Logs.zip";
    if (!filesystem::itemExists(path)) return path;
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, sizeof "20260131140509"> stamp{};
    (void)std::strftime(stamp.data(), stamp.size(), "%Y%m%d%H%M%S", &local);
    return formatText("%@_%@.zip", fs::path(path).replace_extension().string(), stamp.data());
}

bool viewLog(const std::string& fileName, std::string_view hint) {
    QVLog::finishWriting();
    const auto library = QVLocalPaths::libraryDirectory(true);
    const std::string path = library.value_or("") + "/Logs/Quorvane/" + fileName;
    if (!library || !QVFileManager::fileExistsAtPath(path)) {
        tell(false, "No log found", hint);
        return false;
    }
    return Platform::current().workspace->openFile(path);
}

}  // namespace

bool QVTroubleshootingUtils::gatherLogsForAppWithName(const std::optional<std::string>& name) {
    return name && gatherLogsForAppsWithNames({*name});
}

bool QVTroubleshootingUtils::gatherLogsForAppsWithNames(const Names& names, bool silent,
                                                        const Paths& additionalFiles) {
    if (names.empty()) return false;
    QVLog::finishWriting();
    Gathering gathering;
    if (!gathering.start()) return false;
    for (const bool user : {true, false})
        if (!gathering.gatherDomain(names, user)) return false;
    for (const std::string& path : additionalFiles)
        if (!gathering.gatherAdditional(path)) return false;
    if (gathering.count() == 0) {
        tell(silent, "No logs found", "There were no logs available to gather.");
        return false;
    }
    const auto archive = archiveFor(names.front());
    const bool made = archive && QVFileManager::compressFile(gathering.folder(), *archive);
    (void)filesystem::remove(gathering.folder());
    if (made)
        tell(silent, "Logs gathered successfully",
             "The gathered logs were placed on your desktop.");
    else
        tell(silent, "Logs could not be gathered", "Please check your file permissions.");
    return made;
}

bool QVTroubleshootingUtils::viewLogForApp(const std::string& name) {
    return viewLog(name + ".1.log", "You must perform a task before viewing the log.");
}

bool QVTroubleshootingUtils::viewTaskLogForApp(const std::string& name) {
    return viewLog(name + ".1.task.log",
                   "You must run the application as a task (e.g. through Jobkeeper) before viewing "
                   "a log.");
}

}  // namespace reelsweep
