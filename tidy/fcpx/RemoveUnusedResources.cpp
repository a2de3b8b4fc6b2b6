// Takes resources out that nothing in use refers to.
//
// Any attribute or text that reads like the id of a resource counts as a reference, wherever it
// stands: new versions of the format refer from new places. What only an unused resource refers to
// is unused.
#include "tidy/FCPXPasses.h"
#include "tidy/fcpx/FCPXVocabulary.h"

#include <algorithm>
#include <unordered_set>

namespace reelsweep::fcpx {

namespace {

class Marker {
public:
    explicit Marker(XMLNode document) : resources_(document) {
        markBelow(document, true);
        while (!open_.empty()) {
            const XMLNode resource = open_.back();
            open_.pop_back();
            markBelow(resource, false);
        }
    }

    /// In document order.
    std::vector<XMLNode> unused() const {
        std::vector<XMLNode> found;
        for (const XMLNode resource : resources_.all())
            if (resource.attribute("id") && !used_.contains(resource)) found.push_back(resource);
        return found;
    }

private:
    void markBelow(XMLNode node, bool passOverResources) {
        if (passOverResources && node.isElement("resources")) return;
        if (node.isElement())
            node.forEachAttribute([&](std::string_view name, std::string_view value) {
                if (name != "id") mark(value);
            });
        for (XMLNode child = node.firstChild(); child; child = child.nextSibling()) {
            if (child.isText()) mark(child.value());
            if (child.isElement()) markBelow(child, passOverResources);
        }
    }

    void mark(std::string_view text) {
        constexpr std::string_view blanks = " \t\r\n,;";
        for (std::size_t at = 0; (at = text.find_first_not_of(blanks, at)) != text.npos;) {
            const std::size_t end = std::min(text.find_first_of(blanks, at), text.size());
            const XMLNode resource = resources_.find(text.substr(at, end - at));
            if (resource && used_.insert(resource).second) open_.push_back(resource);
            at = end;
        }
    }

    Resources resources_;
    std::unordered_set<XMLNode> used_;
    std::vector<XMLNode> open_;
};

}  // namespace

Outcome fcpxRemoveUnusedResources(FCPXRun& run) {
    for (const XMLNode resource : Marker(run.document()).unused()) {
        if (run.stop.stop_requested()) return stopped();
        run.edit.detach(resource, "nothing refers to it");
    }
    return Done{};
}

}  // namespace reelsweep::fcpx
