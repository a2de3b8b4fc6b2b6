// Many files in one call: several at once, one progress line, one summary.
//
// Thread rule: main thread, and no other thread unless there is a report.
#pragma once

#include "cli/ExitCode.h"
#include "cli/TidyPlan.h"

namespace reelsweep {

class Application;
class ReportFile;

/// Tidies the files of a plan and answers the exit code of the first that failed, in the order of
/// the plan. What is said of a file is shown in that order too. With a report the files are done
/// one after the other, each added to it.
ExitCode runBatch(Application& application, const TidyPlan& plan, ReportFile* report);

}  // namespace reelsweep
