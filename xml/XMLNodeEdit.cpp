// What changes the tree, and what grows beside it.
#include "xml/BlanksBesideCData.h"
#include "xml/QuickCheck.h"
#include "xml/StrictCheck.h"
#include "xml/XMLAccess.h"
#include "xml/XMLNode.h"

namespace reelsweep {

namespace {

// Moves a node with `move`, and frees the slot that it leaves empty.
template <class Move>
void moveOutOfSlot(pugi::xml_node node, Move move) {
    pugi::xml_node before = node.parent();
    if (!move(node)) return;
    if (XMLAccess::hasMark(before, XMLAccess::slotMark) && !before.first_child())
        before.parent().remove_child(before);
}

}  // namespace

pugi::xml_node XMLAccess::appendSlot(pugi::xml_node parent) {
    pugi::xml_node slot = parent.append_child(pugi::node_element);
    const char name[] = {slotMark, '\0'};
    slot.set_name(name);
    return slot;
}

pugi::xml_node XMLAccess::detachedSlot(const pugi::xml_node& anyNode) {
    return appendSlot(anyNode.root().last_child());
}

void XMLNode::detach() {
    if (attribute_ || !parent()) return;
    const pugi::xml_node node = XMLAccess::pugi(*this);
    XMLAccess::detachedSlot(node).append_move(node);
}

void XMLNode::appendChild(XMLNode node) {
    moveOutOfSlot(XMLAccess::pugi(node),
                  [&](const pugi::xml_node& n) { return XMLAccess::pugi(*this).append_move(n); });
}

void XMLNode::prependChild(XMLNode node) {
    moveOutOfSlot(XMLAccess::pugi(node),
                  [&](const pugi::xml_node& n) { return XMLAccess::pugi(*this).prepend_move(n); });
}

void XMLNode::insertBefore(XMLNode node, XMLNode next) {
    moveOutOfSlot(XMLAccess::pugi(node), [&](const pugi::xml_node& n) {
        return XMLAccess::pugi(*this).insert_move_before(n, XMLAccess::pugi(next));
    });
}

void XMLNode::insertAfter(XMLNode node, XMLNode previous) {
    moveOutOfSlot(XMLAccess::pugi(node), [&](const pugi::xml_node& n) {
        return XMLAccess::pugi(*this).insert_move_after(n, XMLAccess::pugi(previous));
    });
}

void XMLNode::insertChildAtIndex(XMLNode node, std::size_t index) {
    const XMLNode next = childAtIndex(index);
    if (next)
        insertBefore(node, next);
    else
        appendChild(node);
}

XMLNode XMLNode::copy() const {
    if (!node_ || attribute_) return {};
    const pugi::xml_node node = XMLAccess::pugi(*this);
    return XMLAccess::handle(XMLAccess::detachedSlot(node).append_copy(node));
}

XMLNode XMLNode::appendCopy(XMLNode node) {
    if (!node_ || attribute_) return {};
    return XMLAccess::handle(XMLAccess::pugi(*this).append_copy(XMLAccess::pugi(node)));
}

void XMLNode::setText(std::string_view text) {
    if (!isElement()) return;
    pugi::xml_node node = XMLAccess::pugi(*this);
    pugi::xml_node only = node.first_child();
    if (!only || only.next_sibling() || only.type() != pugi::node_pcdata) {
        while (XMLNode first = firstChild()) first.detach();
        only = node.append_child(pugi::node_pcdata);
    }
    only.set_value(std::string(text).c_str());
}

void XMLNode::setOnlyAttribute(const char* name, std::string_view value) {
    if (!isElement()) return;
    const std::string kept(value);  // the value may be one of the attributes removed here
    pugi::xml_node node = XMLAccess::pugi(*this);
    node.remove_attributes();
    node.append_attribute(name).set_value(kept.c_str());
}

void XMLNode::removeAttribute(const char* name) {
    if (!attribute_) XMLAccess::pugi(*this).remove_attribute(name);
}

void XMLNode::setAttribute(const char* name, std::string_view value) {
    if (!isElement()) return;
    pugi::xml_node node = XMLAccess::pugi(*this);
    pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) attribute = node.append_attribute(name);
    attribute.set_value(std::string(value).c_str());
}

Result<XMLNode> XMLNode::parseDetached(std::string_view text) const {
    if (!node_) return Failure{FailureCode::internal, "no document to parse into", "", 0, 0, ""};
    if (!quickOutline(text))
        if (Outcome checked = checkWellFormed(text, {}); !checked) return checked.failure();
    pugi::xml_node slot = XMLAccess::detachedSlot(XMLAccess::pugi(*this));
    const pugi::xml_parse_result parsed =
        slot.append_buffer(text.data(), text.size(), XMLAccess::parseOptions, pugi::encoding_utf8);
    pugi::xml_node element = slot.first_child();
    while (element && element.type() != pugi::node_element) element = element.next_sibling();
    restoreBlanks(slot, blanksBesideCData(text));
    if (!parsed || !element)
        return Failure{FailureCode::inputInvalid, parsed.description(), "", 0, 0, ""};
    return XMLAccess::handle(element);
}

}  // namespace reelsweep
