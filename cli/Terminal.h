// Terminal: what the user sees on standard error: messages, and a progress line while work goes on.
//
// The progress line shows only on a terminal. A message erases it first, so the two never mix.
// Owner: Application. Thread rule: main thread only.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace reelsweep {

/// Whether messages are in colour: as the terminal and NO_COLOR say, or whatever they say.
enum class ColourUse { automatic, always, never };

class Terminal {
public:
    /// A terminal that understands cursor control, or a plain file or pipe?
    Terminal();

    /// One line as it is.
    void print(std::string_view line);
    /// Any number of whole lines.
    void printLines(std::string_view lines);
    /// "reelsweep-cli: TEXT".
    void error(std::string_view text);
    /// "reelsweep-cli: note: TEXT", unless quiet.
    void note(std::string_view text);

    void setColour(ColourUse use);

    /// A quiet terminal shows errors only.
    void setQuiet(bool quiet) { quiet_ = quiet; }
    bool isQuiet() const { return quiet_; }

    /// What stands before every label: which file of how many, say.
    void setProgressPrefix(std::string prefix) { prefix_ = std::move(prefix); }
    /// Lets the bar run on by a step; call it a few times a second.
    void tick();

    /// No progress line from now on, as on no terminal.
    void hideProgress() { isTerminal_ = false; }

    // The progress line, in place of a window's sheet

    void startProgress();
    void endProgress();
    void setProgressLabelText(const std::string& text);

private:
    void draw();
    void erase();

    /// A line that begins with the prefix, which has the colour of that kind of message.
    void say(std::string_view prefix, std::string_view text, std::string_view colour);

    bool isTerminal_;
    bool isColoured_;
    bool quiet_ = false;
    bool inProgress_ = false;
    std::string prefix_;
    std::string label_;
    std::size_t step_ = 0;
};

}  // namespace reelsweep
