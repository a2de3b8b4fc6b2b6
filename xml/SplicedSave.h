// SplicedSave: saving a file again with one child more, the rest of it byte for byte as it was.
//
//     input     [ head ............... ][ tail ]
//     output    [ head ............... ][ new child ][ tail ]
//
// Line ends, indentation, quotes, byte order mark and character references of the input stay. The
// head can be on its way before the child is made.
// Owner: the caller. Thread rule: each belongs to one thread at a time.
#pragma once

#include "base/AtomicFile.h"
#include "base/UniqueDescriptor.h"
#include "xml/SplicePlace.h"

#include <functional>
#include <optional>
#include <string>

namespace reelsweep {

class SplicedSave {
public:
    /// For a file of that outline, with a new child behind the last one of `parent`, which is one
    /// of the outline's. Nothing when the document must be saved as a whole: the file is not what
    /// the outline describes any more, or there is no place.
    static std::optional<SplicedSave> ofFile(const std::string& path, const XMLOutline& outline,
                                             const ParentBytes& parent);

    const SplicePlace& place() const { return place_; }

    // The three steps, in this order, each on any thread. The output is open before the first and
    // committed after the last. What goes wrong, its commit() says; that fails also when the input
    // is no longer the file that was read.

    /// Writes what stands before the child.
    void writeHead(AtomicFile& output) const;
    /// Writes the child to a sink that leads to the output.
    void writeChild(const XMLNode& child, ByteSink& sink) const;
    /// The same for a child that is no node: `produce` writes it as the layout says, with the
    /// layout's line end behind it.
    void writeChild(const std::function<void(const XMLLayout&, ByteSink&)>& produce,
                    ByteSink& sink) const;
    /// Writes what stands behind the child.
    void writeTail(AtomicFile& output) const;

private:
    SplicedSave(std::string path, const FileIdentity& identity, UniqueDescriptor input,
                SplicePlace place);

    std::string path_;
    FileIdentity identity_;
    UniqueDescriptor input_;
    SplicePlace place_;
};

}  // namespace reelsweep
