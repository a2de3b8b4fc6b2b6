#include "report/HtmlReport.h"

#include "report/Handles.h"
#include "report/HtmlPage.h"
#include "report/PictureProof.h"
#include "report/PictureSvg.h"
#include "report/PullList.h"
#include "report/ReasonText.h"
#include "report/SvgText.h"
#include "tidy/PassTable.h"
#include "timeline/DifferenceText.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep {

namespace {

constexpr int pictureWidth = 1200;
// A page is for people. The whole list is in the other reports.
constexpr std::size_t mostWarnings = 40;

std::string titleOfPass(std::string_view option) {
    for (const PassRow& row : reportedRows())
        if (row.option == option) return std::string(row.title);
    return std::string(option);
}

std::string titleOf(const SequenceLedger& sequence) {
    return sequence.title.empty() ? std::string("Sequence without a name") : sequence.title;
}

void keepFirst(std::vector<std::string>& texts) {
    if (texts.size() <= mostWarnings) return;
    const std::size_t more = texts.size() - mostWarnings;
    texts.resize(mostWarnings);
    texts.push_back("and " + std::to_string(more) + " more");
}

// What somebody has to look at before the turnover leaves the house.
std::vector<std::string> warningsOf(const ReportedDocument& document, const ChangeLedger* ledger) {
    std::vector<std::string> texts = document.errors;
    if (!ledger) return texts;
    for (const SequenceLedger& sequence : ledger->sequences) {
        const std::string title = titleOf(sequence) + ": ";
        if (const std::string changed = pictureChangeText(sequence); !changed.empty()) {
            texts.push_back(title + changed);
            for (const Difference* const difference : unaskedDifferences(sequence))
                texts.push_back(title + differenceText(*difference, sequence.timecode));
        }
        if (const std::string loose = looseClipsText(sequence); !loose.empty())
            texts.push_back(title + loose);
        if (!sequence.balances()) texts.push_back(title + "the items do not add up");
        if (!document.handles || !sequence.picture) continue;
        const Timeline& copy = sequence.picture->copy();
        for (const ShortHandle& handle : shortHandles(copy, *document.handles))
            texts.push_back(title + "fewer than " + groupedNumber(*document.handles) +
                            " frames of handles, " + shortHandleText(copy, handle));
    }
    keepFirst(texts);
    return texts;
}

std::string verdict(const SequenceLedger& sequence) {
    if (!sequence.picture) return "not compared";
    if (sequence.picture->isSame()) return "the same";
    return sequence.picture->isAsAsked() ? "changed only as asked" : "CHANGED UNASKED";
}

std::string certificate(const ChangeLedger& ledger) {
    constexpr auto columns = std::to_array<HtmlColumn>({{"Sequence"},
                                                        {"Frames", HtmlCells::number},
                                                        {"Same picture", HtmlCells::number},
                                                        {"Another as asked", HtmlCells::number},
                                                        {"Another unasked", HtmlCells::number},
                                                        {"Same sound", HtmlCells::number},
                                                        {"Another as asked", HtmlCells::number},
                                                        {"Another unasked", HtmlCells::number},
                                                        {"Picture and sound"}});
    HtmlTable table("Certificate: every frame of the copies compared with the source", columns);
    for (const SequenceLedger& sequence : ledger.sequences) {
        std::vector<std::string> cells{titleOf(sequence)};
        if (const PictureDifference* const picture = sequence.picture.get()) {
            cells.push_back(groupedNumber(picture->frames()));
            for (const MediaType type : {MediaType::video, MediaType::audio})
                for (const Frames count :
                     {picture->same(type), picture->asked(type), picture->changed(type)})
                    cells.push_back(groupedNumber(count));
        }
        cells.resize(columns.size() - 1);
        cells.push_back(verdict(sequence));
        table.addRow(cells);
    }
    return table.text();
}

std::string placeText(const TimelinePicture& picture, ClipPlace place) {
    if (!place.isSomewhere()) return {};
    const FrameRange& range = picture.at(place).range;
    return description(picture.rowOf(place).label) + "  " + picture.timecode().text(range.start) +
           " – " + picture.timecode().text(range.end);
}

// The passes that changed a clip, or something in it.
std::vector<std::string> passesByClip(const TimelinePicture& picture, PictureSide side) {
    std::vector<std::string> texts(picture.side(side).clips.size());
    for (const TimelinePicture::ChangedClip& change : picture.changes()) {
        const std::uint32_t clip = side == PictureSide::before ? change.before : change.after;
        if (clip >= texts.size()) continue;
        const std::string title = titleOfPass(change.pass);
        std::string& text = texts[clip];
        if (text.find(title) == std::string::npos) text += (text.empty() ? "" : ", ") + title;
    }
    return texts;
}

// One row for each clip that is not as it was: removed ones as they stood, all others as they
// stand.
std::string netChanges(const TimelinePicture& picture) {
    constexpr auto columns = std::to_array<HtmlColumn>({{"Clip"},
                                                        {"What", HtmlCells::whole},
                                                        {"Before", HtmlCells::whole},
                                                        {"After", HtmlCells::whole},
                                                        {"By"},
                                                        {"Why"}});
    HtmlTable table("What became of each clip", columns);
    std::size_t rows = 0;
    const auto addSide = [&](PictureSide side) {
        const std::vector<std::string> passes = passesByClip(picture, side);
        for (std::uint32_t i = 0; i < picture.side(side).clips.size(); ++i) {
            const ClipPlace place{side, i};
            const DrawnClip& clip = picture.at(place);
            const bool isHere = side == PictureSide::before ? clip.fate == ClipFate::removed
                                                            : clip.fate != ClipFate::same;
            if (!isHere) continue;
            const ClipPlace other = picture.partnerOf(place);
            const bool isBefore = side == PictureSide::before;
            table.addRow(std::to_array<std::string>(
                {std::string(clip.name.empty() ? clip.media : clip.name),
                 std::string(description(clip.fate)), placeText(picture, isBefore ? place : other),
                 placeText(picture, isBefore ? other : place), passes[i],
                 clip.reason == noEntry
                     ? std::string()
                     : reasonWithTimecode(picture.reason(clip.reason), picture.timecode())}));
            ++rows;
        }
    };
    addSide(PictureSide::before);
    addSide(PictureSide::after);
    return rows > 0 ? table.text() : "<p class=\"quiet\">No clip was changed.</p>\n";
}

// For what has no timeline to draw, FCPXML: every change. Its clips have no tracks to stand on.
std::string allChanges(const SequenceLedger& sequence) {
    constexpr auto columns = std::to_array<HtmlColumn>(
        {{"Name"}, {"Element", HtmlCells::whole}, {"What", HtmlCells::whole}, {"By"}, {"Why"}});
    HtmlTable table("Changes", columns);
    for (const Change& change : sequence.changes)
        table.addRow(std::to_array<std::string>(
            {change.name(), std::string(change.node.name()), std::string(description(change.kind)),
             titleOfPass(change.pass), sequence.reasonText(change)}));
    return sequence.changes.empty() ? "<p class=\"quiet\">Nothing was changed.</p>\n"
                                    : table.text();
}

std::string keptPlace(const SequenceLedger& sequence, const KeptItem& item) {
    if (item.track.number == 0) return {};
    return description(item.track) + "  " + sequence.timecode.text(item.times.start) + " – " +
           sequence.timecode.text(item.times.end);
}

std::string keptClips(const SequenceLedger& sequence) {
    if (sequence.kept.empty()) return {};
    constexpr auto columns =
        std::to_array<HtmlColumn>({{"Clip"}, {"Place", HtmlCells::whole}, {"From"}, {"Why"}});
    HtmlTable table("Left alone", columns);
    for (const KeptItem& item : sequence.kept)
        table.addRow(std::to_array<std::string>(
            {item.name(), keptPlace(sequence, item), titleOfPass(item.pass),
             reasonWithTimecode(item.reason, sequence.timecode)}));
    return table.text();
}

std::string pulledMedia(const Timeline& timeline) {
    constexpr auto columns = std::to_array<HtmlColumn>({{"Media"},
                                                        {"Reel"},
                                                        {"In", HtmlCells::whole},
                                                        {"Out", HtmlCells::whole},
                                                        {"Frames", HtmlCells::number},
                                                        {"Clips", HtmlCells::number},
                                                        {"Path", HtmlCells::path}});
    const std::vector<PulledMedia> media = pullList(timeline);
    if (media.empty()) return {};
    HtmlTable table("Pull list: the media of the tidied sequence", columns);
    for (const PulledMedia& pulled : media)
        for (const PulledStretch& stretch : pulled.stretches)
            table.addRow(std::to_array<std::string>(
                {std::string(pulled.media->name), std::string(pulled.media->reel), stretch.in,
                 stretch.out, groupedNumber(stretch.frames.end - stretch.frames.start),
                 groupedNumber(Frames{static_cast<std::int64_t>(stretch.clips)}), pulled.path}));
    return table.text();
}

// Lets a drawing into the page as it is.
class Through final : public ByteSink {
public:
    explicit Through(std::string& text) : text_(text) {}
    bool write(std::string_view bytes) override {
        text_ += bytes;
        return true;
    }

private:
    std::string& text_;
};

std::string sequenceText(const SequenceLedger& sequence) {
    std::string text = "<h3>" + escaped(titleOf(sequence)) + "</h3>\n";
    if (!sequence.picture) return text + allChanges(sequence) + keptClips(sequence);
    text += "<p class=\"quiet\">" + std::to_string(sequence.itemsBefore) + " items before, " +
            std::to_string(sequence.itemsAfter) + " after";
    if (sequence.timecode.rate.known())
        text += ", " + description(sequence.timecode.rate) + " frames a second";
    text += "</p>\n";
    const TimelinePicture picture(sequence.picture->source(), sequence.picture->copy(), sequence);
    const DrawnSequence drawn{sequence.title, &picture};
    Through sink(text);
    writePictureSvg(std::span(&drawn, 1), pictureWidth, sink, SvgForm::inPage);
    return text + netChanges(picture) + keptClips(sequence) + pulledMedia(sequence.picture->copy());
}

std::string passesText(const ReportedDocument& document) {
    std::string text;
    for (const std::string& pass : document.passes)
        text += (text.empty() ? "" : ", ") + titleOfPass(pass);
    return text;
}

}  // namespace

