#include "services/QVBugReporter.h"

#include "services/ConsoleLog.h"
#include "services/CrashReports.h"
#include "services/FamilyPreferences.h"
#include "services/FileSystem.h"
#include "services/QVLog.h"
#include "services/QVTaskEx.h"

#include <strings.h>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <vector>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;
using Date = PropertyList::Date;

std::optional<Date> recordedDate(const char* key, const QVBugReporter::Text& plistPath) {
    std::optional<PropertyList> value;
    if (!plistPath) {
        value = Platform::current().userDefaults->objectForKey(key);
    } else if (const auto record = readPropertyList(*plistPath)) {
        if (const PropertyList* const found = record->find(key)) value = *found;
    }
    const Date* const date = value ? value->as<Date>() : nullptr;
    return date ? std::optional(*date) : std::nullopt;
}

void recordNow(const char* key, const QVBugReporter::Text& plistPath) {
    const Date now = std::chrono::time_point_cast<Date::duration>(std::chrono::system_clock::now());
    std::error_code error;
    if (!plistPath) {
        error = Platform::current().userDefaults->setObject(key, now);
    } else {
        PropertyList::Dictionary record;
        error = dictionaryForChange(*plistPath, record);
        record.insert_or_assign(key, now);
        if (!error) error = writePropertyList(*plistPath, record);
        if (!error) QVBugReporter::chownPlist(*plistPath);
    }
    if (error) QVLog::appendLog("Unable to record the date of the %@: %@", key, error.message());
}

void forget(const char* key, const QVBugReporter::Text& plistPath) {
    if (!plistPath) {
        Platform::current().userDefaults->removeObject(key);
        return;
    }
    auto record = readPropertyList(*plistPath);
    if (!record || !record->as<PropertyList::Dictionary>()) return;
    record->as<PropertyList::Dictionary>()->erase(key);
    if (const std::error_code error = writePropertyList(*plistPath, *record))
        QVLog::appendLog("Unable to record the date of the %@: %@", key, error.message());
}

bool startsWithIgnoringCase(const std::string& text, const std::string& start) {
    return ::strncasecmp(text.c_str(), start.c_str(), start.size()) == 0;
}

/// The report that the system wrote after the launch; nothing when there is none.
std::optional<std::string> reportSince(Date launch, const std::string& name) {
    for (const bool user : {true, false})
        for (const std::string& folder : crashReportFolders(user)) {
            const auto names = filesystem::namesIn(folder);
            const auto last = std::find_if(
                names.rbegin(), names.rend(),
                [&](const std::string& item) { return startsWithIgnoringCase(item, name + "_"); });
            if (last == names.rend()) continue;
            const std::string report = folder + "/" + *last;
            const auto written = filesystem::modificationDate(report);
            if (written && *written > launch) return report;
        }
    return {};
}

/// Opens the report with the reporter that came with the program, else with an installed one.
void handOver(const std::string& report) {
    const Platform& platform = Platform::current();
    const Bundle& bundle = *platform.bundle;
    std::vector<std::optional<std::string>> reporters{bundle.resourcePath("Bug Reporter", "app")};
    if (const auto executable = bundle.executablePath())
        reporters.emplace_back(*executable + "/Bug Reporter.app");
    if (const auto folder = bundle.bundlePath())
        reporters.emplace_back(*folder + "/Contents/MacOS/Bug Reporter.app");
    for (const auto& reporter : reporters)
        if (reporter && filesystem::itemExists(*reporter)) {
            platform.workspace->openFile(report, *reporter);
            return;
        }
    platform.workspace->openFileWithIdentifier(report, "com.quorvane.BugReporter");
}

}  // namespace

void QVBugReporter::startBugReporter(const Text& name, const Text& plistPath,
                                     BugReporterDelegate* delegate) {
    const Text report = checkForCrashes(name, plistPath);
    if (report && delegate)
        Platform::current().mainThread->post(
            [delegate, report] { delegate->applicationDidCrashWithLog(*report); });
    recordNow("launch", plistPath);
    // Dates are kept to the second: the end of the last run must not pass for the end of this one.
    const auto launch = recordedDate("launch", plistPath);
    const auto exit = recordedDate("exit", plistPath);
    if (launch && exit && *exit >= *launch) forget("exit", plistPath);
}

void QVBugReporter::startBugReporterWithDelegate(BugReporterDelegate* delegate) {
    startBugReporter({}, {}, delegate);
}

void QVBugReporter::stopBugReporter(const Text& plistPath) { recordNow("exit", plistPath); }

QVBugReporter::Text QVBugReporter::checkForCrashes(const Text& name, const Text& plistPath) {
    const auto launch = recordedDate("launch", plistPath);
    if (!launch) return {};
    const auto exit = recordedDate("exit", plistPath);
    if (exit && *exit >= *launch) return {};
    const Text program = name ? name : Platform::current().bundle->infoValue("CFBundleName");
    const Text report = program ? reportSince(*launch, *program) : std::nullopt;
    if (!report) return {};
    QVLog::appendLog("Application crashed on last launch");
    if (familyPreferenceIsOne("disable-crash-reporter")) {
        consoleLog("Crash reporter disabled");
        QVLog::appendLog("Crash reporter disabled");
    } else {
        handOver(*report);
    }
    return report;
}

void QVBugReporter::chownPlist(const std::string& path) {
    const fs::path whole(path);
    std::vector<std::string> components;
    for (const fs::path& component : whole) components.push_back(component.string());
    auto users = std::find(components.begin(), components.end(), "Users");
    // Here the home folders are in /home.
    if (users == components.end() && components.size() > 1 && components[1] == "home")
        users = components.begin() + 1;
    if (users == components.end() || users + 1 == components.end() || (users + 1)->empty()) return;
    const char* const tool =
        filesystem::itemExists("/usr/sbin/chown") ? "/usr/sbin/chown" : "/bin/chown";
    // The link itself, should one stand there.
    QVTaskEx::runTask(tool, {"-h", *(users + 1), path}, 5.0);
}

}  // namespace reelsweep
