// Which sequences of one file or of two belong together, for commands that compare them.
//
// Owner: the command. Thread rule: main thread.
#pragma once

#include "cli/InputFile.h"
#include "documents/Document.h"
#include "timeline/MediaCatalogue.h"
#include "timeline/Timeline.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

/// A file whose sequences can be compared.
struct ComparedFile {
    InputFile file;
    std::unique_ptr<Document> document;
    std::shared_ptr<MediaCatalogue> media;

    /// Fails with inputUnreadable or inputInvalid, also for what is not XMEML or holds no sequence.
    static Result<ComparedFile> open(const std::string& path);

    Timeline timeline(std::size_t row, TimelineDetail detail) const;
    const std::string& title(std::size_t row) const { return document->sequences()[row].title; }
};

struct SequencePair {
    std::size_t before = 0;  ///< row of the first file
    std::size_t after = 0;   ///< row of the second
};

/// One file, or two, with the pairs that are to be compared.
struct Comparison {
    ComparedFile first;
    std::optional<ComparedFile> other;
    std::vector<SequencePair> pairs;

    const ComparedFile& second() const { return other ? *other : first; }
};

/// Opens one file or two and finds the pairs: those that are named as "X=Y", else each sequence
/// with its tidied copy, and in two files with the one of its name. Fails also with usage, when
/// nothing belongs together.
Result<Comparison> openComparison(const std::vector<std::string>& files,
                                  const std::vector<std::string>& named);

}  // namespace reelsweep
