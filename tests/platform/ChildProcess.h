// runInChild: runs a function in a process of its own and collects what it left behind.
#pragma once

#include "tests/platform/TemporaryFolder.h"

#include <cstdlib>
#include <exception>
#include <functional>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace reelsweep::test {

/// A child process that runs a function and then ends as a program does, with exit handlers.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<void()>& body) : process_(::fork()) {
        if (process_ != 0) return;
        redirect(STDOUT_FILENO, output_ / "out");
        redirect(STDERR_FILENO, output_ / "err");
        body();
        std::exit(0);
    }
    ~ChildProcess() {
        if (process_ > 0 && !ended_) wait();
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Waits for its end; the exit status, or minus the signal that ended it.
    int wait() {
        int status = 0;
        if (!ended_ && ::waitpid(process_, &status, 0) == process_)
            status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        ended_ = true;
        return status_;
    }
    std::string standardOutput() const { return contentsOf(output_ / "out"); }
    std::string standardError() const { return contentsOf(output_ / "err"); }

private:
    static void redirect(int descriptor, const std::string& path) {
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (file < 0 || ::dup2(file, descriptor) < 0) std::_Exit(99);
        ::close(file);
    }

    TemporaryFolder output_;
    pid_t process_;
    bool ended_ = false;
    int status_ = 99;
};

}  // namespace reelsweep::test
