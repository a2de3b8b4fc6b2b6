// The lists of elements that passes go through, such as all filters.
#include "timeline/TimelineEdit.h"
#include "timeline/Vocabulary.h"

#include <utility>

namespace reelsweep {

void TimelineEdit::expectElements(std::span<const std::string_view> names) {
    for (const std::string_view name : names) listed_.try_emplace(std::string(name));
}

// Every element of the sequence but those inside its items, and every item, in document order.
template <class VisitElement, class VisitItem>
void TimelineEdit::walkAroundItems(const VisitElement& visitElement,
                                   const VisitItem& visitItem) const {
    XMLNode node = sequence_.firstChild();
    while (node) {
        XMLNode next;
        if (const ItemFactsTable::Number item = facts_.numberOf(node);
            item != ItemFactsTable::none) {
            visitItem(node, item);
        } else if (node.isElement()) {
            visitElement(node);
            next = node.firstChild();
        }
        if (!next) next = node.nextSibling();
        while (!next) {
            node = node.parent();
            if (node == sequence_) return;
            next = node.nextSibling();
        }
        node = next;
    }
}

void TimelineEdit::listAgain(const std::function<void(const ItemFacts&)>& show) {
    std::vector<std::string_view> names{"clipitem", "generatoritem"};
    holdNone_.assign(facts_.size(), true);
    for (auto& [name, list] : listed_) {
        list = {{}, std::vector<ListedElements::Stretch>(facts_.size()), true, true};
        names.push_back(name);
    }
    const auto add = [&](XMLNode element) {
        const auto found = listed_.find(element.name());
        if (found != listed_.end()) found->second.elements.push_back(element);
    };
    ItemFactsTable::Number around = 0;
    const std::function<void(XMLNode)> visit = [&](XMLNode element) {
        if (isClip(element)) holdNone_[around] = false;
        add(element);
    };
    walkAroundItems(add, [&](XMLNode node, ItemFactsTable::Number item) {
        around = item;
        if (const ItemFacts* const known = facts_.find(node); show) show(*known);
        for (auto& [name, list] : listed_)
            list.ofItems[item].first = static_cast<std::uint32_t>(list.elements.size());
        add(node);
        node.forEachDescendant(names, visit);
        for (auto& [name, list] : listed_)
            list.ofItems[item].count =
                static_cast<std::uint32_t>(list.elements.size()) - list.ofItems[item].first;
    });
}

// One walk for all of them: when one pass asks after items have moved, the next ones will.
void TimelineEdit::putListsInOrder() {
    struct Reordering {
        std::string_view name;
        ListedElements& list;
        ListedElements before;

        void add(XMLNode element) {
            if (element.name() == name) list.elements.push_back(element);
        }
        void addItem(XMLNode node, ItemFactsTable::Number item) {
            const auto size = [this] { return static_cast<std::uint32_t>(list.elements.size()); };
            const std::uint32_t start = size();
            if (item < before.ofItems.size()) {
                const auto first = before.elements.begin() + before.ofItems[item].first;
                list.elements.insert(list.elements.end(), first,
                                     first + before.ofItems[item].count);
            } else {
                add(node);
                node.forEachDescendant(
                    {name}, [this](XMLNode element) { list.elements.push_back(element); });
            }
            list.ofItems[item] = {start, size() - start};
        }
    };
    std::vector<Reordering> reorderings;
    for (auto& [name, list] : listed_) {
        if (list.isInOrder) continue;
        reorderings.push_back({name, list, std::exchange(list, {})});
        list = {{}, std::vector<ListedElements::Stretch>(facts_.size()), true, true};
        list.elements.reserve(reorderings.back().before.elements.size());
    }
    walkAroundItems(
        [&](XMLNode element) {
            for (Reordering& reordering : reorderings) reordering.add(element);
        },
        [&](XMLNode node, ItemFactsTable::Number item) {
            for (Reordering& reordering : reorderings) reordering.addItem(node, item);
        });
}

void TimelineEdit::readItems(const std::function<void(const ItemFacts&)>& show) { listAgain(show); }

bool TimelineEdit::mayHoldItems(XMLNode item) const {
    const ItemFactsTable::Number number = facts_.numberOf(item);
    return number >= holdNone_.size() || !holdNone_[number];
}

void TimelineEdit::listsAreOld() {
    for (auto& [name, list] : listed_) list.isCurrent = false;
    holdNone_.clear();
}

void TimelineEdit::listsAreOutOfOrder() {
    for (auto& [name, list] : listed_) list.isInOrder = false;
}

// Neighbours in document order mostly have a grandparent in common: the track of their clips. It
// is as far from there to the sequence as sequences stand within one another.
class TimelineEdit::Standing {
public:
    explicit Standing(XMLNode sequence) : sequence_(sequence) {}

    bool in(XMLNode node) {
        for (int level = 0; level < 2; ++level) {
            if (!node || node == sequence_) return bool(node);
            node = node.parent();
        }
        if (node == last_) return answer_;
        last_ = node;
        while (node && node != sequence_) node = node.parent();
        return answer_ = bool(node);
    }

private:
    XMLNode sequence_;
    XMLNode last_;
    bool answer_ = false;
};

std::vector<XMLNode> TimelineEdit::elementsNamed(std::string_view name) {
    auto list = listed_.find(name);
    if (list == listed_.end()) list = listed_.try_emplace(std::string(name)).first;
    if (!list->second.isCurrent) listAgain();
    if (!list->second.isInOrder) putListsInOrder();
    std::vector<XMLNode> found;
    Standing standing(sequence_);
    for (const XMLNode element : list->second.elements)
        if (standing.in(element)) found.push_back(element);
    return found;
}

}  // namespace reelsweep
