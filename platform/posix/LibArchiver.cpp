#include "platform/posix/LibArchiver.h"

#include "base/UniqueDescriptor.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <vector>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

struct Free {
    void operator()(archive* a) const { ::archive_free(a); }
    void operator()(archive_entry* entry) const { ::archive_entry_free(entry); }
};
using ArchivePointer = std::unique_ptr<archive, Free>;
using EntryPointer = std::unique_ptr<archive_entry, Free>;

/// Lets this thread read names as UTF-8, whatever the user's locale: the library converts names by
/// the locale, and would lose those that it cannot express.
class Utf8Names {
public:
    Utf8Names() : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (!locale_) throw std::runtime_error("the locale C.UTF-8 is missing");
        previous_ = ::uselocale(locale_);
    }
    ~Utf8Names() {
        ::uselocale(previous_);
        ::freelocale(locale_);
    }
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

private:
    locale_t locale_;
    locale_t previous_ = nullptr;
};

void check(archive* a, la_ssize_t result) {
    // A warning is something that was not kept, which is a failure here.
    if (result >= ARCHIVE_OK) return;
    const char* const reason = ::archive_error_string(a);
    throw std::runtime_error(reason ? reason : "the archive cannot be processed");
}

[[noreturn]] void failOn(const fs::path& path, int error) {
    throw std::system_error(error, std::generic_category(), path.string());
}

/// A file that an archive is written to. It takes all bytes, also after an error, which it keeps:
/// the library leaves its compressor behind when a write fails within an item.
class Output {
public:
    explicit Output(const std::string& path)
        : file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {
        if (!file_) failOn(path, errno);
    }
    static la_ssize_t write(archive*, void* self, const void* bytes, std::size_t size) {
        static_cast<Output*>(self)->take(static_cast<const char*>(bytes), size);
        return static_cast<la_ssize_t>(size);
    }
    /// True for the file itself, which may lie within the folder that is archived.
    bool is(const struct stat& status) const {
        struct stat own {};
        return ::fstat(file_.get(), &own) == 0 && own.st_dev == status.st_dev &&
               own.st_ino == status.st_ino;
    }
    void check() const {
        if (error_) throw std::system_error(error_, std::generic_category());
    }

private:
    void take(const char* bytes, std::size_t size) {
        while (size > 0 && !error_) {
            const ssize_t count = ::write(file_.get(), bytes, size);
            if (count < 0) {
                if (errno != EINTR) error_ = errno;
                continue;
            }
            bytes += count;
            size -= static_cast<std::size_t>(count);
        }
    }

    UniqueDescriptor file_;
    int error_ = 0;
};

void addContents(archive* out, const fs::path& path) {
    const UniqueDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file) failOn(path, errno);
    std::vector<char> buffer(65536);
    while (const ssize_t size = ::read(file.get(), buffer.data(), buffer.size())) {
        if (size < 0) failOn(path, errno);
        check(out, ::archive_write_data(out, buffer.data(), static_cast<std::size_t>(size)));
    }
}

std::vector<fs::path> sortedItems(const fs::path& folder) {
    std::vector<fs::path> items;
    for (const auto& item : fs::directory_iterator(folder)) items.push_back(item.path());
    std::sort(items.begin(), items.end());
    return items;
}

/// Adds an item under a name, and what is in it; with an empty name only what is in it.
void add(archive* out, const Output& output, const fs::path& path, const std::string& name) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) failOn(path, errno);
    if (output.is(status)) return;
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode) && !S_ISLNK(status.st_mode))
        throw std::runtime_error(path.string() + ": neither a file nor a folder nor a link");
    if (!name.empty()) {
        const EntryPointer entry(::archive_entry_new());
        ::archive_entry_copy_stat(entry.get(), &status);
        ::archive_entry_copy_pathname(entry.get(), name.c_str());
        if (S_ISLNK(status.st_mode))
            ::archive_entry_copy_symlink(entry.get(), fs::read_symlink(path).c_str());
        check(out, ::archive_write_header(out, entry.get()));
        if (S_ISREG(status.st_mode)) addContents(out, path);
        check(out, ::archive_write_finish_entry(out));
    }
    if (!S_ISDIR(status.st_mode)) return;
    for (const fs::path& item : sortedItems(path))
        add(out, output, item, (name.empty() ? "" : name + "/") + item.filename().string());
}

