#include "bench/Steps.h"

#include "bench/ChildProcess.h"
#include "shell/QVFCPDoc.h"
#include "shell/SilentView.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace reelsweep {

namespace {

std::vector<Step> timeStepsOnce(const std::string& input, const std::string& output) {
    SilentView view;
    QVFCPDoc document(view);
    std::vector<Step> steps;
    const auto step = [&](const char* name, const std::function<bool()>& work) {
        bool done = false;
        steps.push_back({name, milliseconds([&] { done = work(); })});
        require(done, std::string(name) + " failed");
    };
    step("load", [&] {
        const bool loaded = document.readFromURL(input).ok();
        document.waitUntilPopulated();
        return loaded && !document.sequenceArray()->empty();
    });
    XMLNode sequence;
    step("copy of the sequence", [&] {
        sequence = document.sequenceArray()->front()->xmlRepresentation.copy();
        return bool(sequence);
    });
    const auto pass = [&](const char* name, XMLNode (QVFCPDoc::*operation)(XMLNode)) {
        step(name, [&] { return bool((document.*operation)(sequence)); });
    };
    const auto collapse = [&](const char* name, bool reverse) {
        step(name, [&] { return bool(document.collapseTracks(sequence, reverse)); });
    };
    for (const char* type : {"video", "audio"})
        step(*type == 'v' ? "removeDisabledClips, video" : "removeDisabledClips, audio",
             [&] { return bool(document.removeDisabledClips(sequence, type)); });
    pass("removeSilentAudioClips", &QVFCPDoc::removeSilentAudioClips);
    pass("removeObscuredClips", &QVFCPDoc::removeObscuredClips);
    collapse("collapseTracks, reverse", true);
    collapse("collapseTracks", false);
    pass("mergeClips", &QVFCPDoc::mergeClips);
    collapse("collapseTracks, again", false);
    pass("collapseMulticlips", &QVFCPDoc::collapseMulticlips);
    pass("removeUnusedTracks", &QVFCPDoc::removeUnusedTracks);
    pass("replaceGapsWithSlugs", &QVFCPDoc::replaceGapsWithSlugs);
    pass("removeFilters", &QVFCPDoc::removeFilters);
    pass("removeMarkers", &QVFCPDoc::removeMarkers);
    pass("removeVideoTransitions", &QVFCPDoc::removeVideoTransitions);
    pass("removeAudioTransitions", &QVFCPDoc::removeAudioTransitions);
    step("save", [&] { return document.writeToURL(output).ok(); });
    return steps;
}

}  // namespace

double milliseconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
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
        warmMemory();
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
