// SinglePass: one pass over a sequence, by itself, as a run applies its steps.
#pragma once

#include "tidy/PassRun.h"

#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace reelsweep::test {

/// Thread rule: one tree belongs to one thread at a time; the stop may be requested from any.
struct SinglePass {
    std::vector<std::string> ignoredEffects = {};
    std::function<void(const std::string&)> progress = {};
    std::stop_source stop = {};
    SequenceLedger ledger = {};  ///< of the last run

    Outcome run(PassFunction pass, XMLNode sequence) {
        ledger = {};
        TimelineEdit edit(sequence, ledger);
        PassRun passRun{edit, ignoredEffects, stop.get_token(), progress};
        const Outcome done = pass(passRun);
        edit.finish();
        return done;
    }
};

}  // namespace reelsweep::test
