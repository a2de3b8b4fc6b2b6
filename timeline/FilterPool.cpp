#include "timeline/FilterPool.h"

#include "timeline/ElementText.h"
#include "timeline/FilterMeaning.h"

#include <algorithm>
#include <vector>

namespace reelsweep {

namespace {

// No XML text holds these, so they part texts without doubt.
constexpr char endOfText = '\x1F';
constexpr char endOfElement = '\x1E';

void appendText(std::string& content, std::string_view text) {
    content.append(text);
    content.push_back(endOfText);
}

// A value of one text, or of several elements, such as the colours of a colour.
void appendValue(std::string& content, XMLNode value) {
    for (XMLNode part = value.firstChild(); part; part = part.nextSibling()) {
        if (part.isText()) {
            content.append(part.value());
        } else if (part.isElement()) {
            content.append(part.name()).push_back(' ');
            appendValue(content, part);
            content.push_back(' ');
        }
    }
}

void appendParameter(std::string& content, XMLNode parameter) {
    const auto [id, name, value, keyframe] =
        parameter.firstChildren({"parameterid", "name", "value", "keyframe"});
    appendText(content, elementText(id ? id : name));
    appendValue(content, value);
    content.push_back(endOfText);
    for (XMLNode key = keyframe; key; key = key.nextSibling("keyframe")) {
        appendText(content, childText(key, "when"));
        appendValue(content, key.child("value"));
        content.push_back(endOfText);
    }
    content.push_back(endOfElement);
}

void appendFilter(std::string& content, XMLNode filter) {
    for (XMLNode child = filter.firstChild(); child; child = child.nextSibling()) {
        const std::string_view name = child.name();
        if (is(name, "effect")) {
            FilterPool::appendEffect(content, child);
        } else if (is(name, "enabled") || is(name, "start") || is(name, "end")) {
            appendText(content, name);
            appendText(content, elementText(child));
        }
    }
    content.push_back(endOfElement);
}

// The filters of one clip, taken apart. An effect is a filter of its own: a filter has one.
class StackMaker {
public:
    explicit StackMaker(TextArena& arena) : arena_(arena) {}

    const FilterStack* make(std::span<const XMLNode> filters) {
        for (const XMLNode& filter : filters) addFilter(filter);
        FilterStack stack;
        stack.filters = arena_.keep(filters_);
        summarise(stack);
        return arena_.make<FilterStack>(stack);
    }

private:
    void addFilter(XMLNode node) {
        Filter filter;
        filter.enabled = !isFalse(childText(node, "enabled"));
        filter.start = framesIn(childText(node, "start")).value_or(edgeInTransition);
        filter.end = framesIn(childText(node, "end")).value_or(edgeInTransition);
        for (XMLNode effect = node.child("effect"); effect; effect = effect.nextSibling("effect"))
            addEffect(filter, effect);
    }

    void addEffect(Filter filter, XMLNode effect) {
        std::vector<Parameter> parameters;
        std::string_view type;
        for (XMLNode child = effect.firstChild(); child; child = child.nextSibling()) {
            const std::string_view name = child.name();
            if (is(name, "name")) filter.name = arena_.keep(elementText(child));
            if (is(name, "effectid")) filter.effectId = arena_.keep(elementText(child));
            if (is(name, "mediatype")) type = elementText(child);
            if (is(name, "pproBypass") && isTrue(elementText(child))) filter.enabled = false;
            if (is(name, "parameter")) parameters.push_back(parameterOf(child));
        }
        filter.parameters = arena_.keep(parameters);
        filter.meaning = filterMeaning(filter.effectId.empty() ? filter.name : filter.effectId);
        filter.isNeutral = !filter.enabled || isAtDefaults(filter);
        const bool isSound =
            filter.meaning == FilterMeaning::level || filter.meaning == FilterMeaning::pan;
        const bool isKnown = filter.meaning != FilterMeaning::other;
        filter.concernsPicture = isKnown ? !isSound : !equalInAnyCase(type, "audio");
        filter.concernsSound = isKnown ? isSound : !equalInAnyCase(type, "video");
        if (filter.meaning == FilterMeaning::speed) filter.concernsSound = true;
        filters_.push_back(filter);
    }

