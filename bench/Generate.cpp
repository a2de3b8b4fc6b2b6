// reelsweep-generate: writes a project file for measuring.

#include "bench/ProjectGenerator.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    reelsweep::GeneratorOptions options;
    std::string shape = "mixed";
    std::string path;
    CLI::App app{"Writes a project file that looks like a real export, for measuring."};
    app.add_option("--items", options.items, "clips, generators and transitions")
        ->check(CLI::Range(std::size_t{1}, std::size_t{10'000'000}))
        ->capture_default_str();
    app.add_option("--video", options.videoTracks, "video tracks")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--audio", options.audioTracks, "audio tracks")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "another seed gives another file")
        ->capture_default_str();
    app.add_option("--shape", shape, "what the timeline looks like")
        ->check(CLI::IsMember({"mixed", "top-over-empty", "all-hidden", "chain", "hidden-chain",
                               "nested", "many-tracks", "200-tracks", "kept", "odd-chain",
                               "many-sequences", "deep-nesting"}))
        ->capture_default_str();
    app.add_option("OUT", path, "the file to write")->required();
    CLI11_PARSE(app, argc, argv);
    options.shape = *reelsweep::shapeNamed(shape);

    reelsweep::AtomicFile file(path, reelsweep::Overwrite::always);
    reelsweep::Outcome outcome = file.open();
    if (outcome) {
        reelsweep::generateProject(options, file);
        outcome = file.commit();
    }
    if (outcome) return 0;
    std::fprintf(stderr, "reelsweep-generate: %s\n", outcome.failure().description().c_str());
    return 4;
}
