#include "bench/Steps.h"

#include "bench/ChildProcess.h"
#include "documents/SequenceDocument.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>

namespace reelsweep {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// Times each step of a run, from before() to after().
class StepTimer final : public StepObserver {
public:
    explicit StepTimer(std::vector<Step>& steps) : steps_(steps) {}

    void before(const PassStep&, const TimelineEdit&) override { start_ = Clock::now(); }
    void after(const PassStep& step, const TimelineEdit&) override {
        const double time = millisecondsSince(start_);
        // An option that is several steps has a line for each of its turns.
        static constexpr const char* ordinals[] = {"", "2nd", "3rd", "4th", "5th"};
        std::string name(step.option);
        if (const std::size_t turn = turns_[name]++; turn > 0)
            name += std::string(", ") + ordinals[std::min(turn, std::size(ordinals) - 1)];
        steps_.push_back({name, time});
    }

private:
    std::vector<Step>& steps_;
    std::map<std::string, std::size_t> turns_;
    Clock::time_point start_;
};

std::vector<Step> timeStepsOnce(const std::string& input, const std::string& output) {
    std::vector<Step> steps;
    const auto step = [&](const char* name, const std::function<bool()>& work) {
        bool done = false;
        steps.push_back({name, milliseconds([&] { done = work(); })});
        require(done, std::string(name) + " failed");
    };
    std::unique_ptr<XMEMLDocument> document;
    step("load", [&] {
        auto opened = XMEMLDocument::open(input);
        if (opened) document = std::move(*opened);
        return document && !document->sequences().empty();
    });
    const XMLNode source = document->sequences().front().node;
    XMLNode copy;
    step("copy of the sequence", [&] {
        copy = source.copy();
        return bool(copy);
    });
    StepTimer timer(steps);
    const auto tidied = tidySequence(copy, source, {.passes = allPasses()}, {.observer = &timer});
    require(tidied.ok(), "the tidy failed");
    std::shared_ptr<const XMLDocument> result;
    step("delivery", [&] {
        auto delivered = document->deliver({&copy, 1}, {.delivery = Delivery::project}, {});
        if (delivered) result = std::move(*delivered);
        return result != nullptr;
    });
    step("save", [&] { return saveDocument(*result, output, {}).ok(); });
    return steps;
}

}  // namespace

double milliseconds(const std::function<void()>& work) {
    const Clock::time_point start = Clock::now();
    work();
    return millisecondsSince(start);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void require(bool condition, const std::string& what) {
    if (!condition) throw std::runtime_error(what);
}

std::vector<Step> timeSteps(const std::string& input, const std::string& output, int runs) {
    std::vector<std::vector<Step>> all;
    for (int run = 0; run < runs; ++run) {
        warmMemory(input);
        all.push_back(timeStepsOnce(input, output));
    }
    std::vector<Step> medians;
    for (std::size_t step = 0; step < all.front().size(); ++step) {
        std::vector<double> times;
        for (const auto& steps : all) times.push_back(steps[step].milliseconds);
        medians.push_back({all.front()[step].name, median(std::move(times))});
    }
    return medians;
}

}  // namespace reelsweep
