// The plain twin: every pass as a literal search, the oracle for the product's passes.
//
// No index, no cleverness, no cancelling, no ledger: queries on the tree as it stands at each step.
// Slow on purpose; what a reader must see here is that it does the right thing. Only xml/ is shared
// with the product.
// Each function edits the sequence in place and returns it.
// Thread rule: one tree belongs to one thread at a time.
#pragma once

#include "xml/XMLNode.h"

#include <string>
#include <string_view>
#include <vector>

namespace reelsweep::test {

XMLNode plainRenameSequence(XMLNode sequence);
XMLNode plainRemoveDisabledClips(XMLNode sequence, std::string_view type);
XMLNode plainRemoveSilentAudioClips(XMLNode sequence);
XMLNode plainRemoveObscuredClips(XMLNode sequence);
XMLNode plainCollapseTracks(XMLNode sequence, bool reverse);
/// A clip that ends before it starts makes two of each clip below it, so that a malformed timeline
/// may grow without end: throws std::length_error when it has grown by 2,000 items.
XMLNode plainMergeClips(XMLNode sequence);
XMLNode plainCollapseMulticlips(XMLNode sequence);
XMLNode plainRemoveUnusedTracks(XMLNode sequence);
XMLNode plainReplaceGapsWithSlugs(XMLNode sequence);
XMLNode plainRemoveFilters(XMLNode sequence);
XMLNode plainRemoveMarkers(XMLNode sequence);
XMLNode plainRemoveTransitions(XMLNode sequence, std::string_view type);

/// The effects whose output is not a full opaque frame.
const std::vector<std::string>& plainTransparentEffects();
bool plainIsClipTransparent(XMLNode clip, const std::vector<std::string>& ignoredEffects = {});

/// What a run does, in order.
struct PlainStep {
    std::string_view name;      ///< for tests
    std::string_view option;    ///< the option that it belongs to
    std::string_view onlyWith;  ///< a second option that must be on too, if any
    XMLNode (*run)(XMLNode sequence);
};
const std::vector<PlainStep>& plainSteps();

/// Renames the sequence and applies the steps whose options are in the list. The new uuid is
/// "UUID".
XMLNode plainRun(XMLNode sequence, const std::vector<std::string>& options);

}  // namespace reelsweep::test
