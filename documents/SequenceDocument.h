// SequenceDocument: a document with a list of sequences that are tidied as copies: an XMEML file,
// or a native project that an editing application has open.
//
// Owner and thread rule: as Document.
#pragma once

#include "documents/Document.h"

#include <span>

namespace reelsweep {

class SequenceDocument : public Document {
public:
    Result<Tidied> tidy(const DocumentRequest& request, const TidyControls& controls) override;

    /// The document's own tree; null for one that only its host holds.
    virtual const XMLDocument* tree() const { return nullptr; }

    // The steps of a tidy, for windows that show each

    /// A sequence as it can be copied: a short listing is fetched first, and stays fetched. Fails
    /// with processing when it cannot be had, which is logged.
    virtual Result<SourceSequence> wholeSequence(std::size_t row, const TidyControls& controls) = 0;
    /// Puts a new bin with the sequences where the delivery says. Fails with processing, which is
    /// logged. Answers the document to save, if there is one.
    virtual Result<std::shared_ptr<const XMLDocument>> deliver(std::span<const XMLNode> sequences,
                                                               const DocumentRequest& request,
                                                               const TidyControls& controls) = 0;
    /// The bin, when it is all that deliver() has added to the file.
    virtual XMLNode onlyAddition() const { return {}; }
    /// How the first bin is added to the bytes of the file; null when it is not.
    virtual std::shared_ptr<const SplicedSave> splice() const { return {}; }
    /// The place in `rows` of the sequence that takes most of the file; only with a splice().
    virtual std::size_t largest(std::span<const std::size_t>) const { return 0; }
    /// Shows copies that were delivered, by their uuids, where there is somebody to show them. A
    /// stop keeps back those that are not shown yet.
    virtual void showDelivered(std::span<const std::string>, const std::stop_token&) {}

protected:
    using Document::Document;

private:
    class Copies;

    bool isUsedUp_ = false;
};

/// An XMEML document.
class XMEMLDocument final : public SequenceDocument {
public:
    /// Fails with inputUnreadable or inputInvalid.
    static Result<std::unique_ptr<XMEMLDocument>> open(
        const std::string& path, Verification verification = Verification::beforeUse);
    /// Over a tree that is there already; null for none.
    XMEMLDocument(std::string path, const std::shared_ptr<XMLDocument>& tree);

    DocumentFormat format() const override { return DocumentFormat::xmeml; }
    Delivery ownDelivery() const override;
    Outcome verify() const override;
    const XMLDocument* tree() const override { return tree_.get(); }
    Result<SourceSequence> wholeSequence(std::size_t row, const TidyControls& controls) override;
    Result<std::shared_ptr<const XMLDocument>> deliver(std::span<const XMLNode> sequences,
                                                       const DocumentRequest& request,
                                                       const TidyControls& controls) override;
    XMLNode onlyAddition() const override { return bins_.size() == 1 ? bins_.front() : XMLNode(); }
    std::shared_ptr<const SplicedSave> splice() const override;
    std::size_t largest(std::span<const std::size_t> rows) const override;

private:
    XMEMLDocument(std::string path, std::shared_ptr<XMLDocument> tree,
                  const std::vector<XMLNode>& sequences);

    std::shared_ptr<XMLDocument> tree_;
    std::vector<std::size_t> numbers_;  ///< of the rows among all `sequence` elements of the tree
    std::vector<XMLNode> bins_;         ///< that were added to the tree
};

/// A native project: its sequences are asked of the editing application, and go back to it.
class NativeDocument final : public SequenceDocument {
public:
    /// Lists the sequences. Fails with inputUnreadable when the host does not answer. The host
    /// must outlive the document.
    static Result<std::unique_ptr<NativeDocument>> open(const std::string& path, EditingHost& host);
    /// Without its sequences, for list() to get.
    NativeDocument(std::string path, EditingHost& host)
        : SequenceDocument(std::move(path)), host_(host) {}
    /// Asks the host for the sequences, once. Fails with inputUnreadable, or with cancelled after a
    /// stop.
    Outcome list(const std::stop_token& stop = {});

    DocumentFormat format() const override { return DocumentFormat::nativeProject; }
    Delivery ownDelivery() const override { return Delivery::host; }
    Result<SourceSequence> wholeSequence(std::size_t row, const TidyControls& controls) override;
    Result<std::shared_ptr<const XMLDocument>> deliver(std::span<const XMLNode> sequences,
                                                       const DocumentRequest& request,
                                                       const TidyControls& controls) override;
    void showDelivered(std::span<const std::string> uuids, const std::stop_token& stop) override;

private:
    EditingHost& host_;
};

}  // namespace reelsweep
