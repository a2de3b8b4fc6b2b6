// Exit codes of the program; a script may rely on them.
#pragma once

#include "base/Failure.h"

namespace reelsweep {

enum class ExitCode : int {
    done = 0,
    usage = 2,
    inputFailed = 3,
    outputFailed = 4,
    processingFailed = 5,
    notTheSame = 6,
    internalError = 70,
    interrupted = 130,
};

/// The exit code that tells a failure of this kind.
constexpr ExitCode exitCodeFor(FailureCode code) {
    switch (code) {
        case FailureCode::usage: return ExitCode::usage;
        case FailureCode::inputUnreadable:
        case FailureCode::inputInvalid: return ExitCode::inputFailed;
        case FailureCode::outputFailed: return ExitCode::outputFailed;
        case FailureCode::processing: return ExitCode::processingFailed;
        case FailureCode::notTheSame: return ExitCode::notTheSame;
        case FailureCode::cancelled: return ExitCode::interrupted;
        case FailureCode::internal: break;
    }
    return ExitCode::internalError;
}

/// For the help.
inline constexpr const char* exitCodeHelp = R"(Exit codes:
  0    done
  2    wrong usage
  3    an input could not be read or is not valid
  4    an output could not be written
  5    a sequence or the delivery failed
  6    the picture or the sound is not the same, or a file would not import
  70   internal error
  130  interrupted; the file in work was not written
With several files the first failure decides; the other files are still done.)";

}  // namespace reelsweep
