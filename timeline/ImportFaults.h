// ImportFaults: what an importer stumbles over in a document, and where.
//
// An importer that cannot resolve a link, an id or an edge drops the clip, shows another one in its
// place, or refuses the file; which, depends on the importer. None of this says that the picture is
// wrong in the application that wrote the file.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "timeline/ChangeLedger.h"
#include "xml/XMLNode.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

enum class ImportFaultKind : std::uint8_t {
    linkToNothing,          ///< a link names an item that its sequence does not have
    staleTrackIndex,        ///< a link names another track than the one its item is on
    staleClipIndex,         ///< a link counts its item differently; all items of the track count
    staleGroupIndex,        ///< the groups of an item's links do not run from 1
    idTwice,                ///< two items have one id
    sequenceTwice,          ///< a sequence is defined in full twice
    fileTwice,              ///< a file is defined in full twice, alike
    fileTwiceUnlike,        ///< two files have one id
    undefinedReference,     ///< a file, sequence or master clip is named that nothing defines
    usedBeforeDefinition,   ///< a file or sequence is named before it is defined
    ticks,                  ///< pproTicksIn or pproTicksOut is not the frame of `in` or `out`
    sourceLength,           ///< at plain speed, the source range is not as long as its place
    edgeWithoutTransition,  ///< an edge of -1 with no transition beside it
    transitionAlone,        ///< a transition without the clip that it needs
    endsBeforeStart,        ///< an item lasts no frame, or less
    outOfOrder,             ///< an item stands after one that starts later
    overlap,                ///< an item starts before an earlier one of its track ends
};
inline constexpr std::size_t importFaultKindCount = 17;

/// The kind's name, as above: the word of machine-readable reports.
std::string_view name(ImportFaultKind kind);

struct ImportFault {
    ImportFaultKind kind = ImportFaultKind::linkToNothing;
    std::string sequence;  ///< its name; empty for what stands in none
    TrackLabel track;      ///< number 0 for what stands on none
    std::string item;      ///< the name of the clip, generator or transition concerned, or empty
    std::string id;        ///< its id, or that of the file, sequence or master clip concerned
    ItemTimes times;       ///< of the item, as written
    /// "V1, 01:00:04:00 to 01:00:08:00"; empty for what stands on no track.
    std::string place;
    std::string text;  ///< what is wrong, in a sentence without its place
    XMLNode node;      ///< the element concerned, in the tree that was looked at
};

/// All faults of what stands in `root`: a document, a bin, or one sequence. First those of each
/// sequence, nested ones too, track after track; then those of ids, which hold for all of `root`.
/// O(n log n) for n nodes.
std::vector<ImportFault> importFaults(XMLNode root);

/// Only the faults of the tracks of this one sequence, links included; no ids of files.
std::vector<ImportFault> trackFaults(XMLNode sequence);

/// Whether a text of ticks is the frame's. Cuts in sound may lie between two frames, so sound is
/// right with any tick less than a frame away. True when nothing tells.
bool ticksFollow(std::string_view ticks, Frames frame, FrameRate rate, bool video);

/// The number of each group in a run from 1 without holes: {2, 2, 5} become {1, 1, 2}. 0 is no
/// group and stays.
std::vector<int> withoutHoles(std::span<const int> groups);

}  // namespace reelsweep
