// reelsweep-bench: how long a tidy takes beside the work that nobody can save, as one table.
//
// All figures of a run come from the same generated file; medians of several runs.

#include "bench/ChildProcess.h"
#include "bench/ProjectGenerator.h"
#include "engine/QVFCPDoc.h"
#include "platform/Platform.h"

#include <fmt/format.h>
#include <unistd.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <pugixml.hpp>
#include <stdexcept>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

class SilentView final : public DocumentView {
public:
    void startProgress() override {}
    void endProgress() override {}
    void setProgressLabelText(const std::string&) override {}
    void reloadTable() override {}
    void enableProcessButton(bool) override {}
    void markChanged() override {}
    WindowRef window() override { return {}; }
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double milliseconds(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error(what);
}

void generate(const GeneratorOptions& options, const std::string& path) {
    AtomicFile file(path, Overwrite::always);
    const Outcome opened = file.open();
    require(opened.ok(), "cannot write " + path);
    generateProject(options, file);
    require(file.commit().ok(), "cannot write " + path);
}

// The floor in a process of its own: pugixml loads the input, and pugixml saves what the output holds.
// Loading the output is not part of it, so the process prints what the two steps took.
int floorProcess(const std::string& input, const std::string& output, const std::string& scratch) {
    pugi::xml_document in;
    pugi::xml_document out;
    const double load = milliseconds([&] { require(bool(in.load_file(input.c_str())), input); });
    require(bool(out.load_file(output.c_str())), output);
    const double save = milliseconds([&] { require(out.save_file(scratch.c_str()), scratch); });
    fmt::print("{}\n", load + save);
    return 0;
}

double runFloor(const std::string& self, const std::string& input, const std::string& output,
                const std::string& scratch) {
    const std::string command =
        fmt::format("'{}' --floor '{}' '{}' '{}'", self, input, output, scratch);
    FILE* const pipe = popen(command.c_str(), "r");
    double result = 0;
    const bool read = pipe && std::fscanf(pipe, "%lf", &result) == 1;
    require(pipe && pclose(pipe) == 0 && read, "the floor could not be measured");
    return result;
}

using PassTimes = std::map<std::string, double>;

// Loads, tidies step by step and saves, in this process; answers what each step took.
PassTimes timeSteps(const std::string& input, const std::string& output) {
    SilentView view;
    QVFCPDoc document(view);
    PassTimes times;
    times["01 load"] = milliseconds([&] {
        require(document.readFromURL(input).ok(), input);
        document.waitUntilPopulated();
    });
    XMLNode sequence;
    times["02 copy"] = milliseconds(
        [&] { sequence = document.sequenceArray()->front()->xmlRepresentation.copy(); });
    const auto step = [&](const char* name, const std::function<XMLNode()>& pass) {
        times[name] += milliseconds([&] { require(bool(pass()), name); });
    };
    step("03 removeDisabledClips video",
         [&] { return document.removeDisabledClips(sequence, "video"); });
    step("04 removeDisabledClips audio",
         [&] { return document.removeDisabledClips(sequence, "audio"); });
    step("05 removeSilentAudioClips", [&] { return document.removeSilentAudioClips(sequence); });
    step("06 removeObscuredClips", [&] { return document.removeObscuredClips(sequence); });
    step("07 collapseTracks down", [&] { return document.collapseTracks(sequence, true); });
    step("08 collapseTracks up", [&] { return document.collapseTracks(sequence, false); });
    step("09 mergeClips", [&] { return document.mergeClips(sequence); });
    step("10 collapseTracks again", [&] { return document.collapseTracks(sequence, false); });
    step("11 collapseMulticlips", [&] { return document.collapseMulticlips(sequence); });
    step("12 removeUnusedTracks", [&] { return document.removeUnusedTracks(sequence); });
    step("13 replaceGapsWithSlugs", [&] { return document.replaceGapsWithSlugs(sequence); });
    step("14 removeFilters", [&] { return document.removeFilters(sequence); });
    step("15 removeMarkers", [&] { return document.removeMarkers(sequence); });
    step("16 removeVideoTransitions", [&] { return document.removeVideoTransitions(sequence); });
    step("17 removeAudioTransitions", [&] { return document.removeAudioTransitions(sequence); });
    times["18 save"] = milliseconds([&] { require(document.writeToURL(output).ok(), output); });
    return times;
}

PassTimes medianSteps(const std::string& input, const std::string& output, int runs) {
    std::map<std::string, std::vector<double>> all;
    for (int i = 0; i < runs; ++i)
        for (const auto& [name, time] : timeSteps(input, output)) all[name].push_back(time);
    PassTimes medians;
    for (const auto& [name, values] : all) medians[name] = median(values);
    return medians;
}

struct Bench {
    std::string self;
    fs::path folder;
    std::size_t items;
    int runs;

    std::string path(const char* name) const { return (folder / name).string(); }

