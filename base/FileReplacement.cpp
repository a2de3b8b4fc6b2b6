#include "base/FileReplacement.h"

#include "base/ExtendedAttributes.h"
#include "base/StaleSiblings.h"
#include "base/UniqueDescriptor.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {

FileReplacement::FileReplacement(std::string path) : path_(std::move(path)) {
    const std::size_t slash = path_.rfind('/');
    removeStaleSiblings(slash == std::string::npos ? "." : path_.substr(0, slash + 1),
                        path_.substr(slash == std::string::npos ? 0 : slash + 1) + ".", "");
    // Not mkstemp: its files are private for good, while here the user's umask decides.
    static std::atomic<unsigned> counter = 0;
    do {
        temporary_ = path_ + "." + std::to_string(::getpid()) + "-" + std::to_string(counter++);
        descriptor_ =
            ::open(temporary_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) {
        fail();
        temporary_.clear();
        return;
    }
    markInUse(descriptor_);
    const UniqueDescriptor old(::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (::stat(path_.c_str(), &status) == 0 && ::fchmod(descriptor_, status.st_mode & 0777) != 0)
        fail();
    if (old && !error_) error_ = copyExtendedAttributes(old.get(), descriptor_);
}

FileReplacement::~FileReplacement() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void FileReplacement::fail() {
    if (!error_) error_.assign(errno, std::generic_category());
}

void FileReplacement::write(std::string_view bytes) {
    while (!bytes.empty() && !error_) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            fail();
    }
}

std::error_code FileReplacement::commit(Durable durable) {
    if (!error_ && durable == Durable::yes && ::fsync(descriptor_) != 0) fail();
    if (!error_) {
        if (std::rename(temporary_.c_str(), path_.c_str()) == 0)
            temporary_.clear();
        else
            fail();
    }
    return error_;
}

int FileReplacement::releaseDescriptor() { return std::exchange(descriptor_, -1); }

}  // namespace reelsweep
