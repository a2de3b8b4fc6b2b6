// QVFCPProjectController: holds the XML document of one project and answers queries on it.
//
// Owner: the project document. Thread rule: never loaded from two threads at once; queries follow
// the rule of the tree.
#pragma once

#include "base/Failure.h"
#include "xml/XMLDocument.h"
#include "xml/XMLNode.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class QVFCPProjectController {
public:
    /// Holds an empty document.
    QVFCPProjectController();

    /// The document; null after a file that did not parse.
    const std::shared_ptr<XMLDocument>& xmlDoc() const { return xmlDoc_; }
    void setXmlDoc(std::shared_ptr<XMLDocument> document) { xmlDoc_ = std::move(document); }

    /// Loads an XML file. False, with the old document kept, when no file exists at the path. True
    /// otherwise, also for a file that does not parse: then there is no document, and loadFailure()
    /// says why.
    bool setXmlDocFromFilePath(const std::string& path,
                               Verification verification = Verification::beforeUse);
    const std::optional<Failure>& loadFailure() const { return loadFailure_; }

    // From editing applications, which are started when needed. Each replaces the document; false,
    // with the old one kept, when nothing was received. Each blocks until the application answered.

    /// The whole project from Final Cut Pro. True also for XML that does not parse: then there is
    /// no document.
    bool loadXMLFromFCP(const std::string& projectPath);
    /// The project's table of contents. False, and no document, also for XML that does not parse.
    bool loadTOCFromFCP(const std::string& projectPath);
    /// A Premiere Pro project, exported to a temporary file that is left there. False, and no
    /// document, also for XML that does not parse; that shows an alert.
    bool loadXMLFromPremiere(const std::string& projectPath);
    /// Load what the title of a menu item names.
    void fcpProjectSelect(const std::string& title) { loadXMLFromFCP(title); }
    void xmlDocSelect(const std::string& title) { setXmlDocFromFilePath(title); }

    // Queries run on the whole document, as they are written.

    XMLNode firstNodeForQuery(std::string_view query) const;
    /// Nothing when the query fails.
    std::optional<std::vector<XMLNode>> nodesForQuery(std::string_view query) const;
    std::vector<std::string> stringValuesForQuery(std::string_view query) const;
    /// The first element of that name whose first `uuid` child has exactly that text.
    XMLNode nodeWithUUID(std::string_view uuid, std::string_view type) const;
    /// The element of `clips` whose own uuid it is; null when none.
    XMLNode clipNodeWithUUID(std::string_view uuid) const;

    /// Searched by clipNodeWithUUID; filled by whoever wants those look-ups.
    std::vector<XMLNode> clips;
    /// Kept for whoever needs them; no load fills it.
    std::vector<std::string> masterClipPaths;

private:
    /// Replaces the document; false when the text does not parse.
    bool setXmlDocFromText(const std::string& text, const std::string& name);

    std::shared_ptr<XMLDocument> xmlDoc_;
    std::optional<Failure> loadFailure_;
};

}  // namespace reelsweep
