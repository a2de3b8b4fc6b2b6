// reelsweep-bench: how long a tidy takes beside the work that no tidy can do without, as one table.
//
// All figures of a run come from the same generated file; medians of several runs.

#include "bench/Care.h"
#include "bench/ChildProcess.h"
#include "bench/ProjectGenerator.h"
#include "bench/Steps.h"
#include "platform/posix/CommandLinePlatform.h"
#include "services/QVLog.h"
#include "xml/TreeMemory.h"

#include <fmt/format.h>
#include <unistd.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

// A folder that goes with its owner, and the home folder of this process and its children
// meanwhile: their logs and settings are not the user's.
class WorkFolder {
public:
    explicit WorkFolder(const fs::path& parent)
        : path_(fs::canonical(parent) / fmt::format("reelsweep-bench-{}", getpid())) {
        fs::create_directory(path_);
        setenv("HOME", path_.c_str(), 1);
    }
    ~WorkFolder() {
        std::error_code ignored;  // what stays behind is in a temporary folder
        fs::remove_all(path_, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const fs::path& path() const { return path_; }
    std::string file(const char* name) const { return (path_ / name).string(); }

private:
    fs::path path_;
};

// Memory where it has room for the largest file, its output and what tools write beside them.
fs::path defaultFolder(std::size_t items) {
    const fs::path memory = "/dev/shm";
    std::error_code error;
    const fs::space_info space = fs::space(memory, error);
    const bool hasRoom =
        !error && access(memory.c_str(), W_OK) == 0 && space.available / 2 / 1300 / 4 > items * 8;
    return hasRoom ? memory : fs::temp_directory_path();
}

// The type of the file system that holds a path, from the mount with the longest matching folder.
std::string fileSystemOf(const fs::path& path) {
    std::ifstream mounts("/proc/self/mounts");
    std::string line;
    std::string best = "unknown";
    std::size_t longest = 0;
    while (std::getline(mounts, line)) {
        std::istringstream words(line);
        std::string device, folder, type;
        words >> device >> folder >> type;
        const fs::path relative = path.lexically_relative(folder);
        if (relative.empty() || *relative.begin() == ".." || folder.size() < longest) continue;
        longest = folder.size();
        best = type;
    }
    return best;
}

std::string machine() {
    std::ifstream cpus("/proc/cpuinfo");
    std::string line;
    std::string model = "unknown processor";
    while (std::getline(cpus, line))
        if (line.starts_with("model name")) model = line.substr(line.find(':') + 2);
    const double bytes =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    return fmt::format("{} x {}, {:.0f} GB of memory", sysconf(_SC_NPROCESSORS_ONLN), model,
                       bytes / 1e9);
}

void generate(const GeneratorOptions& options, const std::string& path) {
    AtomicFile file(path, Overwrite::always);
    require(file.open().ok(), "cannot write " + path);
    generateProject(options, file);
    require(file.commit().ok(), "cannot write " + path);
}

// What a tidy that knows trees and nothing else must do: copy the sequences that it works on.
void copySequences(const pugi::xml_document& from, pugi::xml_document& to) {
    for (const pugi::xpath_node& found : from.select_nodes("//sequence[name]"))
        to.append_copy(found.node());
}

// The floors, in a process of its own: pugixml loads the input and saves what the output holds, and
// the same with a copy of the sequences. Loading the output is not part of it, so the process
// prints what the other steps took.
void floorProcess(const std::string& input, const std::string& output, const std::string& scratch) {
    pugi::xml_document in;
    pugi::xml_document out;
    pugi::xml_document copies;
    const double load =
        milliseconds([&] { require(bool(in.load_file(input.c_str())), "cannot load " + input); });
    const double copy = milliseconds([&] { copySequences(in, copies); });
    require(bool(out.load_file(output.c_str())), "cannot load " + output);
    const double save =
        milliseconds([&] { require(out.save_file(scratch.c_str()), "cannot save " + scratch); });
    fmt::print("{} {}\n", load + save, load + copy + save);
}

// A file of one shape, and what growth must stay within.
struct GrownShape {
    const char* title;
    TimelineShape shape;
    std::size_t largest = 2;  ///< file, in multiples of the usual one
};
constexpr GrownShape grownShapes[] = {
    {"mixed", TimelineShape::mixed, 8},
    {"nearly all is kept", TimelineShape::kept, 8},
    {"all on the top track over empty ones", TimelineShape::topOverEmpty},
    {"everything hidden", TimelineShape::allHidden},
    {"one chain of transitions", TimelineShape::chain},
    {"one chain of transitions with an odd number in it", TimelineShape::oddChain},
    {"one hidden chain of transitions", TimelineShape::hiddenChain},
    {"all in a nested sequence", TimelineShape::nested},
    {"60 tracks", TimelineShape::manyTracks},
    {"200 tracks", TimelineShape::twoHundredTracks},
};

struct Bench {
    const WorkFolder& folder;
    std::size_t items;
    int runs;

    static fs::path self() { return fs::read_symlink("/proc/self/exe"); }

    static Measured wholeTidy(const std::string& in, const std::string& out) {
        warmMemory(in);
        return runAndMeasure({(self().parent_path() / "reelsweep-cli").string(), "tidy", in,
                              "--passes", "all", "--literal", "-o", out, "--force", "--quiet"});
    }

    void whole(const GrownShape& file) const {
        const std::string in = folder.file("in.xml");
        const std::string out = folder.file("out.xml");
        const std::string scratch = folder.file("scratch.xml");
        generate({.items = items, .shape = file.shape}, in);
        const double inputBytes = static_cast<double>(fs::file_size(in));

        std::vector<double> tidy, floor, fair, lint, memory, toFloor, toFair, toLint;
        for (int run = 0; run < runs; ++run) {
            const Measured tidied = wholeTidy(in, out);
            tidy.push_back(tidied.milliseconds);
            memory.push_back(static_cast<double>(tidied.peakKilobytes) * 1024 / inputBytes);
            warmMemory(in);
            std::istringstream floors(
                runAndMeasure({self().string(), "--floor", in, out, scratch}).output);
            require(bool(floors >> floor.emplace_back() >> fair.emplace_back()),
                    "the floor says nothing");
            warmMemory(in);
            lint.push_back(
                runAndMeasure({"xmllint", "--format", out, "--output", scratch}).milliseconds);
            toFloor.push_back(tidy.back() / floor.back());
            toFair.push_back(tidy.back() / fair.back());
            toLint.push_back(tidy.back() / lint.back());
        }

        fmt::print(
            "Whole tidy, {}: {} items, input {:.1f} MB, output {:.1f} MB, median of {} runs\n\n",
            file.title, items, inputBytes / 1e6, static_cast<double>(fs::file_size(out)) / 1e6,
            runs);
        fmt::print("| what | ms | the tidy takes | at most |\n|---|--:|--:|--:|\n");
        fmt::print("| tidy with all passes and the log | {:.0f} | | |\n", median(tidy));
        fmt::print("| floor | {:.0f} | {:.2f} x | 1.5 x |\n", median(floor), median(toFloor));
        fmt::print("| floor with a copy of the sequences | {:.0f} | {:.2f} x | |\n", median(fair),
                   median(toFair));
        fmt::print("| xmllint --format of the output | {:.0f} | {:.2f} x | 0.4 x |\n", median(lint),
                   median(toLint));
        fmt::print("| peak memory of the tidy, input file = 1 | | {:.1f} x | 5 x |\n\n",
                   median(memory));
        fmt::print(
            "tidy, xmllint: wall time of the whole process, the tidy with --literal. floor: "
            "pugixml\n"
            "loading the input and saving the output, nothing else, timed inside a process of its\n"
            "own. Each ratio is the median of the ratios of neighbouring runs.\n\n");
    }

    // Whole tidies of what is more than one sequence, beside the floor.
    void manySequences() const {
        const std::string in = folder.file("in.xml");
        const std::string out = folder.file("out.xml");
        fmt::print(
            "Whole tidy of many sequences\n\n| what | items | input MB | output MB | ms | "
            "memory, output = 1 |\n|---|--:|--:|--:|--:|--:|\n");
        const auto row = [&](const char* title, TimelineShape shape, std::size_t count) {
            generate({.items = count, .shape = shape}, in);
            const Measured tidied = wholeTidy(in, out);
            const auto bytes = static_cast<double>(fs::file_size(out));
            fmt::print("| {} | {} | {:.1f} | {:.1f} | {:.0f} | {:.1f} |\n", title, count,
                       static_cast<double>(fs::file_size(in)) / 1e6, bytes / 1e6,
                       tidied.milliseconds,
                       static_cast<double>(tidied.peakKilobytes) * 1024 / bytes);
        };
        for (const std::size_t count : {items / 4, items / 2, items})
            row("sequences of 50 items", TimelineShape::manySequences, count);
        // The output of n sequences within one another grows with the square of n, and with their
        // indentation.
        for (const std::size_t count : {items / 50, items / 25, items * 2 / 25})
            row("sequences within sequences", TimelineShape::deepNesting, count);
        fmt::print("\n");
    }

    void care(const GrownShape& file) const {
        const std::string in = folder.file("in.xml");
        generate({.items = items, .shape = file.shape}, in);
        fmt::print(
            "What care costs, {}: opening, tidying with all passes, saving, in one process\n\n",
            file.title);
        fmt::print("| what | ms | passes alone = 1 | at most |\n|---|--:|--:|--:|\n");
        for (const CareCost& cost : timeCare(in, folder.file("out.xml"), runs))
            fmt::print("| {} | {:.0f} | {:.2f} x | {} |\n", cost.what, cost.milliseconds,
                       cost.ofLiteral, cost.atMost);
        fmt::print("\n");
    }

    void steps() const {
        const std::string in = folder.file("in.xml");
        generate({.items = items}, in);
        const double megabytes = static_cast<double>(fs::file_size(in)) / 1e6;
        fmt::print("Each step by itself, in one process; items and MB are the input's\n\n");
        fmt::print("| step | ms | items/s | MB/s |\n|---|--:|--:|--:|\n");
        for (const Step& step : timeSteps(in, folder.file("out.xml"), runs)) {
            const double seconds = step.milliseconds / 1000;
            fmt::print("| {} | {:.1f} | {:.0f} | {:.0f} |\n", step.name, step.milliseconds,
                       static_cast<double>(items) / seconds, megabytes / seconds);
        }
        fmt::print("\n");
    }

    void growth(const GrownShape& file) const {
        const std::string in = folder.file("in.xml");
        fmt::print("Growth, {}: ms at each number of items\n\n", file.title);
        std::vector<std::size_t> sizes;
        for (std::size_t n = items / 2; n <= items * file.largest; n *= 2) sizes.push_back(n);
        std::vector<std::vector<Step>> columns;
        for (const std::size_t n : sizes) {
            generate({.items = n, .shape = file.shape}, in);
            const std::string out = folder.file("out.xml");
            std::vector<double> tidies;
            for (int run = 0; run < runs; ++run) tidies.push_back(wholeTidy(in, out).milliseconds);
            std::vector<Step>& column = columns.emplace_back();
            column.push_back({"whole tidy", median(tidies)});
            const std::vector<Step> steps = timeSteps(in, out, runs);
            column.insert(column.end(), steps.begin(), steps.end());
        }
        fmt::print("| step | {} | largest per doubling (at most 2.2) |\n", fmt::join(sizes, " | "));
        fmt::print("|---|{}--:|\n", fmt::join(std::vector<std::string>(sizes.size(), "--:|"), ""));
        for (std::size_t step = 0; step < columns.front().size(); ++step) {
            fmt::print("| {} |", columns.front()[step].name);
            double largest = 0;
            for (std::size_t i = 0; i < columns.size(); ++i) {
                const double time = columns[i][step].milliseconds;
                fmt::print(" {:.1f} |", time);
                if (i > 0 && time > smallestTelling)
                    largest = std::max(largest, time / columns[i - 1][step].milliseconds);
            }
            fmt::print(" {} |\n", largest > 0 ? fmt::format("{:.2f}", largest) : "too short");
        }
        fmt::print("\n");
    }

    // Below so many milliseconds the clock and the caches decide, not the pass.
    static constexpr double smallestTelling = 5;
};

void runBenchmarks(const fs::path& parent, std::size_t items, int runs) {
    std::setvbuf(stdout, nullptr, _IOLBF,
                 0);  // a run takes minutes: show each table when it is there
    const WorkFolder folder(parent);
    Platform::install(commandLinePlatform());
    QVLog::createNewLog("reelsweep-bench", true);
    fmt::print("{}; files on {} ({})\n\n", machine(), fileSystemOf(folder.path()), parent.string());
    const Bench bench{folder, items, runs};
    bench.whole(grownShapes[0]);
    bench.whole(grownShapes[1]);
    bench.care(grownShapes[0]);
    bench.care(grownShapes[1]);
    bench.steps();
    bench.manySequences();
    for (const GrownShape& shape : grownShapes) bench.growth(shape);
    fmt::print(
        "A step whose times stay below {:.0f} ms is too short for its growth to mean\n"
        "anything.\n",
        Bench::smallestTelling);
    QVLog::finishWriting();
}

}  // namespace

}  // namespace reelsweep

