// Document: a file with timelines, from opening to what is made of it.
//
//   auto document = reelsweep::openDocument("film.xml");
//   if (!document) return report(document.failure());
//   auto tidied = reelsweep::tidy(**document, {.passes = reelsweep::defaultPasses()});
//   if (!tidied) return report(tidied.failure());
//   for (const auto& change : tidied->ledger()) ...
//   return tidied->save("film-Tidied.xml");
//
// Owner: the caller. Thread rule: a document and what is tidied of it are used from one thread at a
// time; documents are independent of one another. A stop may be requested from any thread.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "base/FinderInfo.h"
#include "documents/DocumentFormat.h"
#include "documents/EditingHost.h"
#include "documents/OutputBin.h"
#include "documents/TidiedCopy.h"
#include "tidy/FCPXPasses.h"
#include "tidy/TidySequence.h"
#include "timeline/ChangeLedger.h"
#include "xml/SplicedSave.h"
#include "xml/XMLDocument.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

/// Where tidied sequences go.
enum class Delivery {
    automatic,   ///< what suits the document: project, standalone, document or host
    project,     ///< a new bin in the file's project
    standalone,  ///< a document of their own that holds nothing but the bin
    document,    ///< the document itself is tidied (FCPXML)
    host,        ///< a new bin in the project that the editing application has open
    none,        ///< nowhere; the ledger tells what would have been done
};

/// "project", "standalone", "document", "host": the word of reports; empty for the others.
const char* description(Delivery delivery);

/// What is to be done to a document.
struct DocumentRequest {
    OptionList passes = defaultPasses();
    /// Effects that count as transparent beside the built-in ones.
    std::vector<std::string> ignoredEffects = {};
    /// Positions in Document::sequences(), ascending; without any, all. FCPXML has none.
    std::optional<std::vector<std::size_t>> sequences = {};
    Delivery delivery = Delivery::automatic;
    int xmemlVersion = newestXMEMLVersion;  ///< of a standalone document
    /// Edits that would change the picture or the sound unasked are kept back; off, the passes are
    /// literal. XMEML only.
    bool keepPicture = true;
    /// The picture before and after is compared, frame by frame: each ledger's `picture`.
    bool provesPicture = true;
    /// The copies are made ones that other applications import: see tidy/ImportStep.h.
    bool importSafe = true;
    /// Clips that no pass may touch, nor what transitions join to them: ids, or patterns for names
    /// with `*`, `?` and `[...]`, in any letter case. XMEML only.
    std::vector<std::string> keep = {};
    /// What else is left alone. XMEML only.
    TidyRules rules = {};
    /// The elements that fcpxRemoveMarkers takes out: see tidy/FCPXPasses.h. FCPXML only.
    std::vector<std::string> fcpxMarkerKinds = usualFCPXMarkerKinds();
    /// Whoever asks has no more use for the document. Where the new bin is added to the bytes of
    /// the file anyway, a run may then edit a sequence itself in place of a copy. That saves a
    /// third of the memory. The document cannot be tidied again, and what is tidied of it cannot be
    /// looked at as a document: it can be saved to files.
    bool usesUpDocument = false;
    /// Called before the passes of a run that uses the document up: the result will be the bytes of
    /// the file with the bin between, so whoever saves it can begin to. On the run's thread.
    std::function<void(const std::shared_ptr<const SplicedSave>&)> onSplice = {};
};

/// What of it concerns each sequence.
TidyRequest tidyRequest(const DocumentRequest& request);

/// The type and creator codes that an XML file of Final Cut Pro carries: "XML ", KeyG.
inline constexpr HFSCodes finalCutProXMLCodes{0x584D4C20, 0x4B657947};

/// What a tidy has made. It keeps the trees alive that its ledger speaks of.
class Tidied {
public:
    const ChangeLedger& ledger() const { return ledger_; }
    /// Where the sequences went, or go when saved; never automatic.
    Delivery delivery() const { return delivery_; }
    /// What there is to save; null when it went to a host or nowhere, or used the document up.
    const XMLDocument* document() const { return splice_ ? nullptr : document_.get(); }
    std::shared_ptr<const XMLDocument> sharedDocument() const {
        return splice_ ? nullptr : document_;
    }
    /// Whether there is something to save, to a file at least.
    bool hasResult() const { return document_ != nullptr; }
    /// The codes that a saved file of this kind carries, if any.
    const std::optional<HFSCodes>& fileCodes() const { return fileCodes_; }
    /// Sequences that could not be had, and so stayed as they were; the others are tidied.
    const std::vector<Failure>& failures() const { return failures_; }
    /// What a person should hear of a tidy that went well, such as what of the file was left alone.
    const std::vector<std::string>& notes() const { return notes_; }

