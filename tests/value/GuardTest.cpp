// A careful run changes nothing of the picture and the sound but what it was asked to.
#include "tests/properties/Random.h"
#include "tests/properties/RandomCheck.h"
#include "tests/timeline/Timeline.h"
#include "tests/value/DecoratedTimeline.h"
#include "tidy/TidySequence.h"
#include "timeline/DifferenceText.h"
#include "timeline/PictureDifference.h"
#include "timeline/Vocabulary.h"

#include <gtest/gtest.h>

namespace reelsweep::test {
namespace {

Result<SequenceLedger> tidied(XMLNode copy, XMLNode source, const OptionList& passes,
                              bool careful = true) {
    return tidySequence(copy, source,
                        {.passes = passes, .keepPicture = careful, .provesPicture = true});
}

std::string firstChange(const SequenceLedger& ledger) {
    for (const MediaType type : {MediaType::video, MediaType::audio})
        for (const Difference& difference : ledger.picture->differences(type))
            if (!difference.asked) return differenceText(difference, ledger.timecode);
    return "no change";
}

OptionList someOf(const OptionList& options, const std::string& seed) {
    Random random(std::hash<std::string>()(seed));
    OptionList some;
    for (const std::string& option : options)
        if (random.chance(60)) some.push_back(option);
    return some;
}

TEST(GuardProperty, NothingChangesUnasked) {
    const auto check = [](const std::string& text, const std::string& part) -> Fault {
        const OptionList runs[] = {defaultPasses(), allPasses(),
                                   part.empty() ? someOf(allPasses(), text) : timelineTokens(part)};
        for (const OptionList& options : runs) {
            if (!isMeant(part, joined(options))) continue;
            const Timeline timeline(text);
            const XMLNode copy = timeline.sequence.copy();
            const auto ledger = tidied(copy, timeline.sequence, options);
            if (!ledger) return {joined(options), ledger.failure().description()};
            if (!ledger->picture->isAsAsked()) return {joined(options), firstChange(*ledger)};
            if (!ledger->balances()) return {joined(options), "the ledger does not balance"};
        }
        return {};
    };
    expectOnRandomTimelines(check);
    expectOnRandomTimelines(check, decoratedTimeline);
}

// An item that comes from or goes to the end of all numbers is near everything.
bool goesOnForEver(const std::string& text) {
    const Timeline timeline(text);
    const auto read =
        reelsweep::Timeline::of(timeline.sequence, MediaCatalogue::of(timeline.sequence));
    for (const Track& track : read.tracks())
        for (const Item& item : track.items)
            for (const char* const edge : {"start", "end", "in", "out"}) {
                const EdgeText places = EdgeText::of(item.node.child(edge));
                const auto [least, most] = std::minmax({places.frames, places.wholeText});
                if (least < Frames{-1'000'000} || Frames{1'000'000} < most) return true;
            }
    return false;
}

// What cannot be had in one place is no reason to leave all the others as they are.
TEST(GuardProperty, WhatStandsFarFromAnyDifferenceIsTidied) {
    const auto check = [](const std::string& text, const std::string& part) -> Fault {
        const OptionList& options = allPasses();
        if (!isMeant(part, joined(options))) return {};
        const Timeline timeline(text);
        XMLNode track = timeline.firstVideoTrack();
        if (!track || goesOnForEver(text)) return {};
        const auto far = track.parseDetached(
            "<clipitem id=\"far\"><name>Far</name><enabled>FALSE</enabled>"
            "<start>90000000000</start><end>90000000010</end><in>0</in><out>10</out></clipitem>");
        if (!far) return {joined(options), far.failure().description()};
        track.appendChild(*far);
        const XMLNode copy = timeline.sequence.copy();
        const auto ledger = tidied(copy, timeline.sequence, options);
        if (!ledger) return {joined(options), ledger.failure().description()};
        if (serialise(copy).find("id=\"far\"") != std::string::npos)
            return {joined(options), "the disabled clip far behind is still there"};
        return {};
    };
    expectOnRandomTimelines(check);
    expectOnRandomTimelines(check, decoratedTimeline);
}

TEST(Guard, KeepsWhatALiteralRunWouldChange) {
    struct Row {
        const char* what;
        const char* timeline;
        OptionList passes;
        const char* careful;
        const char* literal;
        std::size_t kept;
    };
    const OptionList collapse = {"collapseTracks", "collapseUncompositedClips"};
    const Row rows[] = {
        {"a free place below", "V1: A[0,50) V2: B[50,90)", collapse,
         "V1: A[0,50) B[50,90) V2:", "V1: A[0,50) B[50,90) V2:", 0},
        {"a track that is off", "V1: {<enabled>FALSE</enabled>} V2: B[50,90)", collapse,
         "V1: {<enabled>FALSE</enabled>} V2: B[50,90)",
         "V1: B[50,90) {<enabled>FALSE</enabled>} V2:", 1},
        {"under an alpha channel", "V1: A[10,40) V2: B[0,90){<alphatype>straight</alphatype>}",
         collapse, "V1: A[10,40) V2: B[0,90){<alphatype>straight</alphatype>}",
         "V1: B[0,90){<alphatype>straight</alphatype>} V2:", 1},
        {"a disabled clip in a dissolve with an enabled one",
         "V1: A[0,-1) x[40,60) !B[-1,90)",
         {"removeDisabledVideoClips"},
         "V1: A[0,-1) x[40,60)",
         "V1:",
         1},
        {"a fade that goes",
         "V1: x[0,10) A[-1,50)@5:55",
         {"removeVideoTransitions"},
         "V1: A[0,50)@5:55",
         "V1: A[0,50)@15:55",
         0},
        {"an odd dissolve",
         "V1: A[0,-1)@0:61 x[40,51) B[-1,90)@7:57",
         {"removeVideoTransitions"},
         "V1: A[0,45)@0:55 B[45,90)@12:57",
         "V1: A[0,45)@0:56 B[46,90)@12:57",
         0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const Timeline timeline(row.timeline);
        const XMLNode careful = timeline.sequence.copy();
        const XMLNode literal = timeline.sequence.copy();
        const auto ledger = tidied(careful, timeline.sequence, row.passes);
        ASSERT_TRUE(ledger);
        EXPECT_EQ(notation(careful), row.careful);
        EXPECT_TRUE(ledger->picture->isAsAsked()) << firstChange(*ledger);
        EXPECT_EQ(ledger->kept.size(), row.kept);
        ASSERT_TRUE(tidied(literal, timeline.sequence, row.passes, false));
        EXPECT_EQ(notation(literal), row.literal);
    }
}

TEST(Guard, PutsSlugsBeforeTheWholeGroupWithAFileOfTheirOwn) {
    const Timeline timeline(
        "V1: x[10,20) A[-1,50) {<clipitem id=\"S\"><start>90</start>"
        "<end>99</end><file id=\"Slug1\"><mediaSource>Slug</mediaSource>"
        "</file></clipitem>}");
    const XMLNode copy = timeline.sequence.copy();
    const auto ledger = tidied(copy, timeline.sequence, {"replaceGaps"});
    ASSERT_TRUE(ledger);
    const XMLNode first = mainTracks(copy, MediaType::video).front().child("clipitem");
    EXPECT_EQ(first.child("end").stringValue(), "10");
    EXPECT_TRUE(first.nextSibling().isElement("transitionitem"));
    EXPECT_NE(first.child("file").attribute("id"), "Slug1");
    EXPECT_TRUE(first.child("file").child("mediaSource"));
    EXPECT_TRUE(ledger->picture->isAsAsked()) << firstChange(*ledger);
}

}  // namespace
}  // namespace reelsweep::test
