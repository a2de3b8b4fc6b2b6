#include "report/ChangeCSV.h"

#include <string>
#include <string_view>

namespace reelsweep {

namespace {

constexpr std::string_view header =
    "Sequence,Pass,Change,Element,Name,Id,In clip,In clip id,"
    "Track before,Start before,End before,In before,Out before,Timecode start before,"
    "Timecode end before,"
    "Track after,Start after,End after,In after,Out after,Timecode start after,"
    "Timecode end after,Reason\r\n";

// Adds a field and the comma after it.
void addField(std::string& line, std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        line.append(text) += ',';
        return;
    }
    line += '"';
    for (const char c : text) {
        if (c == '"') line += '"';
        line += c;
    }
    line += "\",";
}

void addPlace(std::string& line, const SequenceTimecode& timecode, TrackLabel track,
              const ItemTimes& times) {
    addField(line, description(track));
    for (const auto& time : {times.start, times.end, times.in, times.out})
        addField(line, time ? time->text() : std::string());
    addField(line, timecode.text(times.start));
    addField(line, timecode.text(times.end));
}

// Without a file there is no column for it.
bool writeChanges(const ChangeLedger& ledger, const std::string_view* file, ByteSink& sink) {
    for (const SequenceLedger& sequence : ledger.sequences) {
        for (const Change& change : sequence.changes) {
            std::string line;
            if (file) addField(line, *file);
            addField(line, sequence.title);
            addField(line, change.pass);
            addField(line, description(change.kind));
            addField(line, change.node.name());
            addField(line, change.name());
            addField(line, change.id());
            addField(line, change.holderName());
            addField(line, change.holderId());
            addPlace(line, sequence.timecode, change.trackBefore, change.before);
            addPlace(line, sequence.timecode, change.trackAfter, change.after);
            addField(line, sequence.reasonText(change));
            line.pop_back();
            if (!sink.write(line += "\r\n")) return false;
        }
    }
    return true;
}

}  // namespace

bool writeChangesCSV(const ChangeLedger& ledger, ByteSink& sink) {
    return sink.write(header) && writeChanges(ledger, nullptr, sink);
}

bool writeChangesCSVHeader(ByteSink& sink) { return sink.write("File," + std::string(header)); }

bool writeChangesCSV(std::string_view file, const ChangeLedger& ledger, ByteSink& sink) {
    return writeChanges(ledger, &file, sink);
}

}  // namespace reelsweep