    void whole() const {
        generate({.items = items}, path("in.xml"));
        const std::string in = path("in.xml");
        const std::string out = path("out.xml");
        const std::string cli = (fs::path(self).parent_path() / "reelsweep-cli").string();
        const double megabytes = static_cast<double>(fs::file_size(in)) / 1e6;
        std::vector<double> tidy, floor, lint, memory, toFloor, toLint;
        for (int i = 0; i < runs; ++i) {
            const Measured m = runAndMeasure(
                {cli, "tidy", in, "--passes", "all", "-o", out, "--force", "--quiet"});
            require(m.exitCode == 0, "reelsweep-cli failed");
            tidy.push_back(m.milliseconds);
            memory.push_back(static_cast<double>(m.peakKilobytes) * 1024 / 1e6 / megabytes);
            floor.push_back(runFloor(self, in, out, path("scratch.xml")));
            const Measured l = runAndMeasure(
                {"xmllint", "--huge", "--format", out, "--output", path("scratch.xml")});
            require(l.exitCode == 0, "xmllint failed");
            lint.push_back(l.milliseconds);
            toFloor.push_back(tidy.back() / floor.back());
            toLint.push_back(tidy.back() / lint.back());
        }
        fmt::print("Whole tidy, all passes, {} items, {:.1f} MB, medians of {} runs\n\n", items,
                   megabytes, runs);
        fmt::print("| | ms | tidy is x times |\n|---|---|---|\n");
        fmt::print("| tidy (process) | {:.0f} | 1 |\n", median(tidy));
        fmt::print("| floor: pugixml loads the input and saves the output | {:.0f} | {:.2f} |\n",
                   median(floor), median(toFloor));
        fmt::print("| xmllint --format of the output (process) | {:.0f} | {:.2f} |\n", median(lint),
                   median(toLint));
        fmt::print("\nPeak memory: {:.1f} x the input file\n\n", median(memory));
    }

    void steps() const {
        const double megabytes = static_cast<double>(fs::file_size(path("in.xml"))) / 1e6;
        fmt::print(
            "Each step by itself, in one process\n\n| step | ms | items/s | MB/s "
            "|\n|---|---|---|---|\n");
        for (const auto& [name, ms] : medianSteps(path("in.xml"), path("out.xml"), runs))
            fmt::print("| {} | {:.1f} | {:.0f} | {:.0f} |\n", name.substr(3), ms,
                       static_cast<double>(items) / ms * 1000, megabytes / ms * 1000);
        fmt::print("\n");
    }

    void growth(const char* title, TimelineShape shape, int videoTracks) const {
        fmt::print("Growth, {}: ms at each size, and the time per doubling (the largest)\n\n",
                   title);
        std::map<std::string, std::vector<double>> rows;
        std::string header = "| step |";
        for (std::size_t n = items / 4; n <= items * 2; n *= 2) {
            header += fmt::format(" {} |", n);
            generate({.items = n, .videoTracks = videoTracks, .shape = shape}, path("in.xml"));
            for (const auto& [name, ms] : medianSteps(path("in.xml"), path("out.xml"), runs))
                rows[name].push_back(ms);
        }
        fmt::print("{} per doubling |\n|---|---|---|---|---|---|\n", header);
        for (const auto& [name, times] : rows) {
            fmt::print("| {} |", name.substr(3));
            double largest = 0;
            for (std::size_t i = 0; i < times.size(); ++i) {
                fmt::print(" {:.1f} |", times[i]);
                // Below a few milliseconds the clock and the caches decide, not the pass.
                if (i > 0 && times[i] > 5) largest = std::max(largest, times[i] / times[i - 1]);
            }
            fmt::print(" {} |\n", largest > 0 ? fmt::format("{:.2f}", largest) : "under 5 ms");
        }
        fmt::print("\n");
    }
};

}  // namespace

}  // namespace reelsweep

int main(int argc, char** argv) {
    using namespace reelsweep;
    std::vector<std::string> floorPaths;
    std::size_t items = 50000;
    int runs = 5;
    std::string folder = std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    CLI::App app{"Times a tidy beside the work that nobody can save."};
    app.add_option("--floor", floorPaths)->expected(3)->group("");
    app.add_option("--items", items, "items of the file; growth goes from a quarter to twice that")
        ->capture_default_str();
    app.add_option("--runs", runs, "runs of which the median counts")->capture_default_str();
    app.add_option("--folder", folder, "where files are written")->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    try {
        if (!floorPaths.empty()) return floorProcess(floorPaths[0], floorPaths[1], floorPaths[2]);
        const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
        const std::filesystem::path own =
            std::filesystem::path(folder) / fmt::format("reelsweep-bench-{}", getpid());
        std::filesystem::create_directory(own);
        const Bench bench{self, own, items, runs};
        fmt::print("Files in {}\n\n", folder);
        bench.whole();
        bench.steps();
        bench.growth("mixed", TimelineShape::mixed, 4);
        bench.growth("all on the top track over empty ones", TimelineShape::topOverEmpty, 4);
        bench.growth("everything hidden", TimelineShape::allHidden, 4);
        bench.growth("one chain of transitions", TimelineShape::chain, 4);
        bench.growth("60 tracks", TimelineShape::mixed, 60);
        std::filesystem::remove_all(own);
    } catch (const std::exception& error) {
        fmt::print(stderr, "reelsweep-bench: {}\n", error.what());
        return 1;
    }
    return 0;
}
