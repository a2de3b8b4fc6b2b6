#include "report/PictureSvg.h"

#include "base/Format.h"
#include "report/PictureColours.h"
#include "report/PictureLabel.h"
#include "report/PictureLayout.h"
#include "report/ReasonText.h"
#include "report/SvgText.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

constexpr double margin = 16;
constexpr double gutter = 40;  // for the names of tracks
constexpr double rowHeight = 30;
constexpr double rowGap = 4;
constexpr double rulerHeight = 24;
constexpr double markSpacing = 110;
constexpr std::size_t mostKept = 12;

// A class of the style sheet, with what it stands for in light surroundings. Dark ones replace it.
struct Style {
    const char* name;
    const char* property;
    Colour PictureColours::*colour;

    std::string attributes() const {
        return formatText("class=\"%@\" %@=\"%@\"", name, property,
                          svgColour(lightColours.*colour));
    }
};

constexpr Style background{"bg", "fill", &PictureColours::background};
constexpr Style lane{"ln", "fill", &PictureColours::lane};
constexpr Style words{"tx", "fill", &PictureColours::text};
constexpr Style ink{"ik", "stroke", &PictureColours::text};
constexpr Style quiet{"qt", "fill", &PictureColours::quiet};
constexpr Style ticks{"tk", "stroke", &PictureColours::line};
constexpr Style badge{"bd", "fill", &PictureColours::badge};
constexpr Style onBadge{"ob", "fill", &PictureColours::onBadge};

std::string darkRules() {
    std::string rules;
    for (const Style* const style :
         {&background, &lane, &words, &ink, &quiet, &ticks, &badge, &onBadge})
        rules += formatText(".%@{%@:%@}", style->name, style->property,
                            svgColour(darkColours.*style->colour));
    const auto add = [&](const char* name, const ClipColours& colours) {
        rules += formatText(".%@{fill:%@;stroke:%@}", name, svgColour(colours.fill),
                            svgColour(colours.outline));
    };
    add("c0", darkColours.same);
    add("c1", darkColours.changed);
    add("c2", darkColours.trimmed);
    add("c3", darkColours.moved);
    add("c4", darkColours.removed);
    add("c5", darkColours.added);
    add("cs", darkColours.slug);
    return rules;
}

std::string clipAttributes(const DrawnClip& clip) {
    const ClipColours& colours = lightColours.of(clip);
    const bool isGrey = &colours == &lightColours.slug;
    const std::string name =
        isGrey ? std::string("cs") : "c" + std::to_string(static_cast<int>(clip.fate));
    return formatText("class=\"%@\" fill=\"%@\" stroke=\"%@\"", name, svgColour(colours.fill),
                      svgColour(colours.outline));
}

enum class Hatching { none, plain, crossed };

struct LegendEntry {
    std::string name;
    DrawnClip clip;
    Hatching hatching = Hatching::none;
};

// What occurs in the pictures, and nothing else.
std::vector<LegendEntry> legendOf(std::span<const DrawnSequence> sequences) {
    const auto any = [&](auto matches) {
        return std::any_of(sequences.begin(), sequences.end(), [&](const DrawnSequence& drawn) {
            const auto isOn = [&](const DrawnSide& side) {
                return std::any_of(side.clips.begin(), side.clips.end(), matches);
            };
            return isOn(drawn.picture->before()) || isOn(drawn.picture->after());
        });
    };
    std::vector<LegendEntry> entries;
    const std::pair<ClipFate, const char*> fates[] = {
        {ClipFate::removed, "removed: struck through"},
        {ClipFate::moved, "moved: bar below"},
        {ClipFate::trimmed, "trimmed: bar at the cut"},
        {ClipFate::added, "added: dashed"},
        {ClipFate::changed, "changed inside: dot"}};
    for (const auto& [fate, name] : fates) {
        DrawnClip clip;
        clip.fate = fate;
        const ClipFate wanted = fate;
        if (any([wanted](const DrawnClip& c) { return c.fate == wanted && !c.isSlug; }))
            entries.push_back({name, clip});
    }
    DrawnClip slug;
    slug.isSlug = true;
    if (any([](const DrawnClip& c) { return c.isSlug; })) entries.push_back({"slug: grey", slug});
    if (any([](const DrawnClip& c) { return c.isOff; }))
        entries.push_back({"disabled: hatched", {}, Hatching::plain});
    if (any([](const DrawnClip& c) { return c.hiddenCount > 0; }))
        entries.push_back({"hidden: cross-hatched", {}, Hatching::crossed});
    if (any([](const DrawnClip& c) { return c.kept != noEntry; }))
        entries.push_back({"numbered: kept, see its reason", {}});
    return entries;
}

