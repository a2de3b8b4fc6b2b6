// matches: whether a whole text has the form of a POSIX extended regular expression.
#pragma once

#include <regex.h>

#include <stdexcept>
#include <string>

namespace reelsweep::test {

inline bool matches(const std::string& text, const std::string& pattern) {
    regex_t form;
    if (::regcomp(&form, ("^(" + pattern + ")$").c_str(), REG_EXTENDED | REG_NOSUB) != 0)
        throw std::invalid_argument("not a pattern: " + pattern);
    const bool found = ::regexec(&form, text.c_str(), 0, nullptr, 0) == 0;
    ::regfree(&form);
    return found;
}

}  // namespace reelsweep::test
