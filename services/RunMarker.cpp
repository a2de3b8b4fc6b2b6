#include "services/RunMarker.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

constexpr const char* ending = ".running";

// Names sort by this time, so it is one that is never put back.
std::string now(const char* format) {
    const std::time_t seconds = std::time(nullptr);
    std::tm universal{};
    ::gmtime_r(&seconds, &universal);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &universal)};
}

void reportIfDead(const fs::path& marker, const fs::path& reports) {
    const UniqueDescriptor file(::open(marker.c_str(), O_RDWR | O_CLOEXEC));
    if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return;
    std::ofstream report(reports / (marker.stem().string() + ".crash"));
    report << marker.stem().string() << " did not end by itself; noticed "
           << now("%Y-%m-%d %H:%M:%S UTC") << ".\nThe system keeps no other report of it.\n";
    if (!report.flush()) return;  // the next start tries again
    std::error_code gone;
    fs::remove(marker, gone);
}

}  // namespace

RunMarker::RunMarker(const std::string& markers, const std::string& reports,
                     const std::string& program) {
    std::error_code error;
    fs::create_directories(markers, error);
    fs::create_directories(reports, error);
    fs::directory_iterator entry(markers, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        if (path.extension() == ending && path.filename().string().starts_with(program + "_"))
            reportIfDead(path, reports);
    }

    const std::string name = markers + "/" + program + now("_%Y-%m-%d-%H%M%S_") +
                             std::to_string(static_cast<long>(::getpid()));
    const std::string unlocked = name + ".new";
    lock_.reset(::open(unlocked.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock_) return;
    // It has its name only once it is locked: another start must not take it for a dead run's.
    if (::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0 &&
        std::rename(unlocked.c_str(), (name + ending).c_str()) == 0)
        path_ = name + ending;
    else
        ::unlink(unlocked.c_str());
}

RunMarker::~RunMarker() {
    if (!path_.empty()) ::unlink(path_.c_str());
}

}  // namespace reelsweep
