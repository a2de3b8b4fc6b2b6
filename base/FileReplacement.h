// FileReplacement: a new file that takes the place of an old one in one step.
//
// For the program's own small files (settings, logs). Thread rule: each belongs to one thread.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace reelsweep {

class FileReplacement {
public:
    enum class Durable {
        no,   ///< whole for every reader, but a power cut may take it away
        yes,  ///< on the disk before it takes its place
    };

    /// Creates an unnamed-so-far file beside the path; an error is answered by commit.
    explicit FileReplacement(std::string path);
    /// Without a successful commit nothing stays behind and the old file is untouched.
    ~FileReplacement();
    FileReplacement(const FileReplacement&) = delete;
    FileReplacement& operator=(const FileReplacement&) = delete;

    void write(std::string_view bytes);
    /// Puts the file in its place. Answers the first error of all steps, or none.
    std::error_code commit(Durable durable);
    /// After a successful commit: hands over the write descriptor of the file, which the caller
    /// closes. It is this very file, whatever happened to its name since.
    int releaseDescriptor();

private:
    void fail();

    const std::string path_;
    std::string temporary_;
    int descriptor_ = -1;
    std::error_code error_;
};

}  // namespace reelsweep
