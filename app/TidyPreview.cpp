#include "app/TidyPreview.h"

#include "timeline/MediaCatalogue.h"

#include <utility>

namespace reelsweep {

namespace {

TidyPreview::Picture asItIs(XMLNode sequence, const XMLDocument& document) {
    return std::make_shared<const TimelinePicture>(
        Timeline::of(sequence, MediaCatalogue::of(document.node()), TimelineDetail::picture));
}

// False after a stop. A tidy that fails is told about by the run, not by its preview.
bool answer(const TidyPreview::Question& question, const std::stop_token& stop,
            TidyPreview::Answer& answer) {
    if (question.aside) answer.aside = asItIs(question.aside, *question.document);
    const auto runs = dryRun(question.sources, question.request, stop);
    if (!runs) return runs.failure().code != FailureCode::cancelled;
    for (const DryRun& run : *runs) {
        answer.pictures.push_back(run.picture);
        for (const Change& change : run.ledger.changes) ++answer.changes[change.pass];
    }
    return !stop.stop_requested();
}

}  // namespace

TidyPreview::TidyPreview(QObject* parent) : QObject(parent) {
    connect(this, &TidyPreview::threadEnds, this, &TidyPreview::ended, Qt::QueuedConnection);
}

TidyPreview::~TidyPreview() {
    thread_.request_stop();
    if (thread_.joinable()) thread_.join();
}

void TidyPreview::ask(Question question) {
    if (!isBusy()) {
        begin(std::move(question));
        return;
    }
    cancel();
    next_ = std::make_unique<Question>(std::move(question));
}

void TidyPreview::cancel() {
    thread_.request_stop();
    isWanted_ = false;
    next_.reset();
}

void TidyPreview::whenIdle(std::function<void()> then) {
    cancel();
    if (isBusy())
        then_ = std::move(then);
    else
        then();
}

void TidyPreview::begin(Question question) {
    isWanted_ = true;
    thread_ = std::jthread([this, asked = std::move(question)](const std::stop_token& stop) {
        isWhole_ = answer(asked, stop, found_);
        emit threadEnds();
    });
}

void TidyPreview::ended() {
    thread_.join();
    thread_ = {};
    const Answer found = std::exchange(found_, {});
    const bool isWanted = std::exchange(isWanted_, false) && isWhole_;
    if (auto then = std::exchange(then_, {})) then();
    if (auto next = std::move(next_); next && !isBusy()) begin(std::move(*next));
    if (isWanted) emit answered(found);
}

}  // namespace reelsweep
