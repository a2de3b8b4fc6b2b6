#include "tidy/FCPXPasses.h"

#include <algorithm>
#include <array>

namespace reelsweep {

namespace {

constexpr auto table = std::to_array<PassRow>({
#define FCPX_PASS(option, title, summary) {#option, title, summary, false, true, nullptr},
#include "tidy/FCPXPassRows.inc"
#undef FCPX_PASS
});

using FCPXPassFunction = Outcome (*)(FCPXRun& run);

constexpr auto functions = std::to_array<FCPXPassFunction>({
#define FCPX_PASS(option, title, summary) fcpx::option,
#include "tidy/FCPXPassRows.inc"
#undef FCPX_PASS
});

constexpr auto kinds = std::to_array<std::string_view>(
    {"marker", "chapter-marker", "analysis-marker", "keyword", "rating"});

}  // namespace

std::vector<std::string> usualFCPXMarkerKinds() { return {"marker", "chapter-marker"}; }

std::span<const std::string_view> fcpxMarkerKinds() { return kinds; }

std::span<const PassRow> fcpxPassTable() { return table; }

bool hasFCPXPass(const OptionList& passes) {
    return std::any_of(table.begin(), table.end(),
                       [&](const PassRow& row) { return hasOption(passes, row.option); });
}

Outcome applyFCPXPasses(XMLNode document, const OptionList& passes,
                        const std::vector<std::string>& markerKinds, SequenceLedger& ledger,
                        const TidyControls& controls) {
    TimelineEdit edit(document, ledger);
    FCPXRun run{edit, markerKinds, controls.stop};
    for (std::size_t i = 0; i < table.size(); ++i) {
        if (!hasOption(passes, table[i].option)) continue;
        if (controls.stop.stop_requested()) return Failure{FailureCode::cancelled, "cancelled"};
        if (controls.progress) controls.progress(std::string(table[i].title) + "...");
        edit.beginStep(table[i].option);
        if (Outcome done = functions[i](run); !done) return done;
    }
    return Done{};
}

}  // namespace reelsweep
