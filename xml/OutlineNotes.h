// OutlineNotes: the outline of a document, noted tag by tag; for the sources of xml/ only.
//
// Owner: the caller. Thread rule: each belongs to one thread.
#pragma once

#include "xml/XMLOutline.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace reelsweep {

class OutlineNotes {
public:
    /// Elements with fewer than so many around them are to be noted, and those of that name.
    static constexpr std::size_t outerLevels = 4;
    static constexpr std::string_view innerName = "sequence";

    /// Notes an element with `depth` others around it, of which begin and contentBegin are known.
    /// Answers which notes close() has to complete; 0 for none.
    std::uint8_t open(std::size_t depth, const ElementBytes& element, std::string_view name);
    void close(std::uint8_t notes, std::uint64_t contentEnd, std::uint64_t end);

    XMLOutline& outline() { return outline_; }

private:
    enum Note : std::uint8_t {
        isRoot = 1,
        isRootChild = 2,
        isProjectChildren = 4,
        isInProjectChildren = 8,
        isSequence = 16,
    };

    XMLOutline outline_;
    std::vector<std::size_t> openSequences_;  // indices in the outline
    bool inXmeml_ = false;
    bool inProject_ = false;
    bool inChildren_ = false;
};

}  // namespace reelsweep
