#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "tidy/FCPXPasses.h"
#include "tidy/PassTable.h"

#include <CLI/App.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace reelsweep {

namespace {

std::string passesAsJson() {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    const auto add = [&](const PassRow& pass, bool isForXMEML) {
        list.push_back({{"name", pass.option},
                        {"title", pass.title},
                        {"summary", pass.summary},
                        {"default", pass.onByDefault},
                        {"xmeml", isForXMEML},
                        {"fcpxml", pass.appliesToFCPX}});
    };
    for (const PassRow& pass : passTable()) add(pass, true);
    for (const PassRow& pass : fcpxPassTable()) add(pass, false);
    return list.dump(2) + "\n";
}

std::string passesAsText() {
    TextTable table({{"Pass"}, {"Default"}, {"FCPXML"}, {"What it does"}});
    const auto add = [&](const PassRow& pass, const char* fcpxml) {
        table.addRow({std::string(pass.option), pass.onByDefault ? "yes" : "-", fcpxml,
                      std::string(pass.summary)});
    };
    for (const PassRow& pass : passTable()) add(pass, pass.appliesToFCPX ? "yes" : "-");
    for (const PassRow& pass : fcpxPassTable()) add(pass, "only");
    return table.text();
}

}  // namespace

CommandRun definePasses(CLI::App& parser) {
    const auto json = std::make_shared<bool>(false);
    parser.add_flag("--json", *json, "Print a JSON array in place of the table");
    return [json](Application& application) {
        return application.printData(*json ? passesAsJson() : passesAsText());
    };
}

}  // namespace reelsweep
