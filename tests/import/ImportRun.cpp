#include "tests/import/ImportRun.h"

#include "documents/OutputBin.h"
#include "documents/TidiedCopy.h"
#include "tidy/PassRun.h"

#include <gtest/gtest.h>

namespace reelsweep::test {

ImportRun::ImportRun(const XMLDocument& document, const std::vector<XMLNode>& sources,
                     const OptionList& passes)
    : document_(document) {
    for (const XMLNode& source : sources) {
        Copy& copy = *copies_.emplace_back(std::make_unique<Copy>());
        copy.source = source;
        const XMLNode sequence = source.copy();
        renameCopy(sequence);
        copy.edit = std::make_unique<TimelineEdit>(sequence, copy.ledger);
        const std::vector<std::string> ignoredEffects;
        const std::function<void(const std::string&)> progress;
        PassRun run{*copy.edit, ignoredEffects, {}, progress};
        for (const PassStep& step : passSteps()) {
            if (!hasOption(passes, step.option) ||
                (!step.onlyWith.empty() && !hasOption(passes, step.onlyWith)))
                continue;
            copy.edit->beginStep(step.option);
            EXPECT_TRUE(step.run(run)) << step.option;
        }
    }
}

void ImportRun::makeSafe(bool intoDocument) {
    ImportDelivery delivery =
        intoDocument ? ImportDelivery::afterSource(document_.node()) : ImportDelivery::alone();
    for (const auto& copy : copies_) {
        const ImportSource source(*copy->edit, copy->source);
        EXPECT_TRUE(makeImportSafe(*copy->edit, {source, document_.node(), delivery}));
    }
}

XMLDocument ImportRun::deliver(bool intoDocument) {
    std::vector<XMLNode> sequences;
    for (const auto& copy : copies_) {
        copy->edit->finish(copy->source);
        EXPECT_TRUE(copy->ledger.balances());
        sequences.push_back(copy->edit->sequence());
    }
    if (!intoDocument) {
        Result<XMLDocument> alone =
            standaloneDocument(document_, sequences, newestXMEMLVersion, {});
        EXPECT_TRUE(alone);
        return std::move(*alone);
    }
    Result<XMLDocument> whole =
        XMLDocument::parse(document_.serialise(XMLFormat::compact), "delivered");
    EXPECT_TRUE(whole);
    XMLNode children = projectChildren(*whole);
    EXPECT_TRUE(children);
    const Result<XMLNode> bin = makeBin(document_.node(), sequences);
    EXPECT_TRUE(bin);
    children.appendCopy(*bin);
    return std::move(*whole);
}

std::string faultCounts(const std::vector<ImportFault>& faults) {
    std::map<ImportFaultKind, int> counts;
    for (const ImportFault& fault : faults) ++counts[fault.kind];
    std::string text;
    for (const auto& [kind, count] : counts)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + std::string(name(kind));
    return text;
}

namespace {

std::string whatAndWhere(const ImportFault& fault) {
    // "C1-Tidied-2" and "C1-2" came from "C1".
    std::string id = fault.id.substr(0, fault.id.find("-Tidied"));
    const std::size_t number = id.find_last_not_of("0123456789");
    if (number != id.npos && number + 1 < id.size() && id[number] == '-') id.erase(number);
    return std::string(name(fault.kind)) + " " + id + (id.empty() ? fault.item : "");
}

}  // namespace

std::string newFaults(const std::vector<ImportFault>& before,
                      const std::vector<ImportFault>& after) {
    std::set<std::string> known;
    for (const ImportFault& fault : before) known.insert(whatAndWhere(fault));
    std::string text;
    for (const ImportFault& fault : after)
        if (!known.contains(whatAndWhere(fault)))
            text += whatAndWhere(fault) + ": " + fault.place + ": " + fault.text + "\n";
    return text;
}

std::vector<XMLNode> namedSequences(const XMLDocument& document) {
    std::vector<XMLNode> sequences;
    document.node().forEachDescendant({"sequence"}, [&](XMLNode sequence) {
        if (sequence.child("name")) sequences.push_back(sequence);
    });
    return sequences;
}

}  // namespace reelsweep::test
