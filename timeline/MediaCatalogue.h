// MediaCatalogue: what the sequences of one document have in common: filters, and definitions.
//
// A `file` or nested sequence is defined in full once and referred to by id afterwards, also from
// other sequences and from inside disabled clips. A sequence's own definitions come first; for
// what it only refers to, the whole document is searched, once, when the first such reference is
// met. The sequence may stand apart from the document, as the copy that a run works on does.
//
// Owner: shared by the Timelines that were read with it. It never forgets, so what they point to
// stays. It takes the definitions outside the sequence that is read to be as they were: after an
// edit of those, make a new one.
// Thread rule: reading with it is for one thread at a time; finished Timelines may be used
// meanwhile.
#pragma once

#include "timeline/FilterStack.h"
#include "timeline/Media.h"
#include "xml/XMLNode.h"

#include <memory>

namespace reelsweep {

class MediaCatalogue {
public:
    /// `root` is the document's node, or any element that holds the definitions.
    static std::shared_ptr<MediaCatalogue> of(XMLNode root);
    ~MediaCatalogue();
    MediaCatalogue(const MediaCatalogue&) = delete;
    MediaCatalogue& operator=(const MediaCatalogue&) = delete;

    struct Contents;
    Contents& contents() { return *contents_; }

private:
    explicit MediaCatalogue(XMLNode root);
    std::unique_ptr<Contents> contents_;
};

}  // namespace reelsweep
