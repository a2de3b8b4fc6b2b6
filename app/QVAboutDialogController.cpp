#include "app/QVAboutDialogController.h"

#include "app/InterfaceDescription.h"
#include "app/Placement.h"
#include "app/Text.h"
#include "platform/Platform.h"
#include "platform/PropertyList.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QLabel>
#include <QShortcut>
#include <QTextBrowser>

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

// "1.2", "1.2 (1234)"; empty without a version.
std::string versionWithBuild(const std::string& version, const std::string& build) {
    return build.empty() || build == version ? version : version + " (" + build + ")";
}

QString versionText() {
    const Bundle& bundle = *Platform::current().bundle;
    const std::string own =
        versionWithBuild(bundle.infoValue("CFBundleShortVersionString").value_or(""),
                         bundle.infoValue("CFBundleVersion").value_or(""));
    const std::string group =
        versionWithBuild(groupValue("QVGroupVersionString"), groupValue("QVGroupVersion"));
    QString text = QApplication::translate("QVAbout", "Version %1").arg(toQString(own));
    if (!group.empty()) text += QStringLiteral("\n\nCutbench ") + toQString(group);
    return text;
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
        auto* const escape = new QShortcut(Qt::Key_Escape, window_);
        QObject::connect(escape, &QShortcut::activated, window_, &QWidget::close);
        placeOver(*window_, QApplication::activeWindow());
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
    const QString name = QApplication::applicationDisplayName();
    window.setWindowTitle(QApplication::translate("QVAbout", "About %1").arg(name));
    outlet<QLabel>(window, "nameLabel")->setText(name);
    outlet<QLabel>(window, "versionLabel")->setText(versionText());
    showCredits(window, *outlet<QTextBrowser>(window, "creditsView"));
}

}  // namespace reelsweep
