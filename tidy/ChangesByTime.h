// ChangesByTime: which changes of a ledger lie in a range of frames.
//
// A timeline may differ in as many places as it has clips, and each difference asks for the changes
// behind it. The ranges stand in the order of their starts, as a tree in which every subtree knows
// how far it reaches, so that an answer of k ranges costs O(k log n).
// Owner: the caller. Thread rule: plain value.
#pragma once

#include "time/FrameRange.h"

#include <cstddef>
#include <vector>

namespace reelsweep {

class ChangesByTime {
public:
    /// A change, by its number in the ledger, and a range that it touched; it may have several.
    struct Touched {
        FrameRange range;
        std::size_t change = 0;
    };
    /// O(n log n).
    explicit ChangesByTime(std::vector<Touched> touched);

    /// The numbers of the changes with a range that starts before the end of this one and ends
    /// after its start, each once, ascending.
    std::vector<std::size_t> in(FrameRange range) const;

private:
    // The subtree over [first, last) has its root in the middle.
    Frames measure(std::size_t first, std::size_t last);
    void collect(std::size_t first, std::size_t last, FrameRange range,
                 std::vector<std::size_t>& found) const;

    std::vector<Touched> touched_;  ///< by start
    std::vector<Frames> reach_;     ///< the latest end in the subtree of each
};

}  // namespace reelsweep
