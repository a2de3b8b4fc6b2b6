// Many files in one call: several at once, one progress line, one summary.
//
// Thread rule: main thread, and no other thread.
#pragma once

#include "cli/ExitCode.h"
#include "cli/TidyPlan.h"

namespace reelsweep {

class Application;
class ReportFile;

/// Tidies the files of a plan and answers the exit code of the first that failed, in the order of
/// the plan. What is said of a file is shown in that order too, and added to the report unless that
/// is null.
ExitCode runBatch(Application& application, const TidyPlan& plan, ReportFile* report);

}  // namespace reelsweep
