// The bin that tidied copies are delivered in.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "base/Failure.h"
#include "xml/SplicedSave.h"
#include "xml/XMLDocument.h"
#include "xml/XMLNode.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>

namespace reelsweep {

/// The version of XMEML that is written where no host names one.
inline constexpr int newestXMEMLVersion = 5;

/// The text around the sequences of an output bin, before and after them; with the header of a
/// whole document when a version of XMEML is given. The bin gets a fresh uuid.
struct BinText {
    std::string before;
    std::string after;
    static BinText make(std::optional<int> xmemlVersion);
};

/// A bin with these sequences, as text. Fails with cancelled after a stop.
Result<std::string> binText(std::span<const XMLNode> sequences, std::optional<int> xmemlVersion,
                            const std::stop_token& stop = {});

/// The same bin as a node of the tree that `anyNode` belongs to, without parent. A sequence of that
/// tree that has no parent moves into it, any other is copied. Fails with cancelled after a stop.
Result<XMLNode> makeBin(XMLNode anyNode, std::span<const XMLNode> sequences,
                        const std::stop_token& stop = {});

/// Where a document takes new bins: the children of its project. Null when it holds none.
XMLNode projectChildren(const XMLDocument& document);

/// How a new bin is added to the bytes of the file at `path`, from which the document was loaded.
/// Waits for a deferred check of the file. Null when it must be saved as a whole.
std::shared_ptr<const SplicedSave> spliceForBin(const XMLDocument& document,
                                                const std::string& path);

/// A new document with nothing but the bin. It stands alone: what a sequence refers to by id, a
/// `file`, a nested `sequence` or a master clip (`masterclipid`), is defined in full once, at its
/// first use in the output, wherever `source` defines it, also inside an item that a pass removed.
/// Master clips stand in the bin before the first sequence that uses them, and so do nested
/// sequences that would nest too deeply where they are used. What the source does not define stays
/// a reference. Fails with cancelled after a stop, and with processing when the document would
/// nest deeper than one may that is loaded. The source is not changed.
Result<XMLDocument> standaloneDocument(const XMLDocument& source,
                                       std::span<const XMLNode> sequences, int xmemlVersion,
                                       const std::stop_token& stop);

}  // namespace reelsweep
