#include "timeline/Vocabulary.h"

#include "timeline/QVXMLParser.h"

namespace reelsweep {

const char* description(MediaType type) { return type == MediaType::video ? "video" : "audio"; }

std::vector<XMLNode> allTracks(XMLNode sequence) {
    std::vector<XMLNode> tracks;
    for (const char* const type : {"video", "audio"})
        for (const XMLNode media : childrenNamed(sequence, "media"))
            for (const XMLNode kind : childrenNamed(media, type))
                for (const XMLNode track : childrenNamed(kind, "track")) tracks.push_back(track);
    return tracks;
}

std::vector<XMLNode> mainTracks(XMLNode sequence, MediaType type) {
    std::vector<XMLNode> tracks;
    const XMLNode list = sequence.child("media").child(description(type));
    for (const XMLNode track : childrenNamed(list, "track")) tracks.push_back(track);
    return tracks;
}

bool hasText(XMLNode element, std::string_view text) {
    for (XMLNode node = element.firstChild(); node; node = node.nextSibling())
        if (node.isText() && node.value() == text) return true;
    return false;
}

std::string displayName(XMLNode item) {
    const auto name = QVXMLParser::nameForNode(item, true);
    return name && !name->empty() ? *name : "a clip";
}

}  // namespace reelsweep
