#include "tidy/ImportStep.h"

#include "tidy/ImportParts.h"
#include "timeline/MediaReader.h"

namespace reelsweep {

ImportDelivery::ImportDelivery(std::unique_ptr<State> state) : state_(std::move(state)) {}
ImportDelivery::ImportDelivery(ImportDelivery&&) noexcept = default;
ImportDelivery& ImportDelivery::operator=(ImportDelivery&&) noexcept = default;
ImportDelivery::~ImportDelivery() = default;

ImportDelivery ImportDelivery::afterSource(XMLNode document) {
    auto state = std::make_unique<State>();
    state->before = document;
    for (const auto& [key, definition] : state->useAll(document))
        state->variants[key].push_back(
            {definition, {}, std::string(definition.attribute("id").value_or(""))});
    return ImportDelivery(std::move(state));
}

ImportDelivery ImportDelivery::alone() { return ImportDelivery(std::make_unique<State>()); }

void ImportDelivery::State::useIds(XMLNode root) {
    if (const auto id = root.attribute("id")) ids.emplace(*id);
    root.forEachDescendant({}, [&](XMLNode element) {
        if (const auto id = element.attribute("id")) ids.emplace(*id);
    });
}

const ImportDelivery::State::Definitions& ImportDelivery::State::useAll(XMLNode document) {
    Definitions& definitions = definitions_[document];
    document.forEachDescendant({}, [&](XMLNode element) {
        const auto id = element.attribute("id");
        if (!id) return;
        ids.emplace(*id);
        const bool mayDefine = element.isElement("file") || element.isElement("sequence");
        if (mayDefine && isDefinition(element))
            definitions.emplace(importing::keyOf(element), element);
    });
    return definitions;
}

bool ImportDelivery::State::isFree(const std::string& id, XMLNode document) {
    if (ids.contains(id)) return false;
    if (!document || document == before) return true;
    // Master clips of the source may come along later.
    const auto [known, isNew] = documentIds_.try_emplace(document);
    if (isNew)
        document.forEachDescendant({}, [&, &found = known->second](XMLNode element) {
            if (const auto used = element.attribute("id")) found.emplace(*used);
        });
    return !known->second.contains(id);
}

const ImportDelivery::State::Definitions& ImportDelivery::State::definitionsIn(XMLNode document) {
    const auto [known, isNew] = definitions_.try_emplace(document);
    if (isNew)
        document.forEachDescendant({"file", "sequence"},
                                   [&, &definitions = known->second](XMLNode element) {
                                       if (element.attribute("id") && isDefinition(element))
                                           definitions.emplace(importing::keyOf(element), element);
                                   });
    return known->second;
}

std::string importing::keyOf(XMLNode element) {
    return std::string(element.name()) + '\n' + std::string(element.attribute("id").value_or(""));
}

ImportSource::ImportSource(const TimelineEdit& edit, XMLNode source)
    : edit_(edit),
      sequence_(source),
      places_(SequencePlaces::of(source)),
      items_(edit.sourceItems(source)) {
    for (const PlacedTrack& track : places_.tracks())
        for (const PlacedItem& item : track.items) placed_.emplace(item.item->node, &item);
}

XMLNode ImportSource::itemOf(XMLNode item) const {
    const auto found = items_.find(edit_.wholeOf(item));
    return found == items_.end() ? XMLNode() : found->second;
}

const PlacedItem* ImportSource::placeOf(XMLNode item) const {
    const auto found = placed_.find(itemOf(item));
    return found == placed_.end() ? nullptr : found->second;
}

void mendImportPlaces(TimelineEdit& edit, const ImportSource& source) {
    edit.beginStep(importSafeOption);
    importing::mendPlaces(edit, source);
}

Outcome makeImportSafe(TimelineEdit& edit, const ImportContext& context) {
    const Failure stopped{FailureCode::cancelled, "cancelled"};
    if (context.stop.stop_requested()) return stopped;
    edit.beginStep(importSafeOption);
    context.delivery.state().useWhatIsDone();
    if (!context.placesAreMended) importing::mendPlaces(edit, context.source);
    const SequencePlaces places = SequencePlaces::of(edit.sequence());
    importing::mendTicks(edit, places);
    if (context.stop.stop_requested()) return stopped;
    importing::defineOnce(edit, context);
    if (context.stop.stop_requested()) return stopped;
    importing::mendIdsAndLinks(edit, context, places);
    return Done{};
}

}  // namespace reelsweep
