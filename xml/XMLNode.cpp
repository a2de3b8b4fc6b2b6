#include "xml/XMLNode.h"

#include "xml/BlanksBesideCData.h"
#include "xml/QuickCheck.h"
#include "xml/StrictCheck.h"
#include "xml/XMLAccess.h"

#include <algorithm>
#include <cstring>

namespace reelsweep {

namespace {

bool isTextType(pugi::xml_node_type type) {
    return type == pugi::node_pcdata || type == pugi::node_cdata;
}

// Most names differ in their first letter already, so the length of `own` is not asked for.
bool equals(const char* own, std::string_view name) {
    for (const char c : name)
        if (*own++ != c) return false;
    return *own == '\0';
}

// The name first: some other kinds have names too.
bool isElementNamed(const pugi::xml_node& node, std::string_view name) {
    return equals(node.name(), name) && node.type() == pugi::node_element;
}

void appendDescendantText(const pugi::xml_node& node, std::string& text) {
    for (pugi::xml_node d = node.first_child(); d;) {
        if (isTextType(d.type())) text += d.value();
        if (d.first_child()) {
            d = d.first_child();
            continue;
        }
        while (d && d != node && !d.next_sibling()) d = d.parent();
        if (!d || d == node) break;
        d = d.next_sibling();
    }
}

bool isBlank(const char* text) { return text[std::strspn(text, " \t\r\n")] == '\0'; }

// White space before a CDATA section is content, but the section says what a reader looks for.
bool isBlankBeforeSection(const pugi::xml_node& node) {
    return node.type() == pugi::node_pcdata && node.next_sibling().type() == pugi::node_cdata &&
           isBlank(node.value());
}

// The first of this sibling and those after it that is an element: processing instructions have
// names too.
pugi::xml_node elementFrom(pugi::xml_node sibling, const char* name) {
    while (sibling && sibling.type() != pugi::node_element) sibling = sibling.next_sibling(name);
    return sibling;
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

XMLKind XMLNode::kind() const {
    if (attribute_) return XMLKind::attribute;
    const pugi::xml_node node = XMLAccess::pugi(*this);
    switch (node.type()) {
        case pugi::node_element:
            return XMLAccess::hasMark(node, XMLAccess::contentMark) ? XMLKind::document
                                                                    : XMLKind::element;
        case pugi::node_pcdata: return XMLKind::text;
        case pugi::node_cdata: return XMLKind::cdata;
        case pugi::node_comment: return XMLKind::comment;
        case pugi::node_pi: return XMLKind::processingInstruction;
        case pugi::node_declaration: return XMLKind::declaration;
        case pugi::node_doctype: return XMLKind::doctype;
        case pugi::node_document:
        case pugi::node_null: break;
    }
    return XMLKind::none;
}

bool XMLNode::isElement(std::string_view wanted) const {
    if (attribute_) return false;
    return isElementNamed(XMLAccess::pugi(*this), wanted);
}

bool XMLNode::isText() const { return !attribute_ && isTextType(XMLAccess::pugi(*this).type()); }

std::string_view XMLNode::name() const { return rawName(); }

std::string_view XMLNode::value() const {
    if (attribute_) return pugi::xml_attribute(attribute_).value();
    return XMLAccess::pugi(*this).value();
}

std::string XMLNode::stringValue() const {
    if (attribute_) return pugi::xml_attribute(attribute_).value();
    const pugi::xml_node node = XMLAccess::pugi(*this);
    if (node.type() != pugi::node_element) return node.value();
    const pugi::xml_node only = node.first_child();
    if (isTextType(only.type()) && !only.next_sibling()) return only.value();
    std::string text;
    appendDescendantText(node, text);
    return text;
}

XMLNode XMLNode::parent() const {
    if (attribute_) return XMLNode(node_, nullptr);
    const pugi::xml_node parent = XMLAccess::pugi(*this).parent();
    if (XMLAccess::hasMark(parent, XMLAccess::slotMark)) return {};
    return XMLAccess::handle(parent);
}

XMLNode XMLNode::previousSibling() const {
    if (attribute_) return {};
    return XMLAccess::handle(XMLAccess::pugi(*this).previous_sibling());
}

XMLNode XMLNode::nextSibling() const {
    if (attribute_) return {};
    return XMLAccess::handle(XMLAccess::pugi(*this).next_sibling());
}

XMLNode XMLNode::firstChild() const {
    if (attribute_) return {};
    return XMLAccess::handle(XMLAccess::pugi(*this).first_child());
}

XMLNode XMLNode::lastChild() const {
    if (attribute_) return {};
    return XMLAccess::handle(XMLAccess::pugi(*this).last_child());
}

XMLNode XMLNode::child(const char* name) const {
    if (attribute_) return {};
    return XMLAccess::handle(elementFrom(XMLAccess::pugi(*this).child(name), name));
}

void XMLNode::findFirstChildren(const std::string_view* names, XMLNode* found,
                                std::size_t count) const {
    if (attribute_) return;
    std::size_t missing = count;
    for (pugi::xml_node child = XMLAccess::pugi(*this).first_child();
         !XMLAccess::isNull(child) && missing > 0; child = child.next_sibling()) {
        const char* const own = child.name();  // empty for everything but elements and instructions
        for (std::size_t i = 0; i < count; ++i) {
            if (found[i] || !equals(own, names[i])) continue;
            if (child.type() != pugi::node_element) continue;
            found[i] = XMLAccess::handle(child);
            --missing;
        }
    }
}

XMLNode XMLNode::nextSibling(const char* name) const {
    if (attribute_) return {};
    return XMLAccess::handle(elementFrom(XMLAccess::pugi(*this).next_sibling(name), name));
}

std::size_t XMLNode::index() const {
    std::size_t position = 0;
    for (XMLNode sibling = previousSibling(); sibling; sibling = sibling.previousSibling())
        ++position;
    return position;
}

std::size_t XMLNode::childCount() const {
    std::size_t count = 0;
    for (XMLNode node = firstChild(); node; node = node.nextSibling()) ++count;
    return count;
}

XMLNode XMLNode::childAtIndex(std::size_t index) const {
    XMLNode node = firstChild();
    while (node && index-- > 0) node = node.nextSibling();
    return node;
}

std::optional<std::string_view> XMLNode::attribute(const char* name) const {
    if (attribute_) return {};
    const pugi::xml_attribute found = XMLAccess::pugi(*this).attribute(name);
    if (!found) return {};
    return std::string_view(found.value());
}

void XMLNode::forEachAttribute(
    const std::function<void(std::string_view, std::string_view)>& visit) const {
    if (attribute_) return;
    for (const pugi::xml_attribute each : XMLAccess::pugi(*this).attributes())
        visit(each.name(), each.value());
}

XMLNode XMLNode::firstText() const {
    if (attribute_) return {};
    for (pugi::xml_node node = XMLAccess::pugi(*this).first_child(); !XMLAccess::isNull(node);
         node = node.next_sibling())
        if (isTextType(node.type()) && !isBlankBeforeSection(node)) return XMLAccess::handle(node);
    return {};
}

const char* XMLNode::onlyText() const {
    if (attribute_) return nullptr;
    const pugi::xml_node first = XMLAccess::pugi(*this).first_child();
    if (XMLAccess::isNull(first) || !isTextType(first.type())) return nullptr;
    return XMLAccess::isNull(first.next_sibling()) ? first.value() : nullptr;
}

const char* XMLNode::rawName() const {
    if (attribute_) return pugi::xml_attribute(attribute_).name();
    const char* const own = XMLAccess::pugi(*this).name();
    return *own == XMLAccess::contentMark ? "" : own;
}

const char* XMLNode::rawText() const {
    if (attribute_) return "";
    const pugi::xml_node node = XMLAccess::pugi(*this);
    const char* const first = node.child_value();
    if (*first == '\0' || static_cast<unsigned char>(*first) > ' ') return first;
    const XMLNode text = firstText();
    return text ? XMLAccess::pugi(text).value() : first;
}

XMLNode XMLNode::nextElement(const XMLNode& topNode, std::string_view name) const {
    pugi::xml_node node = XMLAccess::pugi(*this);
    for (;;) {
        pugi::xml_node next = node.first_child();
        while (XMLAccess::isNull(next)) {
            if (XMLAccess::isNull(node) || XMLAccess::handle(node) == topNode) return {};
            next = node.next_sibling();
            if (XMLAccess::isNull(next)) node = node.parent();
        }
        node = next;
        if (name.empty() ? node.type() == pugi::node_element : isElementNamed(node, name))
            return XMLAccess::handle(node);
    }
}

namespace {

// Names to look for. Most nodes differ from all of them in the first letter.
class WantedNames {
public:
    explicit WantedNames(std::span<const std::string_view> names) : names_(names) {
        firstLetters_.fill(names.empty());
        for (const std::string_view name : names) firstLetters_[letter(name[0])] = true;
    }

    bool hold(const pugi::xml_node& node, const char* own) const {
        if (!firstLetters_[letter(*own)]) return false;
        const bool isNamed =
            names_.empty() || std::any_of(names_.begin(), names_.end(),
                                          [&](std::string_view name) { return equals(own, name); });
        return isNamed && node.type() == pugi::node_element;
    }

private:
    static std::size_t letter(char c) { return static_cast<unsigned char>(c); }

    std::span<const std::string_view> names_;
    std::array<bool, 256> firstLetters_{};
};

// Moves a node with `move`, and frees the slot that it leaves empty.
template <class Move>
void moveOutOfSlot(pugi::xml_node node, Move move) {
    pugi::xml_node before = node.parent();
    if (!move(node)) return;
    if (XMLAccess::hasMark(before, XMLAccess::slotMark) && !before.first_child())
        before.parent().remove_child(before);
}

}  // namespace

void XMLNode::forEachDescendant(std::span<const std::string_view> names,
                                const std::function<void(XMLNode)>& visit) const {
    if (attribute_) return;
    const WantedNames wanted(names);
    pugi::xml_node node = XMLAccess::pugi(*this).first_child();
    while (!XMLAccess::isNull(node)) {
        // Of what has a name, only elements have children. Most hold one text and nothing else.
        pugi::xml_node next;
        if (const char* const name = node.name(); *name != '\0') {
            if (wanted.hold(node, name)) visit(XMLAccess::handle(node));
            next = node.first_child();
            if (!XMLAccess::isNull(next) && *next.name() == '\0') next = next.next_sibling();
        }
        if (XMLAccess::isNull(next)) next = node.next_sibling();
        while (XMLAccess::isNull(next)) {
            node = node.parent();
            if (XMLAccess::handle(node) == *this) return;
            next = node.next_sibling();
        }
        node = next;
    }
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

std::string description(const XMLNode& node) {
    if (!node.isElement()) return node.stringValue();
    std::string text = "<";
    text += node.name();
    if (const auto id = node.attribute("id")) text.append(" id=\"").append(*id).append("\"");
    text += '>';
    if (const XMLNode name = node.child("name"))
        text.append(" \"").append(name.stringValue()).append("\"");
    return text;
}

std::string description(const std::vector<XMLNode>& nodes) {
    std::string text = "(";
    for (const XMLNode& node : nodes) {
        if (text.size() > 1) text += ", ";
        text += description(node);
    }
    return text + ")";
}

}  // namespace reelsweep
