#include "base/Log.h"
#include "documents/SequenceDocument.h"

#include <algorithm>

namespace reelsweep {

namespace {

std::vector<XMLNode> sequencesIn(const XMLDocument* tree) {
    std::vector<XMLNode> sequences;
    if (tree)
        tree->node().forEachDescendant({"sequence"},
                                       [&](XMLNode sequence) { sequences.push_back(sequence); });
    return sequences;
}

}  // namespace

Result<std::unique_ptr<XMEMLDocument>> XMEMLDocument::open(const std::string& path,
                                                           Verification verification) {
    Result<XMLDocument> loaded = XMLDocument::load(path, verification);
    if (!loaded) return loaded.failure();
    auto tree = std::make_shared<XMLDocument>(std::move(*loaded));
    const std::vector<XMLNode> sequences = tree->loadedSequences();
    return std::unique_ptr<XMEMLDocument>(new XMEMLDocument(path, std::move(tree), sequences));
}

XMEMLDocument::XMEMLDocument(std::string path, const std::shared_ptr<XMLDocument>& tree)
    : XMEMLDocument(std::move(path), tree, sequencesIn(tree.get())) {}

// Every sequence with a name, nested ones too: what the query ".//sequence/name/.." finds.
XMEMLDocument::XMEMLDocument(std::string path, std::shared_ptr<XMLDocument> tree,
                             const std::vector<XMLNode>& sequences)
    : SequenceDocument(std::move(path)), tree_(std::move(tree)) {
    for (std::size_t number = 0; number < sequences.size(); ++number) {
        if (!sequences[number].child("name")) continue;
        sequences_.push_back(SourceSequence::of(sequences[number]));
        numbers_.push_back(number);
    }
}

Delivery XMEMLDocument::ownDelivery() const {
    return tree_ && projectChildren(*tree_) ? Delivery::project : Delivery::standalone;
}

Outcome XMEMLDocument::verify() const { return tree_ ? tree_->verify() : Outcome(Done{}); }

std::shared_ptr<const SplicedSave> XMEMLDocument::splice() const {
    return tree_ && bins_.empty() ? spliceForBin(*tree_, path_) : nullptr;
}

std::size_t XMEMLDocument::largest(std::span<const std::size_t> rows) const {
    const XMLOutline* const outline = tree_->outline();
    const auto bytes = [&](std::size_t row) {
        const ElementBytes& element = outline->sequences[numbers_[row]];
        return element.end - element.begin;
    };
    const auto found =
        std::max_element(rows.begin(), rows.end(),
                         [&](std::size_t a, std::size_t b) { return bytes(a) < bytes(b); });
    return static_cast<std::size_t>(found - rows.begin());
}

Result<SourceSequence> XMEMLDocument::wholeSequence(std::size_t row, const TidyControls&) {
    return sequences_[row];
}

Result<std::shared_ptr<const XMLDocument>> XMEMLDocument::deliver(
    std::span<const XMLNode> sequences, const DocumentRequest& request,
    const TidyControls& controls) {
    using Delivered = std::shared_ptr<const XMLDocument>;
    if (request.delivery == Delivery::none) return Delivered();
    if (request.delivery == Delivery::standalone) {
        Result<XMLDocument> document =
            standaloneDocument(*tree_, sequences, request.xmemlVersion, controls.stop);
        if (!document) return document.failure();
        return Delivered(std::make_shared<XMLDocument>(std::move(*document)));
    }
    XMLNode children = tree_ ? projectChildren(*tree_) : XMLNode();
    if (!children) {
        Failure failure{FailureCode::processing, "No project node found"};
        failure.detail =
            "Please perform this task on an XML document for the entire project, not a specific "
            "sequence or element.";
        Log::append("%@. %@", failure.message, failure.detail);
        return failure;
    }
    const Result<XMLNode> bin = makeBin(children, sequences, controls.stop);
    if (!bin && bin.failure().code == FailureCode::cancelled) return bin.failure();
    if (!bin) {
        Failure failure{FailureCode::processing, "Error creating bin"};
        failure.detail = bin.failure().description();
        Log::append("%@. %@.", failure.message, failure.detail);
        return failure;
    }
    children.appendChild(*bin);
    bins_.push_back(*bin);
    return Delivered(tree_);
}

}  // namespace reelsweep
