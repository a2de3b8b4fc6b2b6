// The passes on random FCPXML, much of which no application would write.
#include "tests/properties/Random.h"
#include "tests/timeline/Timeline.h"
#include "tidy/FCPXPasses.h"
#include "xml/XMLDocument.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace reelsweep::test {
namespace {

using Counts = std::map<std::string, long>;

// Elements anywhere below one another, with attributes that now and then mean something.
std::string randomElement(Random& random, int depth) {
    static const std::vector<std::string> names = {
        "spine",  "clip",         "asset-clip", "mc-clip", "mc-source",    "mc-angle",
        "media",  "multicam",     "audition",   "gap",     "title",        "video",
        "audio",  "filter-video", "marker",     "keyword", "filter-audio", "transition",
        "effect", "asset",        "resources",  "event",   "sequence",     "filter-video-mask"};
    static const std::vector<std::string> attributes = {"id",      "ref",      "lane",   "enabled",
                                                        "offset",  "start",    "format", "duration",
                                                        "angleID", "srcEnable"};
    static const std::vector<std::string> values = {"r1",
                                                    "r2",
                                                    "0",
                                                    "1",
                                                    "0s",
                                                    "5s",
                                                    "1001/24000s",
                                                    "-3/2s",
                                                    "all",
                                                    "x",
                                                    "9223372036854775807s"};
    const std::string& name = random.one(names);
    std::string text = "<" + name;
    for (const std::string& attribute : attributes)
        if (random.chance(40)) text += " " + attribute + "=\"" + random.one(values) + "\"";
    text += ">";
    for (int i = random.upTo(0, depth > 0 ? 4 : 0); i > 0; --i)
        text += randomElement(random, depth - 1);
    return text + "</" + name + ">";
}

Counts countsOf(const XMLDocument& document) {
    Counts counts;
    document.rootElement().forEachDescendant(
        {}, [&](XMLNode node) { ++counts[std::string(node.name())]; });
    return counts;
}

TEST(FCPXProperty, PassesAreDoneAfterOneRun) {
    for (int seed = 1; seed <= 1000; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        std::string text = "<fcpxml>";
        for (int i = 0; i < 4; ++i) text += randomElement(random, 5);
        text += "</fcpxml>";
        for (const PassRow& row : fcpxPassTable()) {
            SCOPED_TRACE(std::string(row.option) + " on " + text);
            auto document = XMLDocument::parse(text);
            ASSERT_TRUE(document);
            const OptionList passes{std::string(row.option)};
            SequenceLedger ledger;
            const auto run = [&] {
                ASSERT_TRUE(
                    applyFCPXPasses(document->node(), passes, usualFCPXMarkerKinds(), ledger, {}));
            };
            const Counts before = countsOf(*document);
            run();
            const std::size_t changes = ledger.changes.size();
            if (changes == 0) {
                ASSERT_EQ(countsOf(*document), before);
            }
            const std::string once = serialise(document->rootElement());
            const auto again = XMLDocument::parse(once);
            ASSERT_TRUE(again) << once;
            run();
            ASSERT_EQ(ledger.changes.size(), changes);
            ASSERT_EQ(serialise(document->rootElement()), once);
        }
    }
}

}  // namespace
}  // namespace reelsweep::test
