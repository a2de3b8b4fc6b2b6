#include "app/ProjectLoaderDialog.h"

#include "app/InterfaceDescription.h"
#include "app/Text.h"
#include "platform/Platform.h"
#include "services/QVAlert.h"

#include <QFileIconProvider>
#include <QListWidget>
#include <QPushButton>

#include <utility>

namespace reelsweep {

namespace {

constexpr const char* missing = "Critical error: unable to load FCP project loader dialog.";
constexpr const char* remedy = "You must reinstall the application.";

}  // namespace

ProjectLoaderDialog::ProjectLoaderDialog(std::function<void(const QString&)> open)
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
    (void)loaded.release();  // it is dialog_ now
    dialog_->setAttribute(Qt::WA_DeleteOnClose);
    dialog_->setWindowModality(Qt::ApplicationModal);
    stop_ = std::stop_source();
    // Events are handled until the answer is there; the dialog that is not shown yet keeps a second
    // question away.
    loader_.emplace(stop_.get_token());
    if (stop_.stop_requested()) {
        delete dialog_;
        return;
    }
    fill();
    dialog_->show();
}

void ProjectLoaderDialog::fill() {
    auto* const list = outlet<QListWidget>(*dialog_, "projectsTable");
    auto* const openButton = outlet<QPushButton>(*dialog_, "openBtn");
    const QFileIconProvider icons;
    for (const std::string& path : loader_->projects())
        list->addItem(new QListWidgetItem(icons.icon(QFileInfo(toQString(path))), toQString(path)));
    openButton->setEnabled(loader_->canOpen());
    QObject::connect(openButton, &QPushButton::clicked, dialog_, [this] { openProject(); });
    QObject::connect(list, &QListWidget::itemActivated, dialog_, [this] { openProject(); });
    QObject::connect(outlet<QPushButton>(*dialog_, "cancelBtn"), &QPushButton::clicked, dialog_,
                     &QDialog::close);
}

void ProjectLoaderDialog::openProject() {
    const auto* const list = outlet<QListWidget>(*dialog_, "projectsTable");
    std::vector<std::size_t> rows;
    for (int row = 0; row < list->count(); ++row)
        if (list->item(row)->isSelected()) rows.push_back(static_cast<std::size_t>(row));
    if (rows.empty()) return;
    dialog_->close();
    // A copy: while an alert waits, the user may ask for the list again.
    const QVFCPProjectLoader loader = *loader_;
    loader.openProjects(rows, [this](const std::string& path) {
        open_(toQString(path));
        return Outcome(Done{});
    });
}

}  // namespace reelsweep
