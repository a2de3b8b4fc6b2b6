#include "timeline/ItemFacts.h"

#include "timeline/ElementText.h"
#include "timeline/Vocabulary.h"

#include <algorithm>

namespace reelsweep {

namespace {

TrackEntry::Kind kindOf(XMLNode item) {
    return isClip(item) ? TrackEntry::Kind::item : TrackEntry::Kind::transition;
}

bool isPlainEdge(XMLNode edge) {
    const char* const only = edge.onlyText();
    const auto number = only ? wholeNumber(only) : std::nullopt;
    return number && (*number != edgeInTransition || only == edgeInTransitionText);
}

std::optional<Frames> timeOf(XMLNode element) {
    return element ? std::optional(framesOf(element)) : std::nullopt;
}

// Goes over an item's children once. Its edges are plain when each of them came once.
class ChildReader {
public:
    explicit ChildReader(ItemFacts& facts) : facts_(facts) {}

    void read(XMLNode child) {
        const ElementName name(child);
        switch (name.first()) {
            case 's':
                if (name == "start") note(child, facts_.start);
                break;
            case 'e':
                if (name == "end") note(child, facts_.end);
                if (name == "enabled" && child.isElement() && hasText(child, "FALSE"))
                    facts_.isDisabled = true;
                break;
            case 'i':
                if (name == "in") note(child, facts_.in);
                break;
            case 'o':
                if (name == "out") note(child, facts_.out);
                break;
            case 'f':
                if (name == "filter") note(child, facts_.firstFilter);
                break;
            case 'c':
                if (name == "compositemode") note(child, facts_.compositeMode);
                break;
            default: break;
        }
    }

    void finish() {
        facts_.times = {timeOf(facts_.start), timeOf(facts_.end), timeOf(facts_.in),
                        timeOf(facts_.out)};
        facts_.hasPlainEdges = !secondEnd_ && isPlainEdge(facts_.start) && isPlainEdge(facts_.end);
    }

private:
    // Processing instructions have names too.
    void note(XMLNode child, XMLElement& first) {
        if (!child.isElement()) return;
        if (!first)
            first = child;
        else if (&first == &facts_.end)
            secondEnd_ = true;
    }

    ItemFacts& facts_;
    bool secondEnd_ = false;
};

}  // namespace

ItemFacts ItemFacts::of(XMLNode item) {
    ItemFacts facts;
    facts.node = item;
    facts.kind = kindOf(item);
    facts.isGenerator = facts.isClip() && item.isElement("generatoritem");
    ChildReader reader(facts);
    for (XMLNode child = item.firstChild(); child; child = child.nextSibling()) reader.read(child);
    reader.finish();
    return facts;
}

TrackEntry ItemFacts::entry() const {
    if (!hasPlainEdges) return TrackEntry::of(node);
    TrackEntry entry;
    entry.node = node;
    entry.kind = kind;
    entry.start = *times.start;
    entry.end = *times.end;
    entry.wholeTexts = {entry.start, entry.end};
    entry.startNumber = static_cast<double>(entry.start.count);
    entry.endNumber = entry.smallestEnd = entry.largestEnd = static_cast<double>(entry.end.count);
    entry.startInTransition = entry.start == edgeInTransition;
    entry.endInTransition = entry.end == edgeInTransition;
    entry.isPlain =
        kind != TrackEntry::Kind::transition || !(entry.startInTransition || entry.endInTransition);
    return entry;
}

// The table

std::size_t ItemFactsTable::slotOf(XMLNode node) const {
    // Fibonacci hashing: nodes lie at regular distances.
    const auto key = reinterpret_cast<std::uintptr_t>(node.identity());
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = (key * 0x9E3779B97F4A7C15u >> 20) & mask;
    while (slots_[slot].node && slots_[slot].node != node.identity()) slot = (slot + 1) & mask;
    return slot;
}

ItemFactsTable::Number ItemFactsTable::numberOf(XMLNode node) const {
    return slots_.empty() || !node ? none : slots_[slotOf(node)].number;
}

void ItemFactsTable::enter(Number number) {
    const XMLNode node = entry(number).facts.node;
    slots_[slotOf(node)] = {node.identity(), number};
}

void ItemFactsTable::add(XMLNode item) {
    if (holds(item)) return;
    if (count_ * std::size_t{2} >= slots_.size()) {
        slots_.assign(std::max<std::size_t>(64, slots_.size() * 2), {});
        for (Number number = 0; number < count_; ++number) enter(number);
    }
    if (count_ % pageSize == 0) pages_.push_back(std::make_unique<Entry[]>(pageSize));
    const Number number = count_++;
    entry(number).facts.node = item;
    entry(number).facts.kind = kindOf(item);
    enter(number);
}

const ItemFacts* ItemFactsTable::find(XMLNode node) const {
    const Number number = numberOf(node);
    if (number == none) return nullptr;
    Entry& found = entry(number);
    if (!found.isRead) {
        found.facts = ItemFacts::of(node);
        found.isRead = found.isFilterRead = true;
    }
    return &found.facts;
}

const ItemFacts* ItemFactsTable::findWithFilter(XMLNode node) const {
    const ItemFacts* const known = find(node);
    if (!known) return nullptr;
    Entry& found = entry(numberOf(node));
    if (!found.isFilterRead) found.facts.firstFilter = node.child("filter");
    found.isFilterRead = true;
    return known;
}

const ItemFacts* ItemFactsTable::findUnread(XMLNode node) const {
    const Number number = numberOf(node);
    return number == none ? nullptr : &entry(number).facts;
}

void ItemFactsTable::movedChild(XMLNode item, XMLNode child) {
    const Number number = numberOf(item);
    if (number == none) return;
    const ElementName name(child);
    if (name == "filter")
        entry(number).isFilterRead = false;
    else if (name == "start" || name == "end" || name == "in" || name == "out" ||
             name == "enabled" || name == "compositemode")
        entry(number).isRead = false;
}

void ItemFactsTable::changedChild(XMLNode item, XMLNode child) {
    const Number number = numberOf(item);
    if (number == none) return;
    Entry& changed = entry(number);
    ItemFacts& facts = changed.facts;
    const XMLElement element(child);
    if (!changed.isRead || !element) return;
    if (element == facts.start || element == facts.end) {
        changed.isRead = facts.hasPlainEdges && isPlainEdge(child);
        (element == facts.start ? facts.times.start : facts.times.end) = framesOf(child);
    } else if (element == facts.in) {
        facts.times.in = framesOf(child);
    } else if (element == facts.out) {
        facts.times.out = framesOf(child);
    } else {
        changed.isRead = !child.isElement("enabled");
    }
}

}  // namespace reelsweep
