// The main function of tests that use the log, alerts or preferences: they get a home of their own.
#include "platform/posix/ConsoleAlertPresenter.h"
#include "services/QVLog.h"
#include "tests/support/TestPlatform.h"
#include "tests/timeline/Alerts.h"

#include <gtest/gtest.h>

namespace reelsweep::test {

std::vector<std::string>& shownAlerts() {
    static std::vector<std::string> lines;
    return lines;
}

}  // namespace reelsweep::test

int main(int argc, char** argv) {
    using namespace reelsweep;
    testing::InitGoogleTest(&argc, argv);
    const test::TestHome home;
    Platform::current().alertPresenter = std::make_unique<ConsoleAlertPresenter>(
        [](std::string_view line, AlertStyle) { test::shownAlerts().emplace_back(line); });
    QVLog::sharedController().setLoggingDisabled(true);  // see LogCapture
    return RUN_ALL_TESTS();
}
