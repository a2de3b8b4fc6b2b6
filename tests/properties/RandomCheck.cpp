#include "tests/properties/RandomCheck.h"

#include "tests/properties/RandomTimeline.h"
#include "tests/timeline/Timeline.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace reelsweep::test {

namespace {

std::uint64_t fromEnvironment(const char* name, std::uint64_t fallback) {
    const char* const text = std::getenv(name);
    return text ? std::strtoull(text, nullptr, 10) : fallback;
}

// What the check says, and how many timelines were too large for it.
Fault outcome(const Check& check, const std::string& timeline, const std::string& part,
              std::uint64_t& tooLarge) {
    try {
        return check(timeline, part);
    } catch (const std::length_error&) {
        ++tooLarge;
        return {};
    }
}

// Takes items, tracks and switches away as long as something stays wrong.
std::string reduced(const std::string& timeline, const std::string& part, const Check& check) {
    std::vector<std::string> tokens = timelineTokens(timeline);
    std::uint64_t tooLarge = 0;
    const auto fails = [&](const std::vector<std::string>& some) {
        return bool(outcome(check, joined(some), part, tooLarge));
    };
    for (std::size_t chunk = tokens.size() / 2 + 1; chunk > 0; chunk /= 2) {
        for (std::size_t at = 0; at + chunk <= tokens.size();) {
            std::vector<std::string> fewer = tokens;
            const auto from = fewer.begin() + static_cast<std::ptrdiff_t>(at);
            fewer.erase(from, from + static_cast<std::ptrdiff_t>(chunk));
            const bool startsATrack = fewer.empty() || fewer.front().back() == ':';
            if (startsATrack && fails(fewer))
                tokens = std::move(fewer);
            else
                ++at;
        }
    }
    for (std::string& token : tokens) {
        const std::string whole = token;
        // Behind the times, which may hold any of these signs.
        const std::size_t times = token.find(')');
        const std::size_t from = times == std::string::npos ? 0 : times;
        token.resize(std::min(token.find_first_of("@%^+*=&'{", from), token.size()));
        if (token.empty() || !fails(tokens)) token = whole;
    }
    return joined(tokens);
}

}  // namespace

bool isMeant(const std::string& part, std::string_view candidate) {
    return part.empty() || part == candidate;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += part + " ";
    return text;
}

void expectOnRandomTimelines(const Check& check, const Maker& make) {
    const std::uint64_t first = fromEnvironment("REELSWEEP_PROPERTY_SEED", 1);
    const std::uint64_t count = fromEnvironment("REELSWEEP_PROPERTY_COUNT", 2000);
    std::uint64_t tooLarge = 0;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        const std::string timeline = make ? make(seed) : randomTimeline(seed);
        const Fault fault = outcome(check, timeline, "", tooLarge);
        if (!fault) continue;
        const std::string smallest = reduced(timeline, fault.part, check);
        FAIL() << "seed " << seed << ", " << fault.part << "\n  " << timeline << "\n"
               << fault.text << "\n  smallest: " << smallest << "\n"
               << check(smallest, fault.part).text;
    }
    EXPECT_LE(tooLarge, count / 100);
}

}  // namespace reelsweep::test
