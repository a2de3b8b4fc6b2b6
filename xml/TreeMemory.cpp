#include "xml/TreeMemory.h"

#include <sys/mman.h>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <pugixml.hpp>

namespace reelsweep {

namespace {

// A region starts at a multiple of its alignment, so a block's region is found from its address.
// Blocks are cut off a region one after the other, and the region is given back when its last block
// is freed. A large block has a region of its own, which it starts.
struct Region {
    std::size_t bytes;  // of the whole mapping
    std::size_t used;
    std::size_t blocks;
};

constexpr std::size_t alignment = std::size_t{1} << 25;  // 32 MiB
constexpr std::size_t headerBytes = 64;                  // keeps blocks on cache lines
constexpr std::size_t largestShared = alignment / 16;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool underAddressSanitizer = true;
#elif defined(__has_feature)
constexpr bool underAddressSanitizer = __has_feature(address_sanitizer);
#else
constexpr bool underAddressSanitizer = false;
#endif

std::mutex mutex;
Region* current = nullptr;

std::size_t roundedUp(std::size_t value, std::size_t step) {
    return (value + step - 1) / step * step;
}

Region* makeRegion(std::size_t bytes) {
    const std::size_t whole = bytes + alignment;
    void* const mapped =
        mmap(nullptr, whole, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(mapped);
    const std::size_t before = roundedUp(address, alignment) - address;
    if (before > 0) munmap(mapped, before);
    char* const start = static_cast<char*>(mapped) + before;
    if (whole > before + bytes) munmap(start + bytes, whole - before - bytes);
    madvise(start, bytes, MADV_HUGEPAGE);
    Region* const region = reinterpret_cast<Region*>(start);
    region->bytes = bytes;
    region->used = headerBytes;
    region->blocks = 0;
    return region;
}

Region* regionOf(void* block) {
    const std::size_t within = reinterpret_cast<std::uintptr_t>(block) % alignment;
    return reinterpret_cast<Region*>(static_cast<char*>(block) - within);
}

void* takeBlock(Region* region, std::size_t bytes) {
    void* const block = reinterpret_cast<char*>(region) + region->used;
    region->used += bytes;
    ++region->blocks;
    return block;
}

void* allocate(std::size_t size) {
    if (size > SIZE_MAX / 2) return nullptr;
    const std::size_t bytes = roundedUp(size, headerBytes);
    const std::lock_guard lock(mutex);
    if (bytes > largestShared) {
        Region* const own = makeRegion(roundedUp(bytes + headerBytes, 4096));
        return own ? takeBlock(own, bytes) : nullptr;
    }
    if (!current || current->used + bytes > current->bytes) {
        Region* const fresh = makeRegion(alignment);
        if (!fresh) return nullptr;
        current = fresh;
    }
    return takeBlock(current, bytes);
}

void release(void* block) {
    if (!block) return;
    const std::lock_guard lock(mutex);
    Region* const region = regionOf(block);
    if (--region->blocks > 0) return;
    if (region == current)
        region->used = headerBytes;
    else
        munmap(region, region->bytes);
}

}  // namespace

void useTreeMemory() {
    // AddressSanitizer only sees mistakes in memory that it hands out itself.
    if constexpr (!underAddressSanitizer) {
        static const bool done = [] {
            pugi::set_memory_management_functions(allocate, release);
            return true;
        }();
        static_cast<void>(done);
    }
}

}  // namespace reelsweep
