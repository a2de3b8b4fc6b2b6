// Standalone delivery: the tidied sequences as a document of their own, for files without a
// project.
//
// Thread rule: the thread that owns the document's tree.
#pragma once

#include "base/Failure.h"
#include "shell/QVFCPDoc.h"
#include "xml/XMLDocument.h"

#include <string>

namespace reelsweep {

/// A new document with the header and the bin of QVFCPDoc::generateXMLOutput, holding every ticked
/// sequence's result (its source, when it has none).
///
/// The document stands alone. What a sequence refers to by id, a `file`, a nested `sequence` or a
/// master clip (`masterclipid`), is defined in full once, at its first use in the output, wherever
/// the source document defines it: also inside an item that a pass removed. Master clips stand in
/// the bin before the first sequence that uses them. What the source does not define stays a
/// reference. Fails with cancelled when the document's run was cancelled. The source document is
/// not changed.
Result<XMLDocument> standaloneDocument(QVFCPDoc& document);

/// Writes that document to a file, which is replaced when it is there: pretty-printed, atomically,
/// with the codes of an XML file of Final Cut Pro.
Outcome writeStandaloneDocument(QVFCPDoc& document, const std::string& path);

}  // namespace reelsweep
