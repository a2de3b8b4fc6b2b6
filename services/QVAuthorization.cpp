#include "services/QVAuthorization.h"

#include "platform/Platform.h"
#include "services/ConsoleLog.h"
#include "services/FileSystem.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"
#include "services/QVTaskEx.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <thread>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

bool runsAsRoot() { return Platform::current().folders->userIdentifier() == 0; }

/// The path in a form that no tool takes for an option, and that means the same wherever the tool
/// runs: pkexec runs it in root's home folder.
std::string operand(const std::string& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    return path.empty() || error ? path : absolute.string();
}

std::string nameOf(const std::string& path) {
    return fs::path(QVLocalPaths::stripTrailingSlash(path)).filename().string();
}

/// The paths of the items in the folder, in the order of their names; nothing, with a line on the
/// console, when it cannot be read.
std::optional<std::vector<std::string>> itemsIn(const std::string& folder) {
    std::vector<std::string> items;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error))
        items.push_back(entry->path().string());
    if (error) {
        consoleLog("Unable to read folder %@: %@", folder, error.message());
        return {};
    }
    std::sort(items.begin(), items.end());
    return items;
}

/// The path with the time in front of its extension.
std::string stamped(const fs::path& path) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char stamp[sizeof "20260131140509"] = "";
    (void)std::strftime(stamp, sizeof stamp, "%Y%m%d%H%M%S", &local);
    std::string extension = path.extension().string();
    if (!extension.empty()) extension.erase(0, 1);
    // A name without an extension ends in the full stop, by which earlier ones are recognised.
    return (path.parent_path() / path.stem()).string() + "_" + stamp + "." + extension;
}

}  // namespace

QVAuthorization& QVAuthorization::sharedController(bool hasGUI) {
    // Never destroyed: it may be used while the process ends.
    static auto* const instance = new QVAuthorization(hasGUI);
    return *instance;
}

QVAuthorization::QVAuthorization(bool hasGUI) : hasGUI_(hasGUI) {
    if (!runsAsRoot()) userDirectory_ = QVLocalPaths::userDirectory();
}

QVAuthorization::~QVAuthorization() { authEnd(); }

bool QVAuthorization::authStart() {
    if (isAuthorized()) return true;
    if (!hasGUI_) {
        consoleLog("Unable to authorize");
        return false;
    }
    const bool granted = Platform::current().privileges->obtain() == Privileges::Answer::granted;
    const std::lock_guard lock(mutex_);
    authorized_ = granted;
    return granted;
}

bool QVAuthorization::authStart(const std::optional<std::string>& user,
                                const std::optional<std::string>& password) {
    if (runsAsRoot()) return true;
    if (!user || !password) return false;
    const Privileges::Answer answer = Platform::current().privileges->obtain(*user, *password);
    if (answer == Privileges::Answer::unavailable)
        consoleLog("Unable to create authRef - error %d", ENOTSUP);
    if (answer == Privileges::Answer::refused) {
        constexpr std::string_view text = "Authorization failed. Invalid username or password";
        consoleLog(text);
        QVLog::appendLog(text);
    }
    const std::lock_guard lock(mutex_);
    authorized_ = answer == Privileges::Answer::granted;
    return authorized_;
}

void QVAuthorization::authEnd() {
    bool held = false;
    {
        const std::lock_guard lock(mutex_);
        held = std::exchange(authorized_, false);
    }
    if (held && !runsAsRoot()) Platform::current().privileges->release();
}

bool QVAuthorization::isAuthorized() const {
    if (runsAsRoot()) return true;
    const std::lock_guard lock(mutex_);
    return authorized_;
}

bool QVAuthorization::canAuthorize() const { return hasGUI_ || runsAsRoot(); }

bool QVAuthorization::authRemoveFile(const std::string& path) {
    if (!mayTouch(path, "Unable to delete path %@ because it is a system directory.")) return false;
    return authExecTask("/bin/rm", {"-Rdf", operand(path)}, false) == 0;
}

