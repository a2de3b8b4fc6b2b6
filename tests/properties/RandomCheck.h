// RandomCheck: a check on many random timelines, and the smallest one that fails it.
//
// REELSWEEP_PROPERTY_COUNT timelines (2000) from REELSWEEP_PROPERTY_SEED (1) on.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep::test {

/// What is wrong with a timeline, and in which part of the check.
struct Fault {
    std::string part;
    std::string text;  // empty when nothing is wrong
    explicit operator bool() const { return !text.empty(); }
};

/// Checks a timeline; with a part, only that one. A plain twin goes first: it throws
/// std::length_error when a malformed timeline grows too large to be checked.
using Check = std::function<Fault(const std::string& timeline, const std::string& part)>;

/// Makes a timeline from a seed.
using Maker = std::function<std::string(std::uint64_t seed)>;

bool isMeant(const std::string& part, std::string_view candidate);

/// The parts, each with a space after it.
std::string joined(const std::vector<std::string>& parts);

/// Fails the test with the smallest timeline that fails the check, and when more than one in a
/// hundred was too large. Without a maker the timelines are those of RandomTimeline.h.
void expectOnRandomTimelines(const Check& check, const Maker& make = {});

}  // namespace reelsweep::test
