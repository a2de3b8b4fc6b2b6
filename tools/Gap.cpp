// reelsweep-gap: how long a window keeps the user waiting during a run, at most.
//
// Processes a sequence of 50,000 items with all options in a real window, and prints the largest
// time between two handled events, and when it was. Then it zooms and pans the drawn timeline, and
// prints how long the slowest frames took.
#include "app/TimelineView.h"
#include "platform/posix/CommandLinePlatform.h"
#include "platform/qt/QtAlertPresenter.h"
#include "platform/qt/QtMainThread.h"
#include "tests/app/AppTest.h"
#include "tests/timeline/Timeline.h"
#include "xml/TreeMemory.h"

#include <QElapsedTimer>
#include <QScrollBar>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace reelsweep::test {
namespace {

constexpr int tracks = 10;
constexpr int itemsOnTrack = 5'000;
// Clips beside each other: all of them fall, and none hides another.
constexpr int clipLength = 6;

std::string film() {
    std::string timeline;
    for (int track = 1; track <= tracks; ++track) {
        timeline += " V" + std::to_string(track) + ":";
        for (int item = 0; item < itemsOnTrack; ++item) {
            const int start = item * 100 + track * 7;
            timeline += std::string(item % 5 == 0 ? " !C[" : " C[") + std::to_string(start) + "," +
                        std::to_string(start + clipLength) + ")+Blur'M";
        }
    }
    return projectXML({sequenceXML(timeline)});
}

/// What this thread has worked so far, in milliseconds: other programs do not count.
double workedSoFar() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

void printFrames(const char* what, std::vector<double> frames) {
    std::sort(frames.begin(), frames.end());
    std::printf("  %s: median %.1f ms, 99 of 100 below %.1f ms, slowest %.1f ms\n", what,
                frames[frames.size() / 2], frames[frames.size() * 99 / 100], frames.back());
}

// Paints the timeline at every zoom, at places all along it.
void timeFrames(DocumentWindow* window) {
    auto* const view = child<TimelineView>(window, "timelineView");
    if (!view || !view->picture()) return;
    constexpr double step = 1.25;
    constexpr int places = 12;
    std::vector<double> worked;
    std::vector<double> taken;
    view->fit();
    for (double scale = 0; scale != view->view().pixelsPerFrame; view->zoom(step)) {
        scale = view->view().pixelsPerFrame;
        for (int place = 0; place <= places; ++place) {
            QScrollBar& bar = *view->horizontalScrollBar();
            QElapsedTimer clock;
            clock.start();
            const double before = workedSoFar();
            bar.setValue(bar.maximum() / places * place);
            view->viewport()->repaint();
            worked.push_back(workedSoFar() - before);
            taken.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        }
    }
    std::printf("timeline of %d by %d pixels, %zu frames at every zoom:\n",
                view->viewport()->width(), view->viewport()->height(), worked.size());
    printFrames("by the clock", std::move(taken));
    printFrames("work of the thread", std::move(worked));
}

/// An event every millisecond, and how long each had to wait.
class Pulse {
public:
    Pulse() {
        QObject::connect(&timer_, &QTimer::timeout, [this] { beat(); });
    }
    void start() {
        timer_.start(1);
        worked_ = workedSoFar();
        clock_.start();
    }
    void stop() { timer_.stop(); }
    qint64 elapsed() const { return clock_.elapsed(); }
    int events() const { return events_; }
    void print() const {
        std::printf("largest gap between two events: %.1f ms, %.0f ms after the start\n",
                    static_cast<double>(largest_) / 1e6, static_cast<double>(when_) / 1e6);
        std::printf("most work of the main thread between two events: %.1f ms\n", mostWork_);
    }

private:
    void beat() {
        const qint64 now = clock_.nsecsElapsed();
        if (now - last_ > largest_) {
            largest_ = now - last_;
            when_ = last_;
        }
        mostWork_ = std::max(mostWork_, workedSoFar() - worked_);
        worked_ = workedSoFar();
        last_ = now;
        ++events_;
    }

    QElapsedTimer clock_;
    QTimer timer_;
    qint64 last_ = 0;
    qint64 largest_ = 0;
    qint64 when_ = 0;
    double worked_ = 0;
    double mostWork_ = 0;
    int events_ = 0;
};

int run() {
    const TemporaryFolder folder;
    writeFile(folder / "film.xml", film());
    AppController controller;
    DocumentWindow* const window = controller.documents().open(toQString(folder / "film.xml"));
    if (!window || !comesTrue([&] { return window->hasSequences(); })) return 1;
    for (QCheckBox* const box : window->findChildren<QCheckBox*>()) box->setChecked(true);
    window->selectAllSequences(true);

    Pulse pulse;
    pulse.start();
    window->process();
    // A busy machine takes its time.
    for (int i = 0; i < 12 && !shownAlert(); ++i) comesTrue([] { return shownAlert() != nullptr; });
    const std::string alert = alertText();
    const bool ended = alert.starts_with("Processing complete");
    if (!ended) std::fprintf(stderr, "reelsweep-gap: the run failed: %s\n", alert.c_str());
    const qint64 total = pulse.elapsed();
    QTest::qWait(200);
    pulse.stop();
    if (ended && !answerAlert("Not Now")) {
        std::fprintf(stderr, "reelsweep-gap: the alert has no button Not Now\n");
        return 1;
    }
    comesTrue([&] { return !window->isRunning(); });
    std::size_t changes = 0;
    if (auto* const tree = child<QTreeView>(window, "changesTree"))
        changes = static_cast<ChangeReportModel*>(tree->model())->listing().total();
    std::printf("items: %d, changes: %zu, run: %lld ms, events: %d\n", tracks * itemsOnTrack,
                changes, static_cast<long long>(total), pulse.events());
    pulse.print();
    timeFrames(window);
    window->setWindowModified(false);
    window->close();
    return ended ? 0 : 1;
}

}  // namespace
}  // namespace reelsweep::test

int main(int argc, char** argv) {
    using namespace reelsweep;
    useTreeMemory();  // as the application does
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    Platform platform = commandLinePlatform();
    platform.mainThread = std::make_unique<QtMainThread>();
    platform.alertPresenter = std::make_unique<QtAlertPresenter>();
    Platform::install(std::move(platform));
    return test::run();
}
