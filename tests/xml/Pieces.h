// A document that reaches the quick check in pieces.
#pragma once

#include "xml/QuickCheck.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace reelsweep::test {

/// What the quick check says of bytes that come `piece` at a time; nothing when it asks.
inline std::optional<XMLOutline> outlineInPieces(std::string_view bytes, std::size_t piece) {
    QuickCheck check;
    while (!bytes.empty()) {
        check.feed(bytes.substr(0, piece));
        bytes.remove_prefix(std::min(piece, bytes.size()));
    }
    if (!check.finish()) return {};
    return std::move(check.outline());
}

}  // namespace reelsweep::test
