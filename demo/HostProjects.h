// HostProjects: the projects that the demo host has open, each a file of interchange XML.
//
// Paths are absolute, with links followed, but for open. What fails is answered as false or
// nothing.
// Thread rule: one thread.
#pragma once

#include "xml/XMLDocument.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep::demo {

class HostProjects {
public:
    /// Opens a project, unless it is open. False when it is not a whole project.
    bool open(const std::string& file);
    /// In the order in which they were opened.
    const std::vector<std::string>& openPaths() const { return order_; }

    std::optional<std::string> projectXML(const std::string& path) const;
    /// A document with one sequence.
    std::optional<std::string> itemXML(const std::string& path, const std::string& uuid) const;
    /// The project with its bins, and of each sequence what a list shows.
    std::optional<std::string> tableOfContents(const std::string& path) const;

    /// Adds what the document holds to the project, or to the first one without a path.
    bool importXML(const std::string& path, const std::string& xml);
    /// The name of an item; nothing when the project holds no such item.
    std::optional<std::string> itemName(const std::string& path, const std::string& uuid) const;
    /// Writes the project to its file, or, with a destination, to that file.
    bool save(const std::string& path, const std::string& destination = {});
    bool close(const std::string& path, bool saveChanges);
    bool isChanged(const std::string& path) const { return projects_.at(path).changed; }

private:
    struct Project {
        XMLDocument document;
        bool changed = false;
    };

    XMLNode itemOf(const std::string& path, const std::string& uuid) const;

    std::map<std::string, Project> projects_;
    std::vector<std::string> order_;
};

}  // namespace reelsweep::demo