bool QVAuthorization::authTrashFile(const std::string& path, bool deleteOnRootAccount) {
    if (!mayTouch(path, "Unable to trash path %@ because it is a system directory.")) return false;
    const std::string trash = runsAsRoot() && userDirectory_ ? *userDirectory_ + "/.Trash"
                                                             : QVLocalPaths::trashDirectory();
    std::string target = trash + "/" + nameOf(path);
    if (filesystem::itemExists(target)) target = stamped(target);
    // Two of one name within a second: the second must not replace the first.
    const fs::path name = nameOf(path);
    for (int n = 2; filesystem::itemExists(target); ++n)
        target = stamped(fs::path(trash) / (name.stem().string() + " " + std::to_string(n) +
                                            name.extension().string()));
    // The target, not the item, is what has always been deleted here.
    if (!userDirectory_ && deleteOnRootAccount && runsAsRoot()) return authRemoveFile(target);
    std::error_code error;
    // Without the folder the first item that is moved there would become it. A failure shows in the
    // move.
    fs::create_directories(trash, error);
    return authMoveFile(path, target);
}

bool QVAuthorization::authTrashFolderContents(const std::string& folder, bool deleteOnRootAccount) {
    if (!mayTouch(folder,
                  "Unable to trash folder contents of path %@ because it is a system directory."))
        return false;
    const auto items = itemsIn(folder);
    bool all = items.has_value();
    wasRefused_ = false;
    for (const std::string& item : items.value_or(std::vector<std::string>())) {
        if (wasRefused_) return false;
        if (runsAsRoot() && deleteOnRootAccount && !userDirectory_)
            all &= authExecTask("/bin/rm", {"-R", "-f", operand(item)}, false) == 0;
        else
            all &= authTrashFile(item);
    }
    return all;
}

bool QVAuthorization::authMoveFolderContents(const std::string& folder,
                                             const std::string& destination) {
    if (!mayTouch(folder, "Unable to move contents of path %@ because it is a system directory."))
        return false;
    const auto items = itemsIn(folder);
    bool all = items.has_value();
    wasRefused_ = false;
    for (const std::string& item : items.value_or(std::vector<std::string>())) {
        if (wasRefused_) return false;
        all &= authMoveFile(item, QVLocalPaths::ensureTrailingSlash(destination) + nameOf(item));
    }
    return all;
}

bool QVAuthorization::authMoveFile(const std::optional<std::string>& path,
                                   const std::optional<std::string>& destination) {
    if (!path)
        consoleLog("Error in authMoveFile: old path is null");
    else if (!destination)
        consoleLog("Error in authMoveFile: new path is null");
    if (!path || !destination) return false;
    if (!mayTouch(*path, "Unable to move path %@ because it is a system directory.")) return false;
    if (!filesystem::itemExists(*path)) return false;
    return runTool("/bin/mv", {"-f", operand(*path), operand(*destination)});
}

bool QVAuthorization::authCopyFile(const std::optional<std::string>& path,
                                   const std::optional<std::string>& destination) {
    if (!path)
        consoleLog("Error in authCopyFile: old path is null");
    else if (!destination)
        consoleLog("Error in authCopyFile: new path is null");
    if (!path || !destination) return false;
    if (!filesystem::itemExists(*path)) return false;
    return runTool("/bin/cp", {"-f", "-p", "-R", operand(*path), operand(*destination)});
}

bool QVAuthorization::authCreateDir(const std::string& path) {
    if (!runTool("/bin/mkdir", {"-p", operand(path)})) return false;
    // The folder is to be seen by whoever looks next.
    if (!runsAsRoot()) std::this_thread::sleep_for(std::chrono::microseconds(500));
    return true;
}

/// As root without waiting for the result, which is how the callers that then wait for the file
/// system to show it have always known it.
bool QVAuthorization::runTool(const std::string& tool, const std::vector<std::string>& parameters) {
    if (!runsAsRoot()) return authExecTask(tool, parameters) == 0;
    QVTaskEx::runTaskAndReturn(tool, parameters);
    return true;
}

int QVAuthorization::authExecTask(const std::string& tool,
                                  const std::vector<std::string>& parameters, bool async) {
    if (!filesystem::itemExists(tool)) {
        consoleLog("Unable to execute task: path %@ doesn't exist", tool);
        return toolMissing;
    }
    if (runsAsRoot()) {
        if (async)
            QVTaskEx::runTaskAndReturn(tool, parameters);
        else
            QVTaskEx::runTask(tool, parameters);
        return 0;
    }
    if (!authStart()) return notAuthorized;
    const Privileges::Execution execution =
        Platform::current().privileges->execute(tool, parameters);
    if (execution.answer == Privileges::Answer::granted) return execution.status;
    authEnd();
    // Who dismisses the dialog once is not asked again for each item of a folder.
    wasRefused_ = true;
    return notAuthorized;
}

}  // namespace reelsweep