// One file, from the top down.
class Writer {
public:
    Writer(int width, ByteSink& sink, SvgForm form) : width_(width), sink_(sink), form_(form) {}

    void write(std::span<const DrawnSequence> sequences);

private:
    void put(const std::string& text) { body_ += text; }
    void rectangle(double x, double y, double w, double h, const std::string& attributes);
    void line(double x1, double y1, double x2, double y2, const std::string& attributes);
    void text(double x, double y, const std::string& attributes, const std::string& text);
    void addSequence(const DrawnSequence& sequence);
    void addRuler(const TimelinePicture& picture);
    void addSide(const TimelinePicture& picture, PictureSide side);
    void addRow(const TimelinePicture& picture, PictureSide side, const DrawnRow& row);
    void addClip(const TimelinePicture& picture, ClipPlace place, const ClipBox& box);
    void hatch(double x, double y, double w, double h, bool isCrossed);
    void addHatching(const TimelinePicture& picture, ClipPlace place, double x, double w);
    void addMarks(const TimelinePicture& picture, ClipPlace place, double x, double w);
    void addLabel(const TimelinePicture& picture, ClipPlace place, double x, double w);
    void addTransition(double x, double w);
    void addCrowd(const ClipCrowd& crowd);
    void addLegend(std::span<const DrawnSequence> sequences);
    void addKept(const TimelinePicture& picture);
    double left() const { return margin + gutter; }

    int width_;
    ByteSink& sink_;
    SvgForm form_;
    PictureView view_;
    std::string body_;
    double y_ = margin;
};

void Writer::rectangle(double x, double y, double w, double h, const std::string& attributes) {
    put(formatText("<rect x=\"%@\" y=\"%@\" width=\"%@\" height=\"%@\" %@/>\n", svgNumber(x),
                   svgNumber(y), svgNumber(w), svgNumber(h), attributes));
}

void Writer::line(double x1, double y1, double x2, double y2, const std::string& attributes) {
    put(formatText("<line x1=\"%@\" y1=\"%@\" x2=\"%@\" y2=\"%@\" %@/>\n", svgNumber(x1),
                   svgNumber(y1), svgNumber(x2), svgNumber(y2), attributes));
}

void Writer::text(double x, double y, const std::string& attributes, const std::string& label) {
    put(formatText("<text x=\"%@\" y=\"%@\" %@>%@</text>\n", svgNumber(x), svgNumber(y), attributes,
                   escaped(label)));
}

void Writer::write(std::span<const DrawnSequence> sequences) {
    for (const DrawnSequence& sequence : sequences) addSequence(sequence);
    addLegend(sequences);
    const std::string title =
        sequences.size() == 1 ? sequences.front().title : std::string("Timelines");
    if (form_ == SvgForm::file) sink_.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    sink_.write(formatText(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %i %@\" width=\"%i\" "
        "height=\"%@\" font-family=\"Helvetica, Arial, sans-serif\" font-size=\"11\" role=\"img\" "
        "aria-label=\"%@ before and after tidying\">\n",
        width_, svgNumber(y_), width_, svgNumber(y_), escaped(title)));
    sink_.write("<style>@media (prefers-color-scheme: dark) {" + darkRules() + "}</style>\n");
    sink_.write(formatText("<rect width=\"%i\" height=\"%@\" %@/>\n", width_, svgNumber(y_),
                           background.attributes()));
    sink_.write(body_);
    sink_.write("</svg>\n");
}

void Writer::addSequence(const DrawnSequence& sequence) {
    const TimelinePicture& picture = *sequence.picture;
    view_ = PictureView::fitting(picture.range(), width_ - left() - margin);
    if (form_ == SvgForm::file) {
        y_ += 14;
        text(margin, y_, words.attributes() + " font-size=\"16\" font-weight=\"bold\"",
             sequence.title);
        y_ += 18;
    }
    text(margin, y_, quiet.attributes() + " font-size=\"12\"", fateSummary(picture));
    for (const PictureSide side : {PictureSide::before, PictureSide::after}) {
        y_ += 24;
        text(margin, y_, words.attributes() + " font-size=\"13\" font-weight=\"bold\"",
             side == PictureSide::before ? "Before" : "After");
        addRuler(picture);
        addSide(picture, side);
    }
    addKept(picture);
    y_ += 24;
}

