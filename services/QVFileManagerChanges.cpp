// The operations of QVFileManager that make, move, copy, trash and remove items.
#include "services/ConsoleLog.h"
#include "services/QVAuthorization.h"
#include "services/QVFileManager.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"
#include "services/QVTaskEx.h"
#include "services/WaitFor.h"

#include <strings.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

QVAuthorization& authorization() { return QVAuthorization::sharedController(); }

/// A locked item cannot be changed, and those who ask for a change mean it.
void clearLock(const std::string& path) {
    if (filesystem::itemExists(path) && filesystem::isImmutable(path).value_or(false))
        QVFileManager::unlockFile(path);
}

std::string nameOf(const std::string& path) {
    return fs::path(QVLocalPaths::stripTrailingSlash(path)).filename().string();
}

std::string inFolder(const std::string& folder, const std::string& name) {
    return QVLocalPaths::ensureTrailingSlash(folder) + name;
}

bool differOnlyInCase(const std::string& a, const std::string& b) {
    return ::strcasecmp(a.c_str(), b.c_str()) == 0;
}

/// A name that changes only its case is the same name to some volumes, so the item takes another in
/// between. It is back at its place when that did not work.
bool moveByWayOfAnotherName(const std::string& source, const std::string& destination) {
    const std::string between = QVFileManager::uniqueFilename(destination + " ");
    if (filesystem::move(source, between)) return false;
    if (!filesystem::move(between, destination)) return true;
    (void)filesystem::move(between, source);
    return false;
}

template <class Predicate>
bool trashItems(const std::string& folder, bool shouldAuth, Predicate wanted) {
    bool all = true;
    for (const std::string& name : filesystem::namesIn(folder))
        if (wanted(name)) all &= QVFileManager::trashFile(inFolder(folder, name), shouldAuth);
    return all;
}

}  // namespace

bool QVFileManager::createDirectory(const Path& path, bool shouldAuth) {
    if (!isDriveMountedForPath(path)) {
        consoleLog("Unable to create directory. Drive is not mounted.");
        return false;
    }
    std::error_code error;
    fs::create_directories(QVLocalPaths::stripTrailingSlash(path), error);
    if (!error) return true;
    QVLog::appendLog("Error creating folder: %@. Authorizing...", error.message());
    return shouldAuth && authorization().authCreateDir(path);
}

bool QVFileManager::createDirectory(const Path& path, double timeout) {
    return createDirectory(path) && waitFor([&] { return fileExistsAtPath(path); }, timeout);
}

bool QVFileManager::createEmptyFile(const Path& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return file >= 0 && ::close(file) == 0;
}

bool QVFileManager::moveFile(const Path& source, const Path& destination, bool shouldAuth) {
    if (!mayTouch(source, "Unable to move path %@ because it is a system directory.")) return false;
    clearLock(destination);
    clearLock(inFolder(destination, nameOf(source)));
    if (differOnlyInCase(source, destination) && moveByWayOfAnotherName(source, destination))
        return true;
    const std::error_code error = filesystem::move(source, destination);
    if (!error) return true;
    QVLog::appendLog("Error moving file from %@ to %@: %@.", source, destination, error.message());
    if (!shouldAuth) return false;
    QVLog::appendLog("Authorizing...");
    return authorization().authMoveFile(source, destination);
}

bool QVFileManager::moveFile(const Path& source, const Path& destination, double timeout) {
    if (!moveFile(source, destination)) return false;
    if (differOnlyInCase(source, destination)) {
        // The old name would still be found on a volume that does not tell the two apart.
        std::this_thread::sleep_for(std::chrono::microseconds(500));
        return true;
    }
    return waitFor([&] { return !filesystem::itemExists(source); }, timeout);
}

bool QVFileManager::copyFile(const std::optional<Path>& source,
                             const std::optional<Path>& destination, bool shouldAuth) {
    if (!source) {
        QVLog::appendLog("Error copying file: source path is nil");
        return false;
    }
    if (!destination) {
        QVLog::appendLog("Error copying file %@: destination path is nil", *source);
        return false;
    }
    const std::error_code error = filesystem::copy(*source, *destination);
    if (!error) return true;
    QVLog::appendLog("Error copying file: %@. Authorizing...", error.message());
    return shouldAuth && authorization().authCopyFile(source, destination);
}

