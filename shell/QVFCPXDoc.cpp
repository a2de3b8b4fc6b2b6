#include "shell/QVFCPXDoc.h"

#include "base/Log.h"
#include "services/QVAlert.h"
#include "services/QVException.h"
#include "shell/QVFCPDoc.h"
#include "timeline/QVXMLParser.h"
#include "timeline/TimelineEdit.h"

#include <algorithm>
#include <unordered_map>

namespace reelsweep {

namespace {

constexpr const char* projectFormPath = "./fcpxml[1]/project[1]";
constexpr const char* libraryFormPath = "./fcpxml[1]/library[1]/event[1]/project[1]";

XMLNode projectOf(const XMLDocument& document) {
    const XMLNode project = QVXMLParser::nodeForQuery(projectFormPath, document.node());
    return project ? project : QVXMLParser::nodeForQuery(libraryFormPath, document.node());
}

std::vector<XMLNode> nodesBelowSequence(const XMLDocument& document, const char* projectPath,
                                        const std::string& element) {
    return QVXMLParser::nodesForQuery(std::string(projectPath) + "/sequence[1]//" + element,
                                      document.node())
        .value_or(std::vector<XMLNode>());
}

// The effect resources of a document, the project's own first. A resource is matched by its own
// `ref`, which its filters repeat.
class EffectResources {
public:
    explicit EffectResources(const XMLDocument& document) : document_(document) {
        for (const char* const parent : {projectFormPath, "./fcpxml[1]"})
            for (const XMLNode& effect :
                 QVXMLParser::nodesForQuery(std::string(parent) + "/resources[1]/effect[@ref]",
                                            document.node())
                     .value_or(std::vector<XMLNode>()))
                byRef_[std::string(*effect.attribute("ref"))].push_back(effect);
    }

    /// The first one that is still there; null for none.
    XMLNode find(const std::string& ref) const {
        // A query reads such characters in ways of its own.
        if (ref.find_first_of("\"&<>") != ref.npos) return query(ref);
        const auto found = byRef_.find(ref);
        if (found == byRef_.end()) return {};
        const auto& effects = found->second;
        const auto there = std::find_if(effects.begin(), effects.end(),
                                        [](XMLNode effect) { return bool(effect.parent()); });
        return there == effects.end() ? XMLNode() : *there;
    }

private:
    XMLNode query(const std::string& ref) const {
        const std::string effect = "/resources[1]/effect[@ref=\"" + ref + "\"]";
        const XMLNode own = QVXMLParser::nodeForQuery(projectFormPath + effect, document_.node());
        return own ? own : QVXMLParser::nodeForQuery("./fcpxml[1]" + effect, document_.node());
    }

