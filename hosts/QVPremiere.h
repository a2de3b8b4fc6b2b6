// QVPremiere: which versions of Premiere Pro are installed.
//
// Class operations without state. Versions are texts such as "5.5.2"; folders are read in the order
// of their names. Thread rule: any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class QVPremiere {
public:
    using Versions = std::vector<std::string>;

    static constexpr const char* identifier = "com.adobe.AdobePremierePro";

    /// Of everything whose name starts with "Adobe Premiere ".
    static Versions premiereVersions();
    /// Of applications that stand in folders of their own names, which start with the prefix in any
    /// case: beside the registered Premiere Pro, and in the applications folder. Each version of
    /// the second place only when the first has it not.
    static Versions versionsForAppName(const std::string& prefix);
    static Versions versionsForAppName(const std::string& prefix, const std::string& folder);
    /// The same of suites, whose applications may be called otherwise than their folders.
    static Versions suiteVersions();
    static Versions suiteVersionsInFolder(const std::string& folder);

    /// The first two parts of a version: "5.5" of "5.5.2"; one with fewer parts as it is.
    static std::string twoParts(const std::string& version);
    /// The number by which paths call a suite: "5" of "5.0", "5.5" of "5.5".
    static std::string suiteNumber(const std::string& version);
};

}  // namespace reelsweep
