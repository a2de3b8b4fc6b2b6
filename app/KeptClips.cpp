#include "app/KeptClips.h"

#include "platform/Platform.h"
#include "services/QVLog.h"

#include <algorithm>

namespace reelsweep {

namespace {

constexpr const char* defaultsKey = "keptClips";

PropertyList::Dictionary allDocuments() {
    const auto stored = Platform::current().userDefaults->objectForKey(defaultsKey);
    const auto* const documents = stored ? stored->as<PropertyList::Dictionary>() : nullptr;
    return documents ? *documents : PropertyList::Dictionary();
}

}  // namespace

KeptClips KeptClips::of(const std::string& path) {
    KeptClips clips;
    clips.path_ = path;
    const PropertyList::Dictionary documents = allDocuments();
    const auto found = documents.find(path);
    const auto* const names =
        found == documents.end() ? nullptr : found->second.as<PropertyList::Array>();
    if (!names) return clips;
    for (const PropertyList& name : *names)
        if (const auto* const text = name.as<std::string>()) clips.wanted_.push_back(*text);
    return clips;
}

// The id, else the name with nothing in it that a pattern would take for more.
std::string KeptClips::nameOf(const DrawnClip& clip) {
    if (clip.kind == ItemKind::transition) return {};
    if (!clip.id.empty()) return std::string(clip.id);
    std::string pattern;
    for (const char letter : clip.name) {
        if (std::string_view("*?[]\\").find(letter) != std::string_view::npos) pattern += '\\';
        pattern += letter;
    }
    return pattern;
}

bool KeptClips::has(const std::string& name) const {
    return std::find(wanted_.begin(), wanted_.end(), name) != wanted_.end();
}

void KeptClips::toggle(const std::string& name) {
    if (std::erase(wanted_, name) == 0) wanted_.push_back(name);
    store();
}

void KeptClips::clear() {
    wanted_.clear();
    store();
}

void KeptClips::store() const {
    PropertyList::Dictionary documents = allDocuments();
    PropertyList::Array names(wanted_.begin(), wanted_.end());
    if (names.empty())
        documents.erase(path_);
    else
        documents[path_] = PropertyList(std::move(names));
    if (const auto error =
            Platform::current().userDefaults->setObject(defaultsKey, std::move(documents)))
        QVLog::appendLog("Unable to store the clips to leave alone - %@", error.message());
}

}  // namespace reelsweep
