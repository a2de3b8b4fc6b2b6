#include "shell/CopyPicture.h"

namespace reelsweep {

void CopyPicture::before(const PassStep&, const TimelineEdit& edit) {
    if (!before_) before_ = Timeline::of(edit.sequence(), media_, TimelineDetail::picture);
}

std::shared_ptr<const TimelinePicture> CopyPicture::finish(XMLNode copy,
                                                           const SequenceLedger& ledger) const {
    const Timeline after = Timeline::of(copy, media_, TimelineDetail::picture);
    return std::make_shared<const TimelinePicture>(before_.value_or(after), after, ledger);
}

}  // namespace reelsweep
