#include "cli/SequencePairs.h"

#include "cli/SequenceChoice.h"

#include <utility>

namespace reelsweep {

namespace {

constexpr std::string_view copySuffix = "-Tidied";

// "X=Y" as rows of the two files; "X" alone is the same in both.
Result<SequencePair> namedPair(const ComparedFile& a, const ComparedFile& b,
                               const std::string& text) {
    const std::size_t equals = text.find('=');
    const std::string first = text.substr(0, equals);
    const std::string second = equals == text.npos ? first : text.substr(equals + 1);
    const auto before = chooseSequences(a.document->sequences(), {first});
    if (!before) return before.failure();
    const auto after = chooseSequences(b.document->sequences(), {second});
    if (!after) return after.failure();
    if (before->size() > 1 || after->size() > 1)
        return Failure{FailureCode::usage, "\"" + text + "\" names more than one pair"};
    return SequencePair{before->front(), after->front()};
}

// The tidied copy of a sequence, else in another file the sequence of its name.
std::optional<std::size_t> partner(const ComparedFile& a, std::size_t row, const ComparedFile& b) {
    const std::string tidied = a.title(row) + std::string(copySuffix);
    std::optional<std::size_t> found;
    for (std::size_t other = 0; other < b.document->sequences().size(); ++other) {
        if (b.title(other) == tidied) return other;
        if (&a != &b && !found && b.title(other) == a.title(row)) found = other;
    }
    return found;
}

Result<std::vector<SequencePair>> pairsOf(const ComparedFile& a, const ComparedFile& b,
                                          const std::vector<std::string>& named) {
    std::vector<SequencePair> pairs;
    for (const std::string& text : named) {
        const Result<SequencePair> pair = namedPair(a, b, text);
        if (!pair) return pair.failure();
        pairs.push_back(*pair);
    }
    if (named.empty())
        for (std::size_t row = 0; row < a.document->sequences().size(); ++row)
            if (const auto other = partner(a, row, b)) pairs.push_back({row, *other});
    if (pairs.empty() && &a == &b)
        return Failure{FailureCode::usage,
                       "holds no sequence beside its tidied copy; name a second file to compare "
                       "it with",
                       a.file.displayName()};
    if (pairs.empty())
        return Failure{FailureCode::usage,
                       "no two sequences belong together by name; say which with --sequence X=Y"};
    return pairs;
}

}  // namespace

Result<ComparedFile> ComparedFile::open(const std::string& path) {
    Result<InputFile> file = InputFile::open(path);
    if (!file) return file.failure();
    if (file->kind() != DocumentFormat::xmeml)
        return Failure{FailureCode::inputInvalid, "only XMEML can be compared", path};
    auto document = openDocument(file->path());
    if (!document) return file->named(document.failure());
    ComparedFile compared{std::move(*file), std::move(*document), nullptr};
    if (compared.document->sequences().empty())
        return Failure{FailureCode::inputInvalid, "holds no sequence", path};
    compared.media = MediaCatalogue::of(compared.document->sequences().front().node.top());
    return compared;
}

Timeline ComparedFile::timeline(std::size_t row, TimelineDetail detail) const {
    return Timeline::of(document->sequences()[row].node, media, detail);
}

Result<Comparison> openComparison(const std::vector<std::string>& files,
                                  const std::vector<std::string>& named) {
    Result<ComparedFile> first = ComparedFile::open(files.front());
    if (!first) return first.failure();
    Comparison comparison{std::move(*first), {}, {}};
    if (files.size() > 1) {
        Result<ComparedFile> other = ComparedFile::open(files[1]);
        if (!other) return other.failure();
        comparison.other.emplace(std::move(*other));
    }
    auto pairs = pairsOf(comparison.first, comparison.second(), named);
    if (!pairs) return pairs.failure();
    comparison.pairs = std::move(*pairs);
    return comparison;
}

}  // namespace reelsweep
