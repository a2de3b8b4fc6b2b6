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

    static constexpr unsigned parseOptions = pugi::parse_default | pugi::parse_comments |
                                             pugi::parse_pi | pugi::parse_declaration |
                                             pugi::parse_doctype | pugi::parse_ws_pcdata_single;

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

    static bool hasMark(const pugi::xml_node& node, char mark) { return node.name()[0] == mark; }

    /// An element that hides its surroundings from its one child.
    static pugi::xml_node appendSlot(pugi::xml_node parent);
    /// A new slot for a node without parent, in the document that `anyNode` belongs to.
    static pugi::xml_node detachedSlot(const pugi::xml_node& anyNode);
};

}  // namespace reelsweep