HtmlReport::HtmlReport(ByteSink& sink, const ChangeReport::Program& program)
    : sink_(sink), program_(program) {
    put(htmlHead("Turnover report"));
    put("<h1>Turnover report</h1>\n<p class=\"quiet\">" +
        escaped(program_.name + " " + program_.version) +
        (program_.dryRun ? "; a dry run, nothing was written" : "") + "</p>\n");
}

void HtmlReport::addDocument(const ReportedDocument& document, const ChangeLedger* ledger) {
    ok_ = ok_ && writeHtmlDocument(sink_, document, ledger);
}

bool HtmlReport::finish() {
    put(htmlTail());
    return ok_;
}

void HtmlReport::put(std::string_view text) { ok_ = ok_ && sink_.write(text); }

bool writeHtmlDocument(ByteSink& sink, const ReportedDocument& document,
                       const ChangeLedger* ledger) {
    bool ok = true;
    const auto put = [&](std::string_view text) { ok = ok && sink.write(text); };
    put("<h2>" + escaped(document.input) + "</h2>\n");
    if (document.output)
        put("<p>Written to " +
            escaped(*document.output == "-" ? "standard output" : *document.output) + "</p>\n");
    if (const std::string passes = passesText(document); !passes.empty())
        put("<p class=\"quiet\">" + escaped(passes) + "</p>\n");
    put(htmlList("warnings", "What needs attention", warningsOf(document, ledger)));
    put(htmlList("notes", "To know", document.notes));
    if (!ledger) return ok;
    const bool anyCompared =
        std::any_of(ledger->sequences.begin(), ledger->sequences.end(),
                    [](const SequenceLedger& sequence) { return sequence.picture != nullptr; });
    if (anyCompared) put(certificate(*ledger));
    for (const SequenceLedger& sequence : ledger->sequences) put(sequenceText(sequence));
    return ok;
}

}  // namespace reelsweep
