// KeptClips: the clips of a document that the user wants left alone, remembered in the preferences.
//
// Owner: the window. Thread rule: main thread.
#pragma once

#include "report/TimelinePicture.h"

#include <string>
#include <vector>

namespace reelsweep {

class KeptClips {
public:
    /// Those that are remembered for a file.
    static KeptClips of(const std::string& path);

    /// What a run is to leave alone: ids, and patterns for names.
    const std::vector<std::string>& wanted() const { return wanted_; }
    /// What a clip is known by; empty when it has neither an id nor a name.
    static std::string nameOf(const DrawnClip& clip);
    bool has(const std::string& name) const;
    void toggle(const std::string& name);
    void clear();

private:
    void store() const;

    std::string path_;
    std::vector<std::string> wanted_;
};

}  // namespace reelsweep
