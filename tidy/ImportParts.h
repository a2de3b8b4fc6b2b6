// The parts of makeImportSafe, in the order in which they run; for its sources only.
//
// Thread rule: the thread that owns the trees.
#pragma once

#include "tidy/ImportStep.h"
#include "timeline/SequencePlaces.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace reelsweep {

struct ImportDelivery::State {
    /// One of the things that files or sequences of one id are.
    struct Variant {
        XMLNode source;    ///< a definition in the document that stands before the copies, or null
        std::string text;  ///< of the definition as it came; empty for one that is in `source`
        std::string id;    ///< under which it is delivered
    };

    /// The first definition of each file and sequence of a document, by keyOf.
    using Definitions = std::unordered_map<std::string, XMLNode>;
    const Definitions& definitionsIn(XMLNode document);
    /// The same, and takes all ids of the document for used.
    const Definitions& useAll(XMLNode document);
    /// Takes the ids below an element for used.
    void useIds(XMLNode root);
    /// The same for a copy that is done, once another one asks: the last one's are not wanted.
    void useLater(XMLNode copy) { done_ = copy; }
    void useWhatIsDone() {
        if (done_) useIds(std::exchange(done_, XMLNode()));
    }
    /// Whether an id is free, and no id of the source document either.
    bool isFree(const std::string& id, XMLNode document);

    XMLNode before;  ///< the document that the copies stand in, after all else; null for none
    std::unordered_set<std::string> ids;  ///< used in what is delivered so far
    std::unordered_map<std::string, std::vector<Variant>> variants;

private:
    XMLNode done_;
    std::unordered_map<XMLNode, Definitions> definitions_;
    std::unordered_map<XMLNode, std::unordered_set<std::string>> documentIds_;
};

namespace importing {

/// "file" or "sequence" with an id: equal ids of different elements are different things.
std::string keyOf(XMLNode element);

/// Gives every item a place of its own that importers understand.
void mendPlaces(TimelineEdit& edit, const ImportSource& source);
/// `places` are the copy's, as they are once mended: what comes next leaves them as they are.
void mendTicks(TimelineEdit& edit, const SequencePlaces& places);
void defineOnce(TimelineEdit& edit, const ImportContext& context);
/// Ids first, then the links that name them.
void mendIdsAndLinks(TimelineEdit& edit, const ImportContext& context,
                     const SequencePlaces& places);

}  // namespace importing

}  // namespace reelsweep
