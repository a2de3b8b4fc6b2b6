#include "app/QVFCPDocWindow.h"

#include "app/CheckHeader.h"
#include "app/InterfaceDescription.h"
#include "app/Text.h"

#include <QFrame>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QTabWidget>
#include <QTableView>

#include <algorithm>

namespace reelsweep {

QVFCPDocWindow::QVFCPDocWindow()
    : DocumentWindow(QStringLiteral("QVFCPDoc"), OptionBoxes::For::xmeml),
      model_(new SequenceModel(
          [this](std::size_t row, bool selected) { document_->setSelected(row, selected); }, this)),
      document_(std::make_unique<QVFCPDoc>(*this)) {
    model_->setRecords(document_->sequenceArray());
    if (!content()) return;
    buildTable();
    buildTimeline();
    buildRules();
}

void QVFCPDocWindow::buildRules() {
    rules_ = new RulesPage;
    outlet<QTabWidget>(*content(), "tabs")->addTab(rules_, QString());
    connect(rules_, &RulesPage::changed, this, &QVFCPDocWindow::rulesChanged);
    connect(&boxes(), &OptionBoxes::rulesChosen, rules_, &RulesPage::setRules);
    rulesChanged();
}

// The tab tells that there are rules: one that was forgotten should not surprise anybody.
void QVFCPDocWindow::rulesChanged() {
    const TidyRules rules = rules_->rules();
    const auto rows = ruleTable();
    const auto count = std::count_if(rows.begin(), rows.end(),
                                     [&](const RuleRow& row) { return !row.of(rules).empty(); });
    auto* const tabs = outlet<QTabWidget>(*content(), "tabs");
    tabs->setTabText(tabs->indexOf(rules_),
                     count == 0 ? tr("R&ules") : tr("R&ules (%1)").arg(count));
    boxes().setRules(rules);
    schedulePreview();
}

void QVFCPDocWindow::buildTable() {
    table_ = outlet<QTableView>(*content(), "sequenceTableView");
    auto* const columns = new CheckHeader(SequenceModel::selectedColumn);
    table_->setHorizontalHeader(columns);
    table_->setModel(model_);
    table_->installEventFilter(this);
    connect(columns, &CheckHeader::boxClicked, this, &QVFCPDocWindow::selectAllSequences);
    columns->setAccessibleName(tr("Columns of the sequences"));
    columns->setHighlightSections(false);
    columns->setSectionResizeMode(SequenceModel::selectedColumn, QHeaderView::ResizeToContents);
    columns->setSectionResizeMode(SequenceModel::sequenceColumn, QHeaderView::Stretch);
    const int width = fontMetrics().averageCharWidth();
    columns->setMinimumSectionSize(width * 5);
    const std::pair<int, int> widths[] = {
        {SequenceModel::durationColumn, 14}, {SequenceModel::rateColumn, 8},
        {SequenceModel::videoColumn, 5},     {SequenceModel::audioColumn, 5},
        {SequenceModel::itemsColumn, 8},     {SequenceModel::outcomeColumn, 34}};
    for (const auto& [column, characters] : widths)
        table_->setColumnWidth(column, width * characters);
    // Rows of one height: nobody measures ten thousand of them.
    QHeaderView* const rows = table_->verticalHeader();
    rows->hide();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setDefaultSectionSize(table_->fontMetrics().height() * 8 / 5);
    columns->setResizeContentsPrecision(0);

    // Wide enough for the options with their counts, beside a scroll bar.
    auto* const options = outlet<QScrollArea>(*content(), "optionsArea");
    options->setMinimumWidth(options->widget()->sizeHint().width() +
                             options->verticalScrollBar()->sizeHint().width() +
                             fontMetrics().horizontalAdvance(QStringLiteral(" (9,999)")));
    banner_ = outlet<QFrame>(*content(), "banner");
    banner_->hide();
    resize(sizeHint().expandedTo(
        QSize(fontMetrics().averageCharWidth() * 190, fontMetrics().height() * 56)));
}

Outcome QVFCPDocWindow::read(const std::string& path) {
    auto document = std::make_unique<QVFCPDoc>(*this);
    const auto noRecords = document->sequenceArray();
    const Outcome opened = document->readFromURL(path);
    if (!opened) return opened;
    populated_ = false;
    forgetPreview();
    model_->setRecords(noRecords);
    document_ = std::move(document);
    document_->setDrawsTimelines(true);
    keptClips_ = KeptClips::of(path);
    document_->setKeptClips(keptClips_.wanted());
    timeline_->setVisible(!isFCPProject());
    banner_->setVisible(!isFCPProject() && !document_->hasProjectNode());
    return opened;
}

// Called when the list is there, which a thread of the document builds; also for a document that
// never took its place here, or has lost it, while the list of this one is as it was.
void QVFCPDocWindow::reloadTable() {
    const auto records = document_->sequenceArray();
    if (records == model_->records()) return;
    populated_ = true;
    model_->setRecords(records);
    if (model_->rowCount() > 0) table_->setCurrentIndex(model_->index(0, 0));
    // With one sequence there is nothing to choose.
    document_->setAllSelected(model_->rowCount() == 1 && !isFCPProject());
    table_->setFocus();
    if (const auto failure = document_->listFailure())
        tell(tr("The sequences could not be listed"), toQString(failure->description()));
}

void QVFCPDocWindow::enableProcessButton(bool enabled) {
    showStatus(idleStatus());
    DocumentWindow::enableProcessButton(enabled);
    schedulePreview();
}

void QVFCPDocWindow::selectAllSequences(bool selected) {
    document_->setAllSelected(selected);
    model_->reloadSelection();
}

void QVFCPDocWindow::toggleSelectedRows() {
    const QModelIndexList rows = table_->selectionModel()->selectedRows();
    if (rows.isEmpty()) return;
    // As the first goes, so go the others.
    const bool tick = rows.constFirst().data(Qt::CheckStateRole).toInt() != Qt::Checked;
    std::vector<std::size_t> numbers;
    for (const QModelIndex& row : rows) numbers.push_back(static_cast<std::size_t>(row.row()));
    document_->setSelected(numbers, tick);
    model_->reloadSelection();
}

bool QVFCPDocWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == table_ && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        toggleSelectedRows();
        return true;
    }
    return DocumentWindow::eventFilter(watched, event);
}

