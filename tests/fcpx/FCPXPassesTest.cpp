// The passes on FCPXML: small documents before and after.
#include "tests/timeline/Timeline.h"
#include "tidy/FCPXPasses.h"
#include "time/RationalTime.h"
#include "xml/XMLDocument.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace reelsweep::test {
namespace {

struct Row {
    const char* what;
    std::string before;  ///< what stands in `fcpxml`
    std::string after;
    std::string kept = {};  ///< reasons
};

std::string inSpine(const std::string& clips, const std::string& resources = "") {
    return "<resources>" + resources + "</resources><project><sequence><spine>" + clips +
           "</spine></sequence></project>";
}

// Documents are compared without the difference between "<a></a>" and "<a/>".
std::string normal(const std::string& text) {
    const auto document = XMLDocument::parse("<fcpxml version=\"1.11\">" + text + "</fcpxml>");
    return document ? serialise(document->rootElement()) : document.failure().description();
}

void expectRows(const OptionList& passes, const std::vector<Row>& rows,
                const std::vector<std::string>& kinds = usualFCPXMarkerKinds()) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        auto document = XMLDocument::parse("<fcpxml version=\"1.11\">" + row.before + "</fcpxml>");
        ASSERT_TRUE(document) << document.failure().description();
        SequenceLedger ledger;
        ASSERT_TRUE(applyFCPXPasses(document->node(), passes, kinds, ledger, {}));
        EXPECT_EQ(serialise(document->rootElement()), normal(row.after));
        std::string kept;
        for (const KeptItem& item : ledger.kept) kept += (kept.empty() ? "" : "; ") + item.reason;
        EXPECT_EQ(kept, row.kept);
        EXPECT_TRUE(ledger.balances());
        // Once is enough.
        const std::size_t changes = ledger.changes.size();
        ASSERT_TRUE(applyFCPXPasses(document->node(), passes, kinds, ledger, {}));
        EXPECT_EQ(ledger.changes.size(), changes);
    }
}

TEST(FCPXPasses, TakeEffectsOfClipsButNotOfTransitions) {
    const std::string transition =
        "<transition duration=\"1s\"><filter-video ref=\"r4\"/><filter-audio ref=\"r5\"/>"
        "</transition>";
    const auto clip = [&](const std::string& inside) {
        return inSpine("<clip duration=\"5s\"><adjust-volume amount=\"-3dB\"/>" + inside +
                       "</clip>" + transition);
    };
    const std::string picture =
        "<filter-video-mask><mask-shape/><filter-video ref=\"r1\"/></filter-video-mask>"
        "<filter-video ref=\"r1\" enabled=\"0\"><param name=\"x\"/></filter-video>";
    const std::string sound = "<filter-audio ref=\"r2\"/>";
    expectRows({"fcpxRemoveVideoFilters"},
               {{"picture", clip(picture + sound), clip(sound)},
                {"in an event, a multicam and a compound clip",
                 "<resources><media><multicam><mc-angle><clip>" + picture +
                     "</clip></mc-angle></multicam></media><media><sequence><spine><clip>" +
                     picture + "</clip></spine></sequence></media></resources><event><clip>" +
                     picture + sound + "</clip></event>",
                 "<resources><media><multicam><mc-angle><clip/></mc-angle></multicam></media>"
                 "<media><sequence><spine><clip/></spine></sequence></media></resources><event>"
                 "<clip>" +
                     sound + "</clip></event>"}});
    expectRows({"fcpxRemoveAudioFilters"},
               {{"sound", clip(picture + sound), clip(picture)},
                {"of an angle", inSpine("<mc-clip><mc-source>" + sound + "</mc-source></mc-clip>"),
                 inSpine("<mc-clip><mc-source/></mc-clip>")}});
}

TEST(FCPXPasses, TakeMarkersOfTheKindsThatAreAskedFor) {
    const std::string marker = "<marker start=\"1s\" value=\"a\"/>";
    const std::string chapter = "<chapter-marker start=\"1s\" value=\"b\"/>";
    const std::string keyword = "<keyword start=\"1s\" value=\"c\"/>";
    const std::string rating = "<rating start=\"1s\" value=\"favorite\"/>";
    const std::string all = marker + chapter + keyword + rating;
    // Two projects, and clips alone in an event.
    const auto file = [](const std::string& inside) {
        const std::string project =
            "<project><sequence><spine><clip>" + inside + "</clip></spine></sequence></project>";
        return "<library><event>" + project + project + "<asset-clip>" + inside +
               "</asset-clip></event></library>";
    };
    expectRows({"fcpxRemoveMarkers"}, {{"usual", file(all), file(keyword + rating)}});
    expectRows({"fcpxRemoveMarkers"}, {{"ratings", file(all), file(marker + chapter + keyword)}},
               {"rating"});
}

