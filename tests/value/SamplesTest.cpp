// Real exports of several editing applications, and the bundled sample, as values.
#include "tests/timeline/SampleFiles.h"
#include "tests/value/Values.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace reelsweep::test {
namespace {

namespace fs = std::filesystem;

void check(XMLNode sequence, const std::shared_ptr<MediaCatalogue>& catalogue) {
    SCOPED_TRACE(sequence.child("name").stringValue());
    const auto timeline = reelsweep::Timeline::of(sequence, catalogue);
    for (const Item& item : timeline.items()) {
        EXPECT_TRUE(item.hasPlace() && !item.isEmpty()) << item.name;
        EXPECT_TRUE(!item.media || item.media->kind != Media::Kind::undefined) << item.name;
    }
    // Something is seen or heard, and the same in a copy of it.
    EXPECT_FALSE(picture(timeline).list().empty() && sound(timeline).list().empty());
    const auto copy = reelsweep::Timeline::of(sequence.copy(), catalogue);
    EXPECT_TRUE(PictureDifference(timeline, copy, {true, true, true}).isSame());
    EXPECT_TRUE(CutDifference(timeline, copy).changes().empty());
}

TEST(Samples, AreReadWithoutFault) {
    const std::vector<fs::path> files = sampleFiles();
    ASSERT_FALSE(files.empty());
    for (const fs::path& file : files) {
        SCOPED_TRACE(file);
        const Result<XMLDocument> document = XMLDocument::load(file);
        ASSERT_TRUE(document) << document.failure().description();
        const auto catalogue = MediaCatalogue::of(document->node());
        std::vector<XMLNode> sequences;
        document->node().forEachDescendant({"sequence"}, [&](XMLNode sequence) {
            if (sequence.child("media")) sequences.push_back(sequence);
        });
        EXPECT_FALSE(sequences.empty());
        for (const XMLNode& sequence : sequences) check(sequence, catalogue);
    }
    if (files.size() == 1) GTEST_SKIP() << "the folder of real exports is not there";
}

}  // namespace
}  // namespace reelsweep::test
