// The product's passes against the plain twin, and what holds for every run, on random timelines.
#include "tests/plain/PassPairs.h"
#include "tests/properties/Random.h"
#include "tests/properties/RandomCheck.h"
#include "tests/timeline/Project.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <map>

namespace reelsweep::test {
namespace {

// The passes one by one

std::string difference(XMLNode product, XMLNode plain) {
    if (serialise(product) == serialise(plain)) return {};
    return "  product " + notation(product) + "\n  plain   " + notation(plain);
}

TEST(Property, EachPassAnswersAsItsPlainTwin) {
    expectOnRandomTimelines([](const std::string& text, const std::string& part) -> Fault {
        const Timeline timeline(text);
        RecordingView view;
        for (const PassPair& pass : passPairs()) {
            if (!isMeant(part, pass.name)) continue;
            const XMLNode plain = pass.plain(timeline.sequence.copy());
            QVFCPDoc document(view);
            const XMLNode product = pass.product(document, timeline.sequence.copy());
            std::string wrong = difference(product, plain);
            if (wrong.empty() && !document.changeLedger().sequences.front().balances())
                wrong = "the ledger does not balance";
            if (!wrong.empty()) return {std::string(pass.name), wrong};
        }
        return {};
    });
}

// Whole runs

OptionList someOptions(const std::string& timeline) {
    Random random(std::hash<std::string>()(timeline));
    OptionList some;
    for (const std::string& option : allOptions())
        if (random.chance(50)) some.push_back(option);
    return some;
}

TEST(Property, EachRunAnswersAsThePlainTwin) {
    expectOnRandomTimelines([](const std::string& text, const std::string& part) -> Fault {
        const OptionList runs[] = {{},
                                   {"collapseTracks"},
                                   {"collapseUncompositedClips"},
                                   {"collapseTracks", "collapseUncompositedClips"},
                                   allOptions(),
                                   part.empty() ? someOptions(text) : timelineTokens(part)};
        for (const OptionList& options : runs) {
            if (!isMeant(part, joined(options))) continue;
            Project project({text});
            const XMLNode plain = plainRun(project.source().copy(), options);
            project.document.startProcessing(options, Delivery::none);
            XMLNode product = project.result();
            product.child("uuid").setText("UUID");
            const std::string wrong = difference(product, plain);
            if (!wrong.empty()) return {joined(options), wrong};
        }
        return {};
    });
}

std::vector<XMLNode> trackItems(XMLNode sequence) {
    const std::string steps = "/track/(clipitem | generatoritem | transitionitem)";
    return *selectNodes(sequence, "./media/video" + steps + " | ./media/audio" + steps);
}

std::map<std::string, long> countsById(XMLNode sequence) {
    std::map<std::string, long> counts;
    for (const XMLNode& item : trackItems(sequence))
        ++counts[std::string(item.attribute("id").value_or(""))];
    return counts;
}

std::string ledgerFault(const SequenceLedger& ledger, XMLNode source, XMLNode result) {
    if (ledger.itemsBefore != trackItems(source).size()) return "items before";
    if (ledger.itemsAfter != trackItems(result).size()) return "items after";
    if (!ledger.balances()) return "balance";
    // What the ledger says of each item is what the trees show.
    std::map<std::string, long> counts = countsById(source);
    for (const Change& change : ledger.changes) {
        if (change.kind == ChangeKind::moved && change.before != change.after)
            return "a moved item's times";
        if (!change.countsAsItem) continue;
        if (change.kind == ChangeKind::removed) --counts[change.id()];
        if (change.kind == ChangeKind::split || change.kind == ChangeKind::inserted)
            ++counts[change.id()];
    }
    std::erase_if(counts, [](const auto& entry) { return entry.second == 0; });
    return counts == countsById(result) ? "" : "items removed, split and inserted, by id";
}

TEST(Property, ARunKeepsItsPromises) {
    expectOnRandomTimelines([](const std::string& text, const std::string& part) -> Fault {
        Project project({text});
        const std::string sourceXML = serialise(project.source());
        const OptionList options = part.empty() ? someOptions(text + " ") : timelineTokens(part);
        const auto fault = [&](const std::string& what) { return Fault{joined(options), what}; };
        plainRun(Timeline(text).sequence, options);
        project.document.startProcessing(options);
        if (!project.document.runResult().delivered) return fault("was not delivered");
        if (serialise(project.source()) != sourceXML) return fault("changed the source");
        const std::string wrong = ledgerFault(project.document.changeLedger().sequences.front(),
                                              project.source(), project.result());
        if (!wrong.empty()) return fault("has a wrong ledger: " + wrong);
        const std::string saved = project.xml();
        const auto loaded = XMLDocument::parse(saved);
        if (!loaded) return fault("does not load again: " + loaded.failure().description());
        if (loaded->serialise(XMLFormat::pretty) != saved) return fault("is saved differently");
        return {};
    });
}

TEST(Property, CollapsingMovesItemsAndChangesNone) {
    const auto sortedItems = [](XMLNode sequence) {
        std::vector<std::string> items;
        for (const XMLNode& item : trackItems(sequence)) items.push_back(serialise(item));
        std::sort(items.begin(), items.end());
        return items;
    };
    expectOnRandomTimelines([&](const std::string& text, const std::string&) -> Fault {
        Project project({text});
        project.document.startProcessing({"collapseTracks"}, Delivery::none);
        if (sortedItems(project.source()) == sortedItems(project.result())) return {};
        return {"", "an item was lost, doubled or changed"};
    });
}

TEST(Property, ACancelledRunLeavesTheDocumentAsItWas) {
    expectOnRandomTimelines([](const std::string& text, const std::string& part) -> Fault {
        // "Initializing..." is the first label; the passes set fifteen more.
        plainRun(Timeline(text).sequence, allOptions());
        const int later = 2 + Random(std::hash<std::string>()(text)).upTo(0, 14);
        for (const int step : {1, part.empty() ? later : std::stoi(part)}) {
            Project project({text});
            const std::string before = project.xml();
            project.view.onLabel = [&](const std::string&) {
                if (project.view.labels == step) project.document.cancelProgress();
            };
            project.document.startProcessing(allOptions());
            const RunResult& result = project.document.runResult();
            const auto fault = [&](const char* what) { return Fault{std::to_string(step), what}; };
            if (!result.cancelled || result.delivered) return fault("the cancel was not seen");
            if (project.xml() != before) return fault("the document changed");
        }
        return {};
    });
}

}  // namespace
}  // namespace reelsweep::test
