// FCPXMLDocument: projects, events or clips of Final Cut Pro X exported as FCPXML: a file, or a
// bundle with one in it. It is tidied as a whole.
//
// Owner and thread rule: as Document.
#pragma once

#include "documents/Document.h"

namespace reelsweep {

class FCPXMLDocument final : public Document {
public:
    /// What a file must hold to be opened.
    enum class Holding {
        project,   ///< one that the passes of XMEML find: at the top, or first in a library
        anything,  ///< also events with clips alone, and clips without an event
    };

    /// Checks that the file, or the one in a bundle, is valid and holds something to tidy. Fails
    /// with inputUnreadable or inputInvalid.
    static Result<std::unique_ptr<FCPXMLDocument>> open(const std::string& path,
                                                        Holding holding = Holding::project);

    /// From now on the document is that file, to which its result was saved.
    void setPath(const std::string& path) { path_ = path; }

    DocumentFormat format() const override { return DocumentFormat::fcpxml; }
    Delivery ownDelivery() const override { return Delivery::document; }
    /// Every tidy starts again from the file. Other options than those of passes that apply to
    /// FCPXML are ignored. The passes that XMEML has too take the first project and fail with
    /// inputInvalid without one; the others take everything.
    Result<Tidied> tidy(const DocumentRequest& request, const TidyControls& controls) override;

private:
    using Document::Document;
};

/// Takes the filters below the first sequence out, and each filter's effect resource. Only files
/// of the library form have them searched; one with the project at the top keeps its filters. The
/// document is edited in place. Fails with cancelled; what was taken out by then stays out.
Outcome removeFCPXFilters(const XMLDocument& document, SequenceLedger& ledger,
                          const TidyControls& controls);
/// Takes the markers below the first sequence out, in both forms. Otherwise the same.
Outcome removeFCPXMarkers(const XMLDocument& document, SequenceLedger& ledger,
                          const TidyControls& controls);

}  // namespace reelsweep
