// The main function of the tests of windows: one application, a home of its own, real ports.
#include "platform/Platform.h"
#include "platform/qt/QtAlertPresenter.h"
#include "platform/qt/QtMainThread.h"
#include "services/QVLog.h"
#include "tests/support/TestPlatform.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    using namespace reelsweep;
    testing::InitGoogleTest(&argc, argv);
    // The test runner only wants the names of the tests, and has no display for that.
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM") && !qEnvironmentVariableIsSet("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const test::TestHome home;
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName("Reelsweep");
    QApplication::setQuitOnLastWindowClosed(false);
    Platform::current().mainThread = std::make_unique<QtMainThread>();
    Platform::current().alertPresenter = std::make_unique<QtAlertPresenter>();
    const int result = RUN_ALL_TESTS();
    QVLog::finishWriting();
    return result;
}
