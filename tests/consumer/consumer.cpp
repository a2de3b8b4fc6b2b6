// A program of somebody else's: lists the sequences of a file and the items that each holds.
#include "documents/DocumentFormat.h"
#include "report/SequenceSummary.h"
#include "xml/XMLDocument.h"

#include <cstdio>

namespace {

int fail(const reelsweep::Failure& failure) {
    std::fprintf(stderr, "consumer: %s\n", failure.description().c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const auto format = reelsweep::documentFormat(argv[1]);
    if (!format) return fail(format.failure());
    if (*format != reelsweep::DocumentFormat::xmeml) return 3;
    const auto document = reelsweep::XMLDocument::load(argv[1]);
    if (!document) return fail(document.failure());
    document->node().forEachDescendant({"sequence"}, [](reelsweep::XMLNode sequence) {
        if (!sequence.child("media")) return;  // a clip refers to a sequence
        const auto summary = reelsweep::SequenceSummary::of(sequence);
        std::printf("%s: %zu items\n", summary.title.c_str(), summary.items);
    });
    return 0;
}
