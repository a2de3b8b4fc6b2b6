// PrivateFolder: a new folder in the temporary folder that only this user enters.
//
// The temporary folder may be everybody's, where a fixed name would let anybody block or replace
// what is put there. Owner: the caller; the folder and what is in it go with the object, unless it
// is kept. Thread rule: each belongs to one thread.
#pragma once

#include <string>
#include <system_error>

namespace reelsweep {

class PrivateFolder {
public:
    /// The folder's name starts with the text.
    explicit PrivateFolder(const std::string& start);
    ~PrivateFolder();
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    /// Why there is no folder, or none.
    std::error_code error() const { return error_; }
    /// The absolute path, without a slash at its end.
    const std::string& path() const { return path_; }
    /// The folder stays.
    void keep() { kept_ = true; }

private:
    std::string path_;
    std::error_code error_;
    bool kept_ = false;
};

}  // namespace reelsweep