void Writer::addRuler(const TimelinePicture& picture) {
    y_ += rulerHeight - 12;
    for (const RulerMark& mark : rulerMarks(picture.timecode(), view_, markSpacing)) {
        const double x = left() + view_.x(mark.frame);
        if (x > width_ - margin - 60) continue;
        line(x, y_ - 8, x, y_ + 2, ticks.attributes());
        text(x + 3, y_, quiet.attributes() + " font-size=\"10\"", mark.text);
    }
    y_ += 6;
}

void Writer::addSide(const TimelinePicture& picture, PictureSide side) {
    for (const DrawnRow& row : picture.side(side).rows) {
        addRow(picture, side, row);
        y_ += rowHeight + rowGap;
    }
}

void Writer::addRow(const TimelinePicture& picture, PictureSide side, const DrawnRow& row) {
    rectangle(left(), y_, view_.width, rowHeight, lane.attributes());
    text(left() - 8, y_ + rowHeight / 2 + 4,
         quiet.attributes() + " text-anchor=\"end\" font-weight=\"bold\"", description(row.label));
    RowLayout layout;
    layOutRow(picture.side(side), row, view_, layout);
    if (row.count == 0)
        text(left() + 8, y_ + rowHeight / 2 + 4, quiet.attributes() + " font-style=\"italic\"",
             "empty");
    for (const ClipCrowd& crowd : layout.crowds) addCrowd(crowd);
    const auto isTransition = [&](const ClipBox& box) {
        return picture.side(side).clips[box.clip].kind == ItemKind::transition;
    };
    // Transitions lie over the clips that they join.
    std::stable_partition(layout.boxes.begin(), layout.boxes.end(),
                          [&](const ClipBox& box) { return !isTransition(box); });
    for (const ClipBox& box : layout.boxes) addClip(picture, {side, box.clip}, box);
}

void Writer::addClip(const TimelinePicture& picture, ClipPlace place, const ClipBox& box) {
    const DrawnClip& clip = picture.at(place);
    const double from = std::max(box.x, 0.0);
    const double x = left() + from;
    const double w = std::min(box.x + box.width, view_.width) - from;
    std::string lines;
    for (const std::string& row : clipLines(picture, place)) lines += row + "\n";
    if (!lines.empty()) lines.pop_back();
    put("<g><title>" + escaped(lines) + "</title>\n");
    const bool isNew = clip.fate == ClipFate::added;
    rectangle(x + 0.5, y_ + 1.5, std::max(w - 1, 1.0), rowHeight - 3,
              clipAttributes(clip) + " rx=\"2\"" +
                  (isNew ? " stroke-dasharray=\"4 2\" stroke-width=\"1.5\"" : ""));
    addHatching(picture, place, x, w);
    if (clip.kind == ItemKind::transition)
        addTransition(x, w);
    else
        addLabel(picture, place, x, w);
    addMarks(picture, place, x, w);
    put("</g>\n");
}

void Writer::hatch(double x, double y, double w, double h, bool isCrossed) {
    std::string path = diagonals(x, y, w, h, true);
    if (isCrossed) path += diagonals(x, y, w, h, false);
    if (!path.empty())
        put(formatText("<path d=\"%@\" stroke-opacity=\"0.35\" %@/>\n", path, ink.attributes()));
}

void Writer::addHatching(const TimelinePicture& picture, ClipPlace place, double x, double w) {
    const DrawnClip& clip = picture.at(place);
    if (clip.isOff) hatch(x + 1, y_ + 2, std::max(w - 2, 1.0), rowHeight - 4, false);
    for (const FrameRange& hidden : picture.side(place.side).hiddenOf(clip)) {
        const double from = std::max(left() + view_.x(hidden.start), x);
        const double to = std::min(left() + view_.x(hidden.end), x + w);
        if (to - from >= 2) hatch(from, y_ + 2, to - from, rowHeight - 4, true);
    }
}

void Writer::addTransition(double x, double w) {
    line(x + 1, y_ + 2, x + w - 1, y_ + rowHeight - 2, ink.attributes());
    line(x + 1, y_ + rowHeight - 2, x + w - 1, y_ + 2, ink.attributes());
}

void Writer::addLabel(const TimelinePicture& picture, ClipPlace place, double x, double w) {
    const DrawnClip& clip = picture.at(place);
    const double badgeWidth = clip.kept == noEntry ? 0 : 18;
    const double from = std::max(x, left() + view_.x(clip.clearFrom)) + 7;
    const std::string label = fitting(clipLabel(picture, place), x + w - from - 5 - badgeWidth);
    if (label.empty()) return;
    std::string attributes = words.attributes();
    if (clip.fate == ClipFate::removed) attributes += " text-decoration=\"line-through\"";
    if (clip.isOff) attributes += " font-style=\"italic\"";
    text(from, y_ + rowHeight / 2 + 4, attributes, label);
}

