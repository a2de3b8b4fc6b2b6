// PictureGuard: what a careful run needs to know so that the picture stays as it was.
//
// The literal passes go by edges and names alone. A careful run asks the guard what a clip
// certainly hides and which tracks are on, and leaves alone what an earlier attempt has shown to
// change the picture.
//
//   attempt -> proof: as asked?  yes -> done
//                                no  -> the edits behind the difference are kept back, once more
//
// Owner: the tidy of one sequence. Thread rule: the run's thread.
#pragma once

#include "tidy/ChangesByTime.h"
#include "timeline/ChangeLedger.h"
#include "timeline/PictureDifference.h"
#include "timeline/Timeline.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace reelsweep {

class PictureGuard {
public:
    /// Reads the facts from a sequence that is still to be edited.
    explicit PictureGuard(const Timeline& before);

    /// The frames in which a clip certainly hides whatever is below it: opaque, full size, on an
    /// enabled track, outside its transitions. Nothing when it hides nothing for certain.
    ///   upper  x[0,10) [########)      hides [10,80)
    std::optional<FrameRange> hiddenBelow(XMLNode clip) const;
    /// Whether what stands on the track can be seen or heard.
    bool isOn(XMLNode track) const;
    /// Whether a pass is to leave a clip and all that moves with it alone.
    bool keeps(std::string_view option, XMLNode clip) const;
    bool keepsAny(std::string_view option, std::span<const XMLNode> nodes) const;

    /// A clip was split: the new piece hides what the whole hid.
    void addPiece(XMLNode piece, XMLNode whole);

    /// Keeps those edits of an attempt back that changed the picture or the sound unasked. After a
    /// few attempts it keeps all edits back. False when nothing is left to be kept back: then the
    /// difference was in the source.
    bool learnFrom(const PictureDifference& difference, const SequenceLedger& ledger);
    /// What was kept back, for the ledger of the attempt that was good.
    std::vector<KeptItem> kept() const;

private:
    /// By the frames at which their items stood and stand.
    ChangesByTime structuralChanges(const SequenceLedger& ledger) const;
    /// Keeps back what is behind one difference; false when there is nothing new.
    bool keepBehind(const Difference& difference, Frames margin, const ChangesByTime& changes,
                    const SequenceLedger& ledger);
    /// Keeps back what has no place in time, as an emptied track has none; false when there is
    /// nothing new.
    bool keepUnplaced(const PictureDifference& difference, const SequenceLedger& ledger);
    /// The clip of the source that a clip is a piece of; else itself.
    XMLNode cameAs(XMLNode clip) const;
    /// The clip that is left alone when a change is kept back.
    XMLNode subjectOf(const Change& change) const;
    /// False when it is kept back already.
    bool keep(const SequenceLedger& ledger, const Change& change, const Difference& difference);

    std::unordered_map<XMLNode, FrameRange> hiding_;
    std::unordered_map<XMLNode, FrameRange> ranges_;  ///< of items as they came
    std::unordered_map<XMLNode, XMLNode> wholes_;     ///< what new pieces were split off
    std::vector<XMLNode> tracksOff_;
    std::map<std::pair<std::string_view, const void*>, KeptItem> kept_;
    int attempts_ = 0;
};

}  // namespace reelsweep
