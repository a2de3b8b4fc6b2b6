// QVAppleEvents: what this program knows of Final Cut Pro and says to it.
//
// Class operations without state. Thread rule: any thread.
#pragma once

#include <string>
#include <string_view>

namespace reelsweep {

class QVAppleEvents {
public:
    /// A new UUID in canonical upper-case form.
    static std::string generateUUID();

    /// The version of the installed Final Cut Pro; "7.0" when none is found.
    static std::string finalCutProVersionString();
    /// Its first digit as a number; 7 for an empty version.
    static int finalCutProMajorVersion();
    /// The highest XMEML version that it reads, 1 to 5.
    /// Throws std::out_of_range for a version of one part, such as "7".
    static int maximumXMEMLVersion();

    /// Replaces carriage returns, and every 16-bit unit from 160 on, by character references.
    static std::string escapeCharactersInXMLString(std::string_view text);
};

}  // namespace reelsweep
