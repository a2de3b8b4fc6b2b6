// Files and sequences, each defined once in what is delivered.
#include "tidy/ImportParts.h"

#include "base/UUID.h"
#include "timeline/MediaReader.h"
#include "xml/XMLDocument.h"

#include <optional>

namespace reelsweep::importing {

namespace {

using Variant = ImportDelivery::State::Variant;

std::string idOf(XMLNode element) { return std::string(element.attribute("id").value_or("")); }

// Walks the copy in document order, going into what it inserts.
class Definer {
public:
    Definer(TimelineEdit& edit, const ImportContext& context)
        : edit_(edit), context_(context), delivery_(context.delivery.state()) {}

    void run() {
        const XMLNode copy = edit_.sequence();
        collect(context_.source.sequence(), source_);
        collect(copy, own_);
        for (XMLNode element = copy.nextElement(copy, {}); element;
             element = element.nextElement(copy, {}))
            if ((element.isElement("file") || element.isElement("sequence")) &&
                element.attribute("id"))
                settle(element);
    }

private:
    using Definitions = ImportDelivery::State::Definitions;

    static void collect(XMLNode sequence, Definitions& definitions) {
        sequence.forEachDescendant({"file", "sequence"}, [&](XMLNode element) {
            if (element.attribute("id") && isDefinition(element))
                definitions.emplace(keyOf(element), element);
        });
    }

    void settle(XMLNode element) {
        const std::string key = keyOf(element);
        const bool isDefined = isDefinition(element);
        if (const auto known = resolved_.find(key); !isDefined && known != resolved_.end()) {
            rename(element, known->second);
            return;
        }
        XMLNode meaning = isDefined ? element : meaningOf(key);
        if (!meaning && element.isElement("file")) meaning = slugFor(element);
        const std::optional<std::string> known = meaning ? variantOf(key, meaning) : std::nullopt;
        if (known && isDefined) edit_.refer(element, "defined before: " + *known);
        if (meaning && !known) {
            const std::string id = addVariant(key, element, meaning);
            if (!isDefined) edit_.define(element, meaning, "defined at its first use");
            if (id != idOf(element)) becomeAnother(element, id);
            // What a reference means is what the sequence itself defines first.
            if (!isDefined || meaning == own(key)) resolved_.emplace(key, id);
        } else if (known) {
            if (!isDefined) resolved_.emplace(key, *known);
            rename(element, *known);
        }
    }

    XMLNode own(const std::string& key) const {
        const auto found = own_.find(key);
        return found == own_.end() ? XMLNode() : found->second;
    }

    // A sequence's own definition comes first, then its source's, then any of the document.
    XMLNode meaningOf(const std::string& key) {
        if (const XMLNode here = own(key); here && isDefinition(here)) return here;
        if (const auto found = source_.find(key); found != source_.end()) return found->second;
        if (!context_.document) return {};
        const Definitions& all = delivery_.definitionsIn(context_.document);
        const auto found = all.find(key);
        return found == all.end() ? XMLNode() : found->second;
    }

    // The id under which the same thing is defined already.
    std::optional<std::string> variantOf(const std::string& key, XMLNode meaning) {
        const auto found = delivery_.variants.find(key);
        if (found == delivery_.variants.end()) return std::nullopt;
        std::string text;
        for (Variant& variant : found->second) {
            if (variant.source == meaning) return variant.id;
            if (text.empty()) text = serialise(meaning);
            if (variant.text.empty()) variant.text = serialise(variant.source);
            if (variant.text == text) return variant.id;
        }
        return std::nullopt;
    }

    // Kept as text: what is inside the definition is about to be edited.
    std::string addVariant(const std::string& key, XMLNode element, XMLNode meaning) {
        std::vector<Variant>& variants = delivery_.variants[key];
        const std::string wanted = idOf(element);
        std::string id = wanted;
        for (std::size_t number = 2;
             !variants.empty() && (id == wanted || !delivery_.isFree(id, context_.document));
             ++number)
            id = wanted + "-" + std::to_string(number);
        variants.push_back({{}, serialise(meaning), id});
        delivery_.ids.insert(id);
        return id;
    }

    void rename(XMLNode element, const std::string& id) {
        if (id == idOf(element)) return;
        const TimelineEdit::Rewrite rewrite{element, id, "id"};
        edit_.rewrite(element, {&rewrite, 1}, "the id of another " + std::string(element.name()));
    }

    // A definition unlike the one that has the id already, such as a nested sequence that passes
    // changed: it gets an id of its own, and a sequence its own uuid with it.
    void becomeAnother(XMLNode element, const std::string& id) {
        std::vector<TimelineEdit::Rewrite> rewrites{{element, id, "id"}};
        const XMLNode uuid = element.isElement("sequence") ? element.child("uuid") : XMLNode();
        if (uuid) rewrites.push_back({uuid, newUUID()});
        edit_.rewrite(element, rewrites,
                      "another " + std::string(element.name()) + " has the id " + idOf(element));
    }

    // Slugs refer to the file of the sequence's first slug; when the source had slugs of its own,
    // that file may be defined nowhere. Null for the file of any other clip.
    static XMLNode slugFor(XMLNode file) {
        const XMLNode clip = file.parent();
        if (clip.child("name").stringValue() != "Slug" || clip.child("masterclipid")) return {};
        Result<XMLNode> slug =
            file.parseDetached("<file><name>Slug</name><mediaSource>Slug</mediaSource></file>");
        if (!slug) return {};
        slug->setOnlyAttribute("id", idOf(file));
        if (const XMLNode rate = clip.child("rate")) slug->appendCopy(rate);
        return *slug;
    }

    TimelineEdit& edit_;
    const ImportContext& context_;
    ImportDelivery::State& delivery_;
    Definitions source_;
    Definitions own_;
    std::unordered_map<std::string, std::string> resolved_;  // ids that references get, by key
};

}  // namespace

void defineOnce(TimelineEdit& edit, const ImportContext& context) { Definer(edit, context).run(); }

}  // namespace reelsweep::importing
