#include "hosts/QVFCPProjectController.h"

#include "xml/QVXMLParser.h"
#include "xml/XMLQuery.h"

#include <filesystem>

namespace reelsweep {

QVFCPProjectController::QVFCPProjectController() : xmlDoc_(std::make_shared<XMLDocument>()) {}

bool QVFCPProjectController::setXmlDocFromFilePath(const std::string& path,
                                                   Verification verification) {
    std::error_code error;
    if (!std::filesystem::exists(path, error)) {
        const std::string reason = error ? error.message() : "no such file";
        loadFailure_ = Failure{FailureCode::inputUnreadable, reason, path, 0, 0, ""};
        return false;
    }
    loadFailure_.reset();
    xmlDoc_.reset();
    Result<XMLDocument> loaded = XMLDocument::load(path, verification);
    if (loaded)
        xmlDoc_ = std::make_shared<XMLDocument>(std::move(*loaded));
    else
        loadFailure_ = loaded.failure();
    return true;
}

std::optional<std::vector<XMLNode>> QVFCPProjectController::nodesForQuery(
    std::string_view query) const {
    if (!xmlDoc_) return std::vector<XMLNode>();
    auto nodes = selectNodes(xmlDoc_->node(), query);
    if (!nodes) return {};
    return std::move(*nodes);
}

XMLNode QVFCPProjectController::firstNodeForQuery(std::string_view query) const {
    const auto nodes = nodesForQuery(query);
    return nodes && !nodes->empty() ? nodes->front() : XMLNode();
}

std::vector<std::string> QVFCPProjectController::stringValuesForQuery(
    std::string_view query) const {
    std::vector<std::string> texts;
    for (const XMLNode& node : nodesForQuery(query).value_or(std::vector<XMLNode>()))
        texts.push_back(node.stringValue());
    return texts;
}

XMLNode QVFCPProjectController::nodeWithUUID(std::string_view uuid, std::string_view type) const {
    // Only an element's first uuid is its own; a second one came with pasted material.
    return firstNodeForQuery(".//" + std::string(type) + "/uuid[1][text()=\"" + std::string(uuid) +
                             "\"]/..");
}

XMLNode QVFCPProjectController::clipNodeWithUUID(std::string_view uuid) const {
    for (const XMLNode& clip : clips)
        if (QVXMLParser::uuidForNode(clip, true) == uuid) return clip;
    return {};
}

}  // namespace reelsweep
