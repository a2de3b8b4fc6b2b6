#include "app/UnsavedDialog.h"

#include "app/DocumentWindow.h"
#include "app/Text.h"
#include "platform/qt/WindowRefs.h"
#include "services/QVAlert.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSet>
#include <QVBoxLayout>

namespace reelsweep {

namespace {

constexpr int pathRole = Qt::UserRole;

// Two documents of one folder may want the same name for their copies.
QString freeName(const QString& wanted, const QSet<QString>& taken) {
    const QFileInfo file(wanted);
    QString path = wanted;
    for (int number = 2; taken.contains(path); ++number)
        path = file.path() + '/' +
               QStringLiteral("%1 (%2).%3")
                   .arg(file.completeBaseName())
                   .arg(number)
                   .arg(file.suffix());
    return path;
}

}  // namespace

UnsavedDialog::UnsavedDialog(const QList<DocumentWindow*>& documents, QWidget* parent)
    : QDialog(parent), list_(new QListWidget) {
    setObjectName(QStringLiteral("unsavedDialog"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::ApplicationModal);
    setWindowTitle(tr("Quit"));
    auto* const label = new QLabel(
        documents.size() == 1
            ? tr("One document has tidied copies that are not &saved:")
            : tr("%L1 documents have tidied copies that are not &saved:").arg(documents.size()));
    label->setBuddy(list_);
    list_->setObjectName(QStringLiteral("unsavedList"));
    list_->setAccessibleName(tr("Documents that are not saved"));
    list_->setAlternatingRowColors(true);
    list_->setTextElideMode(Qt::ElideMiddle);
    QSet<QString> taken;
    for (DocumentWindow* const document : documents) {
        const QString copy = freeName(document->suggestedCopy(), taken);
        taken += copy;
        auto* const item = new QListWidgetItem(
            tr("%1 — save as %2")
                .arg(QFileInfo(toQString(document->path())).fileName(), QFileInfo(copy).fileName()),
            list_);
        item->setData(pathRole, copy);
        item->setToolTip(copy);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Checked);
        documents_ += document;
    }
    list_->setCurrentRow(0);

    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    QPushButton* const save =
        buttons->addButton(tr("Save &Ticked and Quit"), QDialogButtonBox::AcceptRole);
    save->setObjectName(QStringLiteral("saveAndQuitBtn"));
    QPushButton* const discard =
        buttons->addButton(tr("Quit &Without Saving"), QDialogButtonBox::DestructiveRole);
    discard->setObjectName(QStringLiteral("discardBtn"));
    connect(save, &QPushButton::clicked, this, &UnsavedDialog::saveTicked);
    connect(discard, &QPushButton::clicked, this, &UnsavedDialog::giveUp);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(list_, 1);
    layout->addWidget(buttons);
    // Only now: a button is the default of the dialog that it is in.
    save->setDefault(true);
    list_->setFocus();
    resize(fontMetrics().averageCharWidth() * 80, fontMetrics().height() * 16);
}

void UnsavedDialog::saveTicked() {
    for (int row = 0; row < list_->count(); ++row) {
        DocumentWindow* const document = documents_[row];
        QListWidgetItem* const item = list_->item(row);
        if (!document || !document->hasUnsavedResult() || item->checkState() != Qt::Checked)
            continue;
        const QString path = item->data(pathRole).toString();
        const Outcome saved = document->saveCopyTo(toText(path), Overwrite::never);
        if (saved) continue;
        QVAlert::alertSheet(toText(tr("The tidied copy could not be saved")), {}, {}, {},
                            saved.failure().description(), windowRef(this), false);
        return;
    }
    giveUp();
}

void UnsavedDialog::giveUp() {
    accept();
    emit settled();
}

}  // namespace reelsweep