void Writer::addMarks(const TimelinePicture& picture, ClipPlace place, double x, double w) {
    const DrawnClip& clip = picture.at(place);
    const double bottom = y_ + rowHeight - 2;
    const ClipPlace other = picture.partnerOf(place);
    switch (clip.fate) {
        case ClipFate::removed:
            line(x + 1, y_ + rowHeight / 2, x + w - 1, y_ + rowHeight / 2,
                 ink.attributes() + " stroke-opacity=\"0.7\"");
            break;
        case ClipFate::moved:
            line(x + 1, bottom, x + w - 1, bottom, ink.attributes() + " stroke-width=\"3\"");
            break;
        case ClipFate::trimmed:
            if (!other.isSomewhere() || picture.at(other).range.start != clip.range.start)
                line(x + 2, y_ + 2, x + 2, bottom, ink.attributes() + " stroke-width=\"3\"");
            if (!other.isSomewhere() || picture.at(other).range.end != clip.range.end)
                line(x + w - 2, y_ + 2, x + w - 2, bottom,
                     ink.attributes() + " stroke-width=\"3\"");
            break;
        case ClipFate::changed:
            put(formatText("<circle cx=\"%@\" cy=\"%@\" r=\"2.5\" %@/>\n", svgNumber(x + w - 6),
                           svgNumber(y_ + 7), words.attributes()));
            break;
        case ClipFate::same:
        case ClipFate::added: break;
    }
    if (clip.kept == noEntry || w < 20) return;
    put(formatText("<circle cx=\"%@\" cy=\"%@\" r=\"8\" %@/>\n", svgNumber(x + w - 12),
                   svgNumber(y_ + rowHeight / 2), badge.attributes()));
    text(x + w - 12, y_ + rowHeight / 2 + 3.5,
         onBadge.attributes() + " text-anchor=\"middle\" font-size=\"10\" font-weight=\"bold\"",
         std::to_string(clip.kept + 1));
}

// Many narrow clips: what stays is low, what changes reaches to the top.
void Writer::addCrowd(const ClipCrowd& crowd) {
    DrawnClip likeness;
    for (const ClipFate fate : {ClipFate::changed, ClipFate::trimmed, ClipFate::moved,
                                ClipFate::added, ClipFate::removed})
        if (crowd.has(fate)) likeness.fate = fate;
    const double height = likeness.fate == ClipFate::same ? rowHeight - 14 : rowHeight - 3;
    rectangle(left() + crowd.x, y_ + rowHeight - 1.5 - height, crowd.width, height,
              clipAttributes(likeness) + " stroke-width=\"0\"");
}

void Writer::addLegend(std::span<const DrawnSequence> sequences) {
    double x = margin;
    for (const LegendEntry& entry : legendOf(sequences)) {
        const double w = 28 + static_cast<double>(entry.name.size()) * letterWidth;
        if (x + w > width_ - margin) {
            x = margin;
            y_ += 20;
        }
        rectangle(x, y_ - 9, 16, 11, clipAttributes(entry.clip));
        if (entry.hatching != Hatching::none)
            hatch(x, y_ - 9, 16, 11, entry.hatching == Hatching::crossed);
        text(x + 21, y_, quiet.attributes(), entry.name);
        x += w;
    }
    y_ += margin;
}

void Writer::addKept(const TimelinePicture& picture) {
    const auto kept = picture.kept();
    for (std::size_t i = 0; i < std::min(kept.size(), mostKept); ++i) {
        const bool isAfter = kept[i].after != noEntry;
        const ClipPlace place{isAfter ? PictureSide::after : PictureSide::before,
                              isAfter ? kept[i].after : kept[i].before};
        if (!place.isSomewhere()) continue;
        y_ += 16;
        text(left(), y_, words.attributes(),
             fitting(std::to_string(i + 1) + "  kept " + std::string(picture.at(place).name) +
                         " on " + description(picture.rowOf(place).label) + ": " +
                         reasonWithTimecode(kept[i].reason, picture.timecode()),
                     view_.width));
    }
    if (kept.size() > mostKept) {
        y_ += 16;
        text(left(), y_, words.attributes(),
             "and " + std::to_string(kept.size() - mostKept) + " more");
    }
}

}  // namespace

void writePictureSvg(std::span<const DrawnSequence> sequences, int width, ByteSink& sink,
                     SvgForm form) {
    Writer(width, sink, form).write(sequences);
}

}  // namespace reelsweep