void QVFCPDocWindow::startRun(const OptionList& options, std::function<void()> ended) {
    processedRecords_ = document_->sequenceArray();
    document_->setKeepsPicture(boxes().keepsPicture());
    document_->setRules(rules_->rules());
    document_->setImportsSafely(boxes().importsSafely());
    document_->setProvesPicture(true);
    cancelsRun_ = false;
    previewDelay_.stop();
    // A run edits the tree that the preview reads.
    preview_.whenIdle([this, options, ended = std::move(ended)] {
        document_->process(options, ended);
        if (cancelsRun_) document_->cancelProgress();
    });
}

void QVFCPDocWindow::cancelRun() {
    cancelsRun_ = true;
    document_->cancelProgress();
}

void QVFCPDocWindow::showOutcomes() {
    model_->setOutcomes(ledger());
    showTimeline();
    schedulePreview();
}

void QVFCPDocWindow::sendToFCP() {
    if (!isFCPProject() || isRunning() || !populated_) return;
    setBusy(true);
    document_->sendToFCP();
    setBusy(false);
}

QString QVFCPDocWindow::overwriteNotice() const {
    return tr(
        "The file gets a new bin “Reelsweep” with the tidied copies; the sequences that it "
        "holds stay as they are. To leave the file alone, save a tidied copy.");
}

ReportedDocument QVFCPDocWindow::reported() const {
    ReportedDocument reported;
    reported.input = path();
    reported.format = isFCPProject() ? "fcp" : "xmeml";
    reported.passes = options();
    if (runResult().delivered) reported.delivery = isFCPProject() ? "host" : "project";
    for (const Failure& failure : runResult().failures)
        reported.errors.push_back(failure.description());
    return reported;
}

QString QVFCPDocWindow::idleStatus() const {
    const int count = model_->rowCount();
    if (!populated_) return tr("Listing the sequences…");
    if (count == 0) return tr("This file holds no sequence.");
    const QString ticked = tr("%L1 of %2 ticked")
                               .arg(model_->selectedCount())
                               .arg(sequenceCount(static_cast<std::size_t>(count)));
    const QString reason = whyNotProcess();
    return reason.isEmpty() ? ticked : tr("%1. %2").arg(ticked, reason);
}

QString QVFCPDocWindow::whyNotProcess() const {
    if (!populated_) return tr("The sequences are being listed.");
    if (model_->rowCount() == 0) return tr("This file holds no sequence.");
    return model_->selectedCount() == 0 ? tr("Tick a sequence to process it.") : QString();
}

}  // namespace reelsweep
