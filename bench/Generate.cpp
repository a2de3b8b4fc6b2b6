// reelsweep-generate: writes a project file for measuring.

#include "bench/ProjectGenerator.h"

#include <CLI/CLI.hpp>
#include <cstdio>

int main(int argc, char** argv) {
    reelsweep::GeneratorOptions options;
    std::string shape = "mixed";
    std::string path;
    CLI::App app{"Writes a project file that looks like a real export, for measuring."};
    app.add_option("--items", options.items, "clips, generators and transitions")
        ->capture_default_str();
    app.add_option("--video", options.videoTracks, "video tracks")->capture_default_str();
    app.add_option("--audio", options.audioTracks, "audio tracks")->capture_default_str();
    app.add_option("--seed", options.seed)->capture_default_str();
    app.add_option("--shape", shape)
        ->check(CLI::IsMember({"mixed", "top-over-empty", "all-hidden", "chain"}))
        ->capture_default_str();
    app.add_option("OUT", path, "the file to write")->required();
    CLI11_PARSE(app, argc, argv);
    options.shape = reelsweep::shapeNamed(shape);

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
