#include "tests/properties/RandomTimeline.h"

#include "tests/platform/Matching.h"
#include "tests/properties/Random.h"

#include <vector>

namespace reelsweep::test {

namespace {

struct Item {
    std::string opening;  // "!" or "~" or both
    std::string name;
    std::string start;
    std::string end;
    std::string in;  // empty: the notation's default
    std::string out;
    std::string rest;  // switches

    std::string text() const {
        std::string token = opening + name + "[" + start + "," + end + ")";
        if (!in.empty()) token += "@" + in + ":" + out;
        return token + rest;
    }
};

class Maker {
public:
    explicit Maker(std::uint64_t seed) : random_(seed) {}

    std::string make() {
        const bool malformed = random_.chance(35);
        const bool large = random_.chance(1, 300);
        const int video = large ? random_.upTo(2, 3) : random_.upTo(1, random_.chance(25) ? 6 : 3);
        std::string text = sequenceSettings();
        for (int t = 1; t <= video; ++t) text += track("V", t, malformed, large);
        const int audio = random_.upTo(0, 2);
        for (int t = 1; t <= audio; ++t) text += track("A", t, malformed, large);
        return text;
    }

private:
    std::string sequenceSettings() {
        std::string text = "S: ";
        if (random_.chance(70)) text += "{<rate><timebase>25</timebase></rate>} ";
        if (random_.chance(20)) text += "{<marker><name>M</name></marker>} ";
        if (random_.chance(10)) text += "{<filter><effect/></filter>} ";
        // The first media and the first video and audio are worked on, the others are not.
        if (random_.chance(2))
            text +=
                "{<media><video><track><clipitem id='E'><enabled>FALSE</enabled></clipitem></track>"
                "<track/></video></media>} ";
        return text;
    }

    std::string track(const std::string& letter, int number, bool malformed, bool large) {
        items_.clear();
        time_ = random_.chance(50) ? 0 : random_.upTo(0, 4) * 10;
        chained_ = random_.chance(20);
        const int most = random_.chance(15) ? 0 : random_.chance(20) ? 12 : 6;
        const int count = large ? random_.upTo(80, 150) : random_.upTo(0, most);
        while (static_cast<int>(items_.size()) < count) addClip(letter == "V");
        if (malformed) spoil();
        std::string text = letter + std::to_string(number) + ": ";
        if (random_.chance(10)) text += "e ";
        for (const Item& item : items_) {
            if (malformed && random_.chance(5)) text += "# ";
            if (malformed && random_.chance(2))
                text += "{<outputchannelindex>1</outputchannelindex>} ";
            text += item.text() + " ";
        }
        // Many editing systems write a track's settings after its items.
        if (random_.chance(20)) text += "e {<locked>FALSE</locked>} ";
        return text;
    }

    std::string name(const char* prefix) { return prefix + std::to_string(++names_); }
    int length() { return random_.chance(70) ? random_.upTo(1, 6) * 10 : random_.upTo(1, 60); }

    void addClip(bool video) {
        if (random_.chance(chained_ ? 5 : 30)) time_ += length();
        Item clip;
        clip.name = name("C");
        clip.start = std::to_string(time_);
        if (random_.chance(chained_ ? 95 : 25)) addTransition(clip);
        time_ += length();
        clip.end = std::to_string(time_);
        if (random_.chance(10)) clip.opening += "!";
        if (random_.chance(15)) {
            clip.opening += "~";
            clip.name = name("G");
            clip.rest += random_.chance(50) ? "=Text" : "=Slug";
        }
        if (random_.chance(30)) {
            clip.in = std::to_string(random_.upTo(-20, 200));
            clip.out = std::to_string(random_.upTo(0, 300));
        }
        addSwitches(clip, video);
        items_.push_back(clip);
        if (random_.chance(10)) addTrailingTransition();
    }

    // A transition before the clip that starts now; each neighbour may run into it.
    void addTransition(Item& next) {
        const int half = random_.upTo(1, 10);
        Item transition;
        transition.name = name("x");
        transition.start = std::to_string(time_ - (random_.chance(80) ? half : 0));
        transition.end = std::to_string(time_ + half + random_.upTo(0, 1));
        const int touching = chained_ ? 97 : 75;
        if (random_.chance(touching)) next.start = "-1";
        if (!items_.empty() && random_.chance(touching)) items_.back().end = "-1";
        items_.push_back(transition);
    }

