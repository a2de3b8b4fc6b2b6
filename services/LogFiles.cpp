#include "services/LogFiles.h"

#include "base/FileReplacement.h"
#include "base/FolderLock.h"
#include "base/Format.h"
#include "platform/Platform.h"
#include "services/QVLocalPaths.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>

namespace reelsweep {

namespace {

bool exists(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

std::string logFolder(bool user) {
    const std::optional<std::string> library = QVLocalPaths::libraryDirectory(user);
    return library ? *library + "/Logs/Quorvane" : std::string();
}

}  // namespace

LogFiles::LogFiles(std::string_view appName) : appName_(appName), folder_(logFolder(true)) {
    // Root writes its current file to the machine's folder, where an administrator looks for it,
    // while folder and rotation stay those of the user.
    const bool root = Platform::current().folders->userIdentifier() == 0;
    current_ = root ? formatText("%@/%@.1.log", logFolder(false), appName_) : numbered(1);
}

std::string LogFiles::numbered(long number) const {
    return formatText("%@/%@.%li.log", folder_, appName_, number);
}

std::string LogFiles::rotate() const {
    const std::string oldest = numbered(count);
    std::error_code error;
    if (exists(oldest)) std::filesystem::remove(oldest, error);
    for (long number = count - 1; number >= 1; --number) {
        const std::string source = numbered(number);
        const std::string destination = numbered(number + 1);
        if (!exists(source)) continue;
        // A source that vanished meanwhile was moved by another process: there is nothing to move.
        if (std::rename(source.c_str(), destination.c_str()) != 0 && errno != ENOENT)
            return formatText("Unable to move file %s to %s.\n", source, destination);
    }
    return {};
}

LogFiles::Start LogFiles::startFresh() const {
    std::error_code error;
    const std::string currentFolder = std::filesystem::path(current_).parent_path().string();
    for (const std::string& folder : {folder_, currentFolder}) {
        if (!exists(folder)) std::filesystem::create_directories(folder, error);
        if (folder.empty() || error)
            return {-1, formatText("Unable to create folder %s.\n", folder)};
    }
    const FolderLock lock(folder_, std::chrono::seconds(1));
    if (exists(current_))
        if (std::string problem = rotate(); !problem.empty()) return {-1, std::move(problem)};
    FileReplacement file(current_);
    if (const std::error_code failure = file.commit(FileReplacement::Durable::no))
        return {-1, formatText("Unable to create log file %s - %s\n", current_, failure.message())};
    return {file.releaseDescriptor(), {}};
}

int LogFiles::openExisting() const {
    return ::open(current_.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
}

}  // namespace reelsweep
