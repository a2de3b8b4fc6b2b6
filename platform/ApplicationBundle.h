// ApplicationBundle: what the folder of an application says about it. Thread rule: any thread.
#pragma once

#include <optional>
#include <string>

namespace reelsweep {

struct ApplicationBundle {
    /// A text of the bundle's Contents/Info.plist; nothing when it is not there.
    static std::optional<std::string> infoValue(const std::string& bundlePath,
                                                const std::string& key);
    /// The program in the bundle: Contents/MacOS and "CFBundleExecutable", or else the bundle's own
    /// name. Nothing when there is no such file. A path of a plain file is a program itself.
    static std::optional<std::string> executablePath(const std::string& bundlePath);
};

}  // namespace reelsweep
