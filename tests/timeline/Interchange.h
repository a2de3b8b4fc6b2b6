// Interchange: a document in memory over sequences in the notation, without windows or threads.
#pragma once

#include "documents/SequenceDocument.h"
#include "tests/timeline/Timeline.h"

#include <memory>
#include <string>
#include <vector>

namespace reelsweep::test {

/// Thread rule: as Document.
struct Interchange {
    /// Its project holds sequences in the notation.
    explicit Interchange(const std::vector<std::string>& timelines)
        : Interchange(parsed(projectOf(timelines))) {}
    /// A whole document as text.
    static Interchange ofXML(const std::string& xml) { return Interchange(parsed(xml)); }

    XMLNode source(std::size_t row = 0) const { return document.sequences().at(row).node; }
    std::string xml() const { return tree->serialise(XMLFormat::pretty); }

    std::shared_ptr<XMLDocument> tree;
    XMEMLDocument document;

private:
    explicit Interchange(std::shared_ptr<XMLDocument> parsedTree)
        : tree(std::move(parsedTree)), document("", tree) {}
    static std::string projectOf(const std::vector<std::string>& timelines) {
        std::vector<std::string> sequences;
        for (const std::string& timeline : timelines) sequences.push_back(sequenceXML(timeline));
        return projectXML(sequences);
    }
    static std::shared_ptr<XMLDocument> parsed(const std::string& xml) {
        Result<XMLDocument> result = XMLDocument::parse(xml);
        return result ? std::make_shared<XMLDocument>(std::move(*result)) : nullptr;
    }
};

}  // namespace reelsweep::test
