#include "base/FolderLock.h"

#include <cerrno>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace reelsweep {

FolderLock::FolderLock(const std::string& folder, std::chrono::milliseconds patience)
    : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (descriptor_ < 0) return;
    const auto limit = std::chrono::steady_clock::now() + patience;
    while (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
        const bool heldByAnother = errno == EWOULDBLOCK || errno == EINTR;
        if (!heldByAnother || std::chrono::steady_clock::now() >= limit) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

// Closing gives the lock back.
FolderLock::~FolderLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

}  // namespace reelsweep
