// TidyPlan: what `tidy` was asked to do, checked before any file is read.
//
// Thread rule: plain values.
#pragma once

#include "base/Failure.h"
#include "cli/TurnoverFiles.h"
#include "documents/Document.h"
#include "tidy/PassTable.h"

#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

/// The command line of `tidy` as it was typed.
struct TidyOptions {
    std::vector<std::string> files;
    std::string passes = "default";
    std::vector<std::string> sequences;
    std::vector<std::string> ignoredEffects;
    std::vector<std::string> keep;
    std::string output;
    std::string outputFolder;
    bool inPlace = false;
    std::string delivery = "auto";
    std::string report;
    bool listChanges = false;
    bool editLists = false;
    bool otio = false;
    std::optional<long> handles;
    std::string markerKinds;
    bool keepPicture = true;
    bool importSafe = true;
    bool literal = false;
    bool strict = false;
    bool launch = false;
    bool dryRun = false;
    bool force = false;
    bool quiet = false;
};

/// Which passes were asked for. What "all" means depends on the kind of file.
struct PassSelection {
    bool all = false;
    OptionList names;  ///< the named ones and the defaults, in run order; not what "all" adds
};

struct PlannedFile {
    std::string input;   ///< "-" for standard input
    std::string output;  ///< "-" for standard output; empty for a native project
    bool inPlace = false;
    bool native = false;  ///< the result goes to Final Cut Pro
};

struct TidyPlan {
    std::vector<PlannedFile> files;
    PassSelection passes;
    std::vector<std::string> sequences;  ///< empty: all
    std::vector<std::string> ignoredEffects;
    std::vector<std::string> keep;  ///< clips to leave alone
    Delivery delivery = Delivery::automatic;
    std::string report;  ///< empty for none; "-" for standard output
    bool listChanges = false;
    TurnoverFiles::Wanted turnover;  ///< what else is written beside each result
    std::optional<Frames> handles;   ///< that clips should have at both ends
    std::vector<std::string> markerKinds = usualFCPXMarkerKinds();
    bool keepPicture = true;
    bool importSafe = true;
    bool strict = false;  ///< a result that shows another picture is not written
    bool launch = false;
    bool dryRun = false;
    bool force = false;
    bool quiet = false;

    /// True when the data goes to standard output, so that nothing else may.
    bool standardOutputTaken() const;
};

/// Fails with usage when the options do not fit together or name what does not exist.
Result<TidyPlan> planTidy(const TidyOptions& options);

/// Fails with outputFailed when it is plain beforehand that the file cannot be written: its folder
/// does not exist, it is a folder, or it exists and must not be replaced.
Outcome checkWritable(const std::string& path, bool mayReplace);

/// The selected passes that a run over a file of that kind takes. Fails with usage when a pass was
/// asked for by name that does not apply to FCPXML.
Result<OptionList> optionsFor(const PassSelection& selection, bool isFCPX);

}  // namespace reelsweep
