// Real exports of several editing applications, and the bundled sample, made safe to import.
#include "tests/import/ImportRun.h"
#include "tests/timeline/SampleFiles.h"

#include "documents/OutputBin.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

TEST(ImportSamples, HaveNoFaultThatTheirSourceHadNot) {
    const std::vector<fs::path> files = sampleFiles();
    ASSERT_FALSE(files.empty());
    for (const fs::path& file : files) {
        for (const bool all : {false, true}) {
            const Result<XMLDocument> document = XMLDocument::load(file.string());
            ASSERT_TRUE(document);
            const bool intoDocument(projectChildren(*document));
            const std::vector<XMLNode> sequences = namedSequences(*document);
            const OptionList passes = all ? allPasses() : defaultPasses();
            const auto before = importFaults(document->node());
            const auto literal =
                importFaults(ImportRun(*document, sequences, passes).deliver(intoDocument).node());
            ImportRun run(*document, sequences, passes);
            run.makeSafe(intoDocument);
            const XMLDocument delivered = run.deliver(intoDocument);
            const auto after = importFaults(delivered.node());
            const std::string choice = all ? "all" : "default";
            const auto told = [](const auto& faults) {
                return std::to_string(faults.size()) + " (" + faultCounts(faults) + ")";
            };
            std::printf("%s, %s: source %s, literal %s, import-safe %s\n", file.filename().c_str(),
                        choice.c_str(), told(before).c_str(), told(literal).c_str(),
                        told(after).c_str());
            EXPECT_EQ(after.size(), intoDocument ? before.size() : 0) << newFaults(before, after);
            // A second time changes nothing.
            const std::string once = serialise(run.copy());
            run.makeSafe(intoDocument);
            EXPECT_TRUE(serialise(run.copy()) == once);
        }
    }
}

}  // namespace
}  // namespace reelsweep::test
