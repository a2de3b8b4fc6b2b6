// ChangeAttribution: which edits of a run made a difference.
//
// A difference names clips of the source and of the copy; the ledger names elements of the copy. An
// element that is still in the copy is found by itself, one that was there by what it was when the
// run began: track, id, name and times.
// Owner: who asks; the ledger must outlive it. Thread rule: the thread that owns the tree of the
// ledger's elements.
#pragma once

#include "timeline/ChangeLedger.h"
#include "timeline/PictureDifference.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace reelsweep {

class ChangeAttribution {
public:
    /// O(changes).
    explicit ChangeAttribution(const SequenceLedger& ledger);

    /// The changes of the clips and transitions that the difference is about, and of the filters
    /// on them, that concern its frames, in the order in which they were made. When there are none,
    /// those of the other clips that are seen or heard there.
    std::vector<const Change*> of(const Difference& difference) const;

private:
    using Indexes = std::vector<std::size_t>;

    void add(const Item& item, const Track& track, FrameRange range, Indexes& found) const;
    void add(const Contributor& contributor, FrameRange range, Indexes& found) const;
    void addNode(XMLNode node, FrameRange range, Indexes& found) const;

    const SequenceLedger& ledger_;
    std::unordered_map<XMLNode, Indexes> changes_;  // by item, whether it or a part of it changed
    std::unordered_map<std::string, std::vector<XMLNode>> originals_;  // items by what they were
};

}  // namespace reelsweep
