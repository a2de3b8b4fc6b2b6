#include "services/RunMarker.h"
#include "tests/platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <csignal>

namespace reelsweep {
namespace {

TEST(RunMarker, ReportsRunsThatWereKilledOnceAndNoOthers) {
    const test::TemporaryFolder folder;
    const std::string markers = folder / "markers";
    const std::string reports = folder / "reports";
    const auto entries = [](const std::string& of) {
        const std::filesystem::directory_iterator begin(of);
        return std::distance(begin, std::filesystem::directory_iterator());
    };
    const RunMarker running(markers, reports, "App");
    const auto runs = [&](const char* program, int signal) {
        test::ChildProcess child([&] {
            const RunMarker marker(markers, reports, program);
            if (signal != 0) ::raise(signal);
        });
        EXPECT_EQ(child.wait(), -signal);
    };
    runs("App", 0);
    EXPECT_EQ(entries(reports), 0);
    runs("App", SIGKILL);
    runs("Application", 0);
    EXPECT_EQ(entries(reports), 0);
    for (int next = 0; next < 2; ++next) {
        runs("App", 0);
        ASSERT_EQ(entries(reports), 1);
        EXPECT_EQ(entries(markers), 1);
    }
    const std::string report = std::filesystem::directory_iterator(reports)->path();
    EXPECT_TRUE(report.starts_with(reports + "/App_") && report.ends_with(".crash")) << report;
}

}  // namespace
}  // namespace reelsweep
