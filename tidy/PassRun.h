// PassRun: what a pass gets from the run that calls it.
//
// Owner: the run, for the length of one sequence. Thread rule: the run's thread.
#pragma once

#include "base/Failure.h"
#include "tidy/ClipVeto.h"
#include "tidy/PassTable.h"
#include "tidy/PictureGuard.h"
#include "timeline/TimelineEdit.h"

#include <cstddef>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

namespace reelsweep {

// Which clips let the track below show through, as far as somebody asked. Two steps ask for every
// clip, and what each answer is read from are the clip's filters: a small tree.
class TransparentClips {
public:
    /// What `look` answers for a clip of a track, or answered since clips were changed inside.
    template <class Look>
    bool hold(XMLNode clip, const TimelineEdit& edit, Look look) {
        if (asOf_ != edit.changesInsideItems()) known_.clear();
        asOf_ = edit.changesInsideItems();
        const std::size_t number = edit.numberOf(clip);
        if (number >= known_.size()) known_.resize(number + 1, Answer::unknown);
        if (known_[number] == Answer::unknown) known_[number] = look() ? Answer::yes : Answer::no;
        return known_[number] == Answer::yes;
    }

private:
    enum class Answer : char { unknown, yes, no };

    std::vector<Answer> known_;
    std::size_t asOf_ = 0;
};

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
    /// The clips and tracks that were asked to be left alone; null without any.
    const ClipVeto* veto = nullptr;
    /// Which filters, markers and transitions stay; null when none does.
    const TidyRules* rules = nullptr;
    TransparentClips transparentClips = {};

    bool isCareful() const { return guard != nullptr; }
    /// Whether anything may have to be left alone.
    bool mayKeep() const { return guard || veto; }
    /// Whether the step is to leave one of these alone, and so the whole group. Notes it when
    /// somebody asked for that.
    bool keepsAny(std::span<const XMLNode> nodes) const {
        if (const XMLNode asked = veto ? veto->firstOf(nodes) : XMLNode()) {
            edit.noteKeptAsAsked(asked, veto->reason(asked));
            return true;
        }
        return guard && guard->keepsAny(edit.step(), nodes);
    }
    /// Whether what an element is part of is to be left alone.
    bool keepsWhatHolds(XMLNode element) const;
    /// Whether nothing goes from a track and nothing comes to it.
    bool excludesTrack(XMLNode track) const { return veto && veto->excludesTrack(track); }
    bool excludesEverything() const { return veto && veto->excludesEverything(); }
    XMLNode sequence() const { return edit.sequence(); }
    bool cancelled() const { return stop.stop_requested(); }
    void showProgress(const std::string& text) const {
        if (progress) progress(text);
    }
    /// What a pass answers that has found the run stopped.
    static Failure stopped() { return {FailureCode::cancelled, "cancelled"}; }
};

inline bool PassRun::keepsWhatHolds(XMLNode element) const {
    if (!veto) return false;
    for (XMLNode at = element.parent(); at && at != sequence(); at = at.parent())
        if (keepsAny(std::span(&at, 1)) || veto->excludesTrack(at)) return true;
    return veto->excludesEverything();
}

}  // namespace reelsweep
