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

void XMLAccess::markDetached(pugi::xml_node detached, bool mayEmbed) {
    const char name[] = {detachedMark, mayEmbed ? embeddingMark : '\0', '\0'};
    detached.set_name(name);
}

pugi::xml_node XMLAccess::textRecord(const XMLNode& embedded) {
    const pugi::xml_node element = pugi(embedded);
    if (embedsText(element)) return element;
    const pugi::xml_node first = element.first_child();
    return first.type() == pugi::node_pcdata ? first : pugi::xml_node();
}

pugi::xml_node XMLAccess::separate(pugi::xml_node element) {
    if (!embedsText(element)) return {};
    pugi::xml_node text = element.prepend_child(pugi::node_pcdata);
    text.set_value(element.value());
    // What this sets is the embedded text, as long as there is one.
    element.text().set("");
    return text;
}

void XMLAccess::separateAll(const pugi::xml_node& anyNode) {
    const pugi::xml_node document = anyNode.root();
    for (pugi::xml_node node = document.first_child(); node;) {
        separate(node);
        pugi::xml_node next = node.first_child();
        while (!next && node != document) {
            next = node.next_sibling();
            if (!next) node = node.parent();
        }
        node = next;
    }
    markDetached(document.last_child(), false);
}

void XMLNode::separateText() {
    if (!attribute_) XMLAccess::separate(XMLAccess::pugi(*this));
}

XMLNode XMLNode::separated() const {
    if (!isEmbeddedText()) return *this;
    XMLAccess::separate(XMLAccess::pugi(*this));
    return XMLAccess::handle(XMLAccess::textRecord(*this));
}

void XMLNode::detach() {
    if (isEmbeddedText()) *this = separated();
    if (attribute_ || !parent()) return;
    const pugi::xml_node node = XMLAccess::pugi(*this);
    XMLAccess::detachedSlot(node).append_move(node);
}

void XMLNode::appendChild(XMLNode node) {
    moveOutOfSlot(XMLAccess::pugi(node.separated()),
                  [&](const pugi::xml_node& n) { return XMLAccess::pugi(*this).append_move(n); });
}

void XMLNode::prependChild(XMLNode node) {
    separateText();
    moveOutOfSlot(XMLAccess::pugi(node.separated()),
                  [&](const pugi::xml_node& n) { return XMLAccess::pugi(*this).prepend_move(n); });
}

void XMLNode::insertBefore(XMLNode node, XMLNode next) {
    next = next.separated();
    moveOutOfSlot(XMLAccess::pugi(node.separated()), [&](const pugi::xml_node& n) {
        return XMLAccess::pugi(*this).insert_move_before(n, XMLAccess::pugi(next));
    });
}

void XMLNode::insertAfter(XMLNode node, XMLNode previous) {
    previous = previous.separated();
    moveOutOfSlot(XMLAccess::pugi(node.separated()), [&](const pugi::xml_node& n) {
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

namespace {

XMLNode appendCopyTo(pugi::xml_node parent, const XMLNode& node) {
    if (!XMLAccess::isEmbeddedText(node))
        return XMLAccess::handle(parent.append_copy(XMLAccess::pugi(node)));
    pugi::xml_node text = parent.append_child(pugi::node_pcdata);
    text.set_value(XMLAccess::textRecord(node).value());
    return XMLAccess::handle(text);
}

}  // namespace

XMLNode XMLNode::copy() const {
    if (!node_ || (attribute_ && !isEmbeddedText())) return {};
    return appendCopyTo(XMLAccess::detachedSlot(XMLAccess::pugi(*this)), *this);
}

XMLNode XMLNode::appendCopy(XMLNode node) {
    if (!node_ || attribute_) return {};
    const pugi::xml_node parent = XMLAccess::pugi(*this);
    if (XMLAccess::mayEmbed(XMLAccess::pugi(node)) && !XMLAccess::mayEmbed(parent))
        XMLAccess::markDetached(parent.root().last_child(), true);
    return appendCopyTo(parent, node);
}

void XMLNode::setText(std::string_view text) {
    if (!isElement()) return;
    pugi::xml_node node = XMLAccess::pugi(*this);
    if (XMLAccess::embedsText(node)) {
        if (!node.first_child() && !text.empty()) {
            node.text().set(std::string(text).c_str());
            return;
        }
        separateText();
    }
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
