// Every pass twice: the product's operation and its plain twin.
#pragma once

#include "shell/QVFCPDoc.h"
#include "tests/plain/PlainPasses.h"

#include <functional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace reelsweep::test {

struct PassPair {
    std::string_view name;
    std::function<XMLNode(QVFCPDoc&, XMLNode)> product;
    std::function<XMLNode(XMLNode)> plain;
};

inline const std::vector<PassPair>& passPairs() {
    using D = QVFCPDoc;
    using N = XMLNode;
    static const std::vector<PassPair> pairs = {
        {"disabled video", [](D& d, N s) { return d.removeDisabledClips(s, "video"); },
         [](N s) { return plainRemoveDisabledClips(s, "video"); }},
        {"disabled audio", [](D& d, N s) { return d.removeDisabledClips(s, "audio"); },
         [](N s) { return plainRemoveDisabledClips(s, "audio"); }},
        {"silent", &D::removeSilentAudioClips, plainRemoveSilentAudioClips},
        {"obscured", &D::removeObscuredClips, plainRemoveObscuredClips},
        {"collapse reverse", [](D& d, N s) { return d.collapseTracks(s); },
         [](N s) { return plainCollapseTracks(s, true); }},
        {"collapse forward", [](D& d, N s) { return d.collapseTracks(s, false); },
         [](N s) { return plainCollapseTracks(s, false); }},
        {"merge", &D::mergeClips, plainMergeClips},
        {"multiclips", &D::collapseMulticlips, plainCollapseMulticlips},
        {"tracks", &D::removeUnusedTracks, plainRemoveUnusedTracks},
        {"gaps", &D::replaceGapsWithSlugs, plainReplaceGapsWithSlugs},
        {"filters", &D::removeFilters, plainRemoveFilters},
        {"markers", &D::removeMarkers, plainRemoveMarkers},
        {"video transitions", &D::removeVideoTransitions,
         [](N s) { return plainRemoveTransitions(s, "video"); }},
        {"audio transitions", &D::removeAudioTransitions,
         [](N s) { return plainRemoveTransitions(s, "audio"); }},
    };
    return pairs;
}

inline const PassPair& passPair(std::string_view name) {
    for (const PassPair& pair : passPairs())
        if (pair.name == name) return pair;
    throw std::invalid_argument("no such pass: " + std::string(name));
}

}  // namespace reelsweep::test
