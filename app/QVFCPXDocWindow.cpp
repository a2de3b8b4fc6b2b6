#include "app/QVFCPXDocWindow.h"

#include "app/Text.h"

#include <QCoreApplication>

#include <numeric>

namespace reelsweep {

QVFCPXDocWindow::QVFCPXDocWindow()
    : DocumentWindow(QStringLiteral("QVFCPXDoc"), OptionBoxes::For::fcpxml),
      document_(std::make_unique<QVFCPXDoc>(*this)) {
    resize(sizeHint().expandedTo(
        QSize(fontMetrics().averageCharWidth() * 190, fontMetrics().height() * 42)));
}

Outcome QVFCPXDocWindow::read(const std::string& path) {
    auto document = std::make_unique<QVFCPXDoc>(*this);
    document->setTakesEvents(true);
    const Outcome opened = document->readFromURL(path);
    hasShownFailure_ = document->hasShownFailure();
    if (!opened) return opened;
    document_ = std::move(document);
    for (const PassRow& pass : passTable())
        boxes().setAvailable(pass.option, document_->hasProject());
    return opened;
}

QString QVFCPXDocWindow::overwriteNotice() const {
    return tr(
        "The file is replaced by its tidied version. To leave the file alone, save a tidied "
        "copy.");
}

QString QVFCPXDocWindow::whyNotProcess() const {
    const OptionList options = boxes().checkedOptions();
    if (options.empty()) return tr("Tick what is to be done.");
    if (hasOption(options, "fcpxRemoveMarkers") && boxes().markerKinds().empty())
        return tr("Tick the kinds of markers to take out.");
    return {};
}

void QVFCPXDocWindow::startRun(const OptionList& options, std::function<void()> ended) {
    document_->setMarkerKinds(boxes().markerKinds());
    document_->process(options, std::move(ended));
}

// A file is tidied as a whole, so the passes are what its changes are counted by.
QString QVFCPXDocWindow::countedChanges(std::size_t changes) const {
    QStringList parts;
    for (const PassRow& pass : reportedRows()) {
        std::size_t count = 0;
        for (const SequenceLedger& sequence : ledger().sequences) {
            const SequenceLedger::Totals totals = sequence.totals(pass.option);
            count += std::accumulate(totals.begin(), totals.end(), std::size_t{0});
        }
        const std::string title(pass.title);
        if (count > 0)
            // The number goes to the next line with its pass only.
            parts += tr("%1\u00a0(%L2)", "a pass and its number of changes")
                         .arg(QCoreApplication::translate("PassTable", title.c_str()))
                         .arg(count);
    }
    if (parts.isEmpty()) return tr("Nothing had to be changed");
    return tr("%1: %2").arg(changeCount(changes), parts.join(tr(", ")));
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
