#include "match_command.h"

#include <CLI/CLI.hpp>
#include <optional>
#include <ostream>

#include "batch_table.h"
#include "csv_points.h"
#include "input_error.h"
#include "interrupt_guard.h"
#include "match_batch.h"
#include "match_picture.h"
#include "match_report.h"
#include "model_source.h"
#include "option_text.h"
#include "output_file.h"
#include "output_targets.h"
#include "result_json.h"
#include "result_table.h"
#include "watched_search.h"

namespace ptmatch::tool {
namespace {

rxPointMatcherDefs::Mode modeOf(const MatchOptions& options) {
    return options.exhaustive ? rxPointMatcherDefs::eExhaustiveMode
                              : rxPointMatcherDefs::eAutoDetect;
}

rxPointMatcherResultSet search(const MatchReport& report, const MatchOptions& options,
                               const rxPointMatcher& matcher, std::ostream& notes) {
    if (options.exhaustive) noteLongSearch(report.model, report.data, notes);
    const InterruptGuard guard(options.exhaustive ? InterruptGuard::Way::kExitAtOnce
                                                  : InterruptGuard::Way::kAskSearch);
    return watchedSearch(matcher, report.data, report.params);
}

int runBatchOfMatches(const MatchOptions& options, std::ostream& out, std::ostream& notes) {
    requireNoFileOfBatch({{options.svgFile, "--svg"}});
    const auto batch = std::make_shared<MatchBatch>();
    batch->params = runParams(options.run);
    batch->exhaustive = options.exhaustive;
    batch->modelFile = options.modelFile;
    batch->model = readModel(options.modelFile, modeOf(options));
    batch->jobs = options.data.jobs;
    batch->sets = dataSetsOf(options.data);
    if (const auto* const largest = options.exhaustive ? readLargest(batch->sets) : nullptr) {
        noteLongSearch(batch->model.table, *largest, notes);
    }
    {
        const InterruptGuard guard(InterruptGuard::Way::kAskSearch);
        runMatchBatch(batch);
    }
    return finishBatch(batch->end, batch->numFound() > 0,
                       options.json ? matchBatchJson(*batch) : matchBatchTable(*batch), out, notes);
}

}  // namespace

CLI::App* addMatchCommand(CLI::App& app, MatchOptions& options) {
    CLI::App* const command =
        app.add_subcommand("match", "Find where a pattern of points lies among other points");
    command
        ->add_option("--model", options.modelFile,
                     "Table of the pattern: x,y or x,y,weight; or a trained matcher (required)")
        ->type_name("FILE");
    addDataOptions(*command, options.data);
    command->add_flag("--json", options.json, "Print the results as JSON");
    addFile(*command, "--svg", "Draw the best pose into this file", options.svgFile);
    command->add_flag_callback(
        "--y-up", [&options] { options.yAxis = YAxis::kUp; },
        "Let y run upwards in the picture (default: downwards, as in camera images)");
    addRunOptions(*command, options.run);
    command
        ->add_flag("--exhaustive", options.exhaustive,
                   "Try every assignment of points; for a handful of points only")
        ->group("Run parameters");
    // Looked at last, so that a misspelt option is what the message is about.
    command->callback([&options] {
        if (options.modelFile.empty()) throw CLI::RequiredError("--model");
        if (!options.data.isGiven()) throw CLI::RequiredError("--data");
    });
    return command;
}

int runMatch(const MatchOptions& options, std::ostream& out, std::ostream& notes) {
    if (options.data.isBatch()) return runBatchOfMatches(options, out, notes);
    const std::string& dataFile = options.data.files.front();
    requireSparedInputs(
        {{options.svgFile, "--svg"}},
        {{options.modelFile, "the table of the model"}, {dataFile, "the table of the data"}});
    MatchReport report;
    report.params = runParams(options.run);
    report.exhaustive = options.exhaustive;
    report.modelFile = options.modelFile;
    report.dataFile = dataFile;
    const ModelSource model = readModel(options.modelFile, modeOf(options));
    report.model = model.table;
    report.data = readPoints(dataFile);

    const rxPointMatcherResultSet results = search(report, options, *model.matcher, notes);
    report.seconds = results.time();
    report.poses = foundPoses(results);

    std::optional<PreparedFile> picture;
    if (!options.svgFile.empty()) {
        picture.emplace(options.svgFile, matchPicture(report, options.yAxis));
    }
    out << (options.json ? resultJson(report) : resultTable(report)) << std::flush;
    if (!out) throw InputError("the results cannot be written to standard output");
    if (picture) picture->commit();
    return report.poses.empty() ? kExitNothingFound : kExitFound;
}

}  // namespace ptmatch::tool
