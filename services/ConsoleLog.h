// What the services that change files say on the system console.
//
// Thread rule: plain functions, any thread.
#pragma once

#include "base/Format.h"
#include "platform/Platform.h"
#include "services/QVLocalPaths.h"

#include <string>
#include <string_view>

namespace reelsweep {

/// Writes one formatted line to the system console (formats: see Format.h).
template <class... Args>
void consoleLog(std::string_view format, const Args&... args) {
    Platform::current().console->log(formatText(format, args...));
}

/// False, said on the console with the refusal, for an item that must stay where and as it is. A
/// link counts as itself: what it leads to stays.
inline bool mayTouch(const std::string& path, std::string_view refusal) {
    if (!QVLocalPaths::isProtectedItem(path)) return true;
    consoleLog(refusal, path);
    return false;
}

/// The same for a folder whose contents are meant: a link to it is followed.
inline bool mayTouchContents(const std::string& path, std::string_view refusal) {
    if (!QVLocalPaths::leadsToSystemDirectory(path, true)) return true;
    consoleLog(refusal, path);
    return false;
}

}  // namespace reelsweep
