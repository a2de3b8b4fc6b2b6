#include "app/ProgressSheet.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace reelsweep {

namespace {

// Of the bar. A sequence has about so many steps; the last ones share what is left.
constexpr int sequenceShare = 100;
constexpr int stepShare = 8;

}  // namespace

ProgressSheet::ProgressSheet(QWidget* window)
    : QDialog(window, Qt::Sheet),
      sequence_(new QLabel),
      label_(new QLabel),
      bar_(new QProgressBar),
      cancelButton_(nullptr) {
    setObjectName(QStringLiteral("windowProgress"));
    setWindowModality(Qt::WindowModal);
    setWindowTitle(tr("Processing"));
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);

    label_->setObjectName(QStringLiteral("progressLabel"));
    label_->setTextFormat(Qt::PlainText);
    sequence_->setObjectName(QStringLiteral("progressSequence"));
    sequence_->setTextFormat(Qt::PlainText);
    bar_->setObjectName(QStringLiteral("progressBar"));
    bar_->setAccessibleName(tr("Progress"));
    bar_->setTextVisible(false);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    cancelButton_ = buttons->button(QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::rejected, this, &ProgressSheet::reject);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(sequence_);
    layout->addWidget(bar_);
    layout->addWidget(label_);
    layout->addWidget(buttons);
}

void ProgressSheet::begin() {
    cancelButton_->setEnabled(true);
    label_->clear();
    sequence_->setText(tr("Starting…"));
    // Until the first sequence there is nothing to measure.
    bar_->setRange(0, 0);
    done_ = steps_ = 0;
    show();
    raise();
}

void ProgressSheet::end() { hide(); }

void ProgressSheet::setLabelText(const QString& text) {
    // Once cancelled, what the run still does is of no interest.
    if (!cancelButton_->isEnabled() || text == label_->text()) return;
    label_->setText(text);
    ++steps_;
    if (bar_->maximum() > 0)
        bar_->setValue(done_ + std::min(steps_ * stepShare, sequenceShare - stepShare));
}

void ProgressSheet::setSequence(const QString& title, std::size_t position, std::size_t count) {
    sequence_->setText(tr("%1 (%L2 of %L3)").arg(title).arg(position).arg(count));
    done_ = static_cast<int>(position - 1) * sequenceShare;
    steps_ = 0;
    bar_->setRange(0, static_cast<int>(count) * sequenceShare);
    bar_->setValue(done_);
}

void ProgressSheet::reject() {
    setLabelText(tr("Cancelling…"));
    cancelButton_->setEnabled(false);
    emit cancelled();
}

}  // namespace reelsweep
