#include "documents/FCPXMLDocument.h"

#include "base/Log.h"
#include "report/SequenceSummary.h"
#include "tidy/FCPXPasses.h"
#include "timeline/QVXMLParser.h"
#include "timeline/TimelineEdit.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>

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

void showProgress(const TidyControls& controls, const char* text) {
    if (controls.progress) controls.progress(text);
}

// What is said of a file with several projects; empty for others.
std::string othersLeft(const std::string& title, const XMLDocument& document,
                       const OptionList& passes) {
    const std::size_t all = fcpxProjects(document.node()).size();
    if (all < 2) return {};
    if (hasFCPXPass(passes)) {
        const bool isFirstAlone =
            hasOption(passes, "removeFilters") || hasOption(passes, "removeMarkers");
        if (!isFirstAlone) return {};
        return "removeFilters and removeMarkers look at the first project only; the other passes "
               "take all " +
               std::to_string(all);
    }
    const std::size_t others = all - 1;
    return "Only the project \"" + title + "\" is tidied; " +
           (others == 1 ? "another one in the file stays as it is"
                        : std::to_string(others) + " others in the file stay as they are");
}

Failure noProject(const std::string& path) {
    Failure failure{FailureCode::inputInvalid, "Invalid FCPX project", path};
    failure.detail =
        "Please make sure you are importing the XML from an FCPX project, not an event.";
    return failure;
}

// Anything that stands on a time line or could.
bool holdsClips(const XMLDocument& document) {
    bool found = false;
    document.rootElement().forEachDescendant(
        {"asset-clip", "clip", "mc-clip", "ref-clip", "sync-clip", "spine", "title", "video",
         "audio", "multicam"},
        [&](XMLNode) { found = true; });
    return found;
}

// The name of the first project; of the first event in a file without one.
std::string titleOf(const XMLDocument& document) {
    for (const char* const name : {"project", "event"})
        if (const XMLNode node = document.rootElement().nextElement(document.rootElement(), name))
            return std::string(node.attribute("name").value_or(""));
    return {};
}

Failure stopped() { return {FailureCode::cancelled, "cancelled"}; }

}  // namespace

Result<std::unique_ptr<FCPXMLDocument>> FCPXMLDocument::open(const std::string& path,
                                                             Holding holding) {
    const Result<XMLDocument> tree = XMLDocument::load(documentFile(path));
    if (!tree) return tree.failure();
    const bool isEnough = projectOf(*tree) || (holding == Holding::anything && holdsClips(*tree));
    if (!isEnough) return noProject(path);
    return std::unique_ptr<FCPXMLDocument>(new FCPXMLDocument(path));
}

Result<Tidied> FCPXMLDocument::tidy(const DocumentRequest& request, const TidyControls& controls) {
    Result<XMLDocument> loaded = XMLDocument::load(documentFile(path_));
    if (!loaded) {
        Log::append("Unable to load XML data - %@", loaded.failure().description());
        return loaded.failure();
    }
    const auto document = std::make_shared<XMLDocument>(std::move(*loaded));
    Tidied tidied;
    SequenceLedger& ledger = tidied.ledger_.sequences.emplace_back();
    const XMLNode project = projectOf(*document);
    if (!project && !hasFCPXPass(request.passes)) return noProject(path_);
    ledger.title =
        project ? std::string(project.attribute("name").value_or("")) : titleOf(*document);
    ledger.document = document;
    if (std::string note = othersLeft(ledger.title, *document, request.passes); !note.empty()) {
        Log::append("%@", note);
        tidied.notes_.push_back(std::move(note));
    }
    if (hasOption(request.passes, "removeFilters"))
        if (Outcome done = removeFCPXFilters(*document, ledger, controls); !done)
            return done.failure();
    if (hasOption(request.passes, "removeMarkers"))
        if (Outcome done = removeFCPXMarkers(*document, ledger, controls); !done)
            return done.failure();
    if (hasFCPXPass(request.passes))
        if (Outcome done = applyFCPXPasses(document->node(), request.passes,
                                           request.fcpxMarkerKinds, ledger, controls);
            !done)
            return done.failure();
    if (controls.stop.stop_requested()) return stopped();
    if (request.delivery == Delivery::none) return tidied;
    tidied.delivery_ = Delivery::document;
    tidied.document_ = document;
    return tidied;
}

Outcome removeFCPXFilters(const XMLDocument& document, SequenceLedger& ledger,
                          const TidyControls& controls) {
    showProgress(controls, "Removing filters...");
    TimelineEdit edit(document.node(), ledger);
    edit.beginStep("removeFilters");
    const EffectResources effects(document);
    for (const XMLNode& filter : nodesBelowSequence(document, libraryFormPath, "filter")) {
        if (controls.stop.stop_requested()) return stopped();
        if (const auto ref = QVXMLParser::stringValueForQuery("./@ref[1]", filter))
            if (const XMLNode resource = effects.find(*ref))
                edit.detach(resource, "its filter is removed");
        edit.detach(filter, "all filters are removed");
    }
    return Done{};
}

Outcome removeFCPXMarkers(const XMLDocument& document, SequenceLedger& ledger,
                          const TidyControls& controls) {
    showProgress(controls, "Removing markers...");
    TimelineEdit edit(document.node(), ledger);
    edit.beginStep("removeMarkers");
    std::vector<XMLNode> markers = nodesBelowSequence(document, projectFormPath, "marker");
    if (markers.empty()) markers = nodesBelowSequence(document, libraryFormPath, "marker");
    for (const XMLNode& marker : markers) {
        if (controls.stop.stop_requested()) return stopped();
        edit.detach(marker, "all markers are removed");
    }
    return Done{};
}

}  // namespace reelsweep
