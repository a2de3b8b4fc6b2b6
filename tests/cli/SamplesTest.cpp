// Real exports of several editing applications, and the bundled sample, through every choice of
// passes.
#include "tests/cli/Program.h"
#include "tests/timeline/RulesOnSamples.h"
#include "tests/xml/InsertedBytes.h"

#include "tidy/PassTable.h"
#include "tidy/TidyRules.h"
#include "timeline/QVXMLParser.h"
#include "xml/XMLDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

/// The output without what was added to it.
std::string sourceInside(const XMLDocument& output) {
    XMLNode bin = output.rootElement().child("project").child("children").lastChild();
    EXPECT_EQ(bin.child("name").stringValue(), "Reelsweep");
    bin.detach();
    return output.serialise(XMLFormat::compact);
}

void check(const std::string& input, const std::string& output) {
    SCOPED_TRACE(input);
    const Result<XMLDocument> source = XMLDocument::load(input);
    const Result<XMLDocument> result = XMLDocument::load(output);
    ASSERT_TRUE(source && result) << (result ? source : result).failure().description();
    if (source->rootElement().child("project").child("children")) {
        EXPECT_TRUE(insertedBytes(contentsOf(input), contentsOf(output)));
        EXPECT_TRUE(sourceInside(*result) == source->serialise(XMLFormat::compact));
    } else {
        EXPECT_EQ(result->serialise(XMLFormat::pretty), contentsOf(output));
    }
    const auto count = [](const XMLDocument& document) {
        return QVXMLParser::nodesForQuery(".//sequence/name/..", document.node())->size();
    };
    EXPECT_GE(count(*result), count(*source));
}

TEST(Samples, AreTidiedWithEveryChoiceOfPasses) {
    const std::vector<fs::path> files = sampleFiles();
    ASSERT_FALSE(files.empty());
    std::vector<std::string> choices{"all", "default"};
    for (const PassRow& pass : passTable()) choices.emplace_back(pass.option);
    for (const std::string& choice : choices) {
        SCOPED_TRACE(choice);
        const Workplace workplace;
        std::vector<std::string> arguments{"tidy",     "--output-dir", ".",
                                           "--passes", choice,         "--quiet"};
        arguments.insert(arguments.end(), files.begin(), files.end());
        const Ended ended = run(workplace, arguments);
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.error, "");
        for (const std::string file : files)
            check(file, workplace / (fs::path(file).stem().string() + "-Tidied.xml"));
    }
    if (files.size() == 1) GTEST_SKIP() << "the folder of real exports is not there";
}

TEST(Samples, AnswerToEachRule) {
    std::size_t checked = 0;
    for (const RuleOnSample& row : rulesOnSamples()) {
        const auto file = sampleNamed(row.file);
        if (!file) continue;
        const auto rules = ruleTable();
        const auto rule = std::find_if(rules.begin(), rules.end(),
                                       [&](const RuleRow& each) { return each.key == row.rule; });
        ASSERT_NE(rule, rules.end()) << row.rule;
        const Workplace workplace;
        const Ended ended = run(workplace, {"tidy", *file, "--passes", row.passes, "--literal",
                                            std::string(rule->option), row.value, "-o", "out.xml"});
        EXPECT_EQ(ended.status, 0) << ended.error;
        expectRule(row, *file, workplace / "out.xml");
        ++checked;
    }
    EXPECT_GT(checked, 0U);
}

// A sequence as text, but for its start tag and what names a copy.
std::string bodyOf(XMLNode sequence) {
    sequence.setOnlyAttribute("id", "");
    for (const char* const name : {"name", "uuid"})
        if (XMLNode element = sequence.child(name)) element.setText("");
    return serialise(sequence);
}

TEST(Samples, StayAsTheyAreWhenEverythingIsExcluded) {
    std::size_t compared = 0;
    for (const std::string file : sampleFiles()) {
        for (const std::vector<std::string>& exclude :
             {std::vector<std::string>{"--exclude-track", "*"},
              {"--exclude-track", "[va][0-9]*", "--literal"},
              {"--exclude-clip", "*"},
              {"--exclude-clip", "*", "--literal"}}) {
            SCOPED_TRACE(file + exclude.back());
            const Workplace workplace;
            std::vector<std::string> arguments{"tidy",     file,  "-o",     "out.xml",
                                               "--passes", "all", "--quiet"};
            arguments.insert(arguments.end(), exclude.begin(), exclude.end());
            const Ended ended = run(workplace, arguments);
            EXPECT_EQ(ended.status, 0) << ended.error;
            const Result<XMLDocument> source = XMLDocument::load(file);
            const Result<XMLDocument> result = XMLDocument::load(workplace / "out.xml");
            ASSERT_TRUE(source && result);
            const auto sequences =
                *QVXMLParser::nodesForQuery(".//sequence/name/..", source->node());
            const XMLNode project = result->rootElement().child("project");
            const XMLNode bin = project ? project.child("children").lastChild()
                                        : result->rootElement().child("bin");
            std::size_t at = 0;
            for (XMLNode copy = bin.child("children").child("sequence"); copy;
                 copy = copy.nextSibling("sequence"), ++at)
                EXPECT_EQ(bodyOf(copy), bodyOf(sequences.at(at)));
            EXPECT_EQ(at, sequences.size());
            compared += at;
        }
    }
    EXPECT_GT(compared, 0U);
}

}  // namespace
}  // namespace reelsweep::test
