// Any bytes, loaded, tidied with every pass and delivered both ways.

#include "fuzz/Quiet.h"
#include "shell/QVFCPDoc.h"

#include <cstddef>
#include <cstdint>
#include <vector>

using namespace reelsweep;

namespace {

// What is saved must load again and save the same.
void checkRoundTrip(const XMLDocument& document) {
    const std::string once = document.serialise(XMLFormat::pretty);
    const Result<XMLDocument> again = XMLDocument::parse(once, "output");
    require(again.ok());
    require(again->serialise(XMLFormat::pretty) == once);
}

// How many items end before they start, or have an edge in a transition.
std::size_t backwardItems(const XMLDocument& document) {
    std::size_t count = 0;
    document.node().forEachDescendant(
        {"clipitem", "generatoritem", "transitionitem"}, [&](XMLNode item) {
            const Frames start = leadingFrames(item.child("start").stringValue());
            if (leadingFrames(item.child("end").stringValue()) < start) ++count;
        });
    return count;
}

// A clip that ends before it starts makes two of each clip below it: so many make a thousand of
// one, and more would only cost time.
constexpr std::size_t mostBackwardItems = 10;

bool isCollapse(const PassRow& pass) { return pass.option.starts_with("collapse"); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    installQuietPlatform();
    Result<XMLDocument> parsed =
        XMLDocument::parse({reinterpret_cast<const char*>(data), size}, "input");
    if (!parsed) return 0;
    SilentView view;
    QVFCPDoc document(view);
    document.projectController().setXmlDoc(std::make_shared<XMLDocument>(std::move(*parsed)));
    document.populateSequencesForProject("input");
    const auto records = document.sequenceArray();
    std::vector<std::string> sources;
    for (std::size_t row = 0; row < records->size(); ++row) {
        document.setSelected(row, true);
        sources.push_back(serialise((*records)[row]->xmlRepresentation));
    }
    OptionList options;
    const bool collapses =
        backwardItems(*document.projectController().xmlDoc()) <= mostBackwardItems;
    for (const PassRow& pass : passTable())
        if (collapses || !isCollapse(pass)) options.emplace_back(pass.option);
    const bool hasProject = document.hasProjectNode();
    document.startProcessing(options, hasProject ? Delivery::automatic : Delivery::none);

    for (const SequenceLedger& ledger : document.changeLedger().sequences)
        require(ledger.balances());
    const Result<XMLDocument> standalone = document.standaloneXML();
    require(standalone.ok());
    checkRoundTrip(*standalone);
    // A sequence may hold the project that the bin was added to; only then its source may differ.
    if (!hasProject)
        for (std::size_t row = 0; row < records->size(); ++row)
            require(serialise((*records)[row]->xmlRepresentation) == sources[row]);
    checkRoundTrip(*document.projectController().xmlDoc());
    return 0;
}