/// A name beside the path for something that is not whole yet, at which nothing is.
std::string sibling(const std::string& path) {
    static std::atomic<unsigned> counter = 0;
    std::string name;
    do {
        name =
            path + "." + std::to_string(::getpid()) + "-" + std::to_string(counter++) + ".partial";
    } while (fs::exists(fs::symlink_status(name)));
    return name;
}

/// Removes what is not whole, unless it was kept.
class Partial {
public:
    explicit Partial(std::string path) : path_(std::move(path)) {}
    ~Partial() {
        std::error_code error;
        if (!path_.empty()) fs::remove_all(path_, error);
    }
    Partial(const Partial&) = delete;
    Partial& operator=(const Partial&) = delete;

    const std::string& path() const { return path_; }
    void moveTo(const std::string& destination) {
        fs::rename(path_, destination);
        path_.clear();
    }

private:
    std::string path_;
};

std::string withoutTrailingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

/// The name when it stays below the folder that it is unpacked into.
std::string checkedName(archive_entry* entry) {
    const char* const name = ::archive_entry_pathname(entry);
    if (!name || !*name) throw std::runtime_error("an item without a readable name");
    const fs::path path(name);
    const bool climbs = std::find(path.begin(), path.end(), "..") != path.end();
    if (path.is_absolute() || climbs)
        throw std::runtime_error("the item \"" + std::string(name) +
                                 "\" would land outside the folder");
    return name;
}

void unpackEntry(archive* in, archive* out, archive_entry* entry, const std::string& folder) {
    const std::string target = folder + "/" + checkedName(entry);
    ::archive_entry_copy_pathname(entry, target.c_str());
    if (::archive_entry_hardlink(entry)) throw std::runtime_error("an item that is a hard link");
    check(out, ::archive_write_header(out, entry));
    const void* block = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    la_ssize_t result = ARCHIVE_OK;
    while ((result = ::archive_read_data_block(in, &block, &size, &offset)) == ARCHIVE_OK)
        check(out, ::archive_write_data_block(out, block, size, offset));
    if (result != ARCHIVE_EOF) check(in, result);
    check(out, ::archive_write_finish_entry(out));
}

template <class Work>
std::string explained(const std::string& subject, Work work) {
    try {
        work();
        return {};
    } catch (const std::exception& exception) {
        return subject + ": " + exception.what();
    }
}

}  // namespace

std::string LibArchiver::compress(const std::string& source, const std::string& archive,
                                  bool includeParent) {
    return explained(archive, [&] {
        const Utf8Names names;
        const fs::path top = withoutTrailingSlash(source);
        Partial partial(sibling(archive));
        Output output(partial.path());  // before the archive, which writes to it to its end
        const ArchivePointer out(::archive_write_new());
        if (!out) throw std::bad_alloc();
        check(out.get(), ::archive_write_set_format_zip(out.get()));
        check(out.get(), ::archive_write_set_options(out.get(), "hdrcharset=UTF-8"));
        check(out.get(),
              ::archive_write_open(out.get(), &output, nullptr, &Output::write, nullptr));
        const bool namesTop = includeParent || !fs::is_directory(top);
        add(out.get(), output, top, namesTop ? top.filename().string() : "");
        check(out.get(), ::archive_write_close(out.get()));
        output.check();
        partial.moveTo(archive);
    });
}

std::string LibArchiver::decompress(const std::string& archive, const std::string& folder) {
    return explained(archive, [&] {
        const Utf8Names names;
        const std::string destination = withoutTrailingSlash(folder);
        Partial partial(sibling(destination));
        fs::create_directories(partial.path());
        // The check for links on the way must not trip over one above the folder.
        const std::string base = fs::canonical(partial.path()).string();
        const ArchivePointer in(::archive_read_new());
        const ArchivePointer out(::archive_write_disk_new());
        if (!in || !out) throw std::bad_alloc();
        check(in.get(), ::archive_read_support_format_zip(in.get()));
        check(out.get(), ::archive_write_disk_set_options(
                             out.get(), ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME |
                                            ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                                            ARCHIVE_EXTRACT_SECURE_NODOTDOT));
        check(in.get(), ::archive_read_open_filename(in.get(), archive.c_str(), 65536));
        archive_entry* entry = nullptr;
        int result = ARCHIVE_OK;
        while ((result = ::archive_read_next_header(in.get(), &entry)) == ARCHIVE_OK)
            unpackEntry(in.get(), out.get(), entry, base);
        if (result != ARCHIVE_EOF) check(in.get(), result);
        check(out.get(), ::archive_write_close(out.get()));
        partial.moveTo(destination);
    });
}

}  // namespace reelsweep
