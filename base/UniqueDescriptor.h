// UniqueDescriptor: a file descriptor that is closed with its owner.
#pragma once

#include <utility>

#include <unistd.h>

namespace reelsweep {

class UniqueDescriptor {
public:
    explicit UniqueDescriptor(int descriptor = -1) : descriptor_(descriptor) {}
    ~UniqueDescriptor() { reset(); }
    UniqueDescriptor(UniqueDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept {
        reset(std::exchange(other.descriptor_, -1));
        return *this;
    }

    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }
    void reset(int descriptor = -1) {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = descriptor;
    }

private:
    int descriptor_;
};

}  // namespace reelsweep
