// LeakCheck: after all tests of a program no descriptor is open that was not open before, and no
// child is left. A program registers one with testing::AddGlobalTestEnvironment.
#pragma once

#include "platform/posix/CommandLinePlatform.h"
#include "tests/platform/Pumping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/wait.h>

namespace reelsweep::test {

class LeakCheck : public testing::Environment {
public:
    void SetUp() override {
        Platform::install(commandLinePlatform());
        before_ = openDescriptors();
    }
    void TearDown() override {
        finish();
        EXPECT_TRUE(pumpUntil([] {
            siginfo_t child{};
            return ::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
        })) << "a child is left";
        EXPECT_TRUE(pumpUntil([this] {
            const auto now = openDescriptors();
            return std::includes(before_.begin(), before_.end(), now.begin(), now.end());
        })) << "open: "
            << testing::PrintToString(openDescriptors())
            << ", before: " << testing::PrintToString(before_);
    }

protected:
    /// Ends what the process keeps open by design.
    virtual void finish() {}

private:
    /// What the open descriptors lead to, sorted; of a pipe only that it is one, since each has a
    /// number of its own.
    static std::vector<std::string> openDescriptors() {
        std::vector<std::string> open;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;  // the listing's own descriptor is closed by now
            const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
            if (!gone && target.find("/fd") == std::string::npos)
                open.push_back(target.starts_with('/') ? target
                                                       : target.substr(0, target.find(':')));
        }
        std::sort(open.begin(), open.end());
        return open;
    }

    std::vector<std::string> before_;
};

}  // namespace reelsweep::test
