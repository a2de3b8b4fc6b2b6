// TemporaryFolder: a new empty folder that goes away with the object, and reading and writing
// files.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

#include <stdlib.h>

namespace reelsweep::test {

class TemporaryFolder {
public:
    TemporaryFolder()
        : path_((std::filesystem::temp_directory_path() / "reelsweep.XXXXXX").string()) {
        if (!::mkdtemp(path_.data())) throw std::runtime_error("cannot make " + path_);
    }
    ~TemporaryFolder() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }
    std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

private:
    std::string path_;
};

/// The whole file; empty when there is none.
inline std::string contentsOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Writes a file, with the folders that it needs.
inline void writeFile(const std::string& path, std::string_view contents) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary);
    file << contents;
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

/// Sets or unsets an environment variable until the end of the object.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : name_(name) {
        const char* const old = ::getenv(name);
        wasSet_ = old != nullptr;
        if (old) old_ = old;
        set(value);
    }
    ~EnvironmentVariable() { set(wasSet_ ? old_.c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void set(const char* value) const {
        if (value)
            ::setenv(name_, value, 1);
        else
            ::unsetenv(name_);
    }

    const char* name_;
    bool wasSet_ = false;
    std::string old_;
};

}  // namespace reelsweep::test
