// Every pass twice: the product's function and its plain twin. The product says which passes there
// are, and in which order; the twin must have the same steps.
#pragma once

#include "tests/plain/PlainPasses.h"
#include "tidy/PassTable.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep::test {

struct PassPair {
    std::string_view name;  ///< of the twin's step
    PassFunction product;
    XMLNode (*plain)(XMLNode);
};

/// Where the steps of a run and those of the twin part; empty when they agree.
inline std::string pairingFault() {
    const auto& plain = plainSteps();
    const auto steps = passSteps();
    const auto rowFor = [](const PassStep& step) {
        return std::string(step.option) +
               (step.onlyWith.empty() ? "" : ", with " + std::string(step.onlyWith));
    };
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const bool agrees = i < plain.size() && plain[i].option == steps[i].option &&
                            plain[i].onlyWith == steps[i].onlyWith;
        if (!agrees)
            return "step " + std::to_string(i + 1) + " of a run (" + rowFor(steps[i]) +
                   ") has no plain twin: give it a row at its place in plainSteps(), in "
                   "tests/plain/PlainPasses.cpp";
    }
    return plain.size() == steps.size() ? "" : "plainSteps() has more steps than a run";
}

/// A pair for each function, in the order of a run. Throws std::logic_error when one is missing.
inline const std::vector<PassPair>& passPairs() {
    static const std::vector<PassPair> pairs = [] {
        if (const std::string fault = pairingFault(); !fault.empty()) throw std::logic_error(fault);
        std::vector<PassPair> all;
        for (std::size_t i = 0; i < passSteps().size(); ++i) {
            const PassFunction product = passSteps()[i].run;
            const auto isSame = [&](const PassPair& pair) { return pair.product == product; };
            if (std::none_of(all.begin(), all.end(), isSame))
                all.push_back({plainSteps()[i].name, product, plainSteps()[i].run});
        }
        return all;
    }();
    return pairs;
}

inline const PassPair& passPair(std::string_view name) {
    for (const PassPair& pair : passPairs())
        if (pair.name == name) return pair;
    throw std::invalid_argument("no such pass: " + std::string(name));
}

}  // namespace reelsweep::test
