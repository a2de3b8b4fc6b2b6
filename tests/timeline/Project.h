// Project: a document over sequences in the notation, with a window that notes what it is asked.
#pragma once

#include "shell/QVFCPDoc.h"
#include "tests/timeline/RecordingView.h"
#include "tests/timeline/Timeline.h"

#include <memory>
#include <string>
#include <vector>

namespace reelsweep::test {

/// Thread rule: main thread.
struct Project {
    Project() = default;
    /// A document in memory; its first sequence is ticked.
    explicit Project(const std::vector<std::string>& timelines) {
        std::vector<std::string> sequences;
        for (const std::string& timeline : timelines) sequences.push_back(sequenceXML(timeline));
        Result<XMLDocument> parsed = XMLDocument::parse(projectXML(sequences));
        document.projectController().setXmlDoc(
            parsed ? std::make_shared<XMLDocument>(std::move(*parsed)) : nullptr);
        document.populateSequencesForProject("");
        document.setSelected(0, true);
    }

    QVSequence& record(std::size_t row = 0) { return *document.sequenceArray()->at(row); }
    /// The source of a sequence, and what the last run made of it.
    XMLNode source(std::size_t row = 0) { return record(row).xmlRepresentation; }
    XMLNode result(std::size_t row = 0) { return record(row).processedXMLRepresentation; }
    std::string xml() {
        return document.projectController().xmlDoc()->serialise(XMLFormat::pretty);
    }

    RecordingView view;
    QVFCPDoc document{view};
};

}  // namespace reelsweep::test
