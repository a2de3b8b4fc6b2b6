// Checks on many random timelines, and the smallest timeline that fails one.
//
// REELSWEEP_PROPERTY_COUNT timelines (2000) from REELSWEEP_PROPERTY_SEED (1) on.
#pragma once

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

/// Checks a timeline; with a part, only that one. Throws std::length_error for a malformed timeline
/// that grows too large to be checked, as the plain twin does.
using Check = std::function<Fault(const std::string& timeline, const std::string& part)>;

inline bool isMeant(const std::string& part, std::string_view candidate) {
    return part.empty() || part == candidate;
}

/// The parts with a space behind each.
std::string joined(const std::vector<std::string>& parts);

/// Fails the running test with the smallest timeline for which the check finds a fault.
void expectOnRandomTimelines(const Check& check);

}  // namespace reelsweep::test
