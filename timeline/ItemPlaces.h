// ItemPlaces: where the items of a track are, worked out from what they and their neighbours say.
//
// Thread rule: plain functions.
#pragma once

#include "timeline/Timeline.h"

#include <span>
#include <string_view>

namespace reelsweep {

/// How a transition stands to its cut, from the text of its `alignment`.
Alignment alignmentOf(std::string_view text);

/// Sets an item's own edges from its `start` and `end`, and says which of them it leaves to a
/// transition or does not have.
void setWrittenEdges(Item& item, XMLNode start, XMLNode end);

/// Finds the places of a track's items, whose written edges are set, in the order of the file: the
/// edges inside transitions, the cuts, and where their sources stand.
void placeItems(std::span<Item> items, FrameRate sequenceRate);

}  // namespace reelsweep
