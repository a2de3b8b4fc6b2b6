// After all tests of the program: no descriptor is open that was not open before, no child is left.
#include "platform/Platform.h"
#include "support/QVLog.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <set>

#include <sys/wait.h>

namespace reelsweep {
namespace {

std::set<std::string> openDescriptors() {
    std::set<std::string> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the listing's own descriptor is closed by now
        const auto target = std::filesystem::read_symlink(entry.path(), gone);
        if (!gone && target.string().find("/fd") == std::string::npos)
            open.insert(entry.path().filename().string() + " " + target.string());
    }
    return open;
}

bool within60Seconds(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        Platform::current().mainThread->pumpOne(std::chrono::milliseconds(10));
    }
    return true;
}

class LeakCheck : public testing::Environment {
public:
    void SetUp() override {
        Platform::install(Platform::commandLine());
        before_ = openDescriptors().size();
    }
    void TearDown() override {
        QVLog::sharedController().setLoggingDisabled(true);
        QVLog::willTerminate();
        EXPECT_TRUE(within60Seconds([] {
            siginfo_t child{};
            return ::waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD;
        })) << "a child is left";
        EXPECT_TRUE(within60Seconds([this] { return openDescriptors().size() <= before_; }))
            << testing::PrintToString(openDescriptors());
    }

private:
    std::size_t before_ = 0;
};

[[maybe_unused]] const auto* const registered = testing::AddGlobalTestEnvironment(new LeakCheck);

}  // namespace
}  // namespace reelsweep
