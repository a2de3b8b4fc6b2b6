// A document and what is tidied of it, as Python holds them.
//
// Owner: Python. Thread rule: any thread, but one at a time: a call that comes while another one is
// under way fails with usage. The calls that take long let go of the interpreter's lock.
#pragma once

#include "base/Failure.h"
#include "documents/Document.h"
#include "python/Values.h"

#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <vector>

namespace reelsweep::python {

/// Thrown to Python, which gets it as reelsweep.Error.
struct Error {
    Failure failure;
};

struct Sequence {
    std::size_t index = 0;
    std::string title;
    std::string uuid;
};

/// What a tidy is asked for; what is left out is as in DocumentRequest.
struct TidyOptions {
    OptionList passes;
    std::vector<std::size_t> sequences;  ///< none: all
    bool keepPicture = true;
    bool importSafe = true;
    std::vector<std::string> keep;
    std::vector<std::string> ignoredEffects;
    std::vector<std::string> fcpxMarkerKinds;
};

/// Takes a text; false stops the tidy.
using Progress = std::function<bool(const std::string&)>;

class TidiedWork {
public:
    TidiedWork(std::shared_ptr<class DocumentWork> document, Tidied tidied)
        : document_(std::move(document)), tidied_(std::move(tidied)) {}

    std::vector<SequenceLedger> ledger() const;
    /// The tidied sequences, where they were compared.
    std::vector<Timeline> timelines() const;
    std::vector<std::string> notes() const { return tidied_.notes(); }
    /// Throws an Error with outputFailed.
    void save(const std::string& path, bool mayReplace) const;

private:
    std::shared_ptr<class DocumentWork> document_;  ///< whose tree the ledger speaks of
    Tidied tidied_;
};

class DocumentWork : public std::enable_shared_from_this<DocumentWork> {
public:
    /// Throws an Error with inputUnreadable or inputInvalid.
    static std::shared_ptr<DocumentWork> open(const std::string& path);

    const std::string& path() const { return document_->path(); }
    std::string format() const { return description(document_->format()); }
    std::vector<Sequence> sequences() const;
    Timeline timeline(std::size_t index);
    std::shared_ptr<TidiedWork> tidy(const TidyOptions& options, const Progress& progress);
    /// Each sequence against the one of its name, or its tidied copy, in another document; in the
    /// same document against its tidied copy. Throws an Error with usage when there is none.
    std::vector<Comparison> verify(DocumentWork& other);

    /// Held while a document, or what was tidied of it, is used.
    class Use {
    public:
        explicit Use(const DocumentWork& document);

    private:
        std::unique_lock<std::mutex> lock_;
    };

private:
    explicit DocumentWork(std::unique_ptr<Document> document) : document_(std::move(document)) {}
    reelsweep::Timeline read(std::size_t index, TimelineDetail detail) const;

    std::unique_ptr<Document> document_;
    mutable std::mutex mutex_;
};

}  // namespace reelsweep::python
