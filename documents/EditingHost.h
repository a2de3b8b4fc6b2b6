// EditingHost: the editing application that a native project is open in.
//
// The project's sequences are asked of it, and tidied copies are sent back to it.
// Owner: the program; a host outlives the documents that it was given to. Thread rule: any thread;
// every call blocks until the application has answered. A stop ends the wait, and the call then
// answers as if the application had not.
#pragma once

#include "base/Failure.h"
#include "xml/XMLDocument.h"

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class EditingHost {
public:
    virtual ~EditingHost() = default;

    /// The `sequence` elements that the host lists, and the document that they belong to.
    struct Listing {
        std::shared_ptr<XMLDocument> document;
        std::vector<XMLNode> sequences;
        /// They say no more than title and uuid; the whole sequence must be fetched.
        bool areShortForms = false;
    };
    /// The sequences of a project, which is named by the path of its file. Nothing when the host
    /// did not answer.
    virtual std::optional<Listing> list(const std::string& project,
                                        const std::stop_token& stop) = 0;
    /// One sequence of the project as XML bytes; nothing when the host did not answer.
    virtual std::optional<std::string> fetch(const std::string& uuid, const std::string& project,
                                             const std::stop_token& stop) = 0;
    /// Imports interchange XML into the project. True when the host took it.
    virtual bool send(std::string_view xml, const std::string& project,
                      const std::stop_token& stop) = 0;
    /// Shows a sequence of the project.
    virtual void open(const std::string& uuid, const std::string& project,
                      const std::stop_token& stop) = 0;
    /// The newest version of XMEML that the host reads.
    virtual int xmemlVersion() = 0;
};

}  // namespace reelsweep
