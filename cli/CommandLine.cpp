#include "cli/Commands.h"

#include "cli/Application.h"
#include "cli/Nearest.h"
#include "cli/TidyArguments.h"

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

namespace {

constexpr std::string_view listFooter = R"(Columns:
  Frames  the length in frames of the sequence's own rate
  Length  the same as hours:minutes:seconds:frames; a semicolon before the frames
          means drop-frame
  Start   the time code of the first frame
  Items   clips, generators and transitions that stand in tracks
A column in which nothing would stand is left out. On a narrow terminal the uuid
goes first.

Examples:
  reelsweep-cli list film.xml
  reelsweep-cli list --json film.xml | jq '.[].title')";

constexpr std::string_view tidyFooter =
    R"(The source sequences are never changed: the result holds renamed copies
("NAME-Tidied") in a bin named "Reelsweep". To FCPXML apply removeFilters,
removeMarkers and the fcpx passes; there the document itself is tidied. The
result of a native project (film.fcp) is sent to Final Cut Pro, which opens the
copies.

Examples:
  reelsweep-cli tidy film.xml
      the default passes on every sequence, written to film-Tidied.xml
  reelsweep-cli tidy film.xml --sequence "Reel 1" --passes all -o turnover.xml
      every pass on one sequence
  reelsweep-cli tidy film.xml --report film.html --edl
      with a page to hand over, and an edit list for each video track
  reelsweep-cli tidy *.xml --output-dir tidied --report changes.json
      several files, with a report of every change
  reelsweep-cli tidy turnovers --recursive --output-dir tidied --parents
      all files of a folder, several at once
  reelsweep-cli tidy film.xml --exclude-track V3 --passes default,removeFilters \
      --filters-keep 'Color*'
      leave the titles on V3 alone, and the colour corrections
  reelsweep-cli tidy film.fcpxml --passes fcpx
      FCPXML, without effects, markers, disabled clips and unused resources
  reelsweep-cli tidy film.xml --passes removeDisabledVideoClips,replaceGaps --dry-run
      only show what would be done
  reelsweep-cli tidy film.fcp --sequence "Reel 1" --launch
      a sequence of a project in Final Cut Pro, which may be started for it
  cat film.xml | reelsweep-cli tidy - > tidied.xml
      as part of a pipe)";

constexpr std::string_view passesFooter = R"(Examples:
  reelsweep-cli passes
  reelsweep-cli tidy film.xml --passes removeFilters,removeMarkers)";

constexpr std::string_view checkFooter =
    R"(Looked for are links, ids, files, edges, source ranges, ticks and the order of
items. How the picture looks is not.

Examples:
  reelsweep-cli check film-Tidied.xml
  reelsweep-cli check --json film.xml | jq -r '.faults[].kind' | sort | uniq -c)";

constexpr std::string_view pictureFooter =
    R"(The picture is one SVG file: each sequence before a tidy and after it, with what
was removed, moved, trimmed, added and kept. The file that is read stays as it is.

Examples:
  reelsweep-cli picture film.xml -o film.svg
  reelsweep-cli picture film.xml --sequence "Reel 1" --passes all -o reel-1.svg)";

constexpr std::string_view projectsFooter = R"(Examples:
  reelsweep-cli projects
  reelsweep-cli projects --json | jq -r '.[]'
      the paths alone, for scripts)";

constexpr std::string_view diffFooter = R"(Examples:
  reelsweep-cli diff cut_v06.xml cut_v07.xml
      what changed between two versions of a cut, clip by clip
  reelsweep-cli diff film-Tidied.xml
Ends with code 0 when nothing changed, with 6 when something did.)";

constexpr std::string_view verifyFooter = R"(Examples:
  reelsweep-cli verify film-Tidied.xml
      each sequence with its tidied copy in the same file
  reelsweep-cli verify film.xml conformed.xml --sequence "Reel 1=Reel 1 v2"
      any two sequences, also from other programs
Ends with code 0 when all are the same, with 6 when not.)";

constexpr std::string_view watchFooter =
    R"(A file is tidied once it is whole, again when it changes, and never twice, whatever
ends the program in between. A broken one goes to the folder "Set Aside" in DIR, with
a text that says what is wrong. Ends with code 0 when it is asked to end.

Examples:
  reelsweep-cli watch ~/Turnovers/in --output-dir ~/Turnovers/out
  reelsweep-cli watch in --output-dir out --parents --preset "Picture turnover")";

// The commands as data: this table drives dispatch and help.
struct CommandRow {
    std::string_view name;
    std::string_view summary;  ///< one line for the help
    std::string_view footer;   ///< examples, at the end of the command's help
    CommandRun (*define)(CLI::App& parser);
};

constexpr auto table = std::to_array<CommandRow>({
    {"list", "list the sequences of a file", listFooter, defineList},
    {"tidy", "tidy the sequences of files", tidyFooter, defineTidy},
    {"passes", "list the clean-up passes", passesFooter, definePasses},
    {"check", "list what an importer would stumble over in a file", checkFooter, defineCheck},
    {"picture", "draw what a tidy would do, before above after", pictureFooter, definePicture},
    {"projects", "list the projects that are open in Final Cut Pro", projectsFooter,
     defineProjects},
    {"diff", "list what changed between two cuts, clip by clip", diffFooter, defineDiff},
    {"watch", "tidy every file that comes into a folder", watchFooter, defineWatch},
    {"verify", "compare what two sequences show, frame by frame", verifyFooter, defineVerify},
});

