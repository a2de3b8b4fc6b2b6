#include "services/QVTroubleshootingUtils.h"

#include "base/Text.h"
#include "services/ConsoleLog.h"
#include "services/CrashReports.h"
#include "services/FileSystem.h"
#include "services/PrivateFolder.h"
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

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

void tell(bool silent, std::string_view messageText, std::string_view informativeText) {
    if (!silent) QVAlert::alertSheet(messageText, informativeText, WindowRef{});
}

/// The folder that files are gathered in. It goes with the object. What cannot be read is passed
/// over and noted.
class Gathering {
public:
    /// False, said on the console, when there is no folder to gather in.
    bool start() const {
        std::error_code error = place_.error();
        if (!error) fs::create_directory(folder_, error);
        if (error) consoleLog("Error creating temp folder: %@", error.message());
        return !error;
    }

    const std::string& folder() const { return folder_; }
    std::size_t count() const { return count_; }
    const std::vector<std::string>& left() const { return left_; }

    /// Copies what there is for the programs in the user's folders or in the machine's.
    void gatherDomain(const std::vector<std::string>& names, bool user) {
        if (const auto library = QVLocalPaths::libraryDirectory(user))
            gatherMatching(*library + "/Logs/Quorvane", names, "", ".log");
        for (const std::string& reports : crashReportFolders(user))
            gatherMatching(reports, names, "_", ".crash");
        if (const auto preferences = QVLocalPaths::prefsDirectory(user))
            gatherPreferences(*preferences, names);
    }

    void gatherAdditional(const std::string& path) {
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
        if (error)
            leave("Unable to copy file: %@", path, error);
        else
            ++count_;
    }

private:
    void leave(std::string_view message, const std::string& path, const std::error_code& error) {
        left_.push_back(path + ": " + error.message());
        consoleLog(message, left_.back());
    }

    void gatherMatching(const std::string& folder, const std::vector<std::string>& names,
                        std::string_view separator, std::string_view ending) {
        for (const std::string& item : filesystem::namesIn(folder)) {
            const bool wanted = std::any_of(names.begin(), names.end(), [&](const auto& name) {
                return item.starts_with(name) &&
                       std::string_view(item).substr(name.size()).starts_with(separator);
            });
            if (wanted && item.ends_with(ending)) gather(folder, item);
        }
    }

    void gatherPreferences(const std::string& folder, const std::vector<std::string>& names) {
        for (std::string name : names) {
            std::erase(name, ' ');
            std::string lower = name;
            std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
                return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            });
            for (const std::string& spelling : {name, lower}) {
                const std::string item = "com.quorvane." + spelling + ".plist";
                if (!filesystem::itemExists(fs::path(folder) / item)) continue;
                gather(folder, item);
                break;
            }
        }
    }

    void gather(const std::string& folder, const std::string& item) {
        std::string source = folder + "/" + item;
        const std::string target = folder_ + folder + "/" + item;
        if (filesystem::itemExists(target)) return;
        std::error_code error;
        if (QVFileManager::isSymbolicLinkAtPath(source))
            if (const fs::path destination = fs::canonical(source, error); !error)
                source = destination.string();
        error.clear();
        fs::create_directories(folder_ + folder, error);
        if (!error) error = filesystem::copy(source, target);
        if (error)
            leave("Unable to copy log: %@", source, error);
        else
            ++count_;
    }

    const PrivateFolder place_{"Quorvane"};
    const std::string folder_ = place_.path() + "/QV_App_Logs";
    std::size_t count_ = 0;
    std::vector<std::string> left_;
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
    const bool started = gathering.start();
    if (started) {
        for (const bool user : {true, false}) gathering.gatherDomain(names, user);
        for (const std::string& path : additionalFiles) gathering.gatherAdditional(path);
    }
    if (started && gathering.count() == 0 && gathering.left().empty()) {
        tell(silent, "No logs found", "There were no logs available to gather.");
        return false;
    }
    const auto archive = gathering.count() > 0 ? archiveFor(names.front()) : std::nullopt;
    const bool made = archive && QVFileManager::compressFile(gathering.folder(), *archive);
    std::string left;
    for (const std::string& item : gathering.left()) left += "\n" + item;
    if (!left.empty()) left.insert(0, "\n\nThese files could not be read and were left out:");
    if (made)
        tell(silent, "Logs gathered successfully",
             "The gathered logs were placed on your desktop." + left);
    else
        tell(silent, "Logs could not be gathered", "Please check your file permissions." + left);
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
