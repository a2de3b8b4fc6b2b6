// The drawn timeline of the window: before a run what it would do, after it what it did.
#include "app/InterfaceDescription.h"
#include "app/QVFCPDocWindow.h"
#include "app/Text.h"
#include "platform/Platform.h"
#include "report/PictureLabel.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QSplitter>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace reelsweep {

namespace {

// Several ticks in a row are one question.
constexpr std::chrono::milliseconds previewPause{120};

QSplitter* makeSplitter(QWidget* above) {
    auto* const splitter = new QSplitter(Qt::Vertical);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(above);
    return splitter;
}

}  // namespace

void QVFCPDocWindow::buildTimeline() {
    timeline_ = new TimelinePanel;
    auto* const page = outlet<QHBoxLayout>(*content(), "sequencesLayout");
    auto* const placeholder = new QWidget;
    delete page->replaceWidget(table_, placeholder);
    splitters_[sequencesPage] = makeSplitter(table_);
    delete page->replaceWidget(placeholder, splitters_[sequencesPage]);
    delete placeholder;
    splitters_[changesPage] = makeSplitter(&report());
    outlet<QVBoxLayout>(*content(), "changesLayout")->addWidget(splitters_[changesPage]);
    moveTimeline();

    previewDelay_.setSingleShot(true);
    previewDelay_.setInterval(previewPause);
    connect(&previewDelay_, &QTimer::timeout, this, &QVFCPDocWindow::askPreview);
    connect(&preview_, &TidyPreview::answered, this, &QVFCPDocWindow::previewAnswered);
    connect(&boxes(), &OptionBoxes::changed, this, &QVFCPDocWindow::schedulePreview);
    connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &QVFCPDocWindow::schedulePreview);
    connect(outlet<QTabWidget>(*content(), "tabs"), &QTabWidget::currentChanged, this, [this] {
        moveTimeline();
        // The list of changes has just been made: events get their turn before the timeline is.
        QMetaObject::invokeMethod(this, &QVFCPDocWindow::showTimeline, Qt::QueuedConnection);
    });
    connect(&report(), &ChangeReportView::subjectChanged, this, &QVFCPDocWindow::showSubject);
    connect(&timeline_->view(), &TimelineView::clipSelected, this,
            &QVFCPDocWindow::selectReportRow);
    connect(&timeline_->view(), &TimelineView::menuRequested, this, &QVFCPDocWindow::showClipMenu);
    connect(&report(), &ChangeReportView::menuRequested, this, &QVFCPDocWindow::showClipMenu);
}

// There is one timeline, below the list of sequences or below the changes.
void QVFCPDocWindow::moveTimeline() {
    const int page = outlet<QTabWidget>(*content(), "tabs")->currentIndex();
    QSplitter* const splitter = splitters_[page == changesPage ? changesPage : sequencesPage];
    if (timeline_->parentWidget() == splitter) return;
    splitter->addWidget(timeline_);
    // Sequences are few and changes are many.
    const bool isNew = splitter->count() == 2 && splitter->property("sizes").isNull();
    if (isNew) splitter->setSizes(page == changesPage ? QList{1000, 1000} : QList{600, 1000});
    splitter->setProperty("sizes", true);
    timeline_->show();
}

bool QVFCPDocWindow::showsRun() const {
    return outlet<QTabWidget>(*content(), "tabs")->currentIndex() == changesPage;
}

// The preview

void QVFCPDocWindow::schedulePreview() {
    // A native project lists its sequences in a short form, which has no timeline.
    if (!timeline_ || isFCPProject()) return;
    previewDelay_.start();
}

QVFCPDocWindow::Asked QVFCPDocWindow::whatToPreview() const {
    Asked asked{boxes().checkedOptions(),
                boxes().keepsPicture(),
                boxes().importsSafely(),
                keptClips_.wanted(),
                rules_->rules(),
                {},
                {}};
    const SequenceArray& records = *model_->records();
    for (std::size_t row = 0; row < records.size(); ++row)
        if (records[row]->selected) asked.rows.push_back(row);
    const int current = table_->currentIndex().row();
    if (current >= 0 && !records[static_cast<std::size_t>(current)]->selected)
        asked.aside = static_cast<std::size_t>(current);
    return asked;
}

void QVFCPDocWindow::askPreview() {
    if (isRunning() || !populated_ || !document_->tree()) return;
    Asked asked = whatToPreview();
    if (asked == asked_ && (previewed_ || preview_.isBusy())) {
        showTimeline();
        return;
    }
    asked_ = std::move(asked);
    previewed_.reset();
    TidyPreview::Question question;
    question.document = document_->tree();
    const SequenceArray& records = *model_->records();
    for (const std::size_t row : asked_.rows)
        question.sources.push_back(records[row]->xmlRepresentation);
    if (asked_.aside) question.aside = records[*asked_.aside]->xmlRepresentation;
    document_->setRules(asked_.rules);
    question.request.tidy = document_->tidyRequest(asked_.options, asked_.keepsPicture);
    question.request.importSafe = asked_.importsSafely;
    if (document_->hasProjectNode()) question.request.document = question.document->node();
    preview_.ask(std::move(question));
    if (!showsRun()) timeline_->setNote(tr("Working out what changes…"));
}

