#include "platform/MainThread.h"

#include <future>
#include <utility>

namespace reelsweep {

void MainThread::runAndWait(std::function<void()> work) {
    if (isMainThread()) {
        work();
        return;
    }
    std::packaged_task<void()> task(std::move(work));
    std::future<void> done = task.get_future();
    post([&task] { task(); });
    done.get();
}

}  // namespace reelsweep
