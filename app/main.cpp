#include "app/AppController.h"
#include "app/TerminationSignals.h"
#include "app/Text.h"
#include "platform/posix/CommandLinePlatform.h"
#include "platform/qt/QtAlertPresenter.h"
#include "platform/qt/QtMainThread.h"
#include "platform/qt/QtWorkspace.h"
#include "services/QVLog.h"
#include "xml/TreeMemory.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

constexpr const char* usage =
    "usage: reelsweep [FILE...]\n"
    "\n"
    "Opens XMEML and FCPXML files in windows. To tidy files without windows: reelsweep-cli.\n"
    "\n"
    "  -h, --help     this text\n"
    "  -v, --version  the version\n";

std::string versionOf(const reelsweep::Bundle& program) {
    return program.infoValue("CFBundleShortVersionString").value_or("unknown");
}

// Options that need no windows, and so no display. True when there was one.
bool answeredWithoutWindows(int argc, char** argv, const reelsweep::Bundle& program) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument == "--") return false;
        if (argument == "-h" || argument == "--help") {
            std::fputs(usage, stdout);
            return true;
        }
        if (argument == "-v" || argument == "--version") {
            std::printf("reelsweep %s\n", versionOf(program).c_str());
            return true;
        }
    }
    return false;
}

QStringList filesOf(QStringList arguments) {
    arguments.removeFirst();
    arguments.removeOne(QStringLiteral("--"));
    return arguments;
}

}  // namespace

int main(int argc, char** argv) {
    using namespace reelsweep;
    useTreeMemory();
    Platform platform = commandLinePlatform();
    if (answeredWithoutWindows(argc, argv, *platform.bundle)) return 0;
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Reelsweep"));
    QApplication::setApplicationDisplayName(QStringLiteral("Reelsweep"));
    QApplication::setDesktopFileName(QStringLiteral("com.quorvane.Reelsweep"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/images/com.quorvane.Reelsweep.svg")));

    platform.mainThread = std::make_unique<QtMainThread>();
    platform.alertPresenter = std::make_unique<QtAlertPresenter>();
    platform.workspace = std::make_unique<QtWorkspace>();
    Platform::install(std::move(platform));
    QApplication::setApplicationVersion(toQString(versionOf(*Platform::current().bundle)));

    int code = 0;
    {
        AppController controller;
        // Runs may be going and alerts waiting for answers; the system does not wait for them.
        const TerminationSignals requests([&controller] {
            controller.applicationWillTerminate();
            QVLog::finishWriting();
            std::_Exit(0);
        });
        controller.applicationDidFinishLaunching(filesOf(QApplication::arguments()));
        code = QApplication::exec();
        controller.applicationWillTerminate();
    }
    QVLog::finishWriting();
    return code;
}