void QVFCPDocWindow::previewAnswered(const TidyPreview::Answer& answer) {
    if (isRunning()) return;
    previewed_ = answer;
    boxes().showCounts(answer.pictures.empty() ? nullptr : &answer.changes);
    if (!showsRun()) showTimeline();
}

void QVFCPDocWindow::forgetPreview() {
    previewDelay_.stop();
    preview_.cancel();
    previewed_.reset();
    asked_ = {};
    boxes().showCounts(nullptr);
    timeline_->showSequence({}, nullptr, {}, false);
}

// What is shown

void QVFCPDocWindow::showTimeline() {
    if (!timeline_) return;
    if (showsRun())
        showRunTimeline(report().subject().sequence);
    else
        showPreview();
}

void QVFCPDocWindow::showPreview() {
    const int current = table_->currentIndex().row();
    // While the next answer is on its way, the last one stays.
    if (current < 0 || !previewed_) return;
    const auto row = static_cast<std::size_t>(current);
    const QString title = toQString((*model_->records())[row]->title);
    const auto found = std::find(asked_.rows.begin(), asked_.rows.end(), row);
    const auto position = static_cast<std::size_t>(found - asked_.rows.begin());
    if (position < previewed_->pictures.size()) {
        const TidyPreview::Picture& picture = previewed_->pictures[position];
        timeline_->showSequence(title, picture,
                                tr("Preview: %1").arg(toQString(fateSummary(*picture))), true);
    } else if (asked_.aside == row && previewed_->aside) {
        timeline_->showSequence(title, previewed_->aside, tr("Not ticked: stays as it is"), false);
    } else {
        timeline_->showSequence(title, nullptr, {}, false);
    }
}

void QVFCPDocWindow::showRunTimeline(std::size_t sequence) {
    const auto& pictures = document_->pictures();
    if (sequence >= pictures.size() || sequence >= ledger().sequences.size()) {
        timeline_->showSequence({}, nullptr, {}, false);
        shownRun_ = nullptr;
        return;
    }
    if (shownRun_ == pictures[sequence] && timeline_->view().picture() == shownRun_.get()) return;
    shownRun_ = pictures[sequence];
    timeline_->showSequence(toQString(ledger().sequences[sequence].title), shownRun_,
                            toQString(fateSummary(*shownRun_)), true);
}

// Rows of the report and clips of the timeline

void QVFCPDocWindow::showSubject() {
    if (!showsRun()) return;
    const ChangeReportModel::Subject subject = report().subject();
    showRunTimeline(subject.sequence);
    if (!timeline_->view().picture()) return;
    const auto changes = timeline_->view().picture()->changes();
    if (subject.change && *subject.change < changes.size()) {
        const ClipPlace place = timeline_->view().picture()->placeOf(changes[*subject.change]);
        if (place.isSomewhere()) timeline_->view().select(place);
    } else if (subject.range) {
        timeline_->view().showRange(*subject.range);
    }
}

void QVFCPDocWindow::selectReportRow() {
    const ClipPlace place = timeline_->view().selected();
    if (!showsRun() || !place.isSomewhere()) return;
    const TimelinePicture& picture = *timeline_->view().picture();
    const ClipPlace other = picture.partnerOf(place);
    const bool isBefore = place.side == PictureSide::before;
    const std::uint32_t before = isBefore ? place.clip : other.clip;
    const std::uint32_t after = isBefore ? other.clip : place.clip;
    std::vector<std::uint32_t> numbers;
    const auto changes = picture.changes();
    for (std::uint32_t i = 0; i < changes.size(); ++i)
        if ((before != noEntry && changes[i].before == before) ||
            (after != noEntry && changes[i].after == after))
            numbers.push_back(i);
    report().selectChanges(report().subject().sequence, numbers);
}

// Clips that are left alone

std::string QVFCPDocWindow::clipToKeep() {
    const TimelinePicture* const picture = timeline_->view().picture();
    ClipPlace place = timeline_->view().selected();
    if (!picture || !place.isSomewhere()) return {};
    // A run may give a clip another id.
    if (place.side == PictureSide::after) place = picture->partnerOf(place);
    return place.isSomewhere() ? KeptClips::nameOf(picture->at(place)) : std::string();
}

void QVFCPDocWindow::showClipMenu(QPoint point) {
    if (isRunning() || isFCPProject()) return;
    auto* const menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("clipMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const std::string clip = clipToKeep();
    QAction* const keep = menu->addAction(tr("&Leave This Clip Alone"));
    keep->setCheckable(true);
    keep->setEnabled(!clip.empty());
    keep->setChecked(keptClips_.has(clip));
    connect(keep, &QAction::triggered, this, [this, clip] {
        keptClips_.toggle(clip);
        keptClipsChanged();
    });
    const auto count = keptClips_.wanted().size();
    QAction* const none = menu->addAction(tr("Leave &No Clip Alone (%L1)").arg(count));
    none->setEnabled(count > 0);
    connect(none, &QAction::triggered, this, [this] {
        keptClips_.clear();
        keptClipsChanged();
    });
    menu->popup(point);
}

void QVFCPDocWindow::keptClipsChanged() {
    document_->setKeptClips(keptClips_.wanted());
    showStatus(keptClips_.wanted().empty()
                   ? tr("No clip is left alone.")
                   : tr("Clips that runs leave alone: %L1").arg(keptClips_.wanted().size()));
    schedulePreview();
}

}  // namespace reelsweep
