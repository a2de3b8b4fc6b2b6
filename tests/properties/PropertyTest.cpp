// The product's passes against the plain twin, and what holds for every run, on random timelines.
//
// REELSWEEP_PROPERTY_COUNT timelines (2000) from REELSWEEP_PROPERTY_SEED (1) on.
#include "tests/plain/PassPairs.h"
#include "tests/properties/Random.h"
#include "tests/properties/RandomTimeline.h"
#include "tests/timeline/Project.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstdlib>
#include <map>

namespace reelsweep::test {
namespace {

std::uint64_t fromEnvironment(const char* name, std::uint64_t fallback) {
    const char* const text = std::getenv(name);
    return text ? std::strtoull(text, nullptr, 10) : fallback;
}

/// What is wrong with a timeline; empty when nothing is.
using Check = std::function<std::string(const std::string& timeline)>;

// Takes items and tracks away as long as something stays wrong.
std::string reduced(const std::string& timeline, const Check& check) {
    std::vector<std::string> tokens = timelineTokens(timeline);
    const auto joined = [](const std::vector<std::string>& parts) {
        std::string text;
        for (const std::string& part : parts) text += part + " ";
        return text;
    };
    for (std::size_t chunk = tokens.size() / 2 + 1; chunk > 0; chunk /= 2) {
        for (std::size_t at = 0; at + chunk <= tokens.size();) {
            std::vector<std::string> fewer = tokens;
            const auto from = fewer.begin() + static_cast<std::ptrdiff_t>(at);
            fewer.erase(from, from + static_cast<std::ptrdiff_t>(chunk));
            const bool startsATrack = fewer.empty() || fewer.front().back() == ':';
            if (startsATrack && !check(joined(fewer)).empty())
                tokens = std::move(fewer);
            else
                ++at;
        }
    }
    return joined(tokens);
}

void expectOnRandomTimelines(const Check& check) {
    const std::uint64_t first = fromEnvironment("REELSWEEP_PROPERTY_SEED", 1);
    const std::uint64_t count = fromEnvironment("REELSWEEP_PROPERTY_COUNT", 2000);
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        const std::string timeline = randomTimeline(seed);
        if (check(timeline).empty()) continue;
        const std::string smallest = reduced(timeline, check);
        FAIL() << "seed " << seed << "\n  " << smallest << "\n" << check(smallest);
    }
}

// The passes one by one

std::string difference(const std::string& what, XMLNode product, XMLNode plain) {
    if (serialise(product) == serialise(plain)) return {};
    return what + "\n  product " + notation(product) + "\n  plain   " + notation(plain);
}

TEST(Property, EachPassAnswersAsItsPlainTwin) {
    expectOnRandomTimelines([](const std::string& text) {
        const Timeline timeline(text);
        RecordingView view;
        for (const PassPair& pass : passPairs()) {
            QVFCPDoc document(view);
            const XMLNode product = pass.product(document, timeline.sequence.copy());
            const XMLNode plain = pass.plain(timeline.sequence.copy());
            std::string wrong = difference(std::string(pass.name), product, plain);
            if (!wrong.empty()) return wrong;
            if (!document.changeLedger().sequences.front().balances())
                return std::string(pass.name) + ": the ledger does not balance";
        }
        return std::string();
    });
}

// Whole runs

std::string joined(const OptionList& options) {
    std::string text;
    for (const std::string& option : options) text += option + " ";
    return text;
}

OptionList someOptions(const std::string& timeline) {
    Random random(std::hash<std::string>()(timeline));
    OptionList some;
    for (const std::string& option : allOptions())
        if (random.chance(50)) some.push_back(option);
    return some;
}

TEST(Property, EachRunAnswersAsThePlainTwin) {
    expectOnRandomTimelines([](const std::string& text) {
        const OptionList runs[] = {{},
                                   {"collapseTracks"},
                                   {"collapseUncompositedClips"},
                                   {"collapseTracks", "collapseUncompositedClips"},
                                   allOptions(),
                                   someOptions(text)};
        for (const OptionList& options : runs) {
            Project project({text});
            project.document.startProcessing(options, Delivery::none);
            XMLNode product = project.result();
            product.child("uuid").setText("UUID");
            const XMLNode plain = plainRun(project.source().copy(), options);
            std::string wrong = difference(joined(options), product, plain);
            if (!wrong.empty()) return wrong;
        }
        return std::string();
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
    expectOnRandomTimelines([](const std::string& text) {
        Project project({text});
        const XMLNode source = project.source();
        const std::string sourceXML = serialise(source);
        const OptionList options = someOptions(text + " ");
        project.document.startProcessing(options);
        const std::string what = joined(options);
        if (!project.document.runResult().delivered) return what + "was not delivered";
        if (serialise(source) != sourceXML) return what + "changed the source";
        const std::string fault = ledgerFault(project.document.changeLedger().sequences.front(),
                                              source, project.result());
        if (!fault.empty()) return what + "has a wrong ledger: " + fault;
        const std::string saved = project.xml();
        const auto loaded = XMLDocument::parse(saved);
        if (!loaded) return what + "does not load again: " + loaded.failure().description();
        if (loaded->serialise(XMLFormat::pretty) != saved) return what + "is saved differently";
        return std::string();
    });
}

TEST(Property, CollapsingMovesItemsAndChangesNone) {
    const auto sortedItems = [](XMLNode sequence) {
        std::vector<std::string> items;
        for (const XMLNode& item : trackItems(sequence)) items.push_back(serialise(item));
        std::sort(items.begin(), items.end());
        return items;
    };
    expectOnRandomTimelines([&](const std::string& text) {
        Project project({text});
        project.document.startProcessing({"collapseTracks"}, Delivery::none);
        const bool same = sortedItems(project.source()) == sortedItems(project.result());
        return std::string(same ? "" : "an item was lost, doubled or changed");
    });
}

TEST(Property, ACancelledRunLeavesTheDocumentAsItWas) {
    expectOnRandomTimelines([](const std::string& text) {
        // "Initializing..." is the first label; the passes set fifteen more.
        for (const int step : {1, 2 + Random(std::hash<std::string>()(text)).upTo(0, 14)}) {
            Project project({text});
            const std::string before = project.xml();
            project.view.onLabel = [&](const std::string&) {
                if (project.view.labels == step) project.document.cancelProgress();
            };
            project.document.startProcessing(allOptions());
            const RunResult& result = project.document.runResult();
            const std::string what = "cancelled at label " + std::to_string(step) + ": ";
            if (!result.cancelled || result.delivered) return what + "not seen";
            if (project.xml() != before) return what + "the document changed";
        }
        return std::string();
    });
}

}  // namespace
}  // namespace reelsweep::test
