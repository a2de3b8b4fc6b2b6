#include "documents/OutputBin.h"
#include "timeline/Vocabulary.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

// "file" or "sequence" with the id, so that equal ids of different elements are different things.
std::string keyOf(XMLNode element) {
    return std::string(element.name()) + '\n' + std::string(element.attribute("id").value_or(""));
}

bool isShared(XMLNode element) {
    return (element.isElement("file") || element.isElement("sequence")) && element.attribute("id");
}

// Blanks or a comment define nothing.
bool holdsElements(XMLNode element) {
    XMLNode child = element.firstChild();
    while (child && !child.isElement()) child = child.nextSibling();
    return bool(child);
}

bool isReference(XMLNode element) { return isShared(element) && !holdsElements(element); }
bool isDefinition(XMLNode element) { return isShared(element) && holdsElements(element); }

// Where the source defines what can be referred to by id. The first definition counts.
class SourceDefinitions {
public:
    explicit SourceDefinitions(XMLNode document) {
        document.forEachDescendant({}, [&](XMLNode element) {
            if (isDefinition(element))
                shared_.emplace(keyOf(element), element);
            else if (element.isElement("clip") && element.attribute("id") && element.firstChild())
                masterClips_.emplace(std::string(*element.attribute("id")), element);
        });
    }

    XMLNode shared(const std::string& key) const { return find(shared_, key); }
    XMLNode masterClip(const std::string& id) const { return find(masterClips_, id); }

private:
    using Map = std::unordered_map<std::string, XMLNode>;
    static XMLNode find(const Map& map, const std::string& key) {
        const auto found = map.find(key);
        return found == map.end() ? XMLNode() : found->second;
    }

    Map shared_;
    Map masterClips_;
};

// Levels from the element up to `top`.
int depthBelow(XMLNode element, XMLNode top) {
    int depth = 0;
    for (; element && element != top; element = element.parent()) ++depth;
    return depth;
}

class Completion {
public:
    Completion(XMLNode sourceDocument, XMLNode binChildren)
        : source_(sourceDocument), children_(binChildren) {
        for (XMLNode child = children_.firstChild(); child; child = child.nextSibling())
            delivered_.insert(keyOf(child));
    }

    void run() {
        addWhatIsUsed();
        collectDefinitions();
        defineAtFirstUse();
    }

private:
    // A sequence that would nest deeper than this, with all that is defined inside it, stands in
    // the bin before its first use. Every use of it is then a reference.
    static constexpr int deepestNesting = XMLDocument::maximumDepth / 2;

    // Something that is looked through for what it uses. The path of these takes the place of a
    // recursion: how far master clips and sequences refer to each other is up to the source.
    struct Visit {
        XMLNode top;        ///< a child of the bin, a definition or a master clip of the source
        XMLNode at;         ///< how far the look has come
        std::string key;    ///< of a definition; empty for others
        bool isMasterClip;  ///< it goes into the bin
        int nesting = 0;    ///< levels, with those of what is defined inside
    };

    // Puts the master clips that a sequence uses before it, and those that they use before them;
    // also sequences that must not be defined where they are used.
    void addWhatIsUsed() {
        for (XMLNode child = children_.firstChild(); child; child = child.nextSibling())
            addWhatIsUsedIn(child);
    }

    void addWhatIsUsedIn(XMLNode child) {
        std::vector<Visit> path{{child, child, {}, false}};
        while (!path.empty()) {
            XMLNode& at = path.back().at;
            at = at.nextElement(path.back().top, {});
            if (!at) {
                leave(path, child);
            } else if (isReference(at)) {
                // What is defined here later may use master clips as well.
                enterDefinition(path, at);
            } else if (at.isElement("masterclipid")) {
                std::string id = at.stringValue();
                if (const XMLNode masterClip = source_.masterClip(id))
                    if (masterClips_.insert(std::move(id)).second)
                        path.push_back({masterClip, masterClip, {}, true});
            }
        }
    }

    void enterDefinition(std::vector<Visit>& path, XMLNode reference) {
        std::string key = keyOf(reference);
        const XMLNode definition = source_.shared(key);
        if (!definition) return;
        const auto [known, isFirst] = nesting_.emplace(key, 0);
        if (isFirst)
            path.push_back({definition, definition, std::move(key), false});
        else
            noteNesting(path.back(), known->second);
    }

