// XMLDocument: a whole XML document, owner of all its nodes, attached or not.
//
// Loading is strict. The bytes are checked for well-formedness (on a second thread for large input)
// and refused, with line and column, when they are not well-formed, declare entities, refer to
// undeclared or external ones, or nest deeper than maximumDepth.
// White-space-only text between elements is dropped, but not beside CDATA; a text that is all that
// an element holds is kept even when blank. Comments, CDATA sections, processing instructions and
// the DOCTYPE survive a load and save. Thread rule: one document is used from one thread at a time;
// different documents are independent.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"
#include "xml/XMLNode.h"
#include "xml/XMLOutline.h"

#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

enum class XMLFormat {
    compact,  ///< no white space added
    pretty,   ///< elements on lines of their own, one tab a level
};

/// How a node is written among lines that are there already.
struct XMLLayout {
    std::string lineEnd;      ///< "\n", "\r\n" or "\r"; empty: no white space is added
    std::string margin;       ///< before each of the node's lines
    std::string indentation;  ///< more of it before the lines of each level inside the node

    bool operator==(const XMLLayout&) const = default;
};

/// When a loaded file's well-formedness is settled.
enum class Verification {
    beforeUse,  ///< load() answers when the check is over
    deferred,   ///< load() answers as soon as there is a tree; verify() says whether it may be used
};

class XMLDocument {
public:
    /// Elements within elements; far above what an editing system writes.
    static constexpr int maximumDepth = 1000;

    /// An empty document.
    XMLDocument();
    ~XMLDocument();
    XMLDocument(XMLDocument&&) noexcept;
    XMLDocument& operator=(XMLDocument&&) noexcept;

    /// Reads UTF-8, UTF-16 or ISO-8859-1 from a file. Fails with inputUnreadable or inputInvalid;
    /// the failure names the file. "-" is a file name like any other here.
    ///
    /// With deferred verification the check of a large file goes on beside the caller's work. Until
    /// verify() has succeeded, nothing made from the tree may be kept.
    static Result<XMLDocument> load(const std::string& path,
                                    Verification verification = Verification::beforeUse);
    /// The same from memory; `name` stands for the file in messages.
    static Result<XMLDocument> parse(std::string_view bytes, const std::string& name = {});

    /// Waits for a deferred check and answers what it found. Succeeds at once when there is none.
    Outcome verify() const;

    /// Where the parts of the loaded file stand in its bytes. Waits for a deferred check. Null when
    /// the file is not UTF-8 or has something rare in it, was no regular file, or was saved since.
    /// Lives as long as the document.
    const XMLOutline* outline() const;

    /// Every `sequence` element of a document that was not edited since it was loaded, in document
    /// order. Where the check has noted their places by now, what lies between is not looked at.
    std::vector<XMLNode> loadedSequences() const;

    /// The document node: parent of the root element, context of queries on the whole document.
    XMLNode node() const;
    XMLNode rootElement() const;

    /// The document as text, with its declaration and DOCTYPE. UTF-8, ends in a line feed when
    /// pretty.
    std::string serialise(XMLFormat format) const;
    /// Writes serialise(format) to a sink chunk by chunk, so that no second copy is held in memory.
    void serialise(XMLFormat format, ByteSink& sink) const;

    /// The file as it was when it was loaded; empty for a document from memory.
    const FileIdentity& loadedFile() const { return loadedFile_; }
    /// From now on the document is that file, to which it was saved.
    void setLoadedFile(const FileIdentity& identity) { loadedFile_ = identity; }

private:
    struct Tree;
    struct Checked;
    std::unique_ptr<Tree> tree_;
    FileIdentity loadedFile_;
    std::shared_future<std::shared_ptr<const Checked>> check_;
};

/// The name of a file's root element; only as much is read as that takes. Fails with
/// inputUnreadable or inputInvalid. Not for pipes: what was read is gone.
Result<std::string> rootElementName(const std::string& path);

/// One node (an element with all below it) as text, without declaration.
std::string serialise(const XMLNode& node, XMLFormat format = XMLFormat::compact);
/// Writes one node to a sink chunk by chunk; ends in a line end where the layout has lines. Line
/// ends inside texts become the layout's too, which a parser reads as the same text.
void serialise(const XMLNode& node, const XMLLayout& layout, ByteSink& sink);

}  // namespace reelsweep
