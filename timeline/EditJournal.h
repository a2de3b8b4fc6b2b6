// EditJournal: how to take back what TimelineEdit did to the tree.
//
// While a checkpoint is open, every elementary change notes what was there before: where a node
// stood, or what an element's text was. Taking the changes back in reverse order gives the same
// tree, node for node.
// Owner: TimelineEdit. Thread rule: the thread that edits the sequence.
#pragma once

#include "xml/XMLNode.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

class EditJournal {
public:
    /// Where a node stood: before `next` in `parent`, last for a null `next`, nowhere for a null
    /// `parent`.
    struct Place {
        XMLNode parent;
        XMLNode next;

        static Place of(XMLNode node) { return {node.parent(), node.nextSibling()}; }
    };
    struct Entry {
        XMLNode node;
        Place place;
        /// For a change of text: the node is an element with this one text.
        bool isText = false;
        std::string text;
        /// For a change of an attribute: its name (static storage), and `text` was its text.
        const char* attribute = nullptr;
    };

    /// Entries are kept from the first open checkpoint to the last one's end.
    void open() { ++open_; }
    void close() {
        if (--open_ == 0) entries_.clear();
    }
    bool isOpen() const { return open_ > 0; }

    void noteMove(XMLNode node) {
        if (isOpen()) entries_.push_back({node, Place::of(node), false, {}, nullptr});
    }
    /// The node stood nowhere before.
    void noteCreated(XMLNode node) {
        if (isOpen()) entries_.push_back({node, {}, false, {}, nullptr});
    }
    void noteText(XMLNode element) {
        if (isOpen()) entries_.push_back({element, {}, true, element.stringValue(), nullptr});
    }

    void noteAttribute(XMLNode element, const char* name) {
        if (!isOpen()) return;
        const std::string text(element.attribute(name).value_or(""));
        entries_.push_back({element, {}, false, text, name});
    }

    std::size_t size() const { return entries_.size(); }
    /// Takes the last entry off.
    Entry takeLast() {
        Entry last = std::move(entries_.back());
        entries_.pop_back();
        return last;
    }

private:
    std::vector<Entry> entries_;
    int open_ = 0;
};

}  // namespace reelsweep
