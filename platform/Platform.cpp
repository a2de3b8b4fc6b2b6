#include "platform/Platform.h"

#include <atomic>
#include <utility>

// These mistakes are told in every build: a null port would fail far from where it is missing.
#undef NDEBUG
#include <cassert>

namespace reelsweep {

namespace {

std::atomic<Platform*> installed = nullptr;

}  // namespace

Platform& Platform::current() {
    Platform* const platform = installed.load(std::memory_order_acquire);
    assert(platform && "main() calls Platform::install before anything uses a port");
    return *platform;
}

void Platform::install(Platform platform) {
    assert(platform.mainThread && platform.alertPresenter && platform.userDefaults &&
           platform.bundle && platform.workspace && platform.folders && platform.console &&
           platform.httpClient && platform.processLauncher && platform.privileges &&
           platform.archiver && platform.appleEvents);
    if (Platform* const present = installed.load(std::memory_order_acquire))
        *present = std::move(platform);
    else
        installed.store(new Platform(std::move(platform)), std::memory_order_release);
}

}  // namespace reelsweep
