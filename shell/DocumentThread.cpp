#include "shell/DocumentThread.h"

#include "platform/Platform.h"

#include <chrono>

namespace reelsweep {

void DocumentThread::start(std::function<void()> work, std::function<void()> ended) {
    wait();
    running_ = true;
    if (!ended) ended = [] {};  // wakes whoever waits
    thread_ = std::thread([this, work = std::move(work), ended = std::move(ended)]() mutable {
        work();
        running_ = false;
        Platform::current().mainThread->post(std::move(ended));
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
