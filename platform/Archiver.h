// Archiver: zip archives of files and folders.
//
// Names in an archive are UTF-8; symbolic links, permissions and modification times are kept.
// Owner: Platform. Thread rule: any thread.
#pragma once

#include <string>

namespace reelsweep {

class Archiver {
public:
    virtual ~Archiver() = default;

    /// Makes an archive of a file or folder. With includeParent a folder itself is the one item at
    /// the top of the archive, else its contents are. The archive appears when it is whole; one
    /// that is there is replaced. Answers what went wrong, or an empty text.
    virtual std::string compress(const std::string& source, const std::string& archive,
                                 bool includeParent) = 0;

    /// Unpacks an archive into a new folder, which appears when it is whole. An archive with an
    /// item that would land outside the folder is refused as a whole. Answers what went wrong, or
    /// an empty text.
    virtual std::string decompress(const std::string& archive, const std::string& folder) = 0;
};

}  // namespace reelsweep