std::string generalHelp() {
    std::string help =
        "Reelsweep tidies edited video timelines: XMEML (Final Cut Pro 7 interchange XML),\n"
        "FCPXML, and native projects that are open in Final Cut Pro.\n\n"
        "Usage: reelsweep-cli COMMAND [OPTIONS] [FILE...]\n\n"
        "Commands:\n";
    for (const CommandRow& row : table) help += fmt::format("  {:<8} {}\n", row.name, row.summary);
    help +=
        "\n\"reelsweep-cli COMMAND --help\" tells more about a command.\n\n"
        "Options:\n"
        "  -h, --help  this text\n"
        "  --version   the program's version\n\n"
        "Examples:\n"
        "  reelsweep-cli list film.xml\n"
        "  reelsweep-cli tidy film.xml --passes all -o turnover.xml\n\n";
    return help + exitCodeHelp + "\n";
}

ExitCode wrongUsage(Application& application, std::string_view command, std::string_view message) {
    application.terminal().error(message);
    application.terminal().print(fmt::format("\"reelsweep-cli {}--help\" shows the usage.",
                                             command.empty() ? "" : fmt::format("{} ", command)));
    return ExitCode::usage;
}

// The parser leaves two blank lines between its groups of options.
std::string withoutDoubleBlankLines(std::string text) {
    constexpr std::string_view doubled = "\n\n\n";
    for (std::size_t at = 0; (at = text.find(doubled, at)) != std::string::npos;) text.erase(at, 1);
    return text;
}

// The long names of a parser's options, for one that was mistyped.
std::vector<std::string> optionNames(const CLI::App& parser) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : parser.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

// The parser's own marks the negation of a flag with its value.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() {
        column_width(26);
        label("Positionals", "Files");
        label("REQUIRED", "");
    }
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        constexpr std::string_view mark = "{false}";
        std::string name = Formatter::make_option_name(option, isPositional);
        if (const std::size_t at = name.find(mark); at != std::string::npos)
            name.replace(at, mark.size(), "");
        return name;
    }
    std::string make_option_usage(const CLI::Option* option) const override {
        // The parser says how many in brackets.
        if (option->get_expected_max() == 2)
            return make_option_name(option, true) + " [" + make_option_name(option, true) + "]";
        return Formatter::make_option_usage(option);
    }
};

ExitCode runCommand(Application& application, const CommandRow& row,
                    std::span<const char* const> arguments) {
    const std::string name = fmt::format("reelsweep-cli {}", row.name);
    CLI::App parser{fmt::format("{}: {}\n", name, row.summary), name};
    parser.formatter(std::make_shared<HelpFormatter>());
    parser.set_help_flag("-h,--help", "This text");
    parser.footer(fmt::format("{}\n\n{}", row.footer, exitCodeHelp));
    const CommandRun run = row.define(parser);
    std::string colour = "auto";
    oneOf(parser.add_option("--color", colour, "Errors and notes in colour: auto, always or never")
              ->type_name("WHEN"),
          {"auto", "always", "never"});
    try {
        // The parser takes arguments from the end of the list.
        parser.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return application.printData(withoutDoubleBlankLines(parser.help()));
    } catch (const CLI::ExtrasError& error) {
        const std::vector<std::string> unknown = parser.remaining();
        const std::string first = unknown.empty() ? error.what() : unknown.front();
        return wrongUsage(application, row.name,
                          fmt::format("{}: unexpected argument{}", first,
                                      didYouMean(first, optionNames(parser), "")));
    } catch (const CLI::ArgumentMismatch& error) {
        // "--report: 1 required FILE missing"
        std::string text = error.what();
        constexpr std::string_view counted = "1 required ";
        if (const std::size_t at = text.find(counted); at != std::string::npos)
            text.erase(at, counted.size());
        return wrongUsage(application, row.name, text);
    } catch (const CLI::ParseError& error) {
        return wrongUsage(application, row.name, error.what());
    }
    application.terminal().setColour(colour == "always"  ? ColourUse::always
                                     : colour == "never" ? ColourUse::never
                                                         : ColourUse::automatic);
    return run(application);
}

}  // namespace

ExitCode runCommandLine(Application& application, std::span<const char* const> arguments) {
    if (arguments.empty()) {
        application.terminal().printLines(generalHelp());
        return ExitCode::usage;
    }
    const std::string first = arguments.front();
    if (first == "-h" || first == "--help") return application.printData(generalHelp());
    if (first == "--version")
        return application.printData(fmt::format("reelsweep-cli {}\n", Application::version()));
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&](const CommandRow& r) { return r.name == first; });
    if (row != table.end()) return runCommand(application, *row, arguments.subspan(1));

    std::vector<std::string> names{"--help", "--version"};
    for (const CommandRow& r : table) names.emplace_back(r.name);
    return wrongUsage(application, "",
                      fmt::format("unknown command \"{}\"{}", first, didYouMean(first, names, "")));
}

}  // namespace reelsweep
