// Workspace: the other applications of the machine.
//
// Owner: Platform. Thread rule: any thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace reelsweep {

enum class LaunchOption {
    async,              ///< the application comes to the front
    withoutActivation,  ///< what is in front stays there
};

class Workspace {
public:
    virtual ~Workspace() = default;

    /// The bundle identifiers of the applications that run now.
    virtual std::vector<std::string> runningApplicationIdentifiers() const = 0;

    /// Where the application with the bundle identifier is installed; empty when it is not.
    virtual std::optional<std::string> applicationPath(std::string_view identifier) const = 0;
    /// The executable file of the application, when it runs.
    virtual std::optional<std::string> runningExecutable(std::string_view identifier) const = 0;

    /// Opens a web address with the user's application for it; false when there is none.
    virtual bool openURL(const std::string& address) = 0;
    /// Opens a file with the application that the desktop has for such files. False when there is
    /// none, or no desktop. Returns while the application starts.
    virtual bool openFile(const std::string& path) = 0;
    /// Opens a file with the application at a path: a program, or a folder that is one.
    virtual bool openFile(const std::string& path, const std::string& application) = 0;
    /// Asks the application with the bundle identifier to open a file, and starts it when it does
    /// not run. Returns when the request is on its way, without waiting for the application. False
    /// when there is no way to ask.
    virtual bool openFileWithIdentifier(const std::string& path, std::string_view identifier,
                                        LaunchOption option = LaunchOption::async) = 0;
    /// Starts the application at a path, without waiting for it.
    virtual bool openApplication(const std::string& application) = 0;

    /// True for a folder that people handle as one file, such as an application.
    virtual bool isFilePackage(const std::string& path) const = 0;

    /// Moves an item to the desktop's Trash, from which it can be restored. Answers the error, or
    /// none; the item is then where it was.
    virtual std::error_code recycle(const std::string& path) = 0;

    /// Moves an item to a place where nothing is; something there is the error file_exists.
    using Mover = std::function<std::error_code(const std::string& from, const std::string& to)>;
    /// The name in the Trash at the given try, from 1 on.
    using TrashName = std::function<std::string(const std::string& name, int attempt)>;
    /// recycle for an item that this process may not move itself: into the Trash of the user's home
    /// by the mover. A desktop without such a Trash answers function_not_supported.
    virtual std::error_code recycleBy(const std::string& path, const TrashName& name,
                                      const Mover& move) {
        static_cast<void>(path);
        static_cast<void>(name);
        static_cast<void>(move);
        return std::make_error_code(std::errc::function_not_supported);
    }
};

}  // namespace reelsweep
