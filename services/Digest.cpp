#include "services/Digest.h"

#include <array>

#include <openssl/evp.h>

namespace reelsweep {

struct Digest::Context {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> library{EVP_MD_CTX_new(),
                                                                    &EVP_MD_CTX_free};
    bool good = false;
};

namespace {

const EVP_MD* algorithm(Digest::Kind kind) {
    switch (kind) {
        case Digest::Kind::md5: return EVP_md5();
        case Digest::Kind::sha1: return EVP_sha1();
        case Digest::Kind::sha256: return EVP_sha256();
        case Digest::Kind::sha512: return EVP_sha512();
    }
    return nullptr;
}

}  // namespace

Digest::Digest(Kind kind) : context_(std::make_unique<Context>()) {
    context_->good = context_->library &&
                     EVP_DigestInit_ex(context_->library.get(), algorithm(kind), nullptr) == 1;
}

Digest::~Digest() = default;
Digest::Digest(Digest&&) noexcept = default;

void Digest::update(std::string_view bytes) {
    if (context_->good)
        context_->good = EVP_DigestUpdate(context_->library.get(), bytes.data(), bytes.size()) == 1;
}

std::string Digest::finish() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    if (!context_->good || EVP_DigestFinal_ex(context_->library.get(), bytes.data(), &size) != 1)
        return {};
    context_->good = false;
    std::string text;
    for (unsigned i = 0; i < size; ++i) {
        text += "0123456789abcdef"[bytes[i] >> 4];
        text += "0123456789abcdef"[bytes[i] & 0x0F];
    }
    return text;
}

}  // namespace reelsweep
