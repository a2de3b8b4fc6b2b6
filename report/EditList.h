// EditList: one video track as a CMX 3600 edit list.
//
//   V1   A[0,100) x[90,110) B[-1,200)
//
//   001  A  V  C         A's 0 to 90     at 0 to 90
//   002  A  V  C         A's 90 to 90    at 90
//   002  B  V  D  020    B from there on at 90 to 200
//
// Every transition is written as a dissolve, with its name as a comment. The format has room for
// eight letters of a reel; a clip's whole name, its reel and its file follow as comments. Clips
// that are switched off are left out, slugs are black (BL), and a hole stays a hole.
// Owner: the sink must outlive the call. Thread rule: plain functions over values.
#pragma once

#include "base/AtomicFile.h"
#include "timeline/Timeline.h"

#include <cstddef>
#include <string_view>

namespace reelsweep {

struct WrittenEditList {
    std::size_t events = 0;
    /// Clips that lie wholly under an earlier one of the track, for which an edit list has no room.
    std::size_t leftOut = 0;
    bool ok = true;  ///< false when the sink refused
};

/// How many events every reader of the format takes.
inline constexpr std::size_t mostEditListEvents = 999;

WrittenEditList writeEditList(const Timeline& timeline, const Track& track, std::string_view title,
                              ByteSink& sink);

}  // namespace reelsweep
