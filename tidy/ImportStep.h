// makeImportSafe: the step after the passes that makes a tidied copy one that other applications
// import: links and ids that resolve, files defined once, edges that have a place.
//
// It works on copies only and leaves alone what was wrong in the source already, but for links, ids
// and ticks, which it always mends. Every edit goes through the copy's TimelineEdit and stands in
// its ledger under importSafeOption.
//
// The order of a delivery:
//   1. All passes on all copies, each with its own TimelineEdit, which is kept.
//   2. One ImportDelivery; makeImportSafe for each copy, in the order in which the copies stand in
//      what is delivered. Ids and definitions hold for all of it, so a copy must be as the passes
//      left it when its turn comes, and is not edited afterwards.
//   3. TimelineEdit::finish() of each copy, then the delivery.
#pragma once

#include "base/Failure.h"
#include "timeline/SequencePlaces.h"
#include "timeline/TimelineEdit.h"
#include "xml/XMLNode.h"

#include <memory>
#include <stop_token>
#include <string_view>
#include <unordered_map>

namespace reelsweep {

/// What the ledger calls the step.
inline constexpr std::string_view importSafeOption = "importSafe";

/// What one delivery has defined and which ids it uses, copy after copy.
///
/// Owner: the run that delivers. Thread rule: the thread that owns the copies' trees; the documents
/// must outlive it.
class ImportDelivery {
public:
    /// The copies are added to a document, after all that it holds: its definitions and ids count.
    static ImportDelivery afterSource(XMLNode document);
    /// The copies stand alone, in a document of their own or in a host's project: what they refer
    /// to is defined in them.
    static ImportDelivery alone();
    ImportDelivery(ImportDelivery&&) noexcept;
    ImportDelivery& operator=(ImportDelivery&&) noexcept;
    ~ImportDelivery();

    struct State;
    State& state() const { return *state_; }

private:
    explicit ImportDelivery(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

/// What the step wants to know of the sequence that a copy came from.
///
/// Owner: the caller; the source must not be edited, and the copy's TimelineEdit must outlive it.
/// Thread rule: as for the trees.
class ImportSource {
public:
    /// Of the sequence that `edit` edits a copy of; null when that is not known. O(its items).
    ImportSource(const TimelineEdit& edit, XMLNode source);
    ImportSource(const ImportSource&) = delete;
    ImportSource& operator=(const ImportSource&) = delete;

    XMLNode sequence() const { return sequence_; }
    const SequencePlaces& places() const { return places_; }
    /// The item that one of the copy, or the whole that it is a piece of, came from; null for none.
    XMLNode itemOf(XMLNode item) const;
    /// Where that stands; null for none.
    const PlacedItem* placeOf(XMLNode item) const;

private:
    const TimelineEdit& edit_;
    XMLNode sequence_;
    SequencePlaces places_;
    std::unordered_map<XMLNode, XMLNode> items_;
    std::unordered_map<XMLNode, const PlacedItem*> placed_;
};

/// What the step needs to know of one copy.
struct ImportContext {
    const ImportSource& source;
    XMLNode document;  ///< the document of the source, for what the copy refers to
    ImportDelivery& delivery;
    std::stop_token stop = {};
    bool placesAreMended = false;  ///< mendImportPlaces was the last that edited the copy
};

/// Mends the sequence of `edit`:
///  - a transition without the clip that it needs is removed;
///  - an edge of -1 without its transition gets the place that it had in the source, or the cut,
///    when the clip on the other side of the cut is there:
///      A[0,-1) x[90,110) B[-1,200)   ->   B[90,200) when x and A are gone,
///                                         A[0,100) B[100,200) when only x is
///  - a clip that was cut gets an `out` that fits its place;
///  - an item that ends before it starts is removed; of two that lie over one another the earlier
///    one ends where the later one starts, and an item out of order goes to its place;
///  - ticks follow `in` and `out`;
///  - files and sequences are defined once in the delivery, at their first use;
///  - ids are unique in the delivery; the first piece of a split clip keeps the id and the links;
///  - links name the place where their item stands, and those to what is gone are removed.
/// Once for each copy and delivery; with a new delivery a second time changes nothing. Fails with
/// cancelled only; the copy is then in a state between, and of no use.
/// O(n log n) for the n nodes of copy, source and, once for each delivery, document.
Outcome makeImportSafe(TimelineEdit& edit, const ImportContext& context);

/// The part of it that may change what is seen: edges, source ranges, order and overlaps, as the
/// source does not have them. makeImportSafe finds nothing more of that afterwards.
/// O(n log n) for the n nodes of copy and source.
void mendImportPlaces(TimelineEdit& edit, const ImportSource& source);

}  // namespace reelsweep
