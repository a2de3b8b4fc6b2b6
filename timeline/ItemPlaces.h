// ItemPlaces: where the items of a track are, worked out from what they and their neighbours say.
//
// Thread rule: plain functions.
#pragma once

#include "timeline/Timeline.h"

#include <span>

namespace reelsweep {

/// Sets an item's own edges from its `start` and `end`, and says which of them it leaves to a
/// transition or does not have.
void setWrittenEdges(Item& item, XMLNode start, XMLNode end);

/// Finds the places of a track's items, whose written edges are set, in the order of the file: the
/// edges inside transitions, the cuts, and where their sources stand.
void placeItems(std::span<Item> items, FrameRate sequenceRate);

}  // namespace reelsweep
