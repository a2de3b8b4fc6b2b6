// The product's passes against the plain twin, and what holds for every run, on random timelines.
#include "tests/plain/PassPairs.h"
#include "tests/plain/SinglePass.h"
#include "tests/properties/Random.h"
#include "tests/properties/RandomCheck.h"
#include "tests/timeline/Interchange.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <map>
#include <stop_token>

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
        for (const PassPair& pass : passPairs()) {
            if (!isMeant(part, pass.name)) continue;
            const XMLNode plain = pass.plain(timeline.sequence.copy());
            const XMLNode product = timeline.sequence.copy();
            SinglePass single;
            const Outcome done = single.run(pass.product, product);
            std::string wrong =
                done ? difference(product, plain) : "failed: " + done.failure().description();
            if (wrong.empty() && !single.ledger.balances()) wrong = "the ledger does not balance";
            if (!wrong.empty()) return {std::string(pass.name), wrong};
        }
        return {};
    });
}

// Whole runs

OptionList someOptions(const std::string& timeline) {
    Random random(std::hash<std::string>()(timeline));
    OptionList some;
    for (const std::string& option : allPasses())
        if (random.chance(50)) some.push_back(option);
    return some;
}

TEST(Property, EachRunAnswersAsThePlainTwin) {
    expectOnRandomTimelines([](const std::string& text, const std::string& part) -> Fault {
        const OptionList runs[] = {{},
                                   {"collapseTracks"},
                                   {"collapseUncompositedClips"},
                                   {"collapseTracks", "collapseUncompositedClips"},
                                   allPasses(),
                                   part.empty() ? someOptions(text) : timelineTokens(part)};
        for (const OptionList& options : runs) {
            if (!isMeant(part, joined(options))) continue;
            const Timeline timeline(text);
            const XMLNode plain = plainRun(timeline.sequence.copy(), options);
            const auto copy = tidiedCopy(SourceSequence::of(timeline.sequence), {options}, {});
            if (!copy) return {joined(options), "failed: " + copy.failure().description()};
            copy->sequence.child("uuid").setText("UUID");
            const std::string wrong = difference(copy->sequence, plain);
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
        Interchange file({text});
        const std::string sourceXML = serialise(file.source());
        const OptionList options = part.empty() ? someOptions(text + " ") : timelineTokens(part);
        const auto fault = [&](const std::string& what) { return Fault{joined(options), what}; };
        plainRun(Timeline(text).sequence, options);
        const auto tidied =
            tidy(file.document, {.passes = options, .keepPicture = false, .importSafe = false});
        if (!tidied) return fault("failed: " + tidied.failure().description());
        if (serialise(file.source()) != sourceXML) return fault("changed the source");
        const XMLNode bin = projectChildren(*file.tree).lastChild();
        const std::string wrong = ledgerFault(tidied->ledger().sequences.front(), file.source(),
                                              bin.child("children").child("sequence"));
        if (!wrong.empty()) return fault("has a wrong ledger: " + wrong);
        const std::string saved = file.xml();
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
        const Timeline timeline(text);
        const XMLNode copy = timeline.sequence.copy();
        if (!tidySequence(copy, timeline.sequence, {{"collapseTracks"}})) return {"", "failed"};
        if (sortedItems(timeline.sequence) == sortedItems(copy)) return {};
        return {"", "an item was lost, doubled or changed"};
    });
}

TEST(Property, ACancelledRunLeavesTheDocumentAsItWas) {
    expectOnRandomTimelines([](const std::string& text, const std::string& part) -> Fault {
        // Each step shows one text when it begins.
        const int steps = static_cast<int>(passSteps().size());
        plainRun(Timeline(text).sequence, allPasses());
        const int any = Random(std::hash<std::string>()(text)).upTo(1, steps);
        for (const int step : {0, part.empty() ? any : std::stoi(part)}) {
            Interchange file({text});
            const std::string before = file.xml();
            std::stop_source stop;
            int shown = 0;
            const auto stopThere = [&](const std::string&) {
                if (++shown == step) stop.request_stop();
            };
            if (step == 0) stop.request_stop();
            const auto tidied = tidy(file.document, {.passes = allPasses()},
                                     {.stop = stop.get_token(), .progress = stopThere});
            const auto fault = [&](const char* what) { return Fault{std::to_string(step), what}; };
            if (tidied || tidied.failure().code != FailureCode::cancelled)
                return fault("the cancel was not seen");
            if (shown != step) return fault("the run went on");
            if (file.xml() != before) return fault("the document changed");
        }
        return {};
    });
}

}  // namespace
}  // namespace reelsweep::test
