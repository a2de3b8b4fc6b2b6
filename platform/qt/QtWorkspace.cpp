#include "platform/qt/QtWorkspace.h"

#include "platform/Platform.h"

#include <QDesktopServices>
#include <QString>
#include <QUrl>

namespace reelsweep {

namespace {

// The desktop is asked on the main thread, as all of Qt's interface.
bool openOnDesktop(const QUrl& url) {
    bool opened = false;
    Platform::current().mainThread->runAndWait([&] { opened = QDesktopServices::openUrl(url); });
    return opened;
}

}  // namespace

bool QtWorkspace::openURL(const std::string& address) {
    const QUrl url(QString::fromStdString(address));
    const bool isWeb = url.scheme() == "http" || url.scheme() == "https";
    return isWeb && openOnDesktop(url);
}

bool QtWorkspace::openFile(const std::string& path) {
    return openOnDesktop(QUrl::fromLocalFile(QString::fromStdString(path)));
}

}  // namespace reelsweep
