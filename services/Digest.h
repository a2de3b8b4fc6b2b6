// Digest: a checksum that grows with the bytes it is fed.
//
// Owner: the caller. Thread rule: each belongs to one thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace reelsweep {

class Digest {
public:
    enum class Kind { md5 = 1, sha1 = 2, sha256 = 3, sha512 = 4 };

    explicit Digest(Kind kind);
    ~Digest();
    Digest(Digest&&) noexcept;

    void update(std::string_view bytes);
    /// Ends the digest: two lowercase hexadecimal digits a byte. Empty when the library does not
    /// offer the kind, as some hardened systems do not offer MD5.
    std::string finish();

private:
    struct Context;
    std::unique_ptr<Context> context_;
};

}  // namespace reelsweep
