#include "services/QVAuthorization.h"

#include "base/UniqueDescriptor.h"
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
#include <initializer_list>
#include <string_view>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

bool runsAsRoot() { return Platform::current().folders->userIdentifier() == 0; }

/// Where an item is or is to be: its folder, opened, and its name in it. While the person answers
/// the system's dialog, others may put something else at the path of the folder; this is still the
/// folder that was looked at.
class Place {
public:
    explicit Place(const std::string& path) {
        std::error_code error;
        fs::path given = fs::absolute(QVLocalPaths::stripTrailingSlash(path), error);
        if (path.empty() || error) return;
        const fs::path last = given.filename();
        if (last.empty() || last == "." || last == "..") given = fs::canonical(given, error);
        if (!error) folder_ = fs::canonical(given.parent_path(), error).string();
        isMissing_ = error == std::errc::no_such_file_or_directory;
        if (error) return;
        name_ = given.filename().string();
        descriptor_.reset(::open(folder_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        struct stat status {};
        if (!descriptor_ || ::fstat(descriptor_.get(), &status) != 0) return;
        identity_ = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    }

    bool found() const { return !identity_.empty() && !name_.empty(); }
    /// There is no such folder, as opposed to one that cannot be looked into.
    bool isMissing() const { return isMissing_; }
    /// Without links above the item. The path may have led elsewhere when it was tested before.
    std::string path() const { return fs::path(folder_) / name_; }
    const std::string& folder() const { return folder_; }
    const std::string& identity() const { return identity_; }
    const std::string& name() const { return name_; }

private:
    std::string folder_;
    std::string name_;
    std::string identity_;
    bool isMissing_ = false;
    UniqueDescriptor descriptor_;  // keeps the identity from being given to another folder
};

constexpr const char* shell = "/bin/sh";

/// Runs a tool once the folders are open and are still the ones that were looked at. $1 and $2: the
/// first folder and its identity, $3: the name in it; $4 to $6: the same of the second. The tool
/// sees the opened folders, wherever their paths lead by then.
std::string checked(const std::string& tool, int places) {
    std::string script =
        "set -e; exec 3< \"$1\"; "
        "[ \"$(/usr/bin/stat -Lc %d:%i /proc/self/fd/3)\" = \"$2\" ]; ";
    if (places > 1)
        script += "exec 4< \"$4\"; [ \"$(/usr/bin/stat -Lc %d:%i /proc/self/fd/4)\" = \"$5\" ]; ";
    return script + "exec " + tool;
}

std::vector<std::string> scriptArguments(const std::string& tool,
                                         std::initializer_list<const Place*> places) {
    std::vector<std::string> arguments{"-c", checked(tool, static_cast<int>(places.size())),
                                       "reelsweep"};
    for (const Place* const place : places)
        arguments.insert(arguments.end(), {place->folder(), place->identity(), place->name()});
    return arguments;
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

/// A name that is taken gets the time; a second one of that name within a second a number too.
std::string nameInTrash(const std::string& name, int attempt) {
    if (attempt == 1) return name;
    if (attempt == 2) return stamped(name);
    const fs::path parts(name);
    return stamped(parts.stem().string() + " " + std::to_string(attempt - 1) +
                   parts.extension().string());
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
    const Place place(path);
    if (!place.found()) return place.isMissing();
    if (!mayTouch(place.path(), "Unable to delete path %@ because it is a system directory."))
        return false;
    return authExecTask(shell, scriptArguments("/bin/rm -Rdf -- \"/proc/self/fd/3/$3\"", {&place}),
                        false) == 0;
}

bool QVAuthorization::authTrashFile(const std::string& path, bool deleteOnRootAccount) {
    if (!mayTouch(path, "Unable to trash path %@ because it is a system directory.")) return false;
    const std::string trash = runsAsRoot() && userDirectory_ ? *userDirectory_ + "/.Trash"
                                                             : QVLocalPaths::trashDirectory();
    int attempt = 0;
    if (!userDirectory_ && deleteOnRootAccount && runsAsRoot()) {
        // The free place in the trash, not the item, is what has always been deleted here.
        std::string target;
        do target = trash + "/" + nameInTrash(nameOf(path), ++attempt);
        while (filesystem::itemExists(target));
        return authRemoveFile(target);
    }
    bool wasTried = false;
    const auto move = [&](const std::string& from, const std::string& to) {
        if (filesystem::itemExists(to)) return std::make_error_code(std::errc::file_exists);
        wasTried = true;
        return authMoveFile(from, to) ? std::error_code()
                                      : std::make_error_code(std::errc::permission_denied);
    };
    std::error_code error = Platform::current().workspace->recycleBy(path, nameInTrash, move);
    if (!error || wasTried) return !error;
    // There is no desktop's trash, or it is not this user's.
    std::error_code ignored;
    // Without the folder the first item that is moved there would become it. A failure shows in the
    // move.
    fs::create_directories(trash, ignored);
    do error = move(path, trash + "/" + nameInTrash(nameOf(path), ++attempt));
    while (error == std::errc::file_exists);
    return !error;
}

bool QVAuthorization::authTrashFolderContents(const std::string& folder, bool deleteOnRootAccount) {
    if (!mayTouchContents(
            folder, "Unable to trash folder contents of path %@ because it is a system directory."))
        return false;
    const auto items = itemsIn(folder);
    bool all = items.has_value();
    wasRefused_ = false;
    for (const std::string& item : items.value_or(std::vector<std::string>())) {
        if (wasRefused_) return false;
        if (runsAsRoot() && deleteOnRootAccount && !userDirectory_)
            all &= authRemoveFile(item);
        else
            all &= authTrashFile(item);
    }
    return all;
}

bool QVAuthorization::authMoveFolderContents(const std::string& folder,
                                             const std::string& destination) {
    if (!mayTouchContents(folder,
                          "Unable to move contents of path %@ because it is a system directory."))
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
    const Place from(*path);
    const Place to(*destination);
    if (!from.found() || !to.found()) return runsAsRoot();
    if (!mayTouch(from.path(), "Unable to move path %@ because it is a system directory."))
        return false;
    // -T: a link to a folder at the destination is replaced, not gone into.
    return runTool(shell, scriptArguments("/bin/mv -f -T -- \"/proc/self/fd/3/$3\" "
                                          "\"/proc/self/fd/4/$6\"",
                                          {&from, &to}));
}

bool QVAuthorization::authCopyFile(const std::optional<std::string>& path,
                                   const std::optional<std::string>& destination) {
    if (!path)
        consoleLog("Error in authCopyFile: old path is null");
    else if (!destination)
        consoleLog("Error in authCopyFile: new path is null");
    if (!path || !destination) return false;
    if (!filesystem::itemExists(*path)) return false;
    const Place from(*path);
    const Place to(*destination);
    if (!from.found() || !to.found()) return runsAsRoot();
    // A file or link at the destination goes first: nothing is written to what a link leads to.
    return runTool(shell, scriptArguments("/bin/cp -f -p -R -T --remove-destination -- "
                                          "\"/proc/self/fd/3/$3\" \"/proc/self/fd/4/$6\"",
                                          {&from, &to}));
}

bool QVAuthorization::authCreateDir(const std::string& path) {
    // Below the lowest folder that is there.
    std::error_code error;
    const fs::path missing =
        fs::absolute(QVLocalPaths::stripTrailingSlash(path), error).lexically_normal();
    if (path.empty() || error) return false;
    fs::path top = missing;
    while (!fs::is_directory(top.parent_path(), error) && top != top.root_path())
        top = top.parent_path();
    const Place place(top.string());
    if (!place.found()) return false;
    std::vector<std::string> arguments =
        scriptArguments("/bin/mkdir -p -- \"/proc/self/fd/3/$3/$4\"", {&place});
    arguments.push_back(missing.lexically_relative(top).string());
    if (!runTool(shell, arguments)) return false;
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