bool QVFileManager::copyFile(const std::optional<Path>& source,
                             const std::optional<Path>& destination, double timeout) {
    return copyFile(source, destination) &&
           waitFor([&] { return filesystem::itemExists(*destination); }, timeout);
}

bool QVFileManager::copyContentsOfDirectory(const Path& source, const Path& destination,
                                            double timeout) {
    bool all = isDirectoryAtPath(source);
    for (const std::string& name : filesystem::namesIn(source))
        all &= copyFile(inFolder(source, name), inFolder(destination, name), timeout);
    return all;
}

bool QVFileManager::trashFile(const Path& path, bool shouldAuth) {
    if (!mayTouch(path, "Unable to trash path %@ because it is a system directory.")) return false;
    clearLock(path);
    if (!filesystem::itemExists(path)) return true;
    if (!Platform::current().workspace->recycle(path)) return true;
    return shouldAuth && authorization().authTrashFile(path);
}

bool QVFileManager::trashFile(const Path& path, double timeout) {
    return trashFile(path) && waitFor([&] { return !filesystem::itemExists(path); }, timeout);
}

bool QVFileManager::trashDirectoryContents(const Path& folder, bool shouldAuth) {
    return trashItems(folder, shouldAuth, [](const std::string&) { return true; });
}

bool QVFileManager::trashFilesOfType(std::string_view extension, const Path& folder) {
    const std::string ending = "." + std::string(extension);
    return trashItems(folder, true, [&](const std::string& name) {
        return fs::path(name).extension().string() == ending;
    });
}

bool QVFileManager::trashFilesNamed(std::string_view wanted, const Path& folder) {
    return trashItems(folder, true, [&](const std::string& name) { return name == wanted; });
}

bool QVFileManager::removeFile(const Path& path, bool shouldAuth) {
    if (!mayTouch(path, "Unable to delete path %@ because it is a system directory.")) return false;
    clearLock(path);
    if (!filesystem::itemExists(path)) return true;
    const std::error_code error = filesystem::remove(path);
    if (!error) return true;
    QVLog::appendLog("Error removing file: %@. Authorizing...", error.message());
    return shouldAuth && authorization().authRemoveFile(path);
}

bool QVFileManager::removeFile(const Path& path, double timeout) {
    return removeFile(path) && waitFor([&] { return !filesystem::itemExists(path); }, timeout);
}

bool QVFileManager::removeFolderIfEmpty(const Path& path) {
    return isFolderEmpty(path) && removeFile(path);
}

bool QVFileManager::compressFile(const Path& source, const Path& archive, bool includeParent) {
    if (filesystem::itemExists(archive) && !trashFile(archive)) return false;
    constexpr const char* archiver = "/usr/bin/ditto";
    if (fileExistsAtPath(archiver)) {
        QVTaskEx::Arguments arguments{"-ck"};
        if (includeParent) arguments.emplace_back("--keepParent");
        arguments.insert(arguments.end(), {source, archive});
        QVTaskEx::runTask(archiver, arguments);
    } else if (const std::string error =
                   Platform::current().archiver->compress(source, archive, includeParent);
               !error.empty()) {
        QVLog::appendLog("%@", error);
    }
    return fileExistsAtPath(archive);
}

bool QVFileManager::decompressFile(const Path& archive, const Path& folder) {
    if (!mayTouch(folder, "Unable to trash path %@ because it is a system directory."))
        return false;
    if (filesystem::itemExists(folder))
        if (const auto error = Platform::current().workspace->recycle(folder)) {
            QVLog::appendLog("%@: %@", folder, error.message());
            return false;
        }
    constexpr const char* archiver = "/usr/bin/ditto";
    if (fileExistsAtPath(archiver))
        QVTaskEx::runTask(archiver, {"-xk", archive, folder});
    else if (const std::string error = Platform::current().archiver->decompress(archive, folder);
             !error.empty())
        QVLog::appendLog("%@", error);
    return fileExistsAtPath(folder);
}

}  // namespace reelsweep
