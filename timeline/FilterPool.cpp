#include "timeline/FilterPool.h"

#include "timeline/ElementText.h"
#include "timeline/FilterMeaning.h"

#include <algorithm>
#include <vector>

namespace reelsweep {

namespace {

// A value of one text, or of several elements, such as the parts of a colour.
void appendValue(ContentText& content, XMLNode value) {
    for (XMLNode part = value.firstChild(); part; part = part.nextSibling()) {
        if (part.isText()) {
            content.add(part.value());
        } else if (part.isElement()) {
            content.add(part.rawName());
            content.add(' ');
            appendValue(content, part);
            content.add(' ');
        }
    }
}

void appendKeyframe(ContentText& content, XMLNode keyframe) {
    content.addText(keyframe.child("when").rawText());
    appendValue(content, keyframe.child("value"));
    content.add(ContentText::endOfText);
}

// Its identifier, or its name where it has none, its value and its keyframes.
void appendParameter(ContentText& content, XMLNode parameter) {
    XMLNode id, name, value, keyframe;
    for (XMLNode child = parameter.firstChild(); child; child = child.nextSibling()) {
        const ElementName what(child);
        if (!id && what == "parameterid") id = child;
        if (!name && what == "name") name = child;
        if (!value && what == "value") value = child;
        if (!keyframe && what == "keyframe") keyframe = child;
    }
    content.addText((id ? id : name).rawText());
    appendValue(content, value);
    content.add(ContentText::endOfText);
    for (; keyframe; keyframe = keyframe.nextSibling("keyframe")) appendKeyframe(content, keyframe);
    content.add(ContentText::endOfElement);
}

void appendFilter(ContentText& content, XMLNode filter) {
    for (XMLNode child = filter.firstChild(); child; child = child.nextSibling()) {
        const ElementName name(child);
        if (name == "effect") {
            FilterPool::appendEffect(content, child);
        } else if (name == "enabled" || name == "start" || name == "end") {
            content.add(name.first());
            content.addText(child.rawText());
        }
    }
    content.add(ContentText::endOfElement);
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
        filter.start = framesIn(node.child("start")).value_or(edgeInTransition);
        filter.end = framesIn(node.child("end")).value_or(edgeInTransition);
        for (XMLNode effect = node.child("effect"); effect; effect = effect.nextSibling("effect"))
            addEffect(filter, effect);
    }

    void addEffect(Filter filter, XMLNode effect) {
        std::vector<Parameter> parameters;
        std::string_view type;
        for (XMLNode child = effect.firstChild(); child; child = child.nextSibling()) {
            const ElementName name(child);
            if (name == "name") filter.name = arena_.keep(elementText(child));
            if (name == "effectid") filter.effectId = arena_.keep(elementText(child));
            if (name == "mediatype") type = elementText(child);
            if (name == "pproBypass" && isTrue(elementText(child))) filter.enabled = false;
            if (name == "parameter") parameters.push_back(parameterOf(child));
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
        ContentText text;
        appendValue(text, value);
        return arena_.keep(plainNumber(text.view()));
    }

    Parameter parameterOf(XMLNode node) {
        Parameter parameter;
        parameter.name = arena_.keep(childText(node, "name"));
        parameter.id = arena_.keep(childText(node, "parameterid"));
        if (parameter.id.empty()) parameter.id = parameter.name;
        parameter.value = valueOf(node.child("value"));
        std::vector<Keyframe> keyframes;
        for (XMLNode key = node.child("keyframe"); key; key = key.nextSibling("keyframe"))
            keyframes.push_back({framesOrZero(key.child("when")), valueOf(key.child("value"))});
        parameter.keyframes = arena_.keep(keyframes);
        return parameter;
    }

    static bool moves(const Filter& filter) {
        return std::any_of(filter.parameters.begin(), filter.parameters.end(),
                           [](const Parameter& p) { return !p.keyframes.empty(); });
    }

    void summarise(FilterStack& stack) {
        ContentText picture, sound;
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
        stack.pictureKey = arena_.keep(picture.view());
        stack.soundKey = arena_.keep(sound.view());
    }

    static void appendLook(ContentText& look, const Filter& filter) {
        look.addText(filter.effectId.empty() ? filter.name : filter.effectId);
        look.addText(filter.start.text());
        look.addText(filter.end.text());
        for (const Parameter& parameter : filter.parameters) {
            look.addText(parameter.id);
            look.addText(parameter.value);
            for (const Keyframe& key : parameter.keyframes) {
                look.addText(key.when.text());
                look.addText(key.value);
            }
            look.add(ContentText::endOfElement);
        }
        look.add(ContentText::endOfElement);
    }

    TextArena& arena_;
    std::vector<Filter> filters_;
};

}  // namespace

void FilterPool::appendEffect(ContentText& text, XMLNode effect) {
    for (XMLNode child = effect.firstChild(); child; child = child.nextSibling()) {
        const ElementName name(child);
        if (name == "parameter") {
            appendParameter(text, child);
        } else if (name.first() != '\0' && !(name == "effectcategory") && !(name == "effecttype")) {
            text.addText(child.rawName());
            text.addText(child.rawText());
        }
    }
    text.add(ContentText::endOfElement);
}

const FilterStack* FilterPool::stackOf(std::span<const XMLNode> filters) {
    if (filters.empty()) return &none_;
    content_.clear();
    for (const XMLNode& filter : filters) appendFilter(content_, filter);
    const auto found = stacks_.find(content_.view());
    if (found != stacks_.end()) return found->second;
    const FilterStack* const stack = StackMaker(arena_).make(filters);
    stacks_.emplace(arena_.keep(content_.view()), stack);
    return stack;
}

}  // namespace reelsweep
