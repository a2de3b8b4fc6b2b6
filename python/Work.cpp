#include "python/Work.h"

#include "documents/SequenceDocument.h"
#include "timeline/MediaCatalogue.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace reelsweep::python {

namespace {

constexpr const char* suffix = "-Tidied";

template <class T>
T valueOf(Result<T> result) {
    if (!result) throw Error{result.failure()};
    return std::move(*result);
}

}  // namespace

DocumentWork::Use::Use(const DocumentWork& document) : lock_(document.mutex_, std::try_to_lock) {
    if (!lock_)
        throw Error{{FailureCode::usage, "is in use by another call", document.document_->path()}};
}

std::shared_ptr<DocumentWork> DocumentWork::open(const std::string& path) {
    return std::shared_ptr<DocumentWork>(new DocumentWork(valueOf(openDocument(path))));
}

std::vector<Sequence> DocumentWork::sequences() const {
    const Use use(*this);
    std::vector<Sequence> list;
    for (const SourceSequence& sequence : document_->sequences())
        list.push_back({list.size(), sequence.title, sequence.uuid().value_or("")});
    return list;
}

reelsweep::Timeline DocumentWork::read(std::size_t index, TimelineDetail detail) const {
    if (index >= document_->sequences().size())
        throw Error{{FailureCode::usage, "has no such sequence", document_->path()}};
    const XMLNode sequence = document_->sequences()[index].node;
    return reelsweep::Timeline::of(sequence, MediaCatalogue::of(sequence.top()), detail);
}

Timeline DocumentWork::timeline(std::size_t index) {
    const Use use(*this);
    return Timeline::of(read(index, TimelineDetail::everything));
}

std::shared_ptr<TidiedWork> DocumentWork::tidy(const TidyOptions& options,
                                               const Progress& progress) {
    const Use use(*this);
    DocumentRequest request;
    request.passes = options.passes;
    if (!options.sequences.empty()) request.sequences = options.sequences;
    request.keepPicture = options.keepPicture;
    request.importSafe = options.importSafe;
    request.keep = options.keep;
    request.ignoredEffects = options.ignoredEffects;
    if (!options.fcpxMarkerKinds.empty()) request.fcpxMarkerKinds = options.fcpxMarkerKinds;
    std::stop_source stop;
    TidyControls controls{stop.get_token()};
    if (progress)
        controls.progress = [&](const std::string& text) {
            if (!progress(text)) stop.request_stop();
        };
    Tidied tidied = valueOf(reelsweep::tidy(*document_, request, controls));
    return std::make_shared<TidiedWork>(shared_from_this(), std::move(tidied));
}

std::vector<Comparison> DocumentWork::verify(DocumentWork& other) {
    const Use use(*this);
    std::optional<Use> otherUse;
    if (&other != this) otherUse.emplace(other);
    std::vector<Comparison> list;
    for (std::size_t i = 0; i < document_->sequences().size(); ++i) {
        const std::string& title = document_->sequences()[i].title;
        const auto& others = other.document_->sequences();
        const auto called = [&](const std::string& name) {
            const auto found =
                std::find_if(others.begin(), others.end(),
                             [&](const SourceSequence& each) { return each.title == name; });
            return static_cast<std::size_t>(found - others.begin());
        };
        std::size_t row = called(title + suffix);
        if (row == others.size() && &other != this) row = called(title);
        if (row == others.size()) continue;
        list.push_back(Comparison::of(PictureDifference(read(i, TimelineDetail::picture),
                                                        other.read(row, TimelineDetail::picture))));
    }
    if (list.empty())
        throw Error{{FailureCode::usage, "no sequences belong together", document_->path()}};
    return list;
}

std::vector<SequenceLedger> TidiedWork::ledger() const {
    const DocumentWork::Use use(*document_);
    std::vector<SequenceLedger> list;
    for (const reelsweep::SequenceLedger& sequence : tidied_.ledger().sequences)
        list.push_back(SequenceLedger::of(sequence));
    return list;
}

std::vector<Timeline> TidiedWork::timelines() const {
    const DocumentWork::Use use(*document_);
    std::vector<Timeline> list;
    for (const reelsweep::SequenceLedger& sequence : tidied_.ledger().sequences)
        if (sequence.picture) list.push_back(Timeline::of(sequence.picture->copy()));
    return list;
}

void TidiedWork::save(const std::string& path, bool mayReplace) const {
    const DocumentWork::Use use(*document_);
    const Outcome saved = tidied_.save(path, mayReplace ? Overwrite::always : Overwrite::never);
    if (!saved) throw Error{saved.failure()};
}

}  // namespace reelsweep::python
