// The temporary files of saves that were killed.
//
// Such a file stands beside the one that was to be replaced; its name holds the process and a
// number: START, PROCESS, "-", NUMBER, END.
#pragma once

#include <string>
#include <string_view>

namespace reelsweep {

/// Removes such files of this user in the folder when their process is gone and nobody holds a lock
/// on them, which whoever writes one does: on a volume that is shared, the process may be another
/// machine's. Any thread.
void removeStaleSiblings(const std::string& folder, std::string_view start, std::string_view end);

/// Takes that lock on an open file, until it is closed.
void markInUse(int descriptor);

}  // namespace reelsweep
