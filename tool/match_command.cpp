#include "match_command.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "csv_points.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "match_picture.h"
#include "match_report.h"
#include "number_text.h"
#include "output_file.h"
#include "result_json.h"
#include "result_table.h"

namespace ptmatch::tool {
namespace {

void train(rxPointMatcher& matcher, const PointTable& model, const MatchOptions& options) {
    const auto mode =
        options.exhaustive ? rxPointMatcherDefs::eExhaustiveMode : rxPointMatcherDefs::eAutoDetect;
    try {
        if (model.weights.empty()) {
            matcher.train(model.points, mode);
        } else {
            matcher.train(model.points, model.weights, mode);
        }
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(options.modelFile + ": " + std::string(trimmed(error.what())));
    }
}

rxPointMatcherResultSet search(const MatchReport& report, const MatchOptions& options) {
    rxPointMatcher matcher;
    train(matcher, report.model, options);
    const InterruptGuard guard(options.exhaustive ? InterruptGuard::Way::kExitAtOnce
                                                  : InterruptGuard::Way::kAskSearch);
    rxPointMatcherResultSet results;
    try {
        matcher.run(report.data.points, report.params, results);
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(std::string(trimmed(error.what())));
    }
    return results;
}

}  // namespace

CLI::App* addMatchCommand(CLI::App& app, MatchOptions& options) {
    CLI::App* const command =
        app.add_subcommand("match", "Find where a pattern of points lies among other points");
    command->add_option("--model", options.modelFile, "Table of the pattern: x,y or x,y,weight")
        ->required()
        ->type_name("FILE");
    command->add_option("--data", options.dataFile, "Table of the points to search: x,y")
        ->required()
        ->type_name("FILE");
    command->add_flag("--json", options.json, "Print the results as JSON");
    command->add_option("--svg", options.svgFile, "Draw the best pose into this file")
        ->type_name("FILE");
    command->add_flag_callback(
        "--y-up", [&options] { options.yAxis = YAxis::kUp; },
        "Let y run upwards in the picture (default: downwards, as in camera images)");
    addRunOptions(*command, options.run);
    command
        ->add_flag("--exhaustive", options.exhaustive,
                   "Try every assignment of points; for a handful of points only")
        ->group("Run parameters");
    return command;
}

int runMatch(const MatchOptions& options, std::ostream& out) {
    MatchReport report;
    report.params = runParams(options.run);
    report.exhaustive = options.exhaustive;
    report.modelFile = options.modelFile;
    report.dataFile = options.dataFile;
    report.model = readPoints(options.modelFile);
    report.data = readPoints(options.dataFile);

    const rxPointMatcherResultSet results = search(report, options);
    report.seconds = results.time();
    report.poses = foundPoses(results);

    if (!options.svgFile.empty()) {
        writeWholeFile(options.svgFile, matchPicture(report, options.yAxis));
    }
    out << (options.json ? resultJson(report) : resultTable(report));
    return report.poses.empty() ? kExitNothingFound : kExitFound;
}

}  // namespace ptmatch::tool
