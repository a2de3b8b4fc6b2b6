// The clean-up passes as data: one table drives the run, the check boxes, the command line and its
// help.
//
// Adding a pass is a row here and a file in engine/passes/.
// Thread rule: constant data.
#pragma once

#include "xml/XMLNode.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class PassRun;

/// The option names that are on for a run.
using OptionList = std::vector<std::string>;

struct PassRow {
    std::string_view option;   ///< name in option lists, on the command line and in reports
    std::string_view title;    ///< of its check box
    std::string_view summary;  ///< one line for help
    bool onByDefault;          ///< one of the registered defaults
    bool appliesToFCPX;        ///< offered for FCPXML too
    /// Edits the sequence in place and answers it, or null when the run was cancelled. Absent for
    /// an option that only changes what another pass does.
    XMLNode (*run)(PassRun& run, XMLNode sequence);
};

/// All passes in the order in which a run applies them.
std::span<const PassRow> passTable();
/// The row of that option name, or null.
const PassRow* passNamed(std::string_view option);

}  // namespace reelsweep
