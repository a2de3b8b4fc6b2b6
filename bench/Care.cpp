#include "bench/Care.h"

#include "bench/ChildProcess.h"
#include "bench/Steps.h"
#include "documents/Document.h"

#include <array>

namespace reelsweep {

namespace {

struct Way {
    const char* what;
    bool proves, keeps, imports;
    const char* atMost;
};

constexpr std::array ways = {
    Way{"passes alone", false, false, false, ""},
    Way{"with the proof", true, false, false, "1.10 x"},
    Way{"with guard and proof", true, true, false, "1.50 x"},
    Way{"with guard, proof and import step (default)", true, true, true, ""},
};

void tidyOnce(const std::string& input, const std::string& output, const Way& way) {
    auto document = openDocument(input, {.verification = Verification::deferred});
    require(document.ok(), "cannot open " + input);
    DocumentRequest request{.passes = allPasses()};
    request.keepPicture = way.keeps;
    request.provesPicture = way.proves;
    request.importSafe = way.imports;
    request.usesUpDocument = true;
    const auto tidied = tidy(**document, request, {});
    require(tidied.ok() && tidied->save(output).ok(), "cannot tidy " + input);
}

}  // namespace

std::vector<CareCost> timeCare(const std::string& input, const std::string& output, int runs) {
    std::array<std::vector<double>, ways.size()> times, ratios;
    for (int run = 0; run < runs; ++run) {
        for (std::size_t i = 0; i < ways.size(); ++i) {
            warmMemory(input);
            times[i].push_back(milliseconds([&] { tidyOnce(input, output, ways[i]); }));
            ratios[i].push_back(times[i].back() / times[0].back());
        }
    }
    std::vector<CareCost> costs;
    for (std::size_t i = 0; i < ways.size(); ++i)
        costs.push_back({ways[i].what, median(times[i]), median(ratios[i]), ways[i].atMost});
    return costs;
}

}  // namespace reelsweep
