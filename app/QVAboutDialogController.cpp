#include "app/QVAboutDialogController.h"

#include "app/InterfaceDescription.h"
#include "app/Text.h"
#include "base/Format.h"
#include "platform/Platform.h"
#include "platform/PropertyList.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QLabel>
#include <QTextBrowser>

#include <filesystem>

namespace reelsweep {

namespace {

constexpr int pictureSize = 128;
constexpr int heightWithoutCredits = 250;

// What the group of programs that this one belongs to says of its release; an empty text when it
// says nothing.
std::string groupValue(const char* key) {
    const auto bundle = Platform::current().bundle->bundlePath();
    if (!bundle) return {};
    const auto updates = readPropertyList(*bundle + "/Contents/Resources/QVUpdates.plist");
    const PropertyList* const value = updates ? updates->find(key) : nullptr;
    const auto* const text = value ? value->as<std::string>() : nullptr;
    return text ? *text : std::string();
}

std::string versionText() {
    const Bundle& bundle = *Platform::current().bundle;
    return formatText("%@ (%@)\n\n%@ %@ (%@)",
                      bundle.infoValue("CFBundleShortVersionString").value_or(""),
                      bundle.infoValue("CFBundleVersion").value_or(""), "Cutbench",
                      groupValue("QVGroupVersionString"), groupValue("QVGroupVersion"));
}

void showCredits(QWidget& window, QTextBrowser& view) {
    QFile credits(QStringLiteral(":/Credits.md"));
    if (credits.open(QFile::ReadOnly)) {
        view.setMarkdown(QString::fromUtf8(credits.readAll()));
        view.moveCursor(QTextCursor::Start);
    } else {
        view.hide();
        window.resize(window.width(), heightWithoutCredits);
    }
}

}  // namespace

QVAboutDialogController::~QVAboutDialogController() { delete window_; }

bool QVAboutDialogController::show() {
    if (!window_) {
        window_ = InterfaceDescription::load(QStringLiteral("QVAbout")).release();
        if (!window_) return false;
        window_->setAttribute(Qt::WA_DeleteOnClose);
        window_->setAttribute(Qt::WA_QuitOnClose, false);
        awakeFromNib(*window_);
    }
    window_->show();
    window_->raise();
    window_->activateWindow();
    return true;
}

void QVAboutDialogController::awakeFromNib(QWidget& window) {
    outlet<QLabel>(window, "iconView")
        ->setPixmap(QApplication::windowIcon().pixmap(QSize(pictureSize, pictureSize),
                                                      window.devicePixelRatio()));
    const std::filesystem::path executable =
        Platform::current().bundle->executablePath().value_or("");
    const QString name = toQString(executable.stem().string());
    window.setWindowTitle(QApplication::translate("QVAbout", "About %1").arg(name));
    outlet<QLabel>(window, "nameLabel")->setText(name);
    outlet<QLabel>(window, "versionLabel")->setText(toQString(versionText()));
    showCredits(window, *outlet<QTextBrowser>(window, "creditsView"));
}

}  // namespace reelsweep
