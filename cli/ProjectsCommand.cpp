#include "cli/Application.h"
#include "cli/Commands.h"
#include "cli/NativeProject.h"
#include "cli/TextTable.h"
#include "hosts/QVAppleEvents.h"

#include <CLI/App.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace reelsweep {

CommandRun defineProjects(CLI::App& parser) {
    const auto json = std::make_shared<bool>(false);
    parser.add_flag("--json", *json, "Print a JSON array in place of the table");
    return [json](Application& application) {
        application.openLog();
        if (const Outcome runs = checkFinalCutProRuns(); !runs)
            return application.fail(runs.failure());
        const auto open = QVAppleEvents::openFCPProjects();
        if (!open) return application.fail(open.failure());
        const std::vector<std::string>& paths = *open;
        if (*json) {
            using Json = nlohmann::ordered_json;
            const Json list(paths);
            return application.printData(list.dump(2, ' ', false, Json::error_handler_t::replace) +
                                         "\n");
        }
        TextTable table({{"#", TextTable::Align::right}, {"Project"}});
        for (std::size_t i = 0; i < paths.size(); ++i)
            table.addRow({std::to_string(i + 1), paths[i]});
        return application.printData(table.text());
    };
}

}  // namespace reelsweep
