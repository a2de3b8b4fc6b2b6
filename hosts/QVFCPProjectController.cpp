#include "hosts/QVFCPProjectController.h"

#include "base/Log.h"
#include "hosts/QVAppleEvents.h"
#include "hosts/QVPremiereEvents.h"
#include "services/ConsoleLog.h"
#include "services/QVAlert.h"
#include "services/QVFileManager.h"
#include "services/QVLocalPaths.h"
#include "services/WaitFor.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLQuery.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

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

bool QVFCPProjectController::setXmlDocFromText(const std::string& text, const std::string& name) {
    loadFailure_.reset();
    xmlDoc_.reset();
    Result<XMLDocument> parsed = XMLDocument::parse(text, name);
    if (parsed)
        xmlDoc_ = std::make_shared<XMLDocument>(std::move(*parsed));
    else
        loadFailure_ = parsed.failure();
    return parsed.ok();
}

bool QVFCPProjectController::loadXMLFromFCP(const std::string& projectPath) {
    std::error_code error;
    if (!std::filesystem::exists(projectPath, error)) return false;
    const auto xml = QVAppleEvents::getProjectXML(projectPath, true);
    if (!xml || xml->empty()) return false;
    setXmlDocFromText(*xml, projectPath);
    return true;
}

bool QVFCPProjectController::loadTOCFromFCP(const std::string& projectPath) {
    std::error_code error;
    if (!std::filesystem::exists(projectPath, error)) return false;
    const auto xml = QVAppleEvents::getTOCData(projectPath, true);
    if (!xml || xml->empty()) return false;
    if (setXmlDocFromText(*xml, projectPath)) return true;
    consoleLog("Error importing XML: %@", loadFailure_->description());
    return false;
}

bool QVFCPProjectController::loadXMLFromPremiere(const std::string& projectPath) {
    constexpr std::chrono::microseconds pause{500};
    constexpr double creationTimeout = 10.0;  // seconds
    const std::string file = QVLocalPaths::tempFile();
    QVPremiereEvents::openProject(projectPath);
    std::this_thread::sleep_for(pause);
    QVPremiereEvents::exportFCPXML(file);
    // It looks once; Premiere Pro may take seconds to begin.
    QVFileManager::waitForFileCreation(file, creationTimeout);
    waitFor([&] { return QVFileManager::fileSize(file).value_or(0) > 0; }, creationTimeout);
    QVFileManager::waitForFileWrites(file);
    std::this_thread::sleep_for(pause);
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return false;
    // The file stays, for a look at what Premiere Pro wrote.
    const std::string xml{std::istreambuf_iterator<char>(stream), {}};
    if (setXmlDocFromText(xml, file)) return true;
    Log::append("Error loading XML data: %@", loadFailure_->description());
    QVAlert::alertSheet("No XML data found",
                        "The project may have taken too long to load - wait until it has "
                        "completely loaded in Premiere and then load it in this application.",
                        WindowRef());
    return false;
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
