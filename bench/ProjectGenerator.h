// Seeded project files that look like real exports, of any size, for measuring.
//
// The same options give the same bytes on every machine. Thread rule: plain function, any thread.
#pragma once

#include "support/AtomicFile.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace reelsweep {

enum class TimelineShape {
    mixed,         ///< everything an export holds, spread over all tracks
    topOverEmpty,  ///< all clips on the top track, all tracks below it empty
    allHidden,     ///< an opaque clip over everything on the tracks below
    chain,         ///< the lowest track is one chain of clips joined by transitions
};

/// The shape of that name ("mixed", "top-over-empty", "all-hidden", "chain"); mixed for another name.
TimelineShape shapeNamed(std::string_view name);

struct GeneratorOptions {
    std::size_t items = 10000;  ///< clips, generators and transitions in all
    int videoTracks = 4;
    int audioTracks = 4;
    std::uint64_t seed = 1;
    TimelineShape shape = TimelineShape::mixed;
};

/// Writes a project with one sequence, about 1 KB an item.
void generateProject(const GeneratorOptions& options, ByteSink& sink);

}  // namespace reelsweep
