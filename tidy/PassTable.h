// The clean-up passes as data: one table drives the run, the check boxes, the command line and its
// help.
//
// The rows stand in tidy/PassRows.inc. Adding a pass is a row there and a file in tidy/passes/.
// Thread rule: constant data.
#pragma once

#include "base/Failure.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class PassRun;

/// The option names that are on for a run.
using OptionList = std::vector<std::string>;

bool hasOption(const OptionList& options, std::string_view option);

/// Edits the run's sequence in place. Fails with cancelled when the run was stopped, and with
/// processing when the pass could not go on; what was done before stays done.
using PassFunction = Outcome (*)(PassRun& run);

struct PassRow {
    std::string_view option;   ///< name in option lists, on the command line and in reports
    std::string_view title;    ///< of its check box
    std::string_view summary;  ///< one line for help
    bool onByDefault;          ///< one of the registered defaults
    bool appliesToFCPX;        ///< offered for FCPXML too
    /// Null for an option that is several steps, or that only changes what another one does.
    PassFunction run;
    /// The name of the elements that the pass looks for all over a sequence, if any. One walk then
    /// serves all passes.
    std::string_view element = {};
};

/// All passes in the order in which a run applies them.
std::span<const PassRow> passTable();
/// The passes, and after them what else changes sequences: what a report lists changes under.
std::span<const PassRow> reportedRows();
/// The row of that option name, or null.
const PassRow* passNamed(std::string_view option);
/// The names of all passes, and of those that are on by default, in the order of a run.
OptionList allPasses();
OptionList defaultPasses();

/// One step of a run. Most options are one step; collapsing is several.
struct PassStep {
    std::string_view option;  ///< its changes are reported under this option
    PassFunction run;
    std::string_view onlyWith = {};  ///< a second option that must be on too, if any
};

/// What a run with all options does, in order.
std::span<const PassStep> passSteps();

}  // namespace reelsweep
