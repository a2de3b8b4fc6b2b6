#include "app/QVFCPXDocWindow.h"

namespace reelsweep {

QVFCPXDocWindow::QVFCPXDocWindow()
    : DocumentWindow(QStringLiteral("QVFCPXDoc"), OptionBoxes::For::fcpxml),
      document_(std::make_unique<QVFCPXDoc>(*this)) {
    resize(sizeHint().expandedTo(
        QSize(fontMetrics().averageCharWidth() * 190, fontMetrics().height() * 30)));
}

Outcome QVFCPXDocWindow::read(const std::string& path) {
    auto document = std::make_unique<QVFCPXDoc>(*this);
    const Outcome opened = document->readFromURL(path);
    hasShownFailure_ = document->hasShownFailure();
    if (opened) document_ = std::move(document);
    return opened;
}

QString QVFCPXDocWindow::overwriteNotice() const {
    return tr(
        "The file is replaced by its tidied version. To leave the file alone, save a tidied "
        "copy.");
}

QString QVFCPXDocWindow::whyNotProcess() const {
    return boxes().checkedOptions().empty() ? tr("Tick what is to be stripped.") : QString();
}

ReportedDocument QVFCPXDocWindow::reported() const {
    ReportedDocument reported;
    reported.input = path();
    reported.format = "fcpxml";
    reported.passes = options();
    if (runResult().delivered) reported.delivery = "document";
    for (const Failure& failure : runResult().failures)
        reported.errors.push_back(failure.description());
    return reported;
}

}  // namespace reelsweep