TEST(FCPXPasses, PutAGapInThePlaceOfADisabledClip) {
    const std::string title = "<title ref=\"r2\" lane=\"1\" offset=\"3s\" duration=\"1s\"/>";
    const std::string asset = "<asset id=\"r1\" start=\"100s\" duration=\"1001/24s\"/>";
    const std::string gap = "<gap name=\"Gap\" offset=\"2s\" duration=\"1001/24s\"/>";
    const auto off = [](const std::string& text) { return text + " enabled=\"0\""; };
    const std::string on = "<video ref=\"r2\" duration=\"1s\"/>";
    const std::string offVideo = "<video ref=\"r2\" duration=\"1s\" enabled=\"0\"/>";
    expectRows(
        {"fcpxRemoveDisabled"},
        {{"what hangs on it stays",
          inSpine("<clip enabled=\"0\" offset=\"2s\" start=\"3s\" duration=\"4s\"><video/>" +
                  title + "<marker start=\"3s\"/></clip>"),
          inSpine("<gap name=\"Gap\" offset=\"2s\" start=\"3s\" duration=\"4s\">" + title +
                  "</gap>")},
         {"its media says how long it is",
          inSpine("<" + off("asset-clip ref=\"r1\" offset=\"2s\"") + "/>", asset),
          inSpine("<gap name=\"Gap\" offset=\"2s\" start=\"100s\" duration=\"1001/24s\"/>", asset)},
         {"nothing says it", inSpine("<" + off("asset-clip ref=\"r9\"") + "/>"),
          inSpine("<" + off("asset-clip ref=\"r9\"") + "/>"), "nothing says how long it is"},
         {"connected",
          inSpine("<clip duration=\"9s\"><" + off("audio lane=\"-1\" duration=\"1s\"") + "/>" +
                  title + "</clip>"),
          inSpine("<clip duration=\"9s\">" + title + "</clip>")},
         {"a storyline of its own",
          inSpine("<gap duration=\"9s\"><spine lane=\"1\">" + offVideo + on + "</spine></gap>"),
          inSpine("<gap duration=\"9s\"><spine lane=\"1\"><gap name=\"Gap\" duration=\"1s\"/>" +
                  on + "</spine></gap>")},
         {"a choice that does not show", inSpine("<audition>" + on + offVideo + on + "</audition>"),
          inSpine("<audition>" + on + on + "</audition>")},
         {"the choice that shows", inSpine("<audition>" + offVideo + on + "</audition>"),
          inSpine("<audition>" + offVideo + on + "</audition>"),
          "it is what its audition shows, and other choices are enabled"},
         {"all choices", inSpine("<audition offset=\"7s\">" + offVideo + offVideo + "</audition>"),
          inSpine("<gap name=\"Gap\" offset=\"7s\" duration=\"1s\"/>")},
         {"what is no clip of a time line",
          inSpine("<clip duration=\"1s\"><filter-video enabled=\"0\"/></clip>") +
              "<event><clip enabled=\"0\"/></event>",
          inSpine("<clip duration=\"1s\"><filter-video enabled=\"0\"/></clip>") +
              "<event><clip enabled=\"0\"/></event>"}});
}

TEST(FCPXPasses, TakeResourcesThatNothingInUseRefersTo) {
    const std::string used =
        "<format id=\"r1\"/><asset id=\"r2\" format=\"r1\"/><effect id=\"r3\"/>"
        "<media id=\"r4\"><sequence format=\"r1\"><spine><asset-clip "
        "ref=\"r2\"/></spine></sequence>"
        "</media><locator id=\"r5\"/>";
    const std::string unused =
        "<format id=\"r11\"/><asset id=\"r12\" format=\"r11\"/><media id=\"r13\"><sequence>"
        "<spine><asset-clip ref=\"r12\"/><ref-clip ref=\"r13\"/></spine></sequence></media>";
    const auto file = [](const std::string& resources) {
        return inSpine(
            "<ref-clip ref=\"r4\"><filter-video ref=\"r3\"/><tracking-shape "
            "dataLocator=\"r5\"/></ref-clip>",
            resources);
    };
    expectRows(
        {"fcpxRemoveUnusedResources"},
        {{"chains and rings", file(used + unused), file(used)},
         {"an event uses its clips",
          "<resources><asset id=\"r1\"/></resources><event>"
          "<asset-clip ref=\"r1\"/></event>",
          "<resources><asset id=\"r1\"/></resources><event><asset-clip ref=\"r1\"/></event>"},
         {"in a text", "<resources><asset id=\"r1\"/></resources><note>r0, r1</note>",
          "<resources><asset id=\"r1\"/></resources><note>r0, r1</note>"}});
}

