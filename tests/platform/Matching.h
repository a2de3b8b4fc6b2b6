// Pattern: a POSIX extended regular expression that a whole text may match. words: a table's texts
// in one.
#pragma once

#include <regex.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace reelsweep::test {

class Pattern {
public:
    explicit Pattern(const std::string& expression) {
        if (::regcomp(&form_, ("^(" + expression + ")$").c_str(), REG_EXTENDED | REG_NOSUB) != 0)
            throw std::invalid_argument("not a pattern: " + expression);
    }
    ~Pattern() { ::regfree(&form_); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;

    bool matches(const std::string& text) const {
        return ::regexec(&form_, text.c_str(), 0, nullptr, 0) == 0;
    }

private:
    regex_t form_{};
};

/// The parts of a text between its blanks.
inline std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> parts;
    for (std::string part; stream >> part;) parts.push_back(part);
    return parts;
}

}  // namespace reelsweep::test
