// XMLNode: a cheap handle on one node of an XML tree. The XMLDocument owns the nodes.
//
// A null handle is safe everywhere: its relatives are null, its texts empty, edits do nothing.
// Detaching a node never invalidates a handle: the node loses its parent and siblings, no query
// from elsewhere reaches it, and its memory is freed with its document. A loaded text that is moved
// is the one exception: see separateText().
// Thread rule: one document's nodes are used from one thread at a time.
#pragma once

#include "base/Failure.h"

#include <array>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pugi {
class xml_node;
class xml_attribute;
struct xml_node_struct;
struct xml_attribute_struct;
}  // namespace pugi

namespace reelsweep {

enum class XMLKind {
    none,
    document,
    element,
    text,
    cdata,
    comment,
    processingInstruction,
    declaration,
    doctype,
    attribute,
};

class XMLNode {
public:
    XMLNode() = default;

    explicit operator bool() const { return node_ != nullptr; }
    bool operator==(const XMLNode&) const = default;

    XMLKind kind() const;
    bool isElement() const { return kind() == XMLKind::element; }
    /// True for an element of exactly this name.
    bool isElement(std::string_view name) const;
    /// Character data, CDATA sections included.
    bool isText() const;

    /// Element, attribute or processing-instruction name; empty otherwise.
    std::string_view name() const;
    /// A text's, comment's or attribute's own text; empty for elements.
    std::string_view value() const;
    /// The text of all descendants, as XPath's string() has it.
    std::string stringValue() const;

    // Relatives. An attribute's parent is its element; it has no siblings.
    XMLNode parent() const;
    /// The node at the top of the tree that this one is in: the document's, or that of a part that
    /// was detached. Itself when it has no parent.
    XMLNode top() const;
    XMLNode previousSibling() const;
    XMLNode nextSibling() const;
    XMLNode firstChild() const;
    XMLNode lastChild() const;
    /// First child element of that name. The name must be NUL-terminated.
    XMLNode child(const char* name) const;
    /// The first child element of each of these names, in the order of the names, null where there
    /// is none. One walk over the children.
    template <std::size_t count>
    std::array<XMLNode, count> firstChildren(const std::string_view (&names)[count]) const {
        std::array<XMLNode, count> found;
        findFirstChildren(names, found.data(), count);
        return found;
    }
    /// Next sibling element of that name.
    XMLNode nextSibling(const char* name) const;
    /// Position among the parent's child nodes, from 0. O(position).
    std::size_t index() const;
    /// O(children).
    std::size_t childCount() const;
    XMLNode childAtIndex(std::size_t index) const;

    /// The text of the attribute, or nothing when the element lacks it.
    std::optional<std::string_view> attribute(const char* name) const;
    /// Calls visit(name, value) for each attribute, in their order.
    void forEachAttribute(
        const std::function<void(std::string_view, std::string_view)>& visit) const;
    /// First text (or CDATA) child; null when there is none. Not a blank before a CDATA section.
    XMLNode firstText() const;
    /// The first text among the children that is not empty; empty when there is none. Not a blank
    /// before a CDATA section.
    std::string_view text() const { return rawText(); }
    /// name() and text() as NUL-terminated characters, for readers of very many nodes: what they
    /// look for they find without measuring each text first. Never null.
    const char* rawName() const;
    const char* rawText() const;
    /// The text when it is all that the element holds, NUL-terminated; null otherwise.
    const char* onlyText() const;

    /// The element after this one in document order that lies below `top` and has that name (any
    /// name when empty); null after the last. From `top` itself it answers the first one.
    XMLNode nextElement(const XMLNode& top, std::string_view name) const;
    /// Calls visit(element) for every element below this node whose name is one of `names` (any
    /// name when there are none), in document order. One walk over all nodes. The tree must not be
    /// edited meanwhile.
    void forEachDescendant(std::span<const std::string_view> names,
                           const std::function<void(XMLNode)>& visit) const;
    void forEachDescendant(std::initializer_list<std::string_view> names,
                           const std::function<void(XMLNode)>& visit) const {
        forEachDescendant(std::span(names.begin(), names.size()), visit);
    }
    bool hasDescendant(std::string_view name) const { return bool(nextElement(*this, name)); }

