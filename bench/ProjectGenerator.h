// Seeded project files that look like real exports, of any size, for measuring.
//
// The same options give the same bytes on every machine. Thread rule: plain functions, any thread.
#pragma once

#include "base/AtomicFile.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace reelsweep {

enum class TimelineShape {
    mixed,             ///< everything an export holds, spread over all tracks
    topOverEmpty,      ///< all clips on the top track, all tracks below it empty
    allHidden,         ///< opaque clips of the top track over everything below
    chain,             ///< the lowest track is one chain of clips joined by transitions
    hiddenChain,       ///< such a chain, and one opaque clip above all of it
    nested,            ///< one clip that holds all others in a nested sequence
    manyTracks,        ///< as mixed, on 60 video tracks whatever the options say
    twoHundredTracks,  ///< as mixed, on 200
    kept,              ///< every clip has a motion filter and shows what is below: nearly all stays
    oddChain,          ///< as chain, with one edge in the middle that is no whole number
    manySequences,     ///< sequences of 50 items, which share their files
    deepNesting,       ///< sequences of 25 items, each within the first clip of the one before
};

/// The shape of that name: "mixed", "top-over-empty", "all-hidden", "chain", "hidden-chain",
/// "nested", "many-tracks", "200-tracks", "kept", "odd-chain", "many-sequences" or "deep-nesting".
std::optional<TimelineShape> shapeNamed(std::string_view name);

struct GeneratorOptions {
    std::size_t items = 10000;  ///< clips, generators and transitions in all; the last may add two
    int videoTracks = 4;        ///< at least 1
    int audioTracks = 4;        ///< may be 0
    std::uint64_t seed = 1;
    TimelineShape shape = TimelineShape::mixed;
};

/// Writes a project with one main sequence in a bin, about 1 KB an item. Whether the sink took
/// everything is for its owner to ask.
void generateProject(const GeneratorOptions& options, ByteSink& sink);

}  // namespace reelsweep
