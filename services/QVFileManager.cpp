#include "services/QVFileManager.h"

#include "base/Format.h"
#include "base/Text.h"
#include "platform/Platform.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include <sys/stat.h>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;
using std::chrono::microseconds;

bool isLeftover(std::string_view name) { return name == ".DS_Store" || name == "Icon\r"; }

std::vector<std::string> componentsOf(const std::string& path) {
    std::vector<std::string> components;
    for (const fs::path& component : fs::path(path))
        if (!component.empty()) components.push_back(component.string());
    return components;
}

std::string joined(const std::string& folder, const std::string& name) {
    return folder.ends_with('/') ? folder + name : folder + "/" + name;
}

/// "*" stands for any run of characters, "?" for one; all others, brackets too, for themselves.
bool isLike(std::string_view text, std::string_view pattern) {
    constexpr std::size_t none = std::string_view::npos;
    std::size_t at = 0;
    std::size_t p = 0;
    std::size_t star = none;  // the last "*", which takes one more byte when what follows fails
    std::size_t starEnd = 0;
    while (at < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            starEnd = at;
        } else if (p < pattern.size() && pattern[p] == '?' && !continuesCharacter(text[at])) {
            ++p;
            for (++at; at < text.size() && continuesCharacter(text[at]);) ++at;
        } else if (p < pattern.size() && pattern[p] == text[at]) {
            ++p;
            ++at;
        } else if (star != none) {
            p = star + 1;
            at = ++starEnd;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == none;
}

/// True when the file was changed less than 5 seconds ago; a file without a date counts as changed
/// now only where that ends by itself.
bool isFresh(const std::string& path, bool withoutDate) {
    const auto changed = filesystem::modificationDate(path);
    if (!changed) return withoutDate;
    // A clock that ran ahead gives dates that would take years to come.
    const auto age = std::chrono::system_clock::now() - *changed;
    return age < std::chrono::seconds(5) && age > std::chrono::seconds(-5);
}

}  // namespace

bool QVFileManager::fileExistsAtPath(const Path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0;
}

bool QVFileManager::isDirectoryAtPath(const Path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool QVFileManager::isPackageAtPath(const Path& path) {
    return Platform::current().workspace->isFilePackage(path);
}

bool QVFileManager::isSymbolicLinkAtPath(const Path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool QVFileManager::isDriveMountedForPath(const Path& path) {
    if (!path.starts_with("/Volumes/")) return true;
    const auto components = componentsOf(path);
    if (components.size() < 3) return true;
    return fileExistsAtPath("/Volumes/" + components[2]);
}

bool QVFileManager::isVolumeMountedForPath(const Path& path) {
    return isDriveMountedForPath(path) && volumeMountPointForPath(path);
}

std::optional<QVFileManager::Path> QVFileManager::volumeMountPointForPath(const Path& path) {
    const auto volume = filesystem::volumeOf(path);
    if (!volume) return {};
    return volume->mountPoint;
}

std::optional<QVFileManager::Date> QVFileManager::modificationDateForFile(const Path& path) {
    return filesystem::modificationDate(path);
}

std::optional<QVFileManager::Date> QVFileManager::creationDateForFile(const Path& path) {
    return filesystem::creationDate(path);
}

std::optional<std::uint64_t> QVFileManager::fileSize(const Path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return {};
    return static_cast<std::uint64_t>(status.st_size);
}

bool QVFileManager::isFolderEmpty(const Path& path) {
    if (!isDirectoryAtPath(path)) return false;
    const auto names = filesystem::namesIn(path);
    return std::all_of(names.begin(), names.end(), isLeftover);
}

QVFileManager::Path QVFileManager::uniqueFilename(const Path& path) {
    if (!filesystem::itemExists(path)) return path;
    const Path given = QVLocalPaths::stripTrailingSlash(path);
    const std::string extension = fs::path(given).extension().string();
    const std::string stem = given.substr(0, given.size() - extension.size());
    for (long number = 2;; ++number) {
        std::string candidate = formatText("%@ %li%@", stem, number, extension);
        if (!filesystem::itemExists(candidate)) return candidate;
    }
}

std::string QVFileManager::validateFilename(std::string_view name, bool includeSlashes) {
    if (name.starts_with('.')) name.remove_prefix(1);
    std::string result(trimmed(name));
    if (includeSlashes) std::erase(result, '/');
    std::erase(result, ':');
    return result;
}

QVFileManager::Paths QVFileManager::filesMatchingWildcardPath(const Path& pattern,
                                                              const std::optional<Path>& basePath,
                                                              bool /*searchSubdirs*/) {
    if (pattern.find('*') == std::string::npos)
        return {basePath ? joined(*basePath, pattern) : pattern};
    const std::string base = basePath.value_or("/");
    Paths candidates{base};
    for (const std::string& component : componentsOf(pattern)) {
        if (component == "/") {
            candidates = {base};
            continue;
        }
        const bool isPattern = component.find('*') != std::string::npos;
        Paths next;
        for (const Path& folder : candidates) {
            const auto names =
                isPattern ? filesystem::namesIn(folder) : std::vector<std::string>{component};
            for (const std::string& name : names)
                if ((!isPattern || isLike(name, component)) &&
                    fileExistsAtPath(joined(folder, name)))
                    next.push_back(joined(folder, name));
        }
        candidates = std::move(next);
    }
    return candidates;
}

std::string QVFileManager::formatFileSize(double bytes) {
    constexpr double unit = 1024;
    if (bytes < unit) return formatText("%0.0f B", bytes);
    for (const char* const format : {"%0.2f KB", "%0.2f MB", "%0.2f GB"}) {
        bytes /= unit;
        if (bytes < unit) return formatText(format, bytes);
    }
    return formatText("%0.2f TB", bytes / unit);
}

std::optional<QVFileManager::Path> QVFileManager::createDirectoryStructure(
    const Path& source, const Path& destination) {
    const bool isFolder = isDirectoryAtPath(source) && !isPackageAtPath(source);
    const Path part = isFolder ? source : fs::path(source).parent_path().string();
    const Path folder = joined(destination, fs::path(part).relative_path().string());
    if (!isDirectoryAtPath(folder) && !createDirectory(folder)) return {};
    return folder;
}

void QVFileManager::waitForFileCreation(const Path& path, double timeout) {
    // Checks once; whoever must wait for longer calls again.
    if (fileSize(path).value_or(0) > 0 || timeout <= 0) return;
    QVLog::appendLog("File %@ is not yet created. Waiting...", path);
    std::this_thread::sleep_for(microseconds(500));
}

void QVFileManager::waitForFileWrites(const Path& path, const std::optional<Path>& lockFile) {
    if (!isFresh(path, true) && !(lockFile && fileExistsAtPath(*lockFile))) return;
    QVLog::appendLog("File %@ is currently being written to. Waiting...", path);
    // The lock file only brings the messages; and a file that never comes would never grow old.
    while (isFresh(path, false)) std::this_thread::sleep_for(microseconds(500));
    QVLog::appendLog("File %@ finished writing.", path);
}

std::optional<std::string> QVFileManager::stringToFSRef(const Path& path) {
    std::error_code error;
    const fs::path resolved = fs::canonical(path, error);
    if (error) return {};
    return resolved.string();
}

std::optional<QVFileManager::Path> QVFileManager::stringWithFSRef(const std::string& reference) {
    if (!filesystem::itemExists(reference)) return {};
    return reference;
}

}  // namespace reelsweep
