// The bridge between handles and pugixml nodes; for the sources of xml/ only.
//
// How a tree is laid out inside its pugi::xml_document:
//
//   pugi document
//     declaration, comments before the DOCTYPE, DOCTYPE      not reached by any query
//     slot                                                   an element that hides what is around
// it
//       content                                              what XMLDocument::node() answers
//         comments, processing instructions, root element
//     detached                                               always the last child
//       slot, slot, ...                                      each with one node without parent
//
// pugixml can only move a node within its document and frees it when it is removed. Keeping every
// detached node in a slot of its own gives it a life as long as the document's, no siblings, and a
// parent that XMLNode hides; the content stands in a slot too, so no query from it meets the rest.
//
// A text that is its element's first child is embedded by the parser: it stands in the element's
// record and has none of its own. That is nearly half of all records of a timeline, and as much of
// the time of every walk.
//
//   <name>Harbour</name>     one record, and not: an element with one child, a text
//
// A handle on such a text is its element's with a mark. As soon as something else is done to the
// text than to set it, it is separated: it gets a record of its own, before all other children.
// pugixml's XPath sees no embedded texts, so before a query all of them are separated.
#pragma once

#include "xml/XMLNode.h"

#include <bit>
#include <pugixml.hpp>
#include <type_traits>

namespace reelsweep {

struct XMLAccess {
    // Control characters are no XML names, so no loaded element can be mistaken for these.
    static constexpr char contentMark = '\2';
    static constexpr char detachedMark = '\3';
    static constexpr char slotMark = '\4';
    /// Behind the mark of the node that holds detached ones: some texts may be embedded.
    static constexpr char embeddingMark = '\5';

    static constexpr unsigned parseOptions = pugi::parse_default | pugi::parse_comments |
                                             pugi::parse_pi | pugi::parse_declaration |
                                             pugi::parse_doctype | pugi::parse_ws_pcdata_single;
    /// For whole documents. They are to be marked.
    static constexpr unsigned embeddingOptions = parseOptions | pugi::parse_embed_pcdata;

    // A pugixml node is a pointer and nothing else. Its constructor and its accessor are calls into
    // the library, and every step through a tree would take one of each.
    static_assert(sizeof(pugi::xml_node) == sizeof(pugi::xml_node_struct*) &&
                  std::is_trivially_copyable_v<pugi::xml_node>);
    static pugi::xml_node pugi(const XMLNode& node) {
        return std::bit_cast<pugi::xml_node>(node.node_);
    }
    static bool isNull(const pugi::xml_node& node) {
        return std::bit_cast<pugi::xml_node_struct*>(node) == nullptr;
    }
    static pugi::xml_attribute pugiAttribute(const XMLNode& node) {
        return pugi::xml_attribute(node.attribute_);
    }
    static pugi::xpath_node xpathContext(const XMLNode& node) {
        return node.attribute_ ? pugi::xpath_node(pugiAttribute(node), pugi(node))
                               : pugi::xpath_node(pugi(node));
    }
    static XMLNode handle(const pugi::xml_node& node) {
        return XMLNode(std::bit_cast<pugi::xml_node_struct*>(node), nullptr);
    }
    static XMLNode handle(const pugi::xml_node& parent, const pugi::xml_attribute& attribute) {
        return XMLNode(parent.internal_object(), attribute.internal_object());
    }

    /// An embedded text is never empty.
    static bool embedsText(const pugi::xml_node& node) {
        return *node.value() != '\0' && node.type() == pugi::node_element;
    }
    /// The text that an element embeds.
    static XMLNode embeddedText(const pugi::xml_node& element) {
        return XMLNode(element.internal_object(), XMLNode::embeddedMark());
    }
    /// What holds an embedded text now: its element, or its own record when it was separated since
    /// the handle was made. Null when the text is gone.
    static pugi::xml_node textRecord(const XMLNode& embedded);
    /// The text of an element as a node of its own; null when it embeds none.
    static pugi::xml_node separate(pugi::xml_node element);
    /// The same for every element of the document that the node belongs to.
    static void separateAll(const pugi::xml_node& anyNode);
    static bool isEmbeddedText(const XMLNode& node) { return node.isEmbeddedText(); }
    /// Names the node that holds the detached ones.
    static void markDetached(pugi::xml_node detached, bool mayEmbed);
    static bool mayEmbed(const pugi::xml_node& anyNode) {
        return anyNode.root().last_child().name()[1] == embeddingMark;
    }

    static bool hasMark(const pugi::xml_node& node, char mark) { return node.name()[0] == mark; }

    /// An element that hides its surroundings from its one child.
    static pugi::xml_node appendSlot(pugi::xml_node parent);
    /// A new slot for a node without parent, in the document that `anyNode` belongs to.
    static pugi::xml_node detachedSlot(const pugi::xml_node& anyNode);
};

}  // namespace reelsweep
