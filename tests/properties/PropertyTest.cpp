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
#include <stdexcept>

namespace reelsweep::test {
namespace {

std::uint64_t fromEnvironment(const char* name, std::uint64_t fallback) {
    const char* const text = std::getenv(name);
    return text ? std::strtoull(text, nullptr, 10) : fallback;
}

/// What is wrong with a timeline, and in which part of the check.
struct Fault {
    std::string part;
    std::string text;  // empty when nothing is wrong
    explicit operator bool() const { return !text.empty(); }
};

/// Checks a timeline; with a part, only that one. The plain twin goes first: it throws when a
/// malformed timeline grows too large to be checked.
using Check = std::function<Fault(const std::string& timeline, const std::string& part)>;

bool isMeant(const std::string& part, std::string_view candidate) {
    return part.empty() || part == candidate;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += part + " ";
    return text;
}

// What the check says, and how many timelines were too large for it.
Fault outcome(const Check& check, const std::string& timeline, const std::string& part,
              std::uint64_t& tooLarge) {
    try {
        return check(timeline, part);
    } catch (const std::length_error&) {
        ++tooLarge;
        return {};
    }
}

// Takes items, tracks and switches away as long as something stays wrong.
std::string reduced(const std::string& timeline, const std::string& part, const Check& check) {
    std::vector<std::string> tokens = timelineTokens(timeline);
    std::uint64_t tooLarge = 0;
    const auto fails = [&](const std::vector<std::string>& some) {
        return bool(outcome(check, joined(some), part, tooLarge));
    };
    for (std::size_t chunk = tokens.size() / 2 + 1; chunk > 0; chunk /= 2) {
        for (std::size_t at = 0; at + chunk <= tokens.size();) {
            std::vector<std::string> fewer = tokens;
            const auto from = fewer.begin() + static_cast<std::ptrdiff_t>(at);
            fewer.erase(from, from + static_cast<std::ptrdiff_t>(chunk));
            const bool startsATrack = fewer.empty() || fewer.front().back() == ':';
            if (startsATrack && fails(fewer))
                tokens = std::move(fewer);
            else
                ++at;
        }
    }
    for (std::string& token : tokens) {
        const std::string whole = token;
        token.resize(std::min(token.find_first_of("@%^+*=&'{"), token.size()));
        if (token.empty() || !fails(tokens)) token = whole;
    }
    return joined(tokens);
}

void expectOnRandomTimelines(const Check& check) {
    const std::uint64_t first = fromEnvironment("REELSWEEP_PROPERTY_SEED", 1);
    const std::uint64_t count = fromEnvironment("REELSWEEP_PROPERTY_COUNT", 2000);
    std::uint64_t tooLarge = 0;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        const std::string timeline = randomTimeline(seed);
        const Fault fault = outcome(check, timeline, "", tooLarge);
        if (!fault) continue;
        const std::string smallest = reduced(timeline, fault.part, check);
        FAIL() << "seed " << seed << ", " << fault.part << "\n  " << smallest << "\n"
               << check(smallest, fault.part).text;
    }
    EXPECT_LE(tooLarge, count / 100);
}

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
