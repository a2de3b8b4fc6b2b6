// Real FCPXML through all FCPXML passes: nothing goes but what the passes name.
#include "documents/FCPXMLDocument.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/timeline/SampleFiles.h"
#include "tests/timeline/Timeline.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

std::vector<XMLNode> matches(const XMLDocument& document, const std::string& query) {
    const auto nodes = selectNodes(document.node(), query);
    return nodes ? *nodes : std::vector<XMLNode>();
}

// The start tag of every element, in document order.
std::vector<std::string> tags(const XMLDocument& document, const std::string& query) {
    std::vector<std::string> all;
    for (const XMLNode element : matches(document, query)) {
        std::string tag(element.name());
        element.forEachAttribute([&](std::string_view name, std::string_view value) {
            tag.append(" ").append(name).append("=").append(value);
        });
        all.push_back(std::move(tag));
    }
    return all;
}

TEST(FCPXSamples, LoseOnlyWhatThePassesName) {
    const std::vector<fs::path> files = sampleFiles(".fcpxml");
    if (files.empty()) GTEST_SKIP() << "the folder of real exports is not there";
    OptionList passes;
    for (const PassRow& row : fcpxPassTable()) passes.emplace_back(row.option);
    for (const fs::path& file : files) {
        SCOPED_TRACE(file);
        const auto opened = openDocument(file);
        ASSERT_TRUE(opened) << opened.failure().description();
        const auto tidied = tidy(**opened, {.passes = passes});
        ASSERT_TRUE(tidied);
        const TemporaryFolder folder;
        ASSERT_TRUE(tidied->save(folder / "out.fcpxml"));
        const auto result = XMLDocument::load(folder / "out.fcpxml");
        ASSERT_TRUE(result) << result.failure().description();

        // What the passes name, by queries of our own.
        auto expected = XMLDocument::load(file);
        ASSERT_TRUE(expected);
        for (const char* const query :
             {"//filter-video[not(parent::transition)]", "//filter-video-mask",
              "//filter-audio[not(parent::transition)]", "//marker", "//chapter-marker",
              "//spine/*[@enabled='0']", "//*[@enabled='0' and @lane]"})
            for (XMLNode node : matches(*expected, query)) {
                // What hangs on a clip of a storyline hangs on the gap in its place.
                for (const XMLNode connected :
                     matches(*expected, "//spine/*[@enabled='0']/*[@lane]"))
                    if (connected.parent() == node) node.parent().insertBefore(connected, node);
                node.detach();
            }
        const std::string story =
            "/fcpxml/*[not(self::resources)]/descendant-or-self::*"
            "[not(self::gap)]";
        EXPECT_EQ(tags(*result, story), tags(*expected, story));

        // What is left of the resources stands in the same order.
        const std::vector<std::string> before = tags(*expected, "/fcpxml/resources/*");
        auto next = before.begin();
        for (const std::string& left : tags(*result, "/fcpxml/resources/*")) {
            next = std::find(next, before.end(), left);
            ASSERT_NE(next++, before.end()) << left;
        }
        for (const XMLNode reference : matches(*result, "//@ref | //@format")) {
            if (reference.parent().isElement("text-style")) continue;
            const std::string id(reference.value());
            EXPECT_EQ(matches(*result, "/fcpxml/resources/*[@id='" + id + "']").size(), 1U) << id;
        }
    }
}

}  // namespace
}  // namespace reelsweep::test
