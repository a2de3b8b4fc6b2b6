// The clean-up passes on FCPXML as data. They work on a whole document.
//
// The rows stand in tidy/FCPXPassRows.inc. Adding a pass is a row there and a file in tidy/fcpx/.
// Thread rule: the table is constant data; a run is for the thread that owns the tree.
#pragma once

#include "tidy/PassTable.h"
#include "tidy/TidySequence.h"
#include "timeline/TimelineEdit.h"

#include <span>
#include <string>
#include <vector>

namespace reelsweep {

/// What fcpxRemoveMarkers takes out unless it is told otherwise: what an editor calls a marker.
std::vector<std::string> usualFCPXMarkerKinds();
/// All that it can take out: the names of elements.
std::span<const std::string_view> fcpxMarkerKinds();

/// A run over a document.
struct FCPXRun {
    TimelineEdit& edit;  ///< of the document's node
    const std::vector<std::string>& markerKinds;
    const std::stop_token& stop;

    XMLNode document() const { return edit.sequence(); }
};

/// As PassRow, in the order of a run. `run` is null: these passes take an FCPXRun.
std::span<const PassRow> fcpxPassTable();
/// Whether one of these passes is on.
bool hasFCPXPass(const OptionList& passes);

/// Applies the passes that are on. Fails with cancelled after a stop; what was done by then stays.
Outcome applyFCPXPasses(XMLNode document, const OptionList& passes,
                        const std::vector<std::string>& markerKinds, SequenceLedger& ledger,
                        const TidyControls& controls);

namespace fcpx {
#define FCPX_PASS(option, title, summary) Outcome option(FCPXRun& run);
#include "tidy/FCPXPassRows.inc"
#undef FCPX_PASS
}  // namespace fcpx

}  // namespace reelsweep