    /// Writes the document to a file, atomically. Where the new bin is all that was added to the
    /// file that was read, that file's bytes stay as they are around it:
    ///
    ///     input     [ head ............... ][ tail ]
    ///     output    [ head ............... ][ bin ][ tail ]
    ///
    /// and the input must still be the file that was read when the output is put in place. Any
    /// other document is pretty-printed. Fails with outputFailed; the file is then as it was.
    Outcome save(const std::string& path, Overwrite overwrite = Overwrite::always) const;
    /// The same in parts, for a file that is open already, through a sink that leads to it. What
    /// goes wrong, the file's commit() says.
    void write(AtomicFile& file, ByteSink& sink) const;
    /// The same for a file that the head was written to already, by what onSplice was given.
    void writeAfterHead(AtomicFile& file, ByteSink& sink) const;
    /// Writes document() pretty-printed, for what is no file.
    void write(ByteSink& sink) const;

private:
    friend class SequenceDocument;
    friend class FCPXMLDocument;

    std::shared_ptr<const SplicedSave> splice() const;

    /// What the document has beyond the file at `source_`; null when that is not a bin alone.
    XMLNode addition_;
    std::string source_;
    /// Of a document that was used up, whose tree is no more what was read.
    std::shared_ptr<const SplicedSave> splice_;
    ChangeLedger ledger_;
    Delivery delivery_ = Delivery::none;
    std::shared_ptr<const XMLDocument> document_;
    std::optional<HFSCodes> fileCodes_;
    std::vector<Failure> failures_;
    std::vector<std::string> notes_;
};

class Document {
public:
    virtual ~Document() = default;
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    virtual DocumentFormat format() const = 0;
    const std::string& path() const { return path_; }
    /// The sequences that can be tidied, in the order of the source; none for FCPXML, which is
    /// tidied as a whole.
    const std::vector<SourceSequence>& sequences() const { return sequences_; }
    /// Where tidied sequences go when nothing else is asked for.
    virtual Delivery ownDelivery() const = 0;
    /// Waits until it is settled that the file is valid, when it was opened with deferred
    /// verification.
    virtual Outcome verify() const { return Done{}; }

    /// Tidies copies of the sequences and delivers them. The source sequences stay as they are, and
    /// nothing is written to any file. Fails with cancelled after a stop, with usage when the
    /// request does not fit the document, and with processing or inputInvalid when it could not be
    /// done: nothing is delivered then.
    virtual Result<Tidied> tidy(const DocumentRequest& request, const TidyControls& controls) = 0;

protected:
    explicit Document(std::string path) : path_(std::move(path)) {}

    std::string path_;
    std::vector<SourceSequence> sequences_;
};

struct OpenOptions {
    /// With deferred verification the check of the file goes on beside the work; verify() and
    /// tidy() tell when it is not valid.
    Verification verification = Verification::beforeUse;
    /// The application that native projects are open in; without one they cannot be opened. The
    /// caller owns it.
    EditingHost* host = nullptr;
};

/// Opens an XMEML or FCPXML file or a native project. Fails with inputUnreadable or inputInvalid;
/// the failure names the file, and the line where that is known.
Result<std::unique_ptr<Document>> openDocument(const std::string& path,
                                               const OpenOptions& options = {});

/// The same as document.tidy(request, controls).
Result<Tidied> tidy(Document& document, const DocumentRequest& request = {},
                    const TidyControls& controls = {});

struct SaveOptions {
    Overwrite overwrite = Overwrite::always;
    /// When known, the file at the path must still be this one.
    FileIdentity mustStillBe = {};
    std::optional<HFSCodes> codes = {};
};
/// Writes a document to a file, pretty-printed and atomically. Answers what the file then is.
Result<FileIdentity> saveDocument(const XMLDocument& document, const std::string& path,
                                  const SaveOptions& options);

}  // namespace reelsweep
