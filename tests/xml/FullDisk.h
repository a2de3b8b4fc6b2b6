// FullDisk: as long as it lives, this process cannot write more than so many bytes into any file.
#pragma once

#include <sys/resource.h>
#include <csignal>
#include <stdexcept>

namespace reelsweep::test {

class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        if (getrlimit(RLIMIT_FSIZE, &before_) != 0) throw std::runtime_error("no limit known");
        struct rlimit small = before_;
        small.rlim_cur = bytes;
        if (setrlimit(RLIMIT_FSIZE, &small) != 0) throw std::runtime_error("no limit set");
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    void (*handler_)(int);
    struct rlimit before_ {};
};

}  // namespace reelsweep::test
