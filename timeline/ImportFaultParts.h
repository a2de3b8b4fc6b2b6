// What the two searches for import faults share: the one along tracks and the one after ids.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "timeline/ImportFaults.h"

namespace reelsweep::importfaults {

std::string idOf(XMLNode element);
/// A transition is called after its effect.
std::string nameOf(XMLNode item);
std::string quoted(std::string_view text);
/// "V1, 01:00:04:00 to 01:00:08:00".
std::string place(TrackLabel track, const ItemTimes& times, const SequenceTimecode& timecode);

/// Adds the faults of ids, which hold for all that is imported together.
void findIdFaults(XMLNode root, std::vector<ImportFault>& faults);

}  // namespace reelsweep::importfaults
