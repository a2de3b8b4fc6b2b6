#include "engine/DocumentThread.h"

#include "platform/Platform.h"

#include <chrono>

namespace reelsweep {

void DocumentThread::start(std::function<void()> work) {
    wait();
    running_ = true;
    thread_ = std::thread([this, work = std::move(work)] {
        work();
        running_ = false;
        Platform::current().mainThread->post([] {});  // wakes whoever waits
    });
}

void DocumentThread::wait() {
    if (!thread_.joinable()) return;
    MainThread& mainThread = *Platform::current().mainThread;
    if (mainThread.isMainThread())
        while (running_) mainThread.pumpOne(std::chrono::milliseconds(100));
    thread_.join();
}

void onMainThread(const std::function<void()>& work) {
    Platform::current().mainThread->runAndWait(work);
}

}  // namespace reelsweep
