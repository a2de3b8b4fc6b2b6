#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/InputFile.h"
#include "cli/NativeProject.h"
#include "cli/TextTable.h"
#include "documents/Document.h"
#include "hosts/FinalCutProHost.h"
#include "report/SequenceSummary.h"
#include "xml/XMLDocument.h"

#include <CLI/App.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace reelsweep {

namespace {

using Json = nlohmann::ordered_json;

struct ListOptions {
    std::string file;
    bool json = false;
    bool launch = false;
};

std::string dumped(const Json& list) {
    // A percent escape in a name may stand for a byte that is no UTF-8.
    return list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string sequencesAsJson(const std::vector<SequenceSummary>& sequences) {
    Json list = Json::array();
    for (const SequenceSummary& sequence : sequences) {
        const auto counted = [&](std::size_t count) {
            return sequence.isShortForm ? Json(nullptr) : Json(count);
        };
        const std::string timecodeText =
            timecode(sequence.length, sequence.rate, sequence.dropFrame);
        const bool timed = sequence.rate.known();
        list.push_back({{"index", list.size() + 1},
                        {"title", sequence.title},
                        {"uuid", sequence.uuid ? Json(*sequence.uuid) : Json(nullptr)},
                        {"frames", sequence.length.count},
                        {"timecode", timed ? Json(timecodeText) : Json(nullptr)},
                        {"rate", timed ? Json(description(sequence.rate)) : Json(nullptr)},
                        {"timebase", timed ? Json(sequence.rate.timebase) : Json(nullptr)},
                        {"ntsc", sequence.rate.ntsc},
                        {"dropFrame", sequence.dropFrame},
                        {"videoTracks", counted(sequence.videoTracks)},
                        {"audioTracks", counted(sequence.audioTracks)},
                        {"items", counted(sequence.items)}});
    }
    return dumped(list);
}

std::string sequencesAsText(const std::vector<SequenceSummary>& sequences) {
    using enum TextTable::Align;
    TextTable table({{"#", right},
                     {"Title"},
                     {"Length", right},
                     {"Time code", right},
                     {"Rate", right},
                     {"Video", right},
                     {"Audio", right},
                     {"Items", right},
                     {"UUID"}});
    const auto orDash = [](const std::string& text) { return text.empty() ? "-" : text; };
    for (std::size_t i = 0; i < sequences.size(); ++i) {
        const SequenceSummary& sequence = sequences[i];
        const auto counted = [&](std::size_t count) {
            return sequence.isShortForm ? "-" : std::to_string(count);
        };
        table.addRow({std::to_string(i + 1), sequence.title, sequence.length.text(),
                      orDash(timecode(sequence.length, sequence.rate, sequence.dropFrame)),
                      orDash(description(sequence.rate)), counted(sequence.videoTracks),
                      counted(sequence.audioTracks), counted(sequence.items),
                      orDash(sequence.uuid.value_or(""))});
    }
    return table.text();
}

std::string projectsAsJson(const std::vector<FCPXProjectSummary>& projects) {
    Json list = Json::array();
    for (const FCPXProjectSummary& project : projects)
        list.push_back({{"index", list.size() + 1},
                        {"title", project.name},
                        {"event", project.event.empty() ? Json(nullptr) : Json(project.event)}});
    return dumped(list);
}

std::string projectsAsText(const std::vector<FCPXProjectSummary>& projects) {
    TextTable table({{"#", TextTable::Align::right}, {"Project"}, {"Event"}});
    for (std::size_t i = 0; i < projects.size(); ++i)
        table.addRow({std::to_string(i + 1), projects[i].name,
                      projects[i].event.empty() ? "-" : projects[i].event});
    return table.text();
}

ExitCode listSequences(Application& application, const Document& document, bool json) {
    std::vector<SequenceSummary> sequences;
    for (const SourceSequence& sequence : document.sequences()) {
        sequences.push_back(SequenceSummary::of(sequence.node));
        sequences.back().isShortForm = sequence.isShortForm;
    }
    return application.printData(json ? sequencesAsJson(sequences) : sequencesAsText(sequences));
}

ExitCode listProjects(Application& application, const InputFile& file, bool json) {
    // The document checks that there is something to tidy, but keeps nothing of what it read.
    const Result<XMLDocument> tree = XMLDocument::load(documentFile(file.path()));
    if (!tree) return application.fail(file.named(tree.failure()));
    const std::vector<FCPXProjectSummary> projects = fcpxProjects(tree->node());
    return application.printData(json ? projectsAsJson(projects) : projectsAsText(projects));
}

ExitCode list(Application& application, const ListOptions& options) {
    const Result<InputFile> file = InputFile::open(options.file);
    if (!file) return application.fail(file.failure());
    FinalCutProHost host(options.launch);
    if (file->kind() == DocumentFormat::nativeProject)
        if (const Outcome isOpen = checkProjectIsOpen(file->path(), options.launch); !isOpen)
            return application.fail(file->named(isOpen.failure()));
    const auto document = openDocument(file->path(), {.host = &host});
    if (!document) return application.fail(file->named(document.failure()));
    return file->kind() == DocumentFormat::fcpxml
               ? listProjects(application, *file, options.json)
               : listSequences(application, **document, options.json);
}

}  // namespace

CommandRun defineList(CLI::App& parser) {
    const auto options = std::make_shared<ListOptions>();
    parser
        .add_option("FILE", options->file,
                    "The XMEML or FCPXML file or native project;\n- reads standard input")
        ->required()
        ->type_name("");
    parser.add_flag("--json", options->json, "Print a JSON array in place of the table");
    parser.add_flag("--launch", options->launch,
                    "Final Cut Pro may be started, and a native project\nbe opened in it");
    return [options](Application& application) {
        application.openLog();
        application.setCurrentFile(InputFile::displayNameOf(options->file));
        return list(application, *options);
    };
}

}  // namespace reelsweep
