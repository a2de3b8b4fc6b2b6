#include "bench/ChildProcess.h"

#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace reelsweep {

namespace {

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 4096> chunk;
    for (;;) {
        const ssize_t count = read(descriptor, chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return text;
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

}  // namespace

Measured runAndMeasure(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot make a pipe");

    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(ends[1]);
    Measured measured;
    if (child > 0) measured.output = readAll(ends[0]);
    close(ends[0]);
    int status = 0;
    struct rusage usage {};
    pid_t ended = -1;
    if (child > 0) do {
            ended = wait4(child, &status, 0, &usage);
        } while (ended < 0 && errno == EINTR);
    measured.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    if (ended != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(fmt::format("{} failed (status {})", command.front(), status));
    measured.peakKilobytes = usage.ru_maxrss;
    return measured;
}

void warmMemory(const std::string& path) {
    // Trees of the file, of its copy and of the result, and what is written beside them.
    constexpr std::size_t mostOfInput = 12;
    constexpr std::size_t least = std::size_t{2} << 30;
    const std::size_t bytes =
        std::max(least, mostOfInput * std::size_t{std::filesystem::file_size(path)});
    constexpr std::size_t page = 4096;
    const pid_t child = fork();
    if (child == 0) {
        void* const memory =
            mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        // Without so much memory it is measured cold, which is no error.
        if (memory == MAP_FAILED) _exit(1);
        // Whole blocks: those that large trees are kept in.
        madvise(memory, bytes, MADV_HUGEPAGE);
        for (std::size_t at = 0; at < bytes; at += page)
            static_cast<volatile char*>(memory)[at] = 1;
        _exit(0);
    }
    if (child > 0) waitpid(child, nullptr, 0);
}

}  // namespace reelsweep