    const XMLDocument& document_;
    std::unordered_map<std::string, std::vector<XMLNode>> byRef_;
};

bool has(const OptionList& options, std::string_view option) {
    return std::find(options.begin(), options.end(), option) != options.end();
}

}  // namespace

QVFCPXDoc::QVFCPXDoc(DocumentView& view) : view_(view) {}

QVFCPXDoc::~QVFCPXDoc() {
    processingCancelled_ = true;
    waitUntilProcessed();
}

Outcome QVFCPXDoc::readFromURL(const std::string& path) {
    const Result<XMLDocument> document = XMLDocument::load(path);
    if (!document) return document.failure();
    if (!projectOf(*document)) {
        const std::string message = "Invalid FCPX project";
        const std::string informative =
            "Please make sure you are importing the XML from an FCPX project, not an event.";
        showAlert(message, informative, AlertStyle::warning);
        hasShownFailure_ = true;
        return Failure{FailureCode::inputInvalid, message + ". " + informative, path, 0, 0, ""};
    }
    path_ = path;
    return Done{};
}

Outcome QVFCPXDoc::writeToURL(const std::string& path, Overwrite overwrite,
                              bool refuseWhenChanged) const {
    const Result<FileIdentity> written = write(path, overwrite, refuseWhenChanged);
    return written ? Outcome(Done{}) : Outcome(written.failure());
}

Outcome QVFCPXDoc::saveToURL(const std::string& path) {
    const Result<FileIdentity> written = write(path, Overwrite::always, path == path_);
    if (!written) return written.failure();
    xmlDoc_->setLoadedFile(*written);
    path_ = path;
    return Done{};
}

Result<FileIdentity> QVFCPXDoc::write(const std::string& path, Overwrite overwrite,
                                      bool refuseWhenChanged) const {
    if (!xmlDoc_)
        return Failure{FailureCode::outputFailed, "there is no result to save", path, 0, 0, ""};
    AtomicFile file(path, overwrite);
    if (refuseWhenChanged) file.expectUnchanged(xmlDoc_->loadedFile());
    if (Outcome opened = file.open(); !opened) return opened.failure();
    xmlDoc_->serialise(XMLFormat::pretty, file);
    const FileIdentity identity = FileIdentity::ofDescriptor(file.descriptor());
    if (Outcome committed = file.commit(); !committed) return committed.failure();
    return identity;
}

void QVFCPXDoc::setProgressLabelText(const std::string& text) {
    onMainThread([&] { view_.setProgressLabelText(text); });
}

void QVFCPXDoc::showAlert(const std::string& message, const std::string& informative,
                          AlertStyle style) {
    WindowRef window;
    onMainThread([&] { window = view_.window(); });
    QVAlert::alertSheet(message, informative, window, style);
}

void QVFCPXDoc::process(const OptionList& options, std::function<void()> ended) {
    thread_.start([this, options] { startProcessing(options); }, std::move(ended));
}

void QVFCPXDoc::startProcessing(const OptionList& options) {
    runResult_ = RunResult();
    ledger_ = ChangeLedger();
    onMainThread([this] {
        processingCancelled_ = false;
        view_.startProgress();
    });
    setProgressLabelText("Initializing...");
    try {
        processFile(options);
    } catch (const std::exception& error) {
        const std::string text = QVException::logException(error, "-[QVFCPXDoc startProcessing:]");
        runResult_.failures.push_back({FailureCode::internal, text, path_, 0, 0, ""});
        onMainThread([this] { view_.endProgress(); });
    }
}

void QVFCPXDoc::processFile(const OptionList& options) {
    Result<XMLDocument> loaded = XMLDocument::load(path_);
    if (!loaded) {
        const std::string reason = loaded.failure().description();
        Log::append("Unable to load XML data - %@", reason);
        runResult_.failures.push_back(loaded.failure());
        // The progress sheet stays up behind the alert: the window that it blocks has nothing to
        // show but the file that cannot be read any more.
        showAlert("Unable to load XML data", reason, AlertStyle::warning);
        return;
    }
    auto document = std::make_shared<XMLDocument>(std::move(*loaded));
    SequenceLedger& ledger = ledger_.sequences.emplace_back();
    ledger.title =
        QVXMLParser::stringValueForQuery("./@name[1]", projectOf(*document)).value_or("");
    if (has(options, "removeFilters")) document = removeFilters(std::move(document));
    if (has(options, "removeMarkers")) document = removeMarkers(std::move(document));
    // A window shows the result when the progress ends.
    runResult_.cancelled = processingCancelled_;
    runResult_.delivered = document != nullptr;
    onMainThread([this] { view_.endProgress(); });
    xmlDoc_ = std::move(document);
    onMainThread([this] { view_.markChanged(); });
    processXML();
}

std::shared_ptr<XMLDocument> QVFCPXDoc::removeFilters(std::shared_ptr<XMLDocument> document) {
    setProgressLabelText("Removing filters...");
    if (!document) return nullptr;
    TimelineEdit edit(document->node(), ledgerOfRun());
    edit.beginPass("removeFilters");
    const EffectResources effects(*document);
    for (const XMLNode& filter : nodesBelowSequence(*document, libraryFormPath, "filter")) {
        if (processingCancelled_) return nullptr;
        if (const auto ref = QVXMLParser::stringValueForQuery("./@ref[1]", filter))
            if (const XMLNode resource = effects.find(*ref))
                edit.detach(resource, "its filter is removed");
        edit.detach(filter, "all filters are removed");
    }
    return document;
}

std::shared_ptr<XMLDocument> QVFCPXDoc::removeMarkers(std::shared_ptr<XMLDocument> document) {
    setProgressLabelText("Removing markers...");
    if (!document) return nullptr;
    TimelineEdit edit(document->node(), ledgerOfRun());
    edit.beginPass("removeMarkers");
    std::vector<XMLNode> markers = nodesBelowSequence(*document, projectFormPath, "marker");
    if (markers.empty()) markers = nodesBelowSequence(*document, libraryFormPath, "marker");
    for (const XMLNode& marker : markers) {
        if (processingCancelled_) return nullptr;
        edit.detach(marker, "all markers are removed");
    }
    return document;
}

XMLNode QVFCPXDoc::nodeFromXPath(std::string_view query, XMLNode parent) {
    return QVFCPDoc::nodeFromXPath(query, parent);
}

SequenceLedger& QVFCPXDoc::ledgerOfRun() {
    return ledger_.sequences.empty() ? ledger_.sequences.emplace_back() : ledger_.sequences.back();
}

void QVFCPXDoc::processXML() {
    onMainThread([this] { view_.endProgress(); });
    showAlert("Processing complete", "Please save the XML file.", AlertStyle::informational);
}

}  // namespace reelsweep
