// PassRun: what a pass gets from the run that calls it.
//
// Owner: the run, for the length of one sequence. Thread rule: the run's thread.
#pragma once

#include "base/Failure.h"
#include "tidy/PassTable.h"
#include "tidy/PictureGuard.h"
#include "timeline/TimelineEdit.h"

#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace reelsweep {

class PassRun {
public:
    /// The sequence, and the door to change it.
    TimelineEdit& edit;
    /// Effects that count as transparent beside the built-in ones.
    const std::vector<std::string>& ignoredEffects;
    std::stop_token stop;
    /// Takes a text that says what is being done, and returns when it is shown. May be empty.
    const std::function<void(const std::string&)>& progress;
    /// What keeps the picture as it is; null for a literal run.
    PictureGuard* guard = nullptr;

    bool isCareful() const { return guard != nullptr; }
    /// Whether the step is to leave one of these alone, and so the whole group.
    bool keepsAny(std::span<const XMLNode> nodes) const {
        return guard && guard->keepsAny(edit.step(), nodes);
    }
    XMLNode sequence() const { return edit.sequence(); }
    bool cancelled() const { return stop.stop_requested(); }
    void showProgress(const std::string& text) const {
        if (progress) progress(text);
    }
    /// What a pass answers that has found the run stopped.
    static Failure stopped() { return {FailureCode::cancelled, "cancelled"}; }
};

}  // namespace reelsweep
