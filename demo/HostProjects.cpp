#include "demo/HostProjects.h"

#include "base/AtomicFile.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>

namespace reelsweep::demo {

namespace {

constexpr const char* header = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE xmeml>\n";

XMLNode childrenOf(const XMLDocument& document) {
    return document.rootElement().child("project").child("children");
}

// A character outside the first 65536 comes as two references, one for each of its UTF-16 halves,
// which no XML parser takes.
std::string withJoinedSurrogates(const std::string& xml) {
    std::string joined;
    std::uint32_t high = 0;
    std::size_t copied = 0;
    for (std::size_t at = 0; (at = xml.find("&#", at)) != std::string::npos; ++at) {
        const std::size_t end = xml.find(';', at);
        std::uint32_t unit = 0;
        const char* const digits = xml.data() + at + 2;
        if (end == std::string::npos ||
            std::from_chars(digits, xml.data() + end, unit).ptr != xml.data() + end)
            continue;
        if (high != 0 && unit >= 0xDC00 && unit < 0xE000) {
            const std::size_t start = xml.rfind("&#", at - 1);
            joined.append(xml, copied, start - copied);
            joined +=
                "&#" + std::to_string(0x10000 + ((high - 0xD800) << 10U) + (unit - 0xDC00)) + ";";
            copied = end + 1;
        }
        const bool nextFollows = xml.compare(end + 1, 2, "&#") == 0;
        high = nextFollows && unit >= 0xD800 && unit < 0xDC00 ? unit : 0;
    }
    return joined.append(xml, copied);
}

}  // namespace

bool HostProjects::open(const std::string& file) {
    std::error_code error;
    const std::string path = std::filesystem::canonical(file, error);
    if (error) return false;
    if (projects_.contains(path)) return true;
    Result<XMLDocument> document = XMLDocument::load(path);
    if (!document || !childrenOf(*document)) return false;
    projects_.emplace(path, Project{std::move(*document)});
    order_.push_back(path);
    return true;
}

std::optional<std::string> HostProjects::projectXML(const std::string& path) const {
    const auto project = projects_.find(path);
    if (project == projects_.end()) return {};
    return project->second.document.serialise(XMLFormat::pretty);
}

XMLNode HostProjects::itemOf(const std::string& path, const std::string& uuid) const {
    const auto project = projects_.find(path);
    if (project == projects_.end() || uuid.empty()) return {};
    XMLNode found;
    project->second.document.node().forEachDescendant({}, [&](XMLNode element) {
        if (!found && element.child("uuid").stringValue() == uuid) found = element;
    });
    return found;
}

std::optional<std::string> HostProjects::itemXML(const std::string& path,
                                                 const std::string& uuid) const {
    const XMLNode item = itemOf(path, uuid);
    if (!item) return {};
    return header + ("<xmeml version=\"5\">" + serialise(item)) + "</xmeml>\n";
}

std::optional<std::string> HostProjects::itemName(const std::string& path,
                                                  const std::string& uuid) const {
    const XMLNode item = itemOf(path, uuid);
    return item ? std::optional(item.child("name").stringValue()) : std::nullopt;
}

std::optional<std::string> HostProjects::tableOfContents(const std::string& path) const {
    const auto project = projects_.find(path);
    if (project == projects_.end()) return {};
    const Result<XMLDocument> copy =
        XMLDocument::parse(project->second.document.serialise(XMLFormat::compact));
    if (!copy) return {};
    std::vector<XMLNode> details;
    copy->node().forEachDescendant({"media", "clip", "file", "marker"},
                                   [&](XMLNode element) { details.push_back(element); });
    for (XMLNode detail : details) detail.detach();
    return copy->serialise(XMLFormat::pretty);
}

bool HostProjects::importXML(const std::string& path, const std::string& xml) {
    const auto project = projects_.find(path.empty() && !order_.empty() ? order_.front() : path);
    const Result<XMLDocument> received = XMLDocument::parse(withJoinedSurrogates(xml), "import");
    if (project == projects_.end() || !received || !received->rootElement().isElement("xmeml"))
        return false;
    XMLNode children = childrenOf(project->second.document);
    for (XMLNode item = received->rootElement().firstChild(); item; item = item.nextSibling())
        children.appendCopy(item);
    project->second.changed = true;
    return true;
}

bool HostProjects::save(const std::string& path, const std::string& destination) {
    const auto project = projects_.find(path);
    if (project == projects_.end()) return false;
    AtomicFile file(destination.empty() ? path : destination, Overwrite::always);
    if (!file.open()) return false;
    project->second.document.serialise(XMLFormat::pretty, file);
    if (!file.commit()) return false;
    project->second.changed = false;
    return true;
}

bool HostProjects::close(const std::string& path, bool saveChanges) {
    const auto project = projects_.find(path);
    if (project == projects_.end()) return false;
    if (saveChanges && project->second.changed && !save(path)) return false;
    projects_.erase(project);
    std::erase(order_, path);
    return true;
}

}  // namespace reelsweep::demo
