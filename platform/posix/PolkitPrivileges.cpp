#include "platform/posix/PolkitPrivileges.h"

#include <unistd.h>

namespace reelsweep {

Privileges::Answer PolkitPrivileges::obtain() {
    return ::access(pkexec_.c_str(), X_OK) == 0 ? Answer::granted : Answer::unavailable;
}

Privileges::Answer PolkitPrivileges::obtain(std::string_view, std::string_view) {
    return Answer::unavailable;
}

Privileges::Execution PolkitPrivileges::execute(const std::string& tool,
                                                const std::vector<std::string>& arguments) {
    // The statuses by which pkexec says that the dialog was dismissed, and that the right was
    // denied.
    constexpr int dismissed = 126;
    constexpr int denied = 127;

    LaunchRequest request;
    request.path = pkexec_;
    request.arguments = {tool};
    request.arguments.insert(request.arguments.end(), arguments.begin(), arguments.end());
    // On a machine without a desktop it asks on the terminal, which only the foreground may read.
    request.ownProcessGroup = false;
    const ProcessLauncher::Launch launch = launcher_->launch(request);
    if (!launch.child) return {Answer::unavailable, 0};
    const int status = launch.child->waitUntilExit();
    if (status == dismissed || status == denied) return {Answer::refused, status};
    return {Answer::granted, status};
}

}  // namespace reelsweep
