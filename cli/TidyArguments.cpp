#include "cli/TidyArguments.h"

#include "cli/TextTable.h"
#include "tidy/TidyRules.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <charconv>
#include <string>
#include <system_error>
#include <utility>

namespace reelsweep {

CLI::Option* oneValue(CLI::Option* option, const char* value) {
    return option->type_name(value)->allow_extra_args(false);
}

CLI::Option* placeValue(CLI::Option* option, const char* value) {
    return oneValue(option, value)
        ->check(CLI::Validator(
            [](const std::string& text) { return text.empty() ? "must not be empty" : ""; },
            std::string()));
}

CLI::Option* numberFrom(CLI::Option* option, double least, double most) {
    const auto check = [least, most](const std::string& text) {
        double value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        const bool isNumber = error == std::errc() && end == text.data() + text.size();
        if (isNumber && value >= least && value <= most) return std::string();
        return fmt::format("must be a number from {} to {}, not \"{}\"", least, most, text);
    };
    return option->check(CLI::Validator(check, std::string()));
}

CLI::Option* oneOf(CLI::Option* option, std::vector<std::string> words) {
    const auto check = [words = std::move(words)](const std::string& text) {
        if (std::find(words.begin(), words.end(), text) != words.end()) return std::string();
        return fmt::format("there are {}, not \"{}\"", fmt::join(words, ", "), text);
    };
    return option->check(CLI::Validator(check, std::string()));
}

namespace {

void definePresets(CLI::App& parser, TidyOptions& o, const char* what) {
    oneValue(parser.add_option("--preset", o.preset,
                               "The passes and rules of a preset of the application"),
             "NAME")
        ->group(what);
    placeValue(parser.add_option("--preset-file", o.presetFile,
                                 "The passes and rules of a preset file (JSON)"),
               "FILE")
        ->group(what);
}

}  // namespace

void defineWhatToDo(CLI::App& parser, TidyOptions& o) {
    const char* const what = "What to do";
    oneValue(parser.add_option("--passes", o.passes,
                               "Pass names with commas between, or default, or all,\n"
                               "or fcpx for those that are for FCPXML alone;\n"
                               "+NAME adds one and -NAME takes one out\n"
                               "(default: default)"),
             "LIST")
        ->group(what);
    definePresets(parser, o, what);
    oneValue(parser.add_option("--sequence", o.sequences,
                               "Only this sequence: its index as list prints it, its\n"
                               "title, with * and ?, or its uuid; may be repeated\n"
                               "(default: all but tidied copies)"),
             "NAME")
        ->group(what);
    oneValue(parser.add_option("--ignored-effect", o.ignoredEffects,
                               "An effect that makes a clip see-through, by its name;\n"
                               "may be repeated"),
             "NAME")
        ->group(what);
    oneValue(parser.add_option("--keep", o.keep,
                               "Leave this clip alone, and what transitions join to it:\n"
                               "its id, or its name with * and ?; may be repeated"),
             "CLIP")
        ->group(what);
    oneValue(parser.add_option("--marker-kinds", o.markerKinds,
                               "What fcpxRemoveMarkers takes out: marker, chapter-marker,\n"
                               "analysis-marker, keyword, rating or all, with commas\n"
                               "between (default: marker,chapter-marker)"),
             "LIST")
        ->group(what);
    parser
        .add_flag("--keep-picture,!--no-keep-picture", o.keepPicture,
                  "Leave alone what would change the picture or the\n"
                  "sound; what was left is listed (default: on)")
        ->group(what);
    parser
        .add_flag("--import-safe,!--no-import-safe", o.importSafe,
                  "Mend links, ids, edges and ticks of the copies, so that\n"
                  "every application imports them (default: on)")
        ->group(what);
    parser.add_flag("--literal", o.literal, "Apply the passes to the letter and do nothing else")
        ->group(what);
    parser
        .add_flag("--strict", o.strict,
                  "Write nothing, and end with code 6, when the picture\n"
                  "or the sound has changed unasked")
        ->group(what);
    oneOf(oneValue(parser.add_option("--deliver", o.delivery,
                                     "project: a bin in the file's project;\n"
                                     "standalone: a new document that holds only the bin;\n"
                                     "auto: project when there is one (default: auto)"),
                   "HOW"),
          {"auto", "project", "standalone"})
        ->group(what);
}

void defineRules(CLI::App& parser, TidyOptions& o) {
    for (const RuleRow& row : ruleTable()) {
        std::string names(row.option);
        if (row.key == "excludeColours") names += ",--exclude-color";
        oneValue(parser.add_option(names, row.list(o.rules), std::string(row.summary)),
                 std::string(row.value).c_str())
            ->group("Rules (names with * and ?, in any letter case)");
    }
}

Outcome checkKeepsFit(const std::vector<std::string>& keeps,
                      const std::vector<const SequenceLedger*>& tidied, const std::string& file) {
    for (const std::string& keep : keeps) {
        const bool isUnused =
            std::all_of(tidied.begin(), tidied.end(), [&](const SequenceLedger* sequence) {
                const std::vector<std::string>& unused = sequence->unusedKeeps;
                return std::find(unused.begin(), unused.end(), keep) != unused.end();
            });
        if (isUnused)
            return Failure{FailureCode::usage,
                           "--keep " + singleLine(keep) + ": no clip has this id or name", file};
    }
    return Done{};
}

}  // namespace reelsweep
