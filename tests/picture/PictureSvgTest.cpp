// The picture as a file.
#include "report/PictureSvg.h"
#include "tests/picture/Drawn.h"
#include "xml/XMLQuery.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

class TextSink final : public ByteSink {
public:
    bool write(std::string_view bytes) override {
        text += bytes;
        return true;
    }
    std::string text;
};

std::size_t matches(const XMLDocument& document, const std::string& query) {
    const auto nodes = selectNodes(document.node(), query);
    return nodes ? nodes->size() : 0;
}

TEST(PictureSvg, IsOneWellFormedFileThatNeedsNoOther) {
    const Timeline timeline(
        "S: {<rate><timebase>25</timebase></rate>} "
        "V1: A[0,90) !B[90,200) "
        "V2: C[20,40) x[300,320)");
    timeline.firstVideoTrack().child("clipitem").child("name").setText("Fish & <Chips> \"1\"");
    const DryRun run = drawn(timeline, allPasses());
    const DrawnSequence sequence{"A <title> & more", run.picture.get()};
    TextSink sink;
    writePictureSvg(std::span(&sequence, 1), 900, sink);
    const auto document = XMLDocument::parse(sink.text);
    ASSERT_TRUE(document) << document.failure().description() << sink.text;
    EXPECT_EQ(document->rootElement().attribute("width").value_or(""), "900");
    EXPECT_EQ(matches(*document, "//*[text()='A <title> & more']"), 1U);
    EXPECT_GE(matches(*document, "//*[contains(text(),'Fish & <Chips> \"1\"')]"), 2U);
    // A removed clip is struck through and says so: not by its colour alone.
    EXPECT_EQ(matches(*document, "//*[@text-decoration='line-through']"), 1U);
    EXPECT_GE(matches(*document, "//*[contains(text(),'removed')]"), 2U);
    EXPECT_EQ(matches(*document, "//*[contains(text(),'prefers-color-scheme: dark')]"), 1U);
    for (const char* const elsewhere : {"href", "url(", "<script", "<image", "@import"})
        EXPECT_EQ(sink.text.find(elsewhere), std::string::npos) << elsewhere;
    EXPECT_EQ(sink.text.find("nan"), std::string::npos);
}

}  // namespace
}  // namespace reelsweep::test
