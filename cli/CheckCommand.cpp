#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/InputFile.h"
#include "cli/TextTable.h"
#include "timeline/ImportFaults.h"
#include "xml/XMLDocument.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

namespace {

using Json = nlohmann::ordered_json;

struct CheckOptions {
    std::string file;
    bool json = false;
};

std::string faultsAsJson(const std::string& file, const std::vector<ImportFault>& faults) {
    const auto orNull = [](const std::string& text) {
        return text.empty() ? Json(nullptr) : Json(text);
    };
    const auto frames = [](const std::optional<Frames>& time) {
        return time ? Json(time->count) : Json(nullptr);
    };
    Json list = Json::array();
    for (const ImportFault& fault : faults)
        list.push_back({{"kind", name(fault.kind)},
                        {"sequence", orNull(fault.sequence)},
                        {"track", orNull(description(fault.track))},
                        {"item", orNull(fault.item)},
                        {"id", orNull(fault.id)},
                        {"start", frames(fault.times.start)},
                        {"end", frames(fault.times.end)},
                        {"in", frames(fault.times.in)},
                        {"out", frames(fault.times.out)},
                        {"place", orNull(fault.place)},
                        {"text", fault.text}});
    const Json check = {{"file", file}, {"faults", std::move(list)}};
    // A percent escape in a name may stand for a byte that is no UTF-8.
    return check.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

// "Reel 1: V1, 01:00:04:00 to 01:00:08:00: Harbour: It ends before it starts."
std::string faultsAsText(const std::vector<ImportFault>& faults) {
    std::string text;
    for (const ImportFault& fault : faults) {
        for (const std::string& part : {fault.sequence, fault.place, fault.item})
            if (!part.empty()) text += singleLine(part) + ": ";
        text += singleLine(fault.text) + "\n";
    }
    if (faults.empty()) return "Nothing that an importer would stumble over.\n";
    return text +
           fmt::format("{} that an importer may stumble over.\n",
                       faults.size() == 1 ? "1 fault" : fmt::format("{} faults", faults.size()));
}

ExitCode check(Application& application, const CheckOptions& options) {
    const Result<InputFile> file = InputFile::open(options.file);
    if (!file) return application.fail(file.failure());
    if (file->kind() != DocumentFormat::xmeml)
        return application.fail(
            Failure{FailureCode::usage, "check reads XMEML files only", file->displayName()});
    const Result<XMLDocument> document = XMLDocument::load(file->path());
    if (!document) return application.fail(file->named(document.failure()));
    const std::vector<ImportFault> faults = importFaults(document->node());
    const ExitCode printed = application.printData(
        options.json ? faultsAsJson(file->displayName(), faults) : faultsAsText(faults));
    if (printed != ExitCode::done) return printed;
    return faults.empty() ? ExitCode::done : ExitCode::notTheSame;
}

}  // namespace

CommandRun defineCheck(CLI::App& parser) {
    const auto options = std::make_shared<CheckOptions>();
    parser.add_option("FILE", options->file, "The XMEML file; - reads standard input")
        ->required()
        ->type_name("");
    parser.add_flag("--json", options->json, "Print a JSON object in place of the lines");
    return [options](Application& application) {
        application.openLog();
        application.setCurrentFile(InputFile::displayNameOf(options->file));
        return check(application, *options);
    };
}

}  // namespace reelsweep
