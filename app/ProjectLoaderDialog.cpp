#include "app/ProjectLoaderDialog.h"

#include "app/InterfaceDescription.h"
#include "app/Text.h"
#include "hosts/QVAppleEvents.h"
#include "platform/Platform.h"
#include "support/QVAlert.h"

#include <QFileIconProvider>
#include <QListWidget>
#include <QPushButton>

#include <utility>

namespace reelsweep {

namespace {

constexpr const char* missing = "Critical error: unable to load FCP project loader dialog.";
constexpr const char* remedy = "You must reinstall the application.";

}  // namespace

ProjectLoaderDialog::ProjectLoaderDialog(std::function<void(const QStringList&)> open)
    : open_(std::move(open)) {}

ProjectLoaderDialog::~ProjectLoaderDialog() { delete dialog_; }

void ProjectLoaderDialog::showOpenDialog() {
    if (dialog_) return;
    auto loaded = InterfaceDescription::load(QStringLiteral("QVFCPProjectLoader"));
    dialog_ = qobject_cast<QDialog*>(loaded.get());
    if (!dialog_) {
        Platform::current().console->log(std::string(missing) + " " + remedy);
        QVAlert::alertSheet(missing, std::string("OK"), {}, {}, remedy, {}, true);
        return;
    }
    loaded.release();
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->setWindowModality(Qt::ApplicationModal);
    QStringList paths;
    for (const std::string& path :
         QVAppleEvents::listOfOpenFCPProjects().value_or(std::vector<std::string>()))
        paths += toQString(path);
    fill(paths);
    dialog_->show();
}

void ProjectLoaderDialog::fill(const QStringList& paths) {
    auto* const list = outlet<QListWidget>(*dialog_, "projectsTable");
    auto* const openButton = outlet<QPushButton>(*dialog_, "openBtn");
    const QFileIconProvider icons;
    for (const QString& path : paths)
        list->addItem(new QListWidgetItem(icons.icon(QFileInfo(path)), path));
    openButton->setEnabled(!paths.isEmpty());
    QObject::connect(openButton, &QPushButton::clicked, dialog_, [this] { openProject(); });
    QObject::connect(list, &QListWidget::itemActivated, dialog_, [this] { openProject(); });
    QObject::connect(outlet<QPushButton>(*dialog_, "cancelBtn"), &QPushButton::clicked, dialog_,
                     &QDialog::close);
}

void ProjectLoaderDialog::openProject() {
    const auto* const list = outlet<QListWidget>(*dialog_, "projectsTable");
    QStringList chosen;
    for (int row = 0; row < list->count(); ++row)
        if (list->item(row)->isSelected()) chosen += list->item(row)->text();
    if (chosen.isEmpty()) return;
    dialog_->close();
    open_(chosen);
}

}  // namespace reelsweep
