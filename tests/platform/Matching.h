// Pattern: a POSIX extended regular expression that a whole text may match.
#pragma once

#include <regex.h>

#include <stdexcept>
#include <string>

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

}  // namespace reelsweep::test
