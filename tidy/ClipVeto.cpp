#include "tidy/ClipVeto.h"

#include "timeline/Vocabulary.h"

#include <algorithm>

#include <fnmatch.h>

namespace reelsweep {

namespace {

bool isNamedBy(XMLNode clip, const std::string& wanted) {
    return clip.attribute("id") == wanted ||
           ::fnmatch(wanted.c_str(), clip.child("name").stringValue().c_str(), FNM_CASEFOLD) == 0;
}

}  // namespace

ClipVeto::ClipVeto(XMLNode sequence, const std::vector<std::string>& wanted) : unused_(wanted) {
    if (wanted.empty()) return;
    for (const MediaType type : {MediaType::video, MediaType::audio})
        for (const XMLNode& track : mainTracks(sequence, type))
            for (XMLNode item = track.firstChild(); item; item = item.nextSibling())
                if (isClip(item)) add(item, wanted);
}

void ClipVeto::add(XMLNode clip, const std::vector<std::string>& wanted) {
    for (const std::string& name : wanted) {
        if (!isNamedBy(clip, name)) continue;
        clips_.insert(clip);
        std::erase(unused_, name);
    }
}

XMLNode ClipVeto::firstOf(std::span<const XMLNode> nodes) const {
    const auto found = std::find_if(nodes.begin(), nodes.end(),
                                    [&](XMLNode node) { return clips_.contains(node); });
    return found == nodes.end() ? XMLNode() : *found;
}

}  // namespace reelsweep
