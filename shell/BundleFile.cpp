#include "shell/BundleFile.h"

#include "base/UUID.h"
#include "documents/DocumentFormat.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

Failure failure(const std::string& path, const std::string& what) {
    return {FailureCode::outputFailed, "could not be written: " + what, path, 0, 0, ""};
}

// A folder beside the path, gone at the end unless it was put in place.
class SiblingFolder {
public:
    explicit SiblingFolder(const std::string& path) : path_(path + "." + newUUID()) {
        constexpr mode_t asTheUserWantsFolders = 0777;
        if (::mkdir(path_.c_str(), asTheUserWantsFolders) != 0) error_ = errno;
    }
    SiblingFolder(const SiblingFolder&) = delete;
    SiblingFolder& operator=(const SiblingFolder&) = delete;
    ~SiblingFolder() {
        std::error_code none;
        if (error_ == 0) fs::remove_all(path_, none);
    }

    const std::string& path() const { return path_; }
    int error() const { return error_; }

    /// What is at the path, and may be replaced, goes with the folder.
    int moveTo(const std::string& path, bool mayReplace) const {
        if (::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0)
            return 0;
        if (errno != EEXIST || !mayReplace) return errno;
        const bool done =
            ::renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) == 0;
        return done ? 0 : errno;
    }

private:
    std::string path_;
    int error_ = 0;
};

Outcome copyTheRest(const std::string& source, const std::string& folder) {
    std::error_code error;
    for (fs::directory_iterator entry(source, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().filename() == fcpxmlInBundle) continue;
        fs::copy(entry->path(), fs::path(folder) / entry->path().filename(),
                 fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
        if (error) return failure(entry->path().string(), error.message());
    }
    return error ? failure(source, error.message()) : Outcome(Done{});
}

}  // namespace

Outcome saveBundle(const std::string& path, Overwrite overwrite, const std::string& source,
                   const std::function<Outcome(const std::string& file)>& write) {
    const SiblingFolder folder(path);
    if (folder.error() != 0) return failure(path, std::generic_category().message(folder.error()));
    std::error_code error;
    if (isFCPXMLBundle(source) && fs::is_directory(source, error))
        if (Outcome copied = copyTheRest(source, folder.path()); !copied) return copied;
    if (Outcome saved = write((fs::path(folder.path()) / fcpxmlInBundle).string()); !saved)
        return saved;
    const bool mayReplace = overwrite == Overwrite::always;
    if (const int number = folder.moveTo(path, mayReplace); number != 0)
        return failure(path, std::generic_category().message(number));
    return Done{};
}

}  // namespace reelsweep