int main(int argc, char** argv) {
    std::vector<std::string> floorPaths;
    std::size_t items = 50000;
    int runs = 5;
    bool quick = false;
    std::string folder;
    CLI::App app{"Times a tidy beside the work that no tidy can do without."};
    app.add_option("--floor", floorPaths)->expected(3)->group("");
    app.add_option("--items", items,
                   "items of the file; growth goes from half to twice or eight times that")
        ->check(CLI::Range(std::size_t{4}, std::size_t{10'000'000}))
        ->capture_default_str();
    app.add_option("--runs", runs, "runs of which the median counts")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_flag("--quick", quick, "a tenth of the items: whether it runs, not how fast");
    app.add_option("--folder", folder,
                   "existing folder for the files (default: in memory when there is room)");
    CLI11_PARSE(app, argc, argv);
    try {
        if (!floorPaths.empty()) {
            reelsweep::floorProcess(floorPaths[0], floorPaths[1], floorPaths[2]);
            return 0;
        }
        // The floor has pugixml as it is.
        reelsweep::useTreeMemory();
        if (quick) items = std::max<std::size_t>(items / 10, 4);
        reelsweep::runBenchmarks(
            folder.empty() ? reelsweep::defaultFolder(items) : std::filesystem::path(folder), items,
            runs);
    } catch (const std::exception& error) {
        fmt::print(stderr, "reelsweep-bench: {}\n", error.what());
        return 1;
    }
    return 0;
}
