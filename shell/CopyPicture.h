// CopyPicture: looks on while a copy is tidied, and draws it before and after.
//
// Owner: the run. Thread rule: the run's thread.
#pragma once

#include "report/TimelinePicture.h"
#include "tidy/TidySequence.h"
#include "timeline/MediaCatalogue.h"

#include <memory>
#include <optional>
#include <utility>

namespace reelsweep {

class CopyPicture final : public StepObserver {
public:
    /// `media` is that of the document whose sequence is copied.
    explicit CopyPicture(std::shared_ptr<MediaCatalogue> media) : media_(std::move(media)) {}

    /// Before the first step the copy is still as it came. A careful run takes that step again.
    void before(const PassStep& step, const TimelineEdit& edit) override;
    /// Once the copy is finished.
    std::shared_ptr<const TimelinePicture> finish(XMLNode copy, const SequenceLedger& ledger) const;

private:
    std::shared_ptr<MediaCatalogue> media_;
    std::optional<Timeline> before_;
};

}  // namespace reelsweep
