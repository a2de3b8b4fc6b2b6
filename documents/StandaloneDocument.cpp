#include "documents/OutputBin.h"
#include "timeline/Vocabulary.h"

#include <unordered_map>
#include <unordered_set>

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

class Completion {
public:
    Completion(XMLNode sourceDocument, XMLNode binChildren)
        : source_(sourceDocument), children_(binChildren) {}

    void run() {
        addMasterClips();
        collectDefinitions();
        defineAtFirstUse();
    }

private:
    // Puts the master clips that a sequence uses before it; a master clip may use others in turn.
    void addMasterClips() {
        for (XMLNode child = children_.firstChild(); child; child = child.nextSibling())
            addMasterClipsUsedIn(child, child);
    }

    void addMasterClipsUsedIn(XMLNode node, XMLNode before) {
        node.forEachDescendant({}, [&](XMLNode element) {
            if (isReference(element)) {
                // What is defined here later may use master clips as well.
                const std::string key = keyOf(element);
                const XMLNode definition = source_.shared(key);
                if (definition && followed_.insert(key).second)
                    addMasterClipsUsedIn(definition, before);
                return;
            }
            if (!element.isElement("masterclipid")) return;
            const std::string id = element.stringValue();
            const XMLNode masterClip = source_.masterClip(id);
            if (!masterClip || !masterClips_.insert(id).second) return;
            addMasterClipsUsedIn(masterClip, before);
            children_.insertBefore(children_.appendCopy(masterClip), before);
        });
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
    std::unordered_set<std::string> followed_;
    std::unordered_set<std::string> masterClips_;
};

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
    return output;
}

}  // namespace reelsweep
