// The quick check against the strict one: whatever it accepts is well-formed by Expat's word and
// becomes a tree, however the bytes are cut, and the parts stand where it says. A child that is put
// between the bytes there is one in the tree.

#include "fuzz/Quiet.h"
#include "tests/xml/Pieces.h"
#include "xml/SplicePlace.h"
#include "xml/StrictCheck.h"
#include "xml/XMLDocument.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>

using namespace reelsweep;

namespace {

// Nested elements are parsed again for each level, so not all of very many are looked at.
constexpr std::size_t mostElements = 40;

struct Text final : ByteSink {
    std::string text;
    bool write(std::string_view bytes) override {
        text.append(bytes);
        return true;
    }
};

// The answer for pieces of 1 to `largest` bytes, by a small generator of its own.
std::optional<XMLOutline> outlineInOddPieces(std::string_view bytes, std::uint32_t seed,
                                             std::uint32_t largest) {
    QuickCheck check;
    while (!bytes.empty()) {
        seed = seed * 1664525u + 1013904223u;
        const std::size_t piece = std::min<std::size_t>(1 + (seed >> 8) % largest, bytes.size());
        const bool goesOn = check.feed(bytes.substr(0, piece));
        bytes.remove_prefix(piece);
        require(goesOn || !check.finish());
    }
    if (!check.finish()) return {};
    return std::move(check.outline());
}

std::string_view part(std::string_view bytes, std::uint64_t begin, std::uint64_t end) {
    require(begin <= end && end <= bytes.size());
    return bytes.substr(begin, end - begin);
}

// The bytes at the place are that element of the tree, and its content is where it is said to be.
void requireElement(std::string_view bytes, const ElementBytes& place, const XMLNode& element) {
    const std::string_view text = part(bytes, place.begin, place.end);
    const Result<XMLDocument> alone = XMLDocument::parse(text, "element");
    require(alone.ok() && alone->node().childCount() == 1);
    require(serialise(alone->rootElement()) == serialise(element));
    require(part(bytes, place.begin, place.contentBegin).ends_with('>'));
    if (place.selfClosed()) {
        require(text.ends_with("/>") && place.contentBegin == place.end);
        return;
    }
    require(part(bytes, place.contentEnd, place.end).starts_with("</"));
    std::string inside = "<x>";
    inside.append(part(bytes, place.contentBegin, place.contentEnd)).append("</x>");
    require(checkWellFormed(inside, "content").ok());
}

template <class Element>
void requireElements(std::string_view bytes, const std::vector<Element>& places,
                     const std::vector<XMLNode>& elements) {
    require(places.size() == elements.size());
    for (std::size_t i = 0; i < std::min(places.size(), mostElements); ++i)
        requireElement(bytes, places[i], elements[i]);
}

std::vector<XMLNode> childElements(const XMLNode& parent) {
    std::vector<XMLNode> children;
    for (XMLNode child = parent.firstChild(); child; child = child.nextSibling())
        if (child.isElement()) children.push_back(child);
    return children;
}

// A child that is put between the bytes is the same as one that is put into the tree.
void requireSplice(std::string_view bytes, const ParentBytes& place, XMLNode parent,
                   const XMLDocument& document) {
    const auto read = [&](std::uint64_t begin, std::uint64_t end) {
        return std::optional(std::string(part(bytes, begin, end)));
    };
    const std::optional<SplicePlace> splice = SplicePlace::afterLastChild(place, read);
    require(splice || place.selfClosed() || place.contentEnd > place.contentBegin);
    if (!splice) return;
    XMLNode child = *document.node().parseDetached("<bin><name>1&#13;\n2</name><bin/></bin>");
    Text added;
    serialise(child, splice->layout, added);
    const std::string spliced = std::string(part(bytes, 0, splice->offset)) + splice->before +
                                added.text + splice->after +
                                std::string(part(bytes, splice->offset, bytes.size()));
    const Result<XMLDocument> byBytes = XMLDocument::parse(spliced, "spliced");
    parent.appendChild(child);
    // Written and read again, so that white space that is no content any more is none in both.
    const Result<XMLDocument> byTree =
        XMLDocument::parse(document.serialise(XMLFormat::compact), "whole");
    require(byBytes.ok() && byTree.ok());
    require(byBytes->serialise(XMLFormat::compact) == byTree->serialise(XMLFormat::compact));
    child.detach();
}

void requireOutline(std::string_view bytes, const XMLOutline& outline,
                    const XMLDocument& document) {
    require(outline.byteOrderMark == bytes.starts_with("\xEF\xBB\xBF"));
    require(outline.carriageReturns == (bytes.find('\r') != bytes.npos));
    const XMLNode root = document.rootElement();
    requireElement(bytes, outline.root, root);
    requireElements(bytes, outline.rootChildren, childElements(root));

    std::vector<XMLNode> sequences;
    document.node().forEachDescendant({"sequence"},
                                      [&](XMLNode found) { sequences.push_back(found); });
    requireElements(bytes, outline.sequences, sequences);

    std::vector<XMLNode> parents;
    if (root.isElement("xmeml"))
        for (const XMLNode& project : childElements(root))
            if (project.isElement("project"))
                for (const XMLNode& child : childElements(project))
                    if (child.isElement("children")) parents.push_back(child);
    requireElements(bytes, outline.projectChildren, parents);
    for (std::size_t i = 0; i < std::min(parents.size(), mostElements); ++i) {
        const std::vector<XMLNode> children = childElements(parents[i]);
        require(outline.projectChildren[i].hasChild() == !children.empty());
        if (!children.empty())
            requireElement(bytes, outline.projectChildren[i].lastChild, children.back());
        requireSplice(bytes, outline.projectChildren[i], parents[i], document);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const std::optional<XMLOutline> outline = quickOutline(bytes);
    const auto seed = static_cast<std::uint32_t>(std::hash<std::string_view>()(bytes));
    for (const std::uint32_t largest : {3u, 17u, 1000u})
        require(outlineInOddPieces(bytes, seed, largest) == outline);
    constexpr std::size_t fewBytes = 4096;
    if (size <= fewBytes) require(test::outlineInPieces(bytes, 1) == outline);
    if (!outline) return 0;

    require(checkWellFormed(bytes, "input").ok());
    const Result<XMLDocument> document = XMLDocument::parse(bytes, "input");
    require(document.ok());
    requireOutline(bytes, *outline, *document);
    return 0;
}
