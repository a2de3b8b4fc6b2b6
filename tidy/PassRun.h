// PassRun: what a pass gets from the run that calls it, beside the sequence.
//
// Owner: the document, for the length of one sequence. Thread rule: the run's thread.
#pragma once

#include "tidy/PassTable.h"
#include "timeline/TimelineEdit.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class PassRun {
public:
    TimelineEdit& edit;
    const std::atomic<bool>& processingCancelled;
    const OptionList& options;
    /// Effects that count as transparent beside the built-in ones.
    const std::vector<std::string>& ignoredEffects;
    /// Shows a progress label and returns when it is shown.
    std::function<void(const std::string&)> setProgressLabelText;
    /// Why a pass could not go on, which is no cancel; empty otherwise.
    std::string failure = {};

    bool cancelled() const { return processingCancelled.load(std::memory_order_relaxed); }
    bool has(std::string_view option) const {
        return std::find(options.begin(), options.end(), option) != options.end();
    }
};

}  // namespace reelsweep
