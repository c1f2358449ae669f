#include "tool_app.h"

#include <CLI/CLI.hpp>

namespace ptmatch::tool {
namespace {

// Each line is a command that works in a checkout; the tests run them in this order.
constexpr const char* kMatchExamples = R"(Examples:
  ptmatch match --model data/demo_pick/model.csv --data data/demo_pick/data.csv --svg needle.svg
  ptmatch match --model data/demo_pick/model.csv --data data/demo_pick/data.csv --max-results 2 --json
  ptmatch match --model data/demo_pick/model.csv --data data/demo_pick/data.csv --votes votes.png
  ptmatch match --model data/demo_pick/model.csv --data data/demo_pick/data.csv data/beehive/data.csv --jobs 2)";

constexpr const char* kGridMapExamples = R"(Examples:
  ptmatch grid-map --data data/dots7x7/data.csv --csv dots7x7.csv --svg dots7x7.svg
  ptmatch grid-map --data data/dots7x7/data.csv --xv 23.46,-13.03 --yv 13.11,23.46)";

constexpr const char* kGridMatchExamples = R"(Examples:
  ptmatch grid-match --pattern data/dots_staggered/pattern.txt --data data/dots_staggered/data.csv
  ptmatch grid-match --pattern data/dots_staggered/pattern.txt --data data/dots_staggered/data.csv --rotation full --max-results 2)";

constexpr const char* kExplainExamples = R"(Examples:
  ptmatch explain --model data/demo_pick/model.csv --data data/demo_pick/data.csv
  ptmatch explain --model data/demo_pick/model.csv --data data/demo_pick/data.csv --expect 530,335
  ptmatch explain --pattern data/dots_staggered/pattern.txt --data data/dots_staggered/data.csv)";

constexpr const char* kFitExamples = R"(Examples:
  ptmatch fit --pairs data/oblique_plate/pairs.csv --model perspective --svg plate.svg
  ptmatch fit --pairs data/oblique_plate/pairs.csv --model affine --residuals)";

constexpr const char* kTrainExamples = R"(Examples:
  ptmatch train --model data/demo_pick/model.csv --out card.ptm
  ptmatch match --model card.ptm --data data/demo_pick/data.csv
  ptmatch train --pattern data/dots_staggered/pattern.txt --xv 17.86,3.11 --yv -3.85,16.38 --out sheet.ptm
  ptmatch grid-match --pattern sheet.ptm --data data/dots_staggered/data.csv)";

constexpr const char* kInfoExamples = R"(Examples:
  ptmatch train --model data/demo_pick/model.csv --out card.ptm
  ptmatch info card.ptm
  ptmatch info --json card.ptm)";

}  // namespace

void addAllCommands(CLI::App& app, AllOptions& options) {
    app.require_subcommand(1);
    app.set_version_flag("--version", "ptmatch " PTMATCH_VERSION, "Print the version and exit");
    app.footer(
        "ptmatch COMMAND --help shows the options of a command, and examples for a checkout.\n"
        "Exit codes: 0 found, 1 nothing found, 2 bad input, 3 a part of a batch failed, 130 "
        "interrupted.");
    addMatchCommand(app, options.match)->footer(kMatchExamples);
    addGridMapCommand(app, options.gridMap)->footer(kGridMapExamples);
    addGridMatchCommand(app, options.gridMatch)->footer(kGridMatchExamples);
    addExplainCommand(app, options.explain)->footer(kExplainExamples);
    addFitCommand(app, options.fit)->footer(kFitExamples);
    addTrainCommand(app, options.train)->footer(kTrainExamples);
    addInfoCommand(app, options.info)->footer(kInfoExamples);
}

}  // namespace ptmatch::tool
