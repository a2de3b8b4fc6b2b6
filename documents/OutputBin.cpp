#include "documents/OutputBin.h"

#include "base/UUID.h"

#include <utility>

namespace reelsweep {

namespace {

Failure stopped() { return {FailureCode::cancelled, "cancelled"}; }

}  // namespace

BinText BinText::make(std::optional<int> xmemlVersion) {
    BinText text;
    if (xmemlVersion) {
        text.before =
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE xmeml><xmeml version=\"" +
            std::to_string(*xmemlVersion) + "\">";
        text.after = "</xmeml>";
    }
    text.before += "<bin><uuid>" + newUUID() +
                   "</uuid><updatebehavior>add</updatebehavior><name>Reelsweep</name><children>";
    text.after = "</children></bin>" + text.after;
    return text;
}

Result<std::string> binText(std::span<const XMLNode> sequences, std::optional<int> xmemlVersion,
                            const std::stop_token& stop) {
    const BinText bin = BinText::make(xmemlVersion);
    std::string text = bin.before;
    for (const XMLNode& sequence : sequences) {
        if (stop.stop_requested()) return stopped();
        text += serialise(sequence);
    }
    return text + bin.after;
}

// The bin is made of the sequences themselves. Writing hundreds of megabytes out and reading them
// back in would give the same nodes.
Result<XMLNode> makeBin(XMLNode anyNode, std::span<const XMLNode> sequences,
                        const std::stop_token& stop) {
    const BinText text = BinText::make({});
    Result<XMLNode> bin = anyNode.parseDetached(text.before + text.after);
    if (!bin) return bin;
    XMLNode children = bin->child("children");
    // A sequence that another bin holds already stays there.
    for (const XMLNode& sequence : sequences) {
        if (stop.stop_requested()) return stopped();
        children.appendChild(sequence.parent() ? sequence.copy() : sequence);
    }
    return bin;
}

std::shared_ptr<const SplicedSave> spliceForBin(const XMLDocument& document,
                                                const std::string& path) {
    const XMLOutline* const outline = document.outline();
    if (!outline || outline->projectChildren.empty()) return {};
    std::optional<SplicedSave> splice =
        SplicedSave::ofFile(path, *outline, outline->projectChildren.front());
    return splice ? std::make_shared<const SplicedSave>(std::move(*splice)) : nullptr;
}

XMLNode projectChildren(const XMLDocument& document) {
    const XMLNode root = document.rootElement();
    if (!root.isElement("xmeml")) return {};
    for (XMLNode project = root.child("project"); project; project = project.nextSibling("project"))
        if (const XMLNode children = project.child("children")) return children;
    return {};
}

}  // namespace reelsweep
