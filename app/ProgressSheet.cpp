#include "app/ProgressSheet.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace reelsweep {

ProgressSheet::ProgressSheet(QWidget* window)
    : QDialog(window, Qt::Sheet), label_(new QLabel), cancelButton_(nullptr) {
    setObjectName(QStringLiteral("windowProgress"));
    setWindowModality(Qt::WindowModal);
    setWindowTitle(tr("Processing"));
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);

    label_->setObjectName(QStringLiteral("progressLabel"));
    label_->setTextFormat(Qt::PlainText);
    auto* const bar = new QProgressBar;
    bar->setObjectName(QStringLiteral("progressBar"));
    bar->setAccessibleName(tr("Progress"));
    bar->setRange(0, 0);
    bar->setTextVisible(false);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    cancelButton_ = buttons->button(QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::rejected, this, &ProgressSheet::reject);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(label_);
    layout->addWidget(bar);
    layout->addWidget(buttons);
}

void ProgressSheet::begin() {
    cancelButton_->setEnabled(true);
    label_->clear();
    show();
    raise();
}

void ProgressSheet::end() { hide(); }

void ProgressSheet::setLabelText(const QString& text) {
    // Once cancelled, what the run still does is of no interest.
    if (cancelButton_->isEnabled()) label_->setText(text);
}

void ProgressSheet::reject() {
    setLabelText(tr("Cancelling…"));
    cancelButton_->setEnabled(false);
    emit cancelled();
}

}  // namespace reelsweep
