// XMLOutline: where in a file's bytes the outer elements and the sequences stand.
//
// All places are counts of bytes from the start of the file, a byte order mark included. An outline
// describes the bytes that were read and nothing that was done to the tree since.
// Thread rule: plain values.
#pragma once

#include "base/AtomicFile.h"

#include <cstdint>
#include <vector>

namespace reelsweep {

/// The places of one element, each the first byte behind a boundary, so that ends are exclusive:
///
///     <children> <bin> ... </bin> </children>
///     ^         ^                 ^          ^
///     begin     contentBegin      contentEnd end
struct ElementBytes {
    std::uint64_t begin = 0;
    std::uint64_t contentBegin = 0;  ///< behind the start tag
    std::uint64_t contentEnd = 0;    ///< where the end tag begins
    std::uint64_t end = 0;

    /// Written as `<name/>`: there is no end tag to write before.
    bool selfClosed() const { return contentEnd == end; }
    bool operator==(const ElementBytes&) const = default;
};

/// An element that something may be appended to.
struct ParentBytes : ElementBytes {
    ElementBytes lastChild;  ///< its last element; all zero when it has none

    bool hasChild() const { return lastChild.end != 0; }
    bool operator==(const ParentBytes&) const = default;
};

/// Of a well-formed document in UTF-8.
struct XMLOutline {
    FileIdentity file;  ///< the file that was read; not known() for bytes from elsewhere
    bool byteOrderMark = false;
    bool carriageReturns = false;  ///< anywhere in the bytes
    ElementBytes root;
    std::vector<ElementBytes> rootChildren;    ///< in their order
    std::vector<ParentBytes> projectChildren;  ///< every xmeml/project/children, in their order
    std::vector<ElementBytes> sequences;       ///< every `sequence`, in the order of their begins

    bool operator==(const XMLOutline&) const = default;
};

}  // namespace reelsweep
