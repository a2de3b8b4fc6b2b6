#include "cli/TurnoverFiles.h"

#include "cli/SaveResult.h"
#include "cli/TidyPlan.h"
#include "report/EditList.h"
#include "report/Otio.h"
#include "timeline/PictureDifference.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

// A title as part of a file's name.
std::string fileNamePart(const std::string& title) {
    std::string part = title;
    for (char& letter : part)
        if (letter == '/' || letter == '\\' || letter == ':' ||
            static_cast<unsigned char>(letter) < 0x20)
            letter = '_';
    constexpr std::size_t longest = 120;
    std::size_t end = std::min(part.size(), longest);
    while (end < part.size() && (static_cast<unsigned char>(part[end]) & 0xC0U) == 0x80U) --end;
    part.resize(end);
    return part.empty() ? "Sequence" : part;
}

bool playsSomething(const Track& track) {
    return track.enabled &&
           std::any_of(track.items.begin(), track.items.end(), [](const Item& item) {
               return item.kind != ItemKind::transition && item.enabled && !item.isEmpty();
           });
}

// The tidied sequence with its markers and labels, which the proof did not need.
Timeline wholeTimeline(const SequenceLedger& sequence) {
    const Timeline& copy = sequence.picture->copy();
    if (copy.tracks().empty()) return copy;
    XMLNode node = copy.tracks().front().node;
    while (node && !node.isElement("sequence")) node = node.parent();
    return node ? Timeline::ofEdited(node, sequence.picture->source()) : copy;
}

}  // namespace

TurnoverFiles::TurnoverFiles(const ChangeLedger& ledger, const std::string& result, Wanted wanted) {
    const fs::path path(result);
    const std::string stem = (path.parent_path() / path.stem()).string();
    std::set<std::string> taken;
    for (const SequenceLedger& sequence : ledger.sequences) {
        if (!sequence.picture) continue;
        const std::string base = stem + "-" + fileNamePart(sequence.title);
        std::string name = base;
        for (int number = 2; !taken.insert(name).second; ++number)
            name = base + "-" + std::to_string(number);
        if (wanted.otio) planned_.push_back({name + ".otio", &sequence, 0, true});
        if (!wanted.editLists) continue;
        const auto tracks = sequence.picture->copy().tracks(MediaType::video);
        for (std::size_t i = 0; i < tracks.size(); ++i)
            if (playsSomething(tracks[i]))
                planned_.push_back(
                    {name + "-" + description(tracks[i]) + ".edl", &sequence, i, false});
    }
}

Outcome TurnoverFiles::check(bool mayReplace) const {
    for (const Planned& file : planned_)
        if (Outcome writable = checkWritable(file.path, mayReplace); !writable) return writable;
    return Done{};
}

Outcome TurnoverFiles::save(bool mayReplace) {
    for (const Planned& file : planned_) {
        if (Outcome saved = save(file, mayReplace); !saved) return saved;
        written_.push_back(file.path);
    }
    return Done{};
}

Outcome TurnoverFiles::save(const Planned& file, bool mayReplace) {
    const SavePlace place{file.path, mayReplace ? Overwrite::always : Overwrite::never};
    if (file.isOtio) {
        const Timeline timeline = wholeTimeline(*file.sequence);
        return saveResult(place, [&](ByteSink& sink) {
            noteLeftOut(file, writeOtio(timeline, timeline.name(), sink).leftOut);
        });
    }
    const Timeline& timeline = file.sequence->picture->copy();
    const Track& track = timeline.tracks(MediaType::video)[file.videoTrack];
    const std::string title = std::string(timeline.name()) + " " + description(track);
    return saveResult(place, [&](ByteSink& sink) {
        const WrittenEditList list = writeEditList(timeline, track, title, sink);
        noteLeftOut(file, list.leftOut);
        if (list.events > mostEditListEvents)
            notes_.push_back(file.path + ": holds " + std::to_string(list.events) +
                             " events; some readers stop at " + std::to_string(mostEditListEvents));
    });
}

void TurnoverFiles::noteLeftOut(const Planned& file, std::size_t count) {
    if (count > 0)
        notes_.push_back(file.path + ": " + std::to_string(count) +
                         (count == 1 ? " clip lies" : " clips lie") +
                         " wholly under another one of the same track, and is left out");
}

}  // namespace reelsweep
