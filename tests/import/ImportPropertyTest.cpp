// On random timelines and with random passes: the step leaves no fault that the source had not.
//
// REELSWEEP_PROPERTY_COUNT timelines (2000) from REELSWEEP_PROPERTY_SEED (1) on.
#include "tests/import/ImportRun.h"
#include "tests/properties/Random.h"
#include "tests/properties/RandomTimeline.h"
#include "timeline/SequencePlaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace reelsweep::test {
namespace {

std::uint64_t fromEnvironment(const char* name, std::uint64_t fallback) {
    const char* const text = std::getenv(name);
    return text ? std::strtoull(text, nullptr, 10) : fallback;
}

/// Gives the clips of a timeline what importers resolve: links in groups of two or three, files
/// that several clips share, nested sequences, ticks.
class Furnisher {
public:
    Furnisher(XMLNode sequence, std::uint64_t seed) : sequence_(sequence), random_(seed) {}

    void furnish() {
        const SequencePlaces places = SequencePlaces::of(sequence_);
        for (const PlacedTrack& track : places.tracks())
            for (const PlacedItem& item : track.items)
                if (item.item->kind != ItemKind::transition) clips_.push_back({&track, &item});
        for (const Clip& clip : clips_) add(clip.item->item->node, media());
        for (const Clip& clip : clips_)
            if (random_.chance(30)) addTicks(clip, places.rate());
        for (std::size_t links = clips_.size() / 3; links > 0; --links) link();
    }

private:
    struct Clip {
        const PlacedTrack* track;
        const PlacedItem* item;
    };

    void add(XMLNode clip, const std::string& xml) const {
        const Result<XMLNode> element = clip.parseDetached(xml);
        ASSERT_TRUE(element);
        clip.appendChild(*element);
    }

    // Defined at the first use, referred to later.
    std::string media() {
        const std::string number = std::to_string(random_.upTo(1, 5));
        const bool isFile = random_.chance(85);
        const std::string tag = isFile ? "file" : "sequence";
        const std::string open = "<" + tag + " id=\"" + tag + number + "\"";
        if (!defined_.insert(tag + number).second) return open + "/>";
        if (isFile) return open + "><name>" + number + ".mov</name></file>";
        return open + "><name>Nested " + number + "</name><media><video><track><clipitem id=\"N" +
               number +
               "\"><name>N</name><start>0</start><end>9</end><in>0</in><out>9</out>"
               "<file id=\"inner" +
               number + "\"><name>i</name></file><filter/></clipitem></track></video></media>" +
               "</sequence>";
    }

    void addTicks(const Clip& clip, FrameRate rate) const {
        if (rate.timebase != 25 || !clip.item->times.in || !clip.item->times.out) return;
        const auto ticks = [](Frames frame) {
            // Malformed times may be any number; these wrap around.
            const auto count = static_cast<std::uint64_t>(frame.count) * 10'160'640'000;
            return (Frames{static_cast<std::int64_t>(count)}).text();
        };
        const XMLNode node = clip.item->item->node;
        add(node, "<pproTicksIn>" + ticks(*clip.item->times.in) + "</pproTicksIn>");
        add(node, "<pproTicksOut>" + ticks(*clip.item->times.out) + "</pproTicksOut>");
    }

    void link() {
        std::vector<Clip> group;
        for (int i = random_.upTo(2, 3); i > 0; --i) {
            const Clip clip = random_.one(clips_);
            if (linked_.insert(clip.item).second) group.push_back(clip);
        }
        for (const Clip& from : group) {
            for (const Clip& to : group) {
                const auto text = [](const char* name, int number) {
                    const std::string tag(name);
                    return "<" + tag + ">" + std::to_string(number) + "</" + tag + ">";
                };
                const bool video = to.track->label.video;
                add(from.item->item->node,
                    "<link><linkclipref>" +
                        std::string(to.item->item->node.attribute("id").value_or("")) +
                        "</linkclipref><mediatype>" + (video ? "video" : "audio") + "</mediatype>" +
                        text("trackindex", to.track->label.number) +
                        text("clipindex", to.item->index) + (video ? "" : text("groupindex", 1)) +
                        "</link>");
            }
        }
    }

    XMLNode sequence_;
    Random random_;
    std::vector<Clip> clips_;
    std::set<std::string> defined_;
    std::set<const PlacedItem*> linked_;
};

OptionList somePasses(Random& random) {
    OptionList some;
    for (const std::string& option : allPasses())
        if (random.chance(50)) some.push_back(option);
    return some;
}

bool isPlaceFault(const ImportFault& fault) { return fault.kind >= ImportFaultKind::sourceLength; }
bool anyPlaceFault(const std::vector<ImportFault>& faults) {
    return std::any_of(faults.begin(), faults.end(), [](const ImportFault& fault) {
        return isPlaceFault(fault) && fault.kind != ImportFaultKind::sourceLength;
    });
}

TEST(ImportProperty, TheStepLeavesNoFaultThatTheSourceHadNot) {
    const std::uint64_t first = fromEnvironment("REELSWEEP_PROPERTY_SEED", 1);
    const std::uint64_t count = fromEnvironment("REELSWEEP_PROPERTY_COUNT", 2000);
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        const Timeline timeline(randomTimeline(seed));
        Furnisher(timeline.sequence, seed).furnish();
        const bool intoDocument = random.chance(50);
        const std::vector<XMLNode> sources = namedSequences(timeline.document);
        const OptionList passes = somePasses(random);
        const auto before = importFaults(timeline.document.node());
        ImportRun run(timeline.document, sources, passes);
        const std::string literal = notation(run.copy());
        run.makeSafe(intoDocument);
        const std::string once = serialise(run.copy());
        const XMLDocument delivered = run.deliver(intoDocument);
        std::string options;
        for (const std::string& pass : passes) options += pass + " ";
        auto after = importFaults(delivered.node());
        // Where the source does not say where its items are, only what is not about places counts.
        const bool isSound = !anyPlaceFault(before);
        if (!isSound) std::erase_if(after, isPlaceFault);
        const std::string wrong = newFaults(before, after);
        ASSERT_EQ(wrong, "") << options << "\n  source  " << notation(timeline.sequence)
                             << "\n  literal " << literal << "\n  safe    " << notation(run.copy());
        run.makeSafe(intoDocument);
        ASSERT_TRUE(serialise(run.copy()) == once || !isSound) << "changes something a second time";
    }
}

}  // namespace
}  // namespace reelsweep::test
