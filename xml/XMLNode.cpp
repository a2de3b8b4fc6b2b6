#include "xml/XMLNode.h"

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

// The value of an element is its embedded text.
void appendDescendantText(const pugi::xml_node& node, std::string& text) {
    text += node.value();
    for (pugi::xml_node d = node.first_child(); d;) {
        if (isTextType(d.type()) || d.type() == pugi::node_element) text += d.value();
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

bool isEmbeddedBlankBeforeSection(const pugi::xml_node& element) {
    return element.first_child().type() == pugi::node_cdata && isBlank(element.value());
}

// The first of this sibling and those after it that is an element: processing instructions have
// names too.
pugi::xml_node elementFrom(pugi::xml_node sibling, const char* name) {
    while (sibling && sibling.type() != pugi::node_element) sibling = sibling.next_sibling(name);
    return sibling;
}

}  // namespace

XMLKind XMLNode::kind() const {
    if (attribute_) return isEmbeddedText() ? XMLKind::text : XMLKind::attribute;
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

bool XMLNode::isText() const {
    return attribute_ ? isEmbeddedText() : isTextType(XMLAccess::pugi(*this).type());
}

std::string_view XMLNode::name() const { return rawName(); }

std::string_view XMLNode::value() const {
    if (isEmbeddedText()) return XMLAccess::textRecord(*this).value();
    const pugi::xml_node node = XMLAccess::pugi(*this);
    if (!attribute_ && node.type() == pugi::node_element) return {};
    if (attribute_) return pugi::xml_attribute(attribute_).value();
    return node.value();
}

std::string XMLNode::stringValue() const {
    if (attribute_) return std::string(value());
    const pugi::xml_node node = XMLAccess::pugi(*this);
    if (node.type() != pugi::node_element) return node.value();
    if (const char* const only = onlyText()) return only;
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

XMLNode XMLNode::top() const {
    XMLNode node = *this;
    while (const XMLNode parent = node.parent()) node = parent;
    return node;
}

XMLNode XMLNode::previousSibling() const {
    if (attribute_) return {};
    const pugi::xml_node node = XMLAccess::pugi(*this);
    if (const pugi::xml_node previous = node.previous_sibling()) return XMLAccess::handle(previous);
    const pugi::xml_node parent = node.parent();
    return XMLAccess::embedsText(parent) ? XMLAccess::embeddedText(parent) : XMLNode();
}

XMLNode XMLNode::nextSibling() const {
    if (isEmbeddedText()) {
        const pugi::xml_node record = XMLAccess::textRecord(*this);
        return XMLAccess::handle(record == XMLAccess::pugi(*this) ? record.first_child()
                                                                  : record.next_sibling());
    }
    if (attribute_) return {};
    return XMLAccess::handle(XMLAccess::pugi(*this).next_sibling());
}

XMLNode XMLNode::firstChild() const {
    if (attribute_) return {};
    const pugi::xml_node node = XMLAccess::pugi(*this);
    if (XMLAccess::embedsText(node)) return XMLAccess::embeddedText(node);
    return XMLAccess::handle(node.first_child());
}

XMLNode XMLNode::lastChild() const {
    if (attribute_) return {};
    const pugi::xml_node node = XMLAccess::pugi(*this);
    if (const pugi::xml_node last = node.last_child()) return XMLAccess::handle(last);
    return XMLAccess::embedsText(node) ? XMLAccess::embeddedText(node) : XMLNode();
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
    if (isEmbeddedText()) return parent().child(name);
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
    const pugi::xml_node element = XMLAccess::pugi(*this);
    if (XMLAccess::embedsText(element) && !isEmbeddedBlankBeforeSection(element))
        return XMLAccess::embeddedText(element);
    for (pugi::xml_node node = element.first_child(); !XMLAccess::isNull(node);
         node = node.next_sibling())
        if (isTextType(node.type()) && !isBlankBeforeSection(node)) return XMLAccess::handle(node);
    return {};
}

const char* XMLNode::onlyText() const {
    if (attribute_) return nullptr;
    const pugi::xml_node element = XMLAccess::pugi(*this);
    const pugi::xml_node first = element.first_child();
    if (XMLAccess::embedsText(element)) return XMLAccess::isNull(first) ? element.value() : nullptr;
    if (XMLAccess::isNull(first) || !isTextType(first.type())) return nullptr;
    return XMLAccess::isNull(first.next_sibling()) ? first.value() : nullptr;
}

const char* XMLNode::rawName() const {
    if (attribute_) return isEmbeddedText() ? "" : pugi::xml_attribute(attribute_).name();
    const char* const own = XMLAccess::pugi(*this).name();
    return *own == XMLAccess::contentMark ? "" : own;
}

const char* XMLNode::rawText() const {
    if (attribute_) return "";
    const pugi::xml_node node = XMLAccess::pugi(*this);
    const char* const first = node.child_value();
    if (*first == '\0' || static_cast<unsigned char>(*first) > ' ') return first;
    const XMLNode text = firstText();
    // The value of an element is its embedded text.
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