    void addTrailingTransition() {
        Item transition;
        transition.name = name("x");
        transition.start = std::to_string(time_ - random_.upTo(0, 9));
        transition.end = std::to_string(time_ + random_.upTo(0, 9));
        if (random_.chance(75)) items_.back().end = "-1";
        items_.push_back(transition);
    }

    void addSwitches(Item& clip, bool video) {
        const auto maybe = [&](int percent, const char* text) {
            if (random_.chance(percent)) clip.rest += text;
        };
        maybe(6, "%60");
        maybe(4, "%100");
        maybe(3, "^screen");
        maybe(4, "^normal");
        maybe(3, "+Curl");
        maybe(6, "+Sharpen");
        maybe(video ? 2 : 20, random_.chance(60) ? "*0" : "*0.5");
        maybe(5, "'Note");
        maybe(5, "&FALSE");
        if (random_.chance(6)) clip.rest += filter();
        maybe(2, "{<file><mediaSource>Slug</mediaSource></file>}");
        maybe(2, "{<enabled>TRUE</enabled>}");
        maybe(5, "{<duration>300</duration>}");
        maybe(2,
              "{<sequence><media><video><track><clipitem><start>3</start><end>900</end></clipitem>"
              "</track><track/></video></media></sequence>}");
    }

    // A filter with names and values that decide whether a clip is opaque, in any mixture.
    std::string filter() {
        static const std::vector<std::string> names = {"Opacity", "Crop", "Star", "Blur", ""};
        static const std::vector<std::string> ids = {"opacity", "mix", "edgefeather", "left", ""};
        static const std::vector<std::string> values = {"0", "99.5", "100", "-3", "+7", "x", ""};
        std::string xml = "{<filter>";
        for (int effects = random_.upTo(1, 2); effects > 0; --effects) {
            xml += "<effect><name>" + random_.one(names) + "</name>";
            for (int parameters = random_.upTo(0, 2); parameters > 0; --parameters)
                xml += "<parameter><parameterid>" + random_.one(ids) + "</parameterid><value>" +
                       random_.one(values) + "</value></parameter>";
            xml += "</effect>";
        }
        return xml + "</filter>}";
    }

    void spoil() {
        static const std::vector<std::string> odd = [] {
            std::vector<std::string> texts = words(
                "- none -1 -1 -1 0 12x 100.5 +5 _30 abc 3|70 -20 1e2 -1.0 -1|50 50|-1 99999999999 "
                "9223372036854775807 -9223372036854775808");
            texts[1].clear();
            return texts;
        }();
        // Clips that end before they start make merging grow a timeline: few of them when long.
        const int often = items_.size() > 20 ? 1 : 15;
        for (Item& item : items_) {
            if (random_.chance(often)) item.start = random_.one(odd);
            if (random_.chance(often)) item.end = random_.one(odd);
            if (random_.chance(5)) {
                item.in = random_.one(odd);
                item.out = random_.one(odd);
            }
            if (random_.chance(often / 3)) std::swap(item.start, item.end);
            if (random_.chance(often / 5)) partText(item);
        }
        if (items_.size() > 1 && random_.chance(40)) {
            const std::size_t at = random_.index(items_.size());
            std::swap(items_[at], items_[random_.index(items_.size())]);
        }
        if (!items_.empty() && random_.chance(30)) items_.push_back(random_.one(items_));
    }

    // A comment or CDATA parts a time's text: some readings take all of it, some the first part.
    void partText(Item& item) {
        const bool isStart = random_.chance(50);
        std::string& time = isStart ? item.start : item.end;
        if (time.size() < 2 || time.find_first_not_of("-0123456789") != time.npos) return;
        const std::string first = time.substr(0, 1), rest = time.substr(1);
        const std::string element = isStart ? "start" : "end";
        item.rest +=
            "{<" + element + ">" +
            (random_.chance(50) ? first + "<!--c-->" + rest : "<![CDATA[" + first + "]]>" + rest) +
            "</" + element + ">}";
        time = "-";
    }

    Random random_;
    std::vector<Item> items_;
    int time_ = 0;
    bool chained_ = false;  // a track of clips that transitions join
    int names_ = 0;
};

}  // namespace

std::string randomTimeline(std::uint64_t seed) { return Maker(seed).make(); }

}  // namespace reelsweep::test
