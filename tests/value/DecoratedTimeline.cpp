#include "tests/value/DecoratedTimeline.h"

#include "tests/properties/Random.h"
#include "tests/properties/RandomTimeline.h"
#include "tests/timeline/Timeline.h"

#include <string_view>

namespace reelsweep::test {

namespace {

using Text = std::string;

Text file(const Text& id, const Text& path, const Text& rest = {}) {
    return "<file id='" + id + "'><pathurl>file:///media/" + path + "</pathurl>" + rest + "</file>";
}

Text size(const Text& width) {
    return "<media><video><samplecharacteristics><width>" + width +
           "</width><height>1080</height></samplecharacteristics></video></media>";
}

Text media(Random& random) {
    static const std::vector<Text> definitions = {
        file("F1", "a.mov", size("1920")), file("F2", "b.png", "<duration>1</duration>"),
        file("F3", "c.mp4"), file("F4", "d.mov", size("640")),
        file("F5", "e.png", "<duration>90</duration>")};
    const std::size_t number = random.index(definitions.size());
    if (random.chance(60)) return definitions[number];
    return "<file id='F" + std::to_string(number + 1) + "'/>";
}

Text nested(Random& random) {
    if (random.chance(30)) return "<sequence id='N'/>";
    return "<sequence id='N'><name>Scene</name><media><video><track>"
           "<clipitem><name>a</name><start>0</start><end>40</end></clipitem>"
           "<clipitem><name>b</name><start>60</start><end>90</end></clipitem></track><track>"
           "<clipitem><name>c</name><start>30</start><end>50</end><alphatype>straight</alphatype>"
           "</clipitem></track></video></media></sequence>";
}

Text filter(const Text& name, const Text& id, const Text& value, const Text& rest = {}) {
    return "<filter><effect><name>" + name + "</name><parameter><parameterid>" + id +
           "</parameterid><value>" + value + "</value>" + rest + "</parameter></effect></filter>";
}

Text speed(Random& random) {
    return "<filter><effect><name>Time Remap</name><effectid>timeremap</effectid><parameter>"
           "<parameterid>speed</parameterid><value>" +
           Text(random.chance(70) ? "50" : "100") + "</value></parameter></effect></filter>";
}

Text decorated(const Text& token, Random& random) {
    Text xml;
    const auto maybe = [&](int percent, const Text& more) {
        if (random.chance(percent)) xml += "{" + more + "}";
    };
    const bool isClip = token.find('~') == token.npos && token.find("<file") == token.npos &&
                        token.find("<sequence") == token.npos;
    if (isClip && random.chance(35))
        xml += "{" + (random.chance(15) ? nested(random) : media(random)) + "}";
    maybe(8, "<alphatype>none</alphatype>");
    maybe(6, "<alphatype>straight</alphatype>");
    maybe(5, speed(random));
    maybe(8, filter("Color Corrector", "mix", "100"));
    maybe(4, filter("Opacity", "opacity", "100",
                    "<keyframe><when>3</when><value>50</value></keyframe>"));
    maybe(3, "<enabled>false</enabled>");
    maybe(10, "<sourcetrack><trackindex>2</trackindex></sourcetrack>");
    return token + xml;
}

bool isTransition(const Text& token) { return token.find('x') < token.find('['); }

}  // namespace

Text decoratedTimeline(std::uint64_t seed) {
    Random random(seed * 7919);
    Text text;
    if (random.chance(40))
        text +=
            "F: {<format><samplecharacteristics><width>1920</width><height>1080</height>"
            "</samplecharacteristics></format>} ";
    for (const Text& token : timelineTokens(randomTimeline(seed))) {
        const bool isItem = token.find('[') != token.npos && token.front() != '{';
        if (!isItem)
            text += token + " ";
        else if (isTransition(token))
            text += token + (random.chance(50) ? "{<alignment>center</alignment>} " : " ");
        else
            text += decorated(token, random) + " ";
        const bool isTrack = token.back() == ':' && (token[0] == 'V' || token[0] == 'A');
        if (isTrack && random.chance(12)) text += "{<enabled>FALSE</enabled>} ";
        if (isTrack && token[0] == 'A' && random.chance(60))
            text += "{<outputchannelindex>" + std::to_string(random.upTo(1, 2)) +
                    "</outputchannelindex>} ";
    }
    return text;
}

}  // namespace reelsweep::test
