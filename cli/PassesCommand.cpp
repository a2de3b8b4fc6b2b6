#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/TextTable.h"
#include "tidy/PassTable.h"

#include <CLI/App.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

namespace reelsweep {

namespace {

std::string passesAsJson() {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const PassRow& pass : passTable())
        list.push_back({{"name", pass.option},
                        {"title", pass.title},
                        {"summary", pass.summary},
                        {"default", pass.onByDefault},
                        {"fcpxml", pass.appliesToFCPX}});
    return list.dump(2) + "\n";
}

std::string passesAsText() {
    TextTable table({{"Pass"}, {"Default"}, {"FCPXML"}, {"What it does"}});
    for (const PassRow& pass : passTable())
        table.addRow({std::string(pass.option), pass.onByDefault ? "yes" : "-",
                      pass.appliesToFCPX ? "yes" : "-", std::string(pass.summary)});
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
