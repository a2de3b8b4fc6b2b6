#include "cli/Terminal.h"

#include "cli/Interruption.h"
#include "cli/TextTable.h"

#include <sys/ioctl.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>

namespace reelsweep {

namespace {

void writeToStandardError(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        // There is nobody left to tell.
        if (written < 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

bool standardErrorIsTerminal() {
    const char* const kind = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) == 1 && kind && std::string_view(kind) != "dumb";
}

std::size_t terminalColumns() {
    constexpr std::size_t usual = 80;
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return usual;
    return size.ws_col;
}

// How long a run takes nobody knows beforehand, so the bar wanders:   [--====----------------]
std::string bar(std::size_t step) {
    constexpr std::size_t length = 22;
    constexpr std::size_t block = 4;
    constexpr std::size_t way = length - block;
    const std::size_t there = step % (2 * way);
    const std::size_t place = there <= way ? there : 2 * way - there;
    std::string text(length, '-');
    text.replace(place, block, block, '=');
    return "[" + text + "]";
}

}  // namespace

Terminal::Terminal() : isTerminal_(standardErrorIsTerminal()) { setColour(ColourUse::automatic); }

// https://no-color.org: any value but an empty one counts.
void Terminal::setColour(ColourUse use) {
    const char* const refusal = std::getenv("NO_COLOR");
    const bool isWelcome = isTerminal_ && (!refusal || *refusal == '\0');
    isColoured_ = use == ColourUse::always || (use == ColourUse::automatic && isWelcome);
}

void Terminal::print(std::string_view line) { printLines(singleLine(line) + "\n"); }

void Terminal::printLines(std::string_view lines) {
    erase();
    writeToStandardError(lines);
    draw();
}

void Terminal::say(std::string_view prefix, std::string_view text, std::string_view colour) {
    std::string line;
    if (isColoured_) line += colour;
    line += prefix;
    if (isColoured_) line += "\x1b[0m";
    printLines(line + " " + singleLine(text) + "\n");
}

void Terminal::error(std::string_view text) { say("reelsweep-cli:", text, "\x1b[1;31m"); }

void Terminal::note(std::string_view text) {
    if (!quiet_) say("reelsweep-cli: note:", text, "\x1b[33m");
}

void Terminal::tick() {
    ++step_;
    draw();
}

// The line appears with its first label.
void Terminal::startProgress() { inProgress_ = true; }

void Terminal::endProgress() {
    erase();
    inProgress_ = false;
    label_.clear();
}

void Terminal::setProgressLabelText(const std::string& text) {
    label_ = text;
    draw();
}

void Terminal::draw() {
    if (!inProgress_ || !isTerminal_ || quiet_ || label_.empty()) return;
    const std::string line = bar(step_) + " " + prefix_ + singleLine(label_);
    Interruption::setProgressLineShown(true);
    // The last column stays free: some terminals begin a new line when it is filled.
    writeToStandardError("\r\x1b[K" + shortened(line, terminalColumns() - 1));
}

void Terminal::erase() {
    if (!inProgress_ || !isTerminal_ || quiet_) return;
    writeToStandardError("\r\x1b[K");
    Interruption::setProgressLineShown(false);
}

}  // namespace reelsweep
