// What the passes look for in a sequence, in the words of XMEML.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "xml/XMLNode.h"

#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// A range over the child elements of one name, for range-based for. The children may be edited
/// while they are walked, but the current one must stay where it is.
class ChildrenNamed {
public:
    class Iterator {
    public:
        Iterator(XMLNode node, const char* name) : node_(node), name_(name) {}
        XMLNode operator*() const { return node_; }
        Iterator& operator++() {
            node_ = node_.nextSibling(name_);
            return *this;
        }
        bool operator!=(const Iterator& other) const { return node_ != other.node_; }

    private:
        XMLNode node_;
        const char* name_;
    };

    ChildrenNamed(XMLNode parent, const char* name) : first_(parent.child(name)), name_(name) {}
    Iterator begin() const { return {first_, name_}; }
    Iterator end() const { return {XMLNode(), name_}; }

private:
    XMLNode first_;
    const char* name_;
};

inline ChildrenNamed childrenNamed(XMLNode parent, const char* name) { return {parent, name}; }

/// A clip or a generator: what a clean-up pass calls a clip.
inline bool isClip(XMLNode node) {
    // Nearly everything in a sequence begins with another letter.
    switch (*node.rawName()) {
        case 'c': return node.isElement("clipitem");
        case 'g': return node.isElement("generatoritem");
        default: return false;
    }
}
/// A clip, a generator or a transition.
inline bool isTimelineItem(XMLNode node) {
    switch (*node.rawName()) {
        case 'c': return node.isElement("clipitem");
        case 'g': return node.isElement("generatoritem");
        case 't': return node.isElement("transitionitem");
        default: return false;
    }
}

/// What a track carries.
enum class MediaType { video, audio };

/// "video", "audio": the element's name, and the word of messages.
const char* description(MediaType type);

/// All tracks of a sequence, video first: of every such element of every media element.
std::vector<XMLNode> allTracks(XMLNode sequence);
/// The tracks of the first video or audio element of the sequence's first media element.
std::vector<XMLNode> mainTracks(XMLNode sequence, MediaType type);

/// Whether some text of the element is exactly this.
bool hasText(XMLNode element, std::string_view text);

/// An item's name for messages: its name, else "a clip" without one.
std::string displayName(XMLNode item);

}  // namespace reelsweep