    static void noteNesting(Visit& visit, int nestingAtPlace) {
        visit.nesting = std::max(visit.nesting, depthBelow(visit.at, visit.top) + nestingAtPlace);
    }

    void leave(std::vector<Visit>& path, XMLNode child) {
        const Visit visit = std::move(path.back());
        path.pop_back();
        const bool isTooDeep = visit.nesting > deepestNesting && visit.top.isElement("sequence") &&
                               !delivered_.contains(visit.key);
        if (visit.isMasterClip || (!visit.key.empty() && isTooDeep))
            children_.insertBefore(children_.appendCopy(visit.top), child);
        if (visit.key.empty()) return;
        const int nesting = isTooDeep ? 0 : visit.nesting;
        nesting_[visit.key] = nesting;
        noteNesting(path.back(), nesting);
    }

    void collectDefinitions() {
        children_.forEachDescendant({}, [&](XMLNode element) {
            if (!isDefinition(element)) return;
            own_.emplace(keyOf(element), element);
        });
    }

    // Walks the output in document order, going into what it inserts.
    void defineAtFirstUse() {
        for (XMLNode element = children_.nextElement(children_, {}); element;
             element = element.nextElement(children_, {})) {
            if (isReference(element)) element = defined(element);
            if (isDefinition(element)) keepFirst(element);
        }
    }

    // The definition in place of the reference, when this is the first use and there is a
    // definition.
    XMLNode defined(XMLNode reference) {
        const std::string key = keyOf(reference);
        if (defined_.contains(key)) return reference;
        const auto own = own_.find(key);
        const XMLNode definition = own != own_.end() ? own->second : source_.shared(key);
        if (!definition) return reference;
        XMLNode parent = reference.parent();
        const XMLNode copy = parent.appendCopy(definition);
        parent.insertBefore(copy, reference);
        reference.detach();
        return copy;
    }

    // A definition that says the same as the first one becomes a reference to it; one that says
    // something else under the same id is the source's affair and stays.
    void keepFirst(XMLNode definition) {
        const std::string key = keyOf(definition);
        // They are compared as text, since references inside the first one are about to be defined.
        const std::string text = own_.contains(key) ? serialise(definition) : std::string();
        const auto [first, isFirst] = defined_.emplace(key, text);
        if (isFirst || first->second != text) return;
        while (XMLNode child = definition.firstChild()) child.detach();
    }

    SourceDefinitions source_;
    XMLNode children_;
    std::unordered_map<std::string, XMLNode> own_;          // the first in the output, by key
    std::unordered_map<std::string, std::string> defined_;  // met on the walk so far: key, text
    std::unordered_map<std::string, int> nesting_;          // of definitions that were met
    std::unordered_set<std::string> delivered_;
    std::unordered_set<std::string> masterClips_;
};

// Beyond what can be loaded again.
bool nestsTooDeeply(XMLNode root) {
    int depth = 1;
    for (XMLNode node = root; node;) {
        if (node.isElement() && depth > XMLDocument::maximumDepth) return true;
        if (const XMLNode child = node.firstChild()) {
            node = child;
            ++depth;
            continue;
        }
        for (; node != root && !node.nextSibling(); --depth) node = node.parent();
        node = node == root ? XMLNode() : node.nextSibling();
    }
    return false;
}

}  // namespace

Result<XMLDocument> standaloneDocument(const XMLDocument& source,
                                       std::span<const XMLNode> sequences, int xmemlVersion,
                                       const std::stop_token& stop) {
    const BinText text = BinText::make(xmemlVersion);
    Result<XMLDocument> output = XMLDocument::parse(text.before + text.after);
    if (!output) return output;
    XMLNode children = output->rootElement().child("bin").child("children");
    for (const XMLNode& sequence : sequences) {
        if (stop.stop_requested()) return Failure{FailureCode::cancelled, "cancelled"};
        children.appendCopy(sequence);
    }
    Completion(source.node(), children).run();
    if (nestsTooDeeply(output->rootElement()))
        return Failure{FailureCode::processing, "the result would nest deeper than " +
                                                    std::to_string(XMLDocument::maximumDepth) +
                                                    " levels"};
    return output;
}

}  // namespace reelsweep
