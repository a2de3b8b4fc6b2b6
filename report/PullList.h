// PullList: the media that a timeline uses, with the stretches of it that are used.
//
// Whoever conforms, copies or orders media starts from it. Clips that are switched off, or stand on
// a track that is, use nothing. Slugs, generators and clips without media are left out; of a nested
// sequence, what it is made of is listed, all of it. Stretches that overlap or touch are one.
//
//   media     0         100        200        300
//   clips        [aaaaaaaa]     [ccc]
//                      [bbb]
//   stretches    [         ]    [   ]           2, used by 2 clips and by 1
//
// Owner: a PullList points into the Timeline. Thread rule: plain functions over values.
#pragma once

#include "timeline/Timeline.h"

#include <cstddef>
#include <string>
#include <vector>

namespace reelsweep {

struct PulledStretch {
    FrameRange frames;  ///< of the media, from 0 at its first frame; end exclusive
    std::size_t clips = 0;
    std::string in;   ///< time code of the first frame
    std::string out;  ///< time code of the first frame after the stretch, as in an edit list
};

struct PulledMedia {
    const Media* media = nullptr;
    std::string path;  ///< as a person reads it: without "file://localhost" and percent signs
    std::vector<PulledStretch> stretches;  ///< in time order
};

/// By the name of the media, then by its path.
std::vector<PulledMedia> pullList(const Timeline& timeline);

/// A `pathurl` as a path; what is no file URL stays as it is.
std::string pathOfURL(std::string_view url);

}  // namespace reelsweep
