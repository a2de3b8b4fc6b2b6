// FilterPool: reads filters, and keeps each combination of them once.
//
// Most clips of a film carry the same few filters, fixed ones above all. Telling that two clips
// have the same costs one walk over their texts.
// Owner: the MediaCatalogue. Thread rule: one thread at a time; what it answers is for any thread.
#pragma once

#include "timeline/ContentText.h"
#include "timeline/FilterStack.h"
#include "timeline/TextArena.h"
#include "xml/XMLNode.h"

#include <span>
#include <string_view>
#include <unordered_map>

namespace reelsweep {

class FilterPool {
public:
    /// The stack of these `filter` elements, in their order; never null, and the same for the same
    /// content.
    const FilterStack* stackOf(std::span<const XMLNode> filters);
    const FilterStack* noFilters() const { return &none_; }

    /// Appends an effect's name, id and parameters to a text: equal texts are equal effects.
    static void appendEffect(ContentText& text, XMLNode effect);

private:
    TextArena arena_;
    FilterStack none_;
    ContentText content_;  // of the stack that is asked for; kept for its memory
    std::unordered_map<std::string_view, const FilterStack*> stacks_;
};

}  // namespace reelsweep
