// DefinitionSearch: where a document defines the files, sequences and multiclips that its sequences
// refer to by id. Of several definitions with one id the first counts.
//
// Editing systems define a thing where they first mention it, so nearly all references look back.
// The search goes through the document from its beginning and no further than it is asked for:
//
//   sequence   [clip A: defines f1][clip B][clip C]
//   searched   '------------------'        ^ it goes on from here when an id is not known yet
//
// Owner: who makes it. Thread rule: the thread that owns the tree.
#pragma once

#include "timeline/TextArena.h"
#include "xml/XMLNode.h"

#include <string_view>
#include <unordered_map>

namespace reelsweep {

class DefinitionSearch {
public:
    /// Below `root`, the document's node or any element.
    explicit DefinitionSearch(XMLNode root);

    /// Whether the document is as it was when the search began, or a sequence of it was edited.
    enum class Document { unchanged, edited };

    /// The definition of that id; null without one.
    XMLNode file(std::string_view id, Document document) { return find(files_, id, document); }
    XMLNode sequence(std::string_view id, Document document) {
        return find(sequences_, id, document);
    }
    XMLNode multiclip(std::string_view id, Document document) {
        return find(multiclips_, id, document);
    }

private:
    using Definitions = std::unordered_map<std::string_view, XMLNode>;

    XMLNode find(const Definitions& kind, std::string_view id, Document document);
    void searchNextPart();
    void searchBelow(XMLNode part);
    void note(XMLNode element);

    XMLNode root_;
    XMLNode next_;  ///< the part to be searched next; null when all are
    TextArena arena_;
    Definitions files_;
    Definitions sequences_;
    Definitions multiclips_;
};

}  // namespace reelsweep
