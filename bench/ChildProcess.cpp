#include "bench/ChildProcess.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <chrono>

namespace reelsweep {

Measured runAndMeasure(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    Measured measured;
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
        dup2(null, 0);
        dup2(null, 1);
        dup2(null, 2);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    if (child < 0) return measured;
    int status = 0;
    struct rusage usage {};
    if (wait4(child, &status, 0, &usage) != child) return measured;
    measured.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    measured.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    measured.peakKilobytes = usage.ru_maxrss;
    return measured;
}

}  // namespace reelsweep