    std::string_view valueOf(XMLNode value) {
        std::string text;
        appendValue(text, value);
        return arena_.keep(plainNumber(text));
    }

    Parameter parameterOf(XMLNode node) {
        Parameter parameter;
        parameter.name = arena_.keep(childText(node, "name"));
        parameter.id = arena_.keep(childText(node, "parameterid"));
        if (parameter.id.empty()) parameter.id = parameter.name;
        parameter.value = valueOf(node.child("value"));
        std::vector<Keyframe> keyframes;
        for (XMLNode key = node.child("keyframe"); key; key = key.nextSibling("keyframe"))
            keyframes.push_back(
                {leadingFrames(childText(key, "when")), valueOf(key.child("value"))});
        parameter.keyframes = arena_.keep(keyframes);
        return parameter;
    }

    static bool moves(const Filter& filter) {
        return std::any_of(filter.parameters.begin(), filter.parameters.end(),
                           [](const Parameter& p) { return !p.keyframes.empty(); });
    }

    void summarise(FilterStack& stack) {
        std::string picture, sound;
        for (const Filter& filter : stack.filters) {
            if (filter.isNeutral) continue;
            if (filter.meaning == FilterMeaning::speed) {
                stack.speed = speedOf(filter);
                continue;
            }
            const bool keepsShape = filter.meaning == FilterMeaning::colour;
            if (filter.concernsPicture) {
                stack.keepsFrameFull = stack.keepsFrameFull && keepsShape;
                appendLook(picture, filter);
            }
            if (filter.concernsSound) appendLook(sound, filter);
            if (filter.meaning == FilterMeaning::opacity) stack.opacity = amountOf(filter, "100");
            if (filter.meaning == FilterMeaning::level) stack.level = amountOf(filter, "1");
            stack.pictureMoves = stack.pictureMoves || (filter.concernsPicture && moves(filter));
        }
        stack.isSilent = stack.level.isConstant() && stack.level.value == "0";
        stack.pictureKey = arena_.keep(picture);
        stack.soundKey = arena_.keep(sound);
    }

    static void appendLook(std::string& look, const Filter& filter) {
        appendText(look, filter.effectId.empty() ? filter.name : filter.effectId);
        appendText(look, filter.start.text());
        appendText(look, filter.end.text());
        for (const Parameter& parameter : filter.parameters) {
            appendText(look, parameter.id);
            appendText(look, parameter.value);
            for (const Keyframe& key : parameter.keyframes) {
                appendText(look, key.when.text());
                appendText(look, key.value);
            }
            look.push_back(endOfElement);
        }
        look.push_back(endOfElement);
    }

    TextArena& arena_;
    std::vector<Filter> filters_;
};

}  // namespace

void FilterPool::appendEffect(std::string& text, XMLNode effect) {
    for (XMLNode child = effect.firstChild(); child; child = child.nextSibling()) {
        const std::string_view name = child.name();
        if (is(name, "parameter")) {
            appendParameter(text, child);
        } else if (!is(name, "effectcategory") && !is(name, "effecttype") && !name.empty()) {
            appendText(text, name);
            appendText(text, elementText(child));
        }
    }
    text.push_back(endOfElement);
}

const FilterStack* FilterPool::stackOf(std::span<const XMLNode> filters) {
    if (filters.empty()) return &none_;
    content_.clear();
    for (const XMLNode& filter : filters) appendFilter(content_, filter);
    const auto found = stacks_.find(content_);
    if (found != stacks_.end()) return found->second;
    const FilterStack* const stack = StackMaker(arena_).make(filters);
    stacks_.emplace(arena_.keep(content_), stack);
    return stack;
}

}  // namespace reelsweep
