// CutDifference: what changed between two cuts, clip by clip.
//
// Where PictureDifference compares frames, this compares clips: two versions of a cut, or a source
// and its tidied copy, as somebody who conforms a film reads them. A clip is found again by its
// media and source range, wherever it went:
//
//   before   V1: A[0,100)  B[100,150)  C[150,200)
//   after    V1: A[0,100)  C[100,150)  D[150,180)
//   changes  removed B from V1 at 100, moved C from 150 to 100, added D on V1 at 150
//
// Owner: a CutDifference keeps both timelines alive; its changes point into them.
// Thread rule: any thread.
#pragma once

#include "timeline/Timeline.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

enum class CutChangeKind : std::uint8_t {
    added,
    removed,
    moved,     ///< to another time or track, with the same source range
    trimmed,   ///< shows more or less of the same source, in sync
    slipped,   ///< stays where it is and shows another part of its source
    retimed,   ///< plays at another speed
    relinked,  ///< the same source range of another file
    changed,   ///< other filters, modes, or switched on or off
};
inline constexpr std::size_t cutChangeKindCount = 8;

/// "added", "removed" and so on.
std::string_view description(CutChangeKind kind);

/// A change of one clip. A clip that was changed in several ways has one for each.
struct CutChange {
    CutChangeKind kind = CutChangeKind::added;
    const Item* before = nullptr;  ///< null for what was added
    const Item* after = nullptr;   ///< null for what was removed
};

class CutDifference {
public:
    /// O(n log n) in the items of both.
    CutDifference(const Timeline& before, const Timeline& after);

    const Timeline& before() const { return before_; }
    const Timeline& after() const { return after_; }
    /// In record order: by the time at which a clip stands after the change, or stood before it was
    /// removed; then by track.
    const std::vector<CutChange>& changes() const { return changes_; }
    std::size_t count(CutChangeKind kind) const;
    /// Clips and generators that stand in both as they did.
    std::size_t unchanged() const { return unchanged_; }

private:
    Timeline before_;
    Timeline after_;
    std::vector<CutChange> changes_;
    std::size_t unchanged_ = 0;
};

}  // namespace reelsweep