    // Edits. All nodes must belong to one document.

    /// A loaded element keeps a text that comes first in its own record. A handle on such a text
    /// holds until the text is moved or something is put before it. This gives the text a record of
    /// its own, so that handles that are made from now on hold whatever is done to it.
    void separateText();
    /// The handle that separateText() makes for such a text; of any other node the node itself. For
    /// whoever moves a node and keeps the handle.
    XMLNode separated() const;

    /// Takes the node out of its parent. A node without parent is left as it is.
    void detach();
    /// Each moves `node` (with all below it), from wherever it is, to its new place.
    void appendChild(XMLNode node);
    void prependChild(XMLNode node);
    void insertBefore(XMLNode node, XMLNode nextSibling);
    void insertAfter(XMLNode node, XMLNode previousSibling);
    /// Inserts as the child at `index`; appends when that is past the end. O(index).
    void insertChildAtIndex(XMLNode node, std::size_t index);

    /// A deep copy in the same document, without parent.
    XMLNode copy() const;
    /// Appends a deep copy of a node, which may belong to another document; answers the copy.
    XMLNode appendCopy(XMLNode node);
    /// Makes one text the only content of an element.
    void setText(std::string_view text);
    /// Makes this the element's only attribute.
    void setOnlyAttribute(const char* name, std::string_view value);
    void setAttribute(const char* name, std::string_view value);
    /// An attribute that is missing is no mistake.
    void removeAttribute(const char* name);

    /// Parses one element from text, strictly, into this node's document, without parent.
    /// Fails with inputInvalid when the text is anything but one well-formed element.
    Result<XMLNode> parseDetached(std::string_view text) const;

    /// Stable while the document lives; for maps keyed by node.
    const void* identity() const {
        // No other node can stand in the middle of an element's record.
        if (isEmbeddedText()) return reinterpret_cast<const char*>(node_) + 1;
        return attribute_ ? static_cast<const void*>(attribute_) : static_cast<const void*>(node_);
    }

private:
    friend struct XMLAccess;
    friend class XMLElement;
    void findFirstChildren(const std::string_view* names, XMLNode* found, std::size_t count) const;
    XMLNode(pugi::xml_node_struct* node, pugi::xml_attribute_struct* attribute)
        : node_(node), attribute_(attribute) {}
    // In the place of an attribute: the node is the text that the element keeps in its own record.
    static pugi::xml_attribute_struct* embeddedMark() {
        return reinterpret_cast<pugi::xml_attribute_struct*>(&embeddedMark_);
    }
    bool isEmbeddedText() const { return attribute_ == embeddedMark(); }
    inline static std::max_align_t embeddedMark_{};

    pugi::xml_node_struct* node_ = nullptr;
    pugi::xml_attribute_struct* attribute_ = nullptr;
};

/// A handle on an element, or on none, in half the room: for tables of very many.
class XMLElement {
public:
    XMLElement() = default;
    XMLElement(const XMLNode& element) : node_(element.node_) {}
    operator XMLNode() const { return {node_, nullptr}; }
    XMLNode operator*() const { return *this; }
    explicit operator bool() const { return node_ != nullptr; }
    bool operator==(const XMLElement&) const = default;

private:
    pugi::xml_node_struct* node_ = nullptr;
};

/// For log lines: an element as its start tag and its name, such as `<clipitem id="c1"> "Harbour"`.
std::string description(const XMLNode& node);
/// The same for a list: "(<clipitem ...>, <clipitem ...>)".
std::string description(const std::vector<XMLNode>& nodes);

}  // namespace reelsweep

template <>
struct std::hash<reelsweep::XMLNode> {
    std::size_t operator()(const reelsweep::XMLNode& node) const noexcept {
        return std::hash<const void*>()(node.identity());
    }
};
