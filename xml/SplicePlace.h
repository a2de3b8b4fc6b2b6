// SplicePlace: where one more child goes into the bytes of a file, and how its surroundings are
// written.
//
// Thread rule: plain values.
#pragma once

#include "xml/XMLDocument.h"
#include "xml/XMLOutline.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace reelsweep {

/// The new bytes are `before`, the child in the layout, `after`:
///
///         <children>                           <children>
///             <bin> ... </bin>                     <bin> ... </bin>
///         </children>                 ->           <bin> new </bin>
///     ^ offset                                 </children>
struct SplicePlace {
    std::uint64_t offset = 0;  ///< of the first byte that follows the new ones
    std::string before;
    std::string after;
    XMLLayout layout;

    bool operator==(const SplicePlace&) const = default;

    /// Answers the bytes [begin, end) of the file; nothing when they cannot be read.
    using Reader =
        std::function<std::optional<std::string>(std::uint64_t begin, std::uint64_t end)>;
    /// The place behind the last child of an element two levels below the root. The child gets
    /// lines of its own where its neighbours have them, with their margin, indentation and line
    /// ends.
    ///
    /// Nothing where bytes alone do not say how: the parent has no end tag, text or comments stand
    /// behind its last child, or more white space than anybody writes.
    static std::optional<SplicePlace> afterLastChild(const ParentBytes& parent, const Reader& read);
};

}  // namespace reelsweep
