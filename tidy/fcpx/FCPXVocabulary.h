// The words of FCPXML that passes go by.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "base/Failure.h"
#include "time/RationalTime.h"
#include "xml/XMLNode.h"

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace reelsweep::fcpx {

/// A clip of a storyline, or one that is connected to such a clip. An audition counts as one.
bool isStoryItem(XMLNode node);
/// Stands one after the other with its neighbours: in a storyline, or in an angle of a multicam.
bool isInStoryline(XMLNode node);
/// Hangs on a clip, in a lane above or below it.
bool isConnected(XMLNode node);
/// enabled="0".
bool isDisabled(XMLNode node);

/// All elements of these names, in document order.
std::vector<XMLNode> elementsNamed(XMLNode top, std::initializer_list<std::string_view> names);

/// The time in an attribute; nothing when it is missing or no time.
std::optional<RationalTime> timeOf(XMLNode node, const char* attribute);

/// The resources of a document by their ids.
class Resources {
public:
    explicit Resources(XMLNode document);
    /// Null for none.
    XMLNode find(std::string_view id) const;
    /// Every element that stands in a `resources`, in document order.
    const std::vector<XMLNode>& all() const { return all_; }

private:
    std::vector<XMLNode> all_;
    std::unordered_map<std::string, XMLNode> byId_;
};

inline Failure stopped() { return {FailureCode::cancelled, "cancelled"}; }

}  // namespace reelsweep::fcpx
