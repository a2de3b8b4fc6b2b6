// Failures as values: what went wrong, where, and in which class of errors it belongs.
//
// An operation that can fail answers a Result: either its value or a Failure. Nothing is thrown and
// nothing is printed; the program that called decides what a person gets to see.
// Thread rule: plain values, no shared state.
#pragma once

#include <cassert>
#include <string>
#include <utility>
#include <variant>

namespace reelsweep {

enum class FailureCode {
    usage,            ///< asked for something that does not exist or does not fit together
    inputUnreadable,  ///< a file could not be opened or read
    inputInvalid,     ///< a file was read and is not valid
    outputFailed,     ///< a result could not be written
    processing,       ///< a sequence or the delivery failed
    notTheSame,       ///< what was asked to be the same is not, or would not import
    cancelled,        ///< the user cancelled
    internal,         ///< a mistake of the program
};

struct Failure {
    FailureCode code = FailureCode::internal;
    std::string message = {};  ///< what is wrong, without the place
    std::string file = {};     ///< empty when no file is concerned
    long line = 0;             ///< from 1; 0 when unknown
    long column = 0;           ///< in bytes of the line, from 1; 0 when unknown
    std::string element = {};  ///< the name of the element concerned, or empty
    std::string detail = {};   ///< a sentence more: the cause, or what to do; or empty

    /// "file:line:column: message: detail", leaving out what is not known.
    std::string description() const;
};

/// A value or the reason why there is none.
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(Failure failure) : state_(std::in_place_index<1>, std::move(failure)) {}

    explicit operator bool() const { return state_.index() == 0; }
    bool ok() const { return state_.index() == 0; }

    /// The value; only when ok().
    T& operator*() {
        assert(ok());
        return std::get<0>(state_);
    }
    const T& operator*() const {
        assert(ok());
        return std::get<0>(state_);
    }
    T* operator->() { return &**this; }
    const T* operator->() const { return &**this; }

    /// The failure; only when not ok().
    const Failure& failure() const {
        assert(!ok());
        return std::get<1>(state_);
    }

private:
    std::variant<T, Failure> state_;
};

/// For operations that only succeed or fail.
struct Done {};
using Outcome = Result<Done>;

}  // namespace reelsweep