TEST(FCPXPasses, PutTheActiveAngleInThePlaceOfAMulticamClip) {
    const std::string multicam =
        "<asset id=\"r1\" start=\"100s\"/><media id=\"r2\"><multicam><mc-angle angleID=\"a\">"
        "<gap offset=\"0s\" duration=\"10s\"/><asset-clip ref=\"r1\" offset=\"10s\" name=\"A\" "
        "duration=\"1001/30s\"><filter-video ref=\"r7\"/></asset-clip></mc-angle>"
        "<mc-angle angleID=\"b\"><clip offset=\"0s\" start=\"5s\" duration=\"90s\"><timeMap/>"
        "</clip></mc-angle></multicam></media>";
    const auto clip = [](const std::string& times, const std::string& angle,
                         const std::string& rest = "") {
        return "<mc-clip ref=\"r2\" name=\"M\" offset=\"7s\" " + times + "><mc-source angleID=\"" +
               angle + "\" srcEnable=\"all\"/>" + rest + "</mc-clip>";
    };
    const std::string title = "<title ref=\"r2\" lane=\"1\" offset=\"1001/50s\" duration=\"1s\"/>";
    const std::string marker = "<marker start=\"21s\" value=\"m\"/>";
    const std::string in = "start=\"20s\" duration=\"5s\"";
    const auto stays = [&](const char* what, const std::string& mcClip, const char* reason) {
        return Row{what, inSpine(mcClip, multicam), inSpine(mcClip, multicam), reason};
    };
    expectRows(
        {"fcpxFlattenMulticam"},
        {{"what hangs on it moves to the clip's own time",
          inSpine(clip(in, "a", title + marker), multicam),
          inSpine("<asset-clip ref=\"r1\" offset=\"7s\" name=\"M\" duration=\"5s\" start=\"110s\">"
                  "<title ref=\"r2\" lane=\"1\" offset=\"5501/50s\" duration=\"1s\"/>"
                  "<marker start=\"111s\" value=\"m\"/><filter-video ref=\"r7\"/></asset-clip>",
                  multicam)},
         stays("over a cut of its angle", clip("start=\"5s\" duration=\"9s\"", "a"),
               "no single clip of its angle covers it"),
         stays("a gap", clip("start=\"1s\" duration=\"2s\"", "a"),
               "its angle does not show media there"),
         stays("speed", clip(in, "b"), "the speed of its angle is changed"),
         stays("no such angle", clip(in, "c"), "its multicam does not have the active angle"),
         stays("two angles",
               "<mc-clip ref=\"r2\" " + in +
                   "><mc-source angleID=\"a\" srcEnable=\"video\"/><mc-source angleID=\"b\" "
                   "srcEnable=\"audio\"/></mc-clip>",
               "picture and sound are of different angles"),
         stays("adjusted", clip(in, "a", "<adjust-volume amount=\"3dB\"/>"), "it is adjusted"),
         stays("elsewhere", "<mc-clip ref=\"r9\" " + in + "/>",
               "its multicam is not in the file")});
}

TEST(RationalTime, IsExact) {
    const struct {
        const char* a;
        const char* b;
        const char* sum;
    } rows[] = {{"1001/30000s", "1001/24000s", "3003/40000s"},
                {"5s", "-5s", "0s"},
                {"1/3s", "2/3s", "1s"},
                {"9223372036854775807s", "1s", ""},
                {"1/9223372036854775807s", "1/9223372036854775806s", ""},
                {"3600s", "100/2400s", "86401/24s"}};
    for (const auto& row : rows) {
        const auto a = RationalTime::parse(row.a);
        const auto b = RationalTime::parse(row.b);
        ASSERT_TRUE(a && b) << row.a;
        const auto sum = RationalTime::sum(*a, *b);
        EXPECT_EQ(sum ? sum->text() : "", row.sum);
        if (!sum) continue;
        EXPECT_EQ(RationalTime::difference(*sum, *b), a);
    }
    EXPECT_LT(*RationalTime::parse("1001/30000s"), *RationalTime::parse("1001/29999s"));
    for (const char* const text :
         {"", "s", "5", "1/0s", "1/-2s", "1.5s", "/2s", "1/2/3s", " 1s", "9223372036854775808s"})
        EXPECT_FALSE(RationalTime::parse(text)) << text;
}

}  // namespace
}  // namespace reelsweep::test
