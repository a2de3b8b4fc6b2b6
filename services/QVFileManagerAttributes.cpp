// The operations of QVFileManager on the attributes of items and volumes.
#include "base/FinderInfo.h"
#include "base/Format.h"
#include "services/ConsoleLog.h"
#include "services/QVFileManager.h"
#include "services/QVLog.h"
#include "services/QVTaskEx.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include <sys/stat.h>

namespace reelsweep {

namespace {

bool setLock(const std::string& path, bool locked) {
    const std::error_code error = filesystem::setImmutable(path, locked);
    if (!error) return true;
    // Locking says "unlock" too: support has learned to search the logs for these words.
    QVLog::appendLog("Unable to unlock file %@: %@", path, error.message());
    return false;
}

bool setLocks(const std::string& folder, bool locked) {
    bool all = true;
    for (const std::string& name : filesystem::namesIn(folder))
        all &= setLock((std::filesystem::path(folder) / name).string(), locked);
    return all;
}

/// Where the display settings of an item have its label: three bits of the flags.
constexpr std::size_t finderFlagsOffset = 9;
constexpr int colorShift = 1;
constexpr int colorMask = 7;

}  // namespace

bool QVFileManager::isFileLocked(const Path& path) {
    return filesystem::isImmutable(path).value_or(false);
}

bool QVFileManager::lockFile(const Path& path) { return setLock(path, true); }
bool QVFileManager::unlockFile(const Path& path) { return setLock(path, false); }
bool QVFileManager::lockFolder(const Path& folder) { return setLocks(folder, true); }
bool QVFileManager::unlockFolder(const Path& folder) { return setLocks(folder, false); }

bool QVFileManager::setPosixPermissions(unsigned permissions, const Path& file) {
    std::error_code error;
    std::filesystem::permissions(file, static_cast<std::filesystem::perms>(permissions & 07777),
                                 error);
    if (!error) return true;
    QVLog::appendLog("Error setting permissions for file %@: %@", file, error.message());
    return false;
}

bool QVFileManager::touchFile(const Path& path) {
    const std::string operand = path.starts_with('-') ? "./" + path : path;
    return QVTaskEx::terminationCodeFromTask("/usr/bin/touch", {operand}) == 0;
}

bool QVFileManager::touchFile(const Path& path, Date creationDate) {
    return touchFile(path) && filesystem::creationDate(path) == creationDate;
}

bool QVFileManager::setModificationDate(Date date, const Path& path) {
    return !filesystem::setModificationDate(path, date);
}

std::optional<std::string> QVFileManager::metadataValueForKey(const std::string& key,
                                                              const Path& file) {
    if (!fileExistsAtPath(file)) return {};
    if (!isMacFilesystemAtPath(file)) {
        QVLog::appendLog("Unable to get Finder metadata - this is not an Apple-formatted drive.");
        return {};
    }
    std::string value;
    if (const std::error_code error = filesystem::readAttribute(file, key, value)) {
        consoleLog("Error retrieving file attribute: %i", error.value());
        return {};
    }
    consoleLog("buffer val: %i", value.size());
    return value;
}

bool QVFileManager::setMetadataValue(const std::string& value, const std::string& key,
                                     const Path& file) {
    if (!fileExistsAtPath(file)) return false;
    if (!isMacFilesystemAtPath(file)) {
        QVLog::appendLog("Unable to set Finder metadata - this is not an Apple-formatted drive.");
        return false;
    }
    const std::error_code error = filesystem::writeAttribute(file, key, value);
    if (error) consoleLog("Error setting extended attribute for file %@ - %i", file, error.value());
    return !error;
}

void QVFileManager::setFinderProgress(double fraction, const Path& file) {
    if (!fileExistsAtPath(file)) return;
    if (!isMacFilesystemAtPath(file)) {
        QVLog::appendLogAndPrint(
            "Unable to set Finder progress - this is not an Apple-formatted drive.");
        return;
    }
    // The creation date, by which a Mac shows the progress at all, cannot be set from here.
    constexpr const char* attribute = "com.apple.progress.fractionCompleted";
    if (fraction >= 0)
        QVTaskEx::runTask("/usr/bin/xattr", {"-w", attribute, formatText("%0.3f", fraction), file});
    else
        QVTaskEx::runTask("/usr/bin/xattr", {"-d", attribute, file});
}

void QVFileManager::removeFinderProgressForFile(const Path& file) { setFinderProgress(-1, file); }

std::optional<PropertyList> QVFileManager::infoForDiskAtMountpoint(const Path& mountPoint) {
    const auto volume = filesystem::volumeOf(mountPoint);
    if (!volume) {
        QVLog::appendLog("Error converting diskutil output: %@", mountPoint);
        return {};
    }
    PropertyList::Dictionary info;
    info.try_emplace("MountPoint", volume->mountPoint);
    info.try_emplace("FilesystemType", volume->kind);
    info.try_emplace("DeviceNode", volume->device);
    return info;
}

std::optional<std::string> QVFileManager::filesystemForPath(const Path& path) {
    const auto volume = filesystem::volumeOf(path);
    if (!volume) return {};
    return volume->kind;
}

bool QVFileManager::isMacFilesystemAtPath(const Path& path) {
    const auto kind = filesystemForPath(path);
    return kind == "hfs+" || kind == "apfs";
}

int QVFileManager::finderColorIndexForPath(const Path& path) {
    const auto info = readFinderInfo(path);
    return info ? ((*info)[finderFlagsOffset] >> colorShift) & colorMask : 0;
}

bool QVFileManager::setFinderColorIndex(int index, const Path& path) {
    if (index < 0 || index > colorMask) return false;
    auto info = readFinderInfo(path).value_or(FinderInfoBytes{});
    const int others = info[finderFlagsOffset] & ~(colorMask << colorShift);
    info[finderFlagsOffset] = static_cast<unsigned char>(others | (index << colorShift));
    return writeFinderInfo(path, info);
}

std::optional<QVFileManager::Color> QVFileManager::finderColorForColorIndex(int index) {
    // No label, grey, green, purple, blue, yellow, red, orange.
    constexpr std::array<Color, 7> colors{Color{0.66, 0.66, 0.66}, Color{0.71, 0.84, 0.27},
                                          Color{0.75, 0.56, 0.85}, Color{0.35, 0.63, 1.0},
                                          Color{0.94, 0.86, 0.28}, Color{0.98, 0.39, 0.37},
                                          Color{0.96, 0.67, 0.28}};
    if (index < 1 || index > colorMask) return {};
    return colors[static_cast<std::size_t>(index - 1)];
}

std::optional<QVFileManager::Color> QVFileManager::finderColorForPath(const Path& path) {
    return finderColorForColorIndex(finderColorIndexForPath(path));
}

}  // namespace reelsweep
