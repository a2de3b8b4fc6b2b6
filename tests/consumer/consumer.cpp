// A program of somebody else's: consumer IN OUT tidies a file into another and says what changed.
#include "documents/Document.h"

#include <cstdio>
#include <map>
#include <string>

namespace {

int report(const reelsweep::Failure& failure) {
    std::fprintf(stderr, "consumer: %s\n", failure.description().c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    auto document = reelsweep::openDocument(argv[1]);
    if (!document) return report(document.failure());

    const std::stop_source stop;  // another thread may ask for a stop
    std::size_t steps = 0;
    const auto progress = [&](const std::string&) { ++steps; };
    const auto tidied = reelsweep::tidy(**document, {.passes = reelsweep::defaultPasses()},
                                        {.stop = stop.get_token(), .progress = progress});
    if (!tidied) return report(tidied.failure());

    std::map<std::string, std::size_t> changes;  // by pass
    for (const auto& change : tidied->ledger()) ++changes[std::string(change.pass)];
    for (const auto& [pass, count] : changes) std::printf("%s: %zu\n", pass.c_str(), count);
    std::printf("%zu sequences, %zu steps\n", (*document)->sequences().size(), steps);

    const auto saved = tidied->save(argv[2]);
    return saved ? 0 : report(saved.failure());
}
